#include <TlmClient/CPopManualInput.h>

#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include "MeasCard.h"
#include "exchange.h"
#include "manualValue.h"

namespace {

constexpr int kRefreshMs = 1000;
constexpr int kAnswerMs = 5000;
constexpr int kRefreshAnswerMs = 1000;

}  // namespace

struct CPopManualInput::Parts {
  tlm::MeasCard* card = nullptr;
  QLabel* who = nullptr;
  QRadioButton* automatic = nullptr;
  QRadioButton* manual = nullptr;
  QLineEdit* value = nullptr;
  QComboBox* states = nullptr;
  QLabel* unit = nullptr;
  QLabel* limits = nullptr;
  QLabel* problem = nullptr;
  QPushButton* apply = nullptr;
  tlm::ManualRules rules;
  QByteArray key;  // of the measurement that it was opened for
};

CPopManualInput::CPopManualInput(QWidget* parent) : CPopTemplate(parent), parts_(std::make_unique<Parts>()) {
  setPanelTitle(QStringLiteral("Ручной ввод"));
  build();
  refreshTimer.setInterval(kRefreshMs);
  connect(&refreshTimer, &QTimer::timeout, this, &CPopManualInput::refresh);
}

CPopManualInput::~CPopManualInput() = default;

void CPopManualInput::build() {
  Parts& p = *parts_;
  p.card = new tlm::MeasCard(this);
  p.who = tlm::wideLabel(this, "lbl_Who");
  p.automatic = new QRadioButton(QStringLiteral("Автоматически, от источника"), this);
  p.automatic->setObjectName(QStringLiteral("rb_Auto"));
  p.manual = new QRadioButton(QStringLiteral("Вручную:"), this);
  p.manual->setObjectName(QStringLiteral("rb_Manual"));
  p.value = new QLineEdit(this);
  p.value->setObjectName(QStringLiteral("le_Value"));
  p.states = new QComboBox(this);
  p.states->setObjectName(QStringLiteral("cb_State"));
  p.unit = new QLabel(this);
  p.unit->setObjectName(QStringLiteral("lbl_Unit"));
  p.limits = new QLabel(this);
  p.limits->setObjectName(QStringLiteral("lbl_Limits"));
  p.limits->setEnabled(false);
  p.problem = tlm::wideLabel(this, "lbl_Problem");
  p.apply = new QPushButton(QStringLiteral("Применить"), this);
  p.apply->setObjectName(QStringLiteral("btn_OK"));
  auto* const cancel = new QPushButton(QStringLiteral("Отмена"), this);
  cancel->setObjectName(QStringLiteral("btn_Cancel"));
  auto* const grid = new QGridLayout;
  grid->setHorizontalSpacing(8);
  grid->addWidget(p.automatic, 0, 0, 1, 3);
  grid->addWidget(p.manual, 1, 0);
  grid->addWidget(p.value, 1, 1);
  grid->addWidget(p.states, 1, 1, 1, 2);  // in place of value and unit
  grid->addWidget(p.unit, 1, 2);
  grid->addWidget(p.limits, 2, 1, 1, 2);
  grid->setColumnStretch(1, 1);
  auto* const buttons = new QHBoxLayout;
  buttons->addStretch();
  buttons->addWidget(p.apply);
  buttons->addWidget(cancel);
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(panelMargins());
  layout->addWidget(p.card);
  layout->addWidget(p.who);
  layout->addLayout(grid);
  layout->addWidget(p.problem);
  layout->addSpacing(6);
  layout->addLayout(buttons);
  for (QPushButton* button : {p.apply, cancel}) button->setMinimumWidth(tlm::kButtonWidth);
  connect(p.automatic, &QRadioButton::toggled, this, &CPopManualInput::choose);
  connect(p.apply, &QPushButton::clicked, this, &CPopManualInput::On_Accept);
  connect(cancel, &QPushButton::clicked, this, &CPopManualInput::On_Reject);
}

void CPopManualInput::SetParams(const QByteArray& params) {
  Parts& p = *parts_;
  const tlm::Lines lines(params);
  p.rules = tlm::manualRules(lines);
  p.key = lines.value("key").toLatin1();
  p.card->setParams(lines);
  const bool byName = p.rules.kind == tlm::ManualRules::kState;
  p.value->setVisible(!byName);
  p.states->setVisible(byName);
  p.states->clear();
  p.states->addItems(p.rules.states);
  p.states->setCurrentIndex(lines.value("value") == QLatin1String("1") ? 1 : 0);
  p.value->setMaxLength(p.rules.kind == tlm::ManualRules::kText ? p.rules.maxLength : 40);
  p.value->setText(tlm::editText(p.rules, lines.value("value")));
  p.unit->setText(p.rules.unit);
  p.unit->setVisible(!byName && !p.rules.unit.isEmpty());
  p.limits->setText(tlm::limitsText(p.rules));
  p.limits->setVisible(!p.limits->text().isEmpty());
  const bool manual = lines.flag("manual");
  tlm::showNotice(p.who, tlm::whoText(lines), false);
  // Whoever opens the panel on a value of the field means to enter one; on a manual value, to lift it or to change it.
  p.automatic->setChecked(!p.rules.allowed);
  p.manual->setChecked(p.rules.allowed);
  p.manual->setEnabled(p.rules.allowed);
  p.apply->setEnabled(p.rules.allowed || manual);
  tell(p.rules.allowed ? QString() : QStringLiteral("Ручной ввод для этого измерения не разрешен."));
  choose();
  moveToCenter();
}

bool CPopManualInput::isManualAuto() const { return parts_->automatic->isChecked(); }

void CPopManualInput::choose() {
  const bool manual = !isManualAuto();
  for (QWidget* widget : std::initializer_list<QWidget*>{parts_->value, parts_->states, parts_->unit})
    widget->setEnabled(manual && parts_->rules.allowed);
}

void CPopManualInput::On_Accept() {
  Parts& p = *parts_;
  if (!p.apply->isEnabled()) return;
  const QByteArray number = tlm::line("locId", QByteArray::number(locId)) + tlm::line("key", p.key);
  if (isManualAuto()) {
    if (send(number + tlm::line("auto", "1"))) hide();
    return;
  }
  const bool byName = p.rules.kind == tlm::ManualRules::kState;
  const QString entered = byName ? QString::number(p.states->currentIndex()) : p.value->text();
  QString problem;
  const QByteArray value = tlm::checkedValue(p.rules, entered, &problem);
  if (problem.isEmpty()) {
    if (send(number + tlm::line("value", value))) hide();
    return;
  }
  tell(problem);
  p.value->setFocus();
  p.value->selectAll();
}

bool CPopManualInput::send(const QByteArray& body) {
  const tlm::Answer answer = tlm::ask(tlm::sessionAround(parentWidget()), "ManualValue", body, kAnswerMs);
  if (answer.kind == tlm::Answer::kNone)
    tell(QStringLiteral("Сервер не ответил: принято ли значение, не известно."));
  else if (!answer.good())
    tell(tlm::refusalText(answer));
  return answer.good();
}

void CPopManualInput::refresh() {
  const QByteArray body = tlm::line("locId", QByteArray::number(locId));
  const tlm::Answer answer = tlm::ask(tlm::sessionAround(parentWidget()), "MeasParams", body, kRefreshAnswerMs);
  refreshTimer.start();  // the time between two questions is the window's, however slow the server is
  if (answer.kind != tlm::Answer::kGiven) return parts_->card->setSilent();
  const tlm::Lines lines(answer.text);
  if (!answer.good() || lines.value("key") != parts_->key) {
    parts_->apply->setEnabled(false);
    return tell(tlm::goneText(answer));
  }
  parts_->card->setValue(lines);
  tlm::showNotice(parts_->who, tlm::whoText(lines), false);
}

void CPopManualInput::tell(const QString& problem) {
  tlm::showNotice(parts_->problem, problem, true);
  if (isVisible()) moveToCenter();
}

void CPopManualInput::showEvent(QShowEvent* event) {
  moveToCenter();
  CPopTemplate::showEvent(event);
  refreshTimer.start();
  QWidget* const first = isManualAuto()              ? static_cast<QWidget*>(parts_->automatic)
                         : parts_->value->isHidden() ? static_cast<QWidget*>(parts_->states)
                                                     : parts_->value;
  first->setFocus();
  parts_->value->selectAll();
}

void CPopManualInput::hideEvent(QHideEvent* event) {
  refreshTimer.stop();
  CPopTemplate::hideEvent(event);
}
