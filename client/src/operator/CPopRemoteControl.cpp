#include <TlmClient/CPopRemoteControl.h>

#include <TlmClient/CTlmCliMod.h>
#include <TlmClient/GenGuid32.h>

#include <QElapsedTimer>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHideEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTextCodec>
#include <QVBoxLayout>

#include "MeasCard.h"
#include "exchange.h"
#include "outcome.h"

namespace {

constexpr int kRefreshMs = 1000;
constexpr int kAnswerMs = 5000;
constexpr int kRefreshAnswerMs = 1000;
constexpr double kMsOfDay = 86'400'000;
constexpr int kButtonAir = 32;
constexpr char kSendCaption[] = "Подать команду";

constexpr char kGood[] = "0";  // quality of a value that tells the state now

CTlmCliMod* moduleAround(QWidget* panel) {
  for (QWidget* widget = panel; widget; widget = widget->parentWidget()) {
    if (auto* const module = qobject_cast<CTlmCliMod*>(widget)) return module;
  }
  return nullptr;
}

}  // namespace

struct CPopRemoteControl::Parts {
  tlm::MeasCard* card = nullptr;
  QWidget* choice = nullptr;  // what is given in the first step
  QRadioButton* commands[2] = {nullptr, nullptr};
  QLineEdit* user = nullptr;
  QLineEdit* password = nullptr;
  QLabel* passwordTitle = nullptr;
  QLabel* notice = nullptr;
  QPushButton* accept = nullptr;
  QPushButton* reject = nullptr;

  Step step = kChoosing;
  tlm::Lines params;
  bool asksPassword = true;
  double serverTime = 0;  // when the server was last heard
  QElapsedTimer since;    // then
  QByteArray identity;    // of the command that was sent
  QByteArray issued;      // and when, server time
  bool sent = false;      // a command went out since the panel was opened

  // With what could be typed back by undoing.
  void forgetPassword() { password->setText({}); }
  int chosen() const { return commands[1]->isChecked() ? 1 : 0; }
  QString commandName() const { return commands[chosen()]->text(); }
  double now() const { return serverTime + static_cast<double>(since.elapsed()) / kMsOfDay; }
  void hear(const tlm::Lines& lines) {
    serverTime = lines.number("now");
    since.start();
  }
  // The body of a new command.
  QByteArray command(int state, const QByteArray& name, const QByteArray& secret) {
    identity = GenGuid32();
    issued = QByteArray::number(now(), 'f', 9);
    return tlm::line("locId", params.value("locId").toLatin1()) + tlm::line("key", params.value("key").toLatin1()) +
           tlm::line("state", QByteArray::number(state)) + tlm::line("user", name) + tlm::line("password", secret) +
           tlm::line("id", identity) + tlm::line("issued", issued);
  }
};

CPopRemoteControl::CPopRemoteControl(QWidget* parent) : CPopTemplate(parent), parts_(std::make_unique<Parts>()) {
  setPanelTitle(QStringLiteral("Телеуправление"));
  build();
  refreshTimer.setInterval(kRefreshMs);
  connect(&refreshTimer, &QTimer::timeout, this, &CPopRemoteControl::refresh);
}

CPopRemoteControl::~CPopRemoteControl() = default;

void CPopRemoteControl::build() {
  Parts& p = *parts_;
  p.card = new tlm::MeasCard(this);
  p.choice = new QWidget(this);
  auto* const commands = new QHBoxLayout;
  for (int i = 0; i < 2; ++i) {
    p.commands[i] = new QRadioButton(p.choice);
    p.commands[i]->setObjectName(QStringLiteral("rb_Command%1").arg(i));
    commands->addWidget(p.commands[i]);
  }
  commands->addStretch();
  p.user = new QLineEdit(p.choice);
  p.user->setObjectName(QStringLiteral("le_User"));
  p.user->setMaxLength(60);
  p.password = new QLineEdit(p.choice);
  p.password->setObjectName(QStringLiteral("le_Password"));
  p.password->setEchoMode(QLineEdit::Password);
  p.password->setMaxLength(128);
  p.passwordTitle = new QLabel(QStringLiteral("Пароль:"), p.choice);
  auto* const form = new QFormLayout(p.choice);
  form->setContentsMargins(0, 0, 0, 0);
  form->setLabelAlignment(Qt::AlignLeft);
  form->addRow(QStringLiteral("Команда:"), commands);
  form->addRow(QStringLiteral("Оператор:"), p.user);
  form->addRow(p.passwordTitle, p.password);
  p.notice = tlm::wideLabel(this, "lbl_Notice");
  p.accept = new QPushButton(this);
  p.accept->setObjectName(QStringLiteral("btn_OK"));
  p.reject = new QPushButton(this);
  p.reject->setObjectName(QStringLiteral("btn_Cancel"));
  auto* const buttons = new QHBoxLayout;
  buttons->addStretch();
  buttons->addWidget(p.accept);
  buttons->addWidget(p.reject);
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(panelMargins());
  layout->addWidget(p.card);
  layout->addWidget(p.choice);
  layout->addWidget(p.notice);
  layout->addSpacing(6);
  layout->addLayout(buttons);
  for (QPushButton* button : {p.accept, p.reject}) button->setMinimumWidth(tlm::kButtonWidth);
  // One width for all steps, with air around the longest text.
  p.accept->setMinimumWidth(p.accept->fontMetrics().horizontalAdvance(QString::fromUtf8(kSendCaption)) + kButtonAir);
  connect(p.accept, &QPushButton::clicked, this, &CPopRemoteControl::proceed);
  connect(p.reject, &QPushButton::clicked, this, &CPopRemoteControl::On_Reject);
}

// The command that is offered is the one that changes something.
void CPopRemoteControl::SetParams(const QByteArray& params) {
  Parts& p = *parts_;
  p.params = tlm::Lines(params);
  p.hear(p.params);
  p.asksPassword = p.params.value("tuPassword") != QLatin1String("0");
  p.sent = false;
  p.card->setParams(p.params);
  for (int i = 0; i < 2; ++i) p.commands[i]->setText(p.params.value(i == 0 ? "command0" : "command1"));
  p.commands[p.params.value("value") == QLatin1String("1") ? 0 : 1]->setChecked(true);
  p.forgetPassword();
  p.password->setVisible(p.asksPassword);
  p.passwordTitle->setVisible(p.asksPassword);
  go(kChoosing);
}

CPopRemoteControl::Step CPopRemoteControl::step() const { return parts_->step; }

bool CPopRemoteControl::ControlAuto() {
  Parts& p = *parts_;
  const bool known = p.params.has("value") && p.params.value("quality") == QLatin1String(kGood);
  if (!p.params.flag("tuAuto") || p.asksPassword || !known) return false;
  const int state = p.params.value("value") == QLatin1String("1") ? 0 : 1;
  const tlm::Answer answer =
      tlm::ask(tlm::sessionAround(parentWidget()), "RemoteControl", p.command(state, {}, {}), kAnswerMs);
  CTlmCliMod* const module = moduleAround(parentWidget());
  if (!module) return true;
  const QString what = QStringLiteral("Телеуправление, %1, «%2»: %3")
                           .arg(p.params.value("name"), p.params.value(state == 0 ? "command0" : "command1"));
  if (answer.good())
    module->SetError(what.arg(QStringLiteral("команда передана")));
  else if (answer.kind == tlm::Answer::kNone)
    module->SetError(what.arg(QStringLiteral("ответа нет, выполнена ли команда, не известно")));
  else
    module->SetError(what.arg(tlm::refusalText(answer)));
  return true;
}

void CPopRemoteControl::FocusToPassword() {
  if (isVisible() && parts_->step == kChoosing) (parts_->asksPassword ? parts_->password : parts_->user)->setFocus();
}

void CPopRemoteControl::go(Step step, const QString& text, bool bad) {
  Parts& p = *parts_;
  p.step = step;
  p.choice->setVisible(step == kChoosing);
  tell(text, bad);
  showButtons();
}

void CPopRemoteControl::showButtons() {
  Parts& p = *parts_;
  const bool asks = p.step == kChoosing || p.step == kConfirming;
  p.accept->setVisible(asks);
  p.accept->setText(p.step == kConfirming ? QString::fromUtf8(kSendCaption) : QStringLiteral("Далее"));
  p.reject->setText(p.step == kConfirming ? QStringLiteral("Назад")
                    : asks                ? QStringLiteral("Отмена")
                                          : QStringLiteral("Закрыть"));
  if (isVisible() && p.step != kChoosing) p.reject->setFocus();
}

// Enter where no button has the focus. A command goes out by its own button alone.
void CPopRemoteControl::On_Accept() {
  if (parts_->step == kChoosing) return confirm();
  if (parts_->step != kConfirming) hide();
}

void CPopRemoteControl::proceed() {
  if (parts_->step == kChoosing) return confirm();
  if (parts_->step == kConfirming) send();
}

void CPopRemoteControl::On_Reject() {
  if (parts_->step != kConfirming) return hide();
  go(kChoosing);
  FocusToPassword();
}

void CPopRemoteControl::confirm() {
  Parts& p = *parts_;
  if (p.user->text().trimmed().isEmpty()) {
    p.user->setFocus();
    return tell(QStringLiteral("Назовите оператора."), true);
  }
  if (p.asksPassword && p.password->text().isEmpty()) {
    p.password->setFocus();
    return tell(QStringLiteral("Введите пароль."), true);
  }
  const QString unit = p.params.value("unitName");
  const QString name = p.params.value("name");
  const QString object = unit.isEmpty() ? name : QStringLiteral("%1, %2").arg(unit, name);
  go(kConfirming, QStringLiteral("Подать команду «%1» на объект «%2»?").arg(p.commandName(), object));
}

// The password leaves the panel with the command, whatever comes of it.
void CPopRemoteControl::send() {
  Parts& p = *parts_;
  const QByteArray body = p.command(p.chosen(), tlm::serverCodec()->fromUnicode(p.user->text().trimmed()),
                                    p.asksPassword ? p.password->text().toUtf8() : QByteArray());
  p.forgetPassword();
  const tlm::Answer answer = tlm::ask(tlm::sessionAround(parentWidget()), "RemoteControl", body, kAnswerMs);
  p.sent = p.sent || answer.good() || answer.kind == tlm::Answer::kNone;
  if (answer.good()) return go(kWaiting, QStringLiteral("Команда передана, ожидается квитанция."));
  if (answer.kind == tlm::Answer::kNone) return go(kUnknown, tlm::unknownText(), true);
  const bool unsent = answer.kind == tlm::Answer::kUnsent;
  go(kChoosing, unsent ? QStringLiteral("Нет связи с сервером, команда не подана.") : tlm::refusalText(answer), true);
  FocusToPassword();
}

void CPopRemoteControl::refresh() {
  Parts& p = *parts_;
  const QByteArray body = tlm::line("locId", QByteArray::number(locId));
  const tlm::Answer answer = tlm::ask(tlm::sessionAround(parentWidget()), "MeasParams", body, kRefreshAnswerMs);
  refreshTimer.start();  // the time between two questions is the window's, however slow the server is
  if (answer.kind != tlm::Answer::kGiven) return p.card->setSilent();
  const tlm::Lines lines(answer.text);
  if (answer.good() && lines.value("key") == p.params.value("key")) {
    p.hear(lines);
    p.card->setValue(lines);
  } else if (p.step == kChoosing || p.step == kConfirming) {
    return go(kOver, tlm::goneText(answer), true);
  }
  if (p.step == kWaiting || p.step == kUnknown) askOutcome();
}

// The panel tells the outcome of its own command. The module's receipt, which comes beside it, is of whatever command
// that signal was given, by anybody.
void CPopRemoteControl::askOutcome() {
  Parts& p = *parts_;
  const QByteArray body = tlm::line("id", p.identity) + tlm::line("issued", p.issued);
  const tlm::Answer answer = tlm::ask(tlm::sessionAround(parentWidget()), "CommandOutcome", body, kRefreshAnswerMs);
  if (!answer.good()) return;
  const tlm::Lines lines(answer.text);
  if (lines.value("state") != QLatin1String("running")) return go(kOver, tlm::outcomeText(lines), !tlm::isDone(lines));
  if (p.step != kWaiting) go(kWaiting, QStringLiteral("Команда передана, ожидается квитанция."));
}

void CPopRemoteControl::tell(const QString& text, bool bad) {
  tlm::showNotice(parts_->notice, text, bad);
  if (isVisible()) moveToCenter();
}

void CPopRemoteControl::showEvent(QShowEvent* event) {
  moveToCenter();
  CPopTemplate::showEvent(event);
  refreshTimer.start();
  FocusToPassword();
}

void CPopRemoteControl::hideEvent(QHideEvent* event) {
  refreshTimer.stop();
  parts_->forgetPassword();
  CPopTemplate::hideEvent(event);
  if (!event->spontaneous()) emit signalTlmCliWidgetClosed(this, parts_->sent ? 1 : 0);
}
