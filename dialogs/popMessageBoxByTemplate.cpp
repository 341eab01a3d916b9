#include "popMessageBoxByTemplate.h"

#include "PanelParts.h"
#include "ui_popMessageBoxByTemplate.h"

#include <QIcon>
#include <QPushButton>

namespace {

constexpr int kIconSide = 32;

}  // namespace

CPopMessageBoxByTemplate::CPopMessageBoxByTemplate(QWidget* parent)
    : CPopTemplate(parent), ui(new Ui_CPopMessageBoxByTemplate) {
  ui->setupUi(this);
  preparePanel(this, ui->buttonBox);
  connect(ui->pushButton, SIGNAL(clicked()), SLOT(On_pressedPushButton()));
  connect(ui->buttonBox, SIGNAL(accepted()), SLOT(On_Accept()));
  connect(ui->buttonBox, SIGNAL(rejected()), SLOT(On_Reject()));
  hide();
}

CPopMessageBoxByTemplate::~CPopMessageBoxByTemplate() { delete ui; }

void CPopMessageBoxByTemplate::Init(QString text, QStringList occupied) {
  ui->caption->setText(text);
  ui->icon->setPixmap(QIcon(QStringLiteral(":/messageBox_warning")).pixmap(kIconSide, kIconSide));
  QString lines;
  for (const QString& each : occupied) lines += each + QStringLiteral("\r\n");
  ui->plainTextEdit->setPlainText(lines);
  showDetails(false);
}

void CPopMessageBoxByTemplate::show() {
  moveToCenter();
  QWidget::show();
  raise();
  ui->buttonBox->button(QDialogButtonBox::Ok)->setFocus();
}

void CPopMessageBoxByTemplate::showDetails(bool on) {
  ui->groupBox_details->setVisible(on);
  ui->pushButton->setText(on ? QStringLiteral("Скрыть подробности") : QStringLiteral("Показать подробности"));
}

void CPopMessageBoxByTemplate::On_pressedPushButton() {
  showDetails(ui->groupBox_details->isHidden());
  layout()->invalidate();
  moveToCenter();
}

// Closed before the answer goes out: what it leads to shall keep the keyboard.
void CPopMessageBoxByTemplate::On_Accept() {
  close();
  emit SignOK();
}

void CPopMessageBoxByTemplate::On_Reject() {
  unitKey.clear();
  close();
}
