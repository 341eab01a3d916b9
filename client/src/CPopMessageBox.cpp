#include <TlmClient/CPopMessageBox.h>

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

#include "boxIcon.h"

namespace {

constexpr int kIconSide = 36;
constexpr int kTextWidth = 420;
constexpr int kButtonWidth = 96;

struct Captions {
  const char* accept;
  const char* reject;  // null: one button only
};

constexpr Captions kCaptions[] = {
    {"ОК", nullptr},       // kBoxOk
    {"ОК", "Отмена"},      // kBoxOkCancel
    {"Закрыть", nullptr},  // kBoxClose
    {"Да", "Нет"},         // kBoxYesNo
};

const Captions& captionsOf(TMessageBoxType type) {
  const bool known = type >= kBoxOk && type <= kBoxYesNo;
  return kCaptions[known ? type : kBoxOk];
}

QList<CPopMessageBox*>& waiting() {
  static QList<CPopMessageBox*> boxes;
  return boxes;
}

int abandoned = 0;

}  // namespace

struct CPopMessageBox::Parts {
  QLabel* icon = nullptr;
  QLabel* text = nullptr;
  QHBoxLayout* row = nullptr;
  QList<QAbstractButton*> buttons;
  QMetaObject::Connection answer;
  TMessageBoxIcon iconKind = kBoxNoIcon;
  TMessageBoxType type = kBoxOk;
  bool closesItself = true;
};

CPopMessageBox::CPopMessageBox(QWidget* parent) : CPopTemplate(parent), parts_(std::make_unique<Parts>()) {
  parts_->icon = new QLabel(this);
  parts_->text = new QLabel(this);
  parts_->text->setTextFormat(Qt::PlainText);
  parts_->text->setWordWrap(true);
  parts_->text->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  parts_->row = new QHBoxLayout;
  parts_->row->setSpacing(8);
  parts_->row->addStretch();
  auto* const grid = new QGridLayout(this);
  grid->setContentsMargins(panelMargins());
  grid->setHorizontalSpacing(14);
  grid->setVerticalSpacing(16);
  grid->addWidget(parts_->icon, 0, 0, Qt::AlignTop);
  grid->addWidget(parts_->text, 0, 1);
  grid->addLayout(parts_->row, 1, 0, 1, 2);
  grid->setColumnStretch(1, 1);
}

CPopMessageBox::~CPopMessageBox() {
  if (waiting().removeAll(this) > 0) ++abandoned;
}

void CPopMessageBox::setMessage(const QString& title, const QString& text, TMessageBoxIcon icon, TMessageBoxType type,
                                const char* slot) {
  setPanelTitle(title);
  parts_->iconKind = icon;
  parts_->type = type;
  parts_->icon->setPixmap(tlm::boxIcon(icon, type == kBoxYesNo, kIconSide, devicePixelRatioF()));
  parts_->icon->setVisible(icon != kBoxNoIcon);
  parts_->text->setText(text);
  makeButtons(type);
  disconnect(parts_->answer);
  parts_->closesItself = !slot || !parent();
  if (!parts_->closesItself) {
    parts_->answer = connect(this, SIGNAL(clicked(QAbstractButton*)), parent(), slot);
  }
}

void CPopMessageBox::makeButtons(TMessageBoxType type) {
  for (QAbstractButton* old : qAsConst(parts_->buttons)) {
    old->hide();
    old->deleteLater();  // this may be the answer of one of them
  }
  parts_->buttons.clear();
  const Captions& captions = captionsOf(type);
  for (const char* caption : {captions.accept, captions.reject}) {
    if (!caption) continue;
    auto* const button = new QPushButton(QString::fromUtf8(caption), this);
    button->setMinimumWidth(kButtonWidth);
    button->setAutoDefault(true);
    connect(button, &QAbstractButton::clicked, this, [this, button] { press(button); });
    parts_->row->addWidget(button);
    parts_->buttons.append(button);
  }
}

void CPopMessageBox::show() {
  // A word-wrapped label asks for little width by itself: it gets what its longest line wants, up to a limit.
  const QFontMetrics metrics(parts_->text->font());
  const int wanted = metrics.size(Qt::TextExpandTabs, parts_->text->text()).width() + 4;
  const int width = qBound(200, wanted, kTextWidth);
  parts_->text->setFixedWidth(width);
  parts_->text->setMinimumHeight(parts_->text->heightForWidth(width));
  for (QAbstractButton* button : qAsConst(parts_->buttons)) button->show();  // what is hidden gets no room
  layout()->invalidate();
  moveToCenter();
  if (!waiting().contains(this)) waiting().append(this);
  QWidget::show();
  raise();
  if (!parts_->buttons.isEmpty()) parts_->buttons.first()->setFocus();
  emit shown();
}

int CPopMessageBox::ButtonRole(QAbstractButton* button) const {
  return !parts_->buttons.isEmpty() && button == parts_->buttons.first() ? 0 : 1;
}

QString CPopMessageBox::titleText() const { return panelTitle(); }
QString CPopMessageBox::messageText() const { return parts_->text->text(); }
TMessageBoxIcon CPopMessageBox::icon() const { return parts_->iconKind; }
TMessageBoxType CPopMessageBox::type() const { return parts_->type; }
QList<QAbstractButton*> CPopMessageBox::buttons() const { return parts_->buttons; }
bool CPopMessageBox::isWaiting() const { return waiting().contains(const_cast<CPopMessageBox*>(this)); }
QList<CPopMessageBox*> CPopMessageBox::waitingBoxes() { return waiting(); }
int CPopMessageBox::abandonedCount() { return abandoned; }

void CPopMessageBox::On_Accept() {
  // Enter belongs to the button that has the focus, like a click on it.
  for (QAbstractButton* button : qAsConst(parts_->buttons)) {
    if (button->hasFocus()) return press(button);
  }
  if (!parts_->buttons.isEmpty()) press(parts_->buttons.first());
}

void CPopMessageBox::On_Reject() {
  if (!parts_->buttons.isEmpty()) press(parts_->buttons.last());
}

void CPopMessageBox::press(QAbstractButton* button) {
  if (waiting().removeAll(this) == 0) return;
  if (parts_->closesItself) hide();
  emit clicked(button);
}
