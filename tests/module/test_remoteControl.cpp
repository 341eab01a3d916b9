// Telecontrol: from the menu to the receipt, and what stands in the way.
#include <QSignalSpy>

#include "CToolMeasParamsConf.h"
#include "OperatorWindow.h"

namespace tlm::test {
namespace {

class RemoteControl : public OperatorWindow {
 protected:
  CPopRemoteControl* panel() { return module->popRemoteControl; }
  void command(const char* name, const QString& user = "Петров", const QString& password = "verysecret") {
    choose(name, module->actRemoteControl);
    ASSERT_NE(panel(), nullptr);
    order(user, password);
  }
  void order(const QString& user, const QString& password) {
    enter(panel(), "le_User", user);
    enter(panel(), "le_Password", password);
    press("btn_OK");
    if (panel()->step() == CPopRemoteControl::kConfirming) press("btn_OK");
  }
  // The panel looks more often than an operator would want.
  bool comes(const std::function<bool()>& condition) {
    panel()->refreshTimer.setInterval(30);
    return processUntil(condition);
  }
  // What the panel tells in the end, and whether it tells it as something bad.
  QString outcome() {
    if (!comes([this] { return panel()->step() == CPopRemoteControl::kOver; })) return "none";
    return (isBad() ? "bad: " : "") + told(panel(), "lbl_Notice");
  }
  bool isBad() { return in<QLabel>(panel(), "lbl_Notice")->palette().color(QPalette::WindowText) == QColor("#c62828"); }
  QString buttons() {
    QStringList texts;
    for (const char* name : {"btn_OK", "btn_Cancel"})
      if (!in<QPushButton>(panel(), name)->isHidden()) texts << in<QPushButton>(panel(), name)->text();
    return texts.join(", ");
  }
  void press(const char* button) { OperatorWindow::press(panel(), button); }
  void confirm(const char* name) {
    choose(name, module->actRemoteControl);
    enter(panel(), "le_User", "Петров");
    enter(panel(), "le_Password", "verysecret");
    press("btn_OK");
    ASSERT_EQ(panel()->step(), CPopRemoteControl::kConfirming);
  }
  // A line of the body of the command that went out.
  QString sentLine(const QString& name) {
    for (const QString& line : app.log.filter("PacketExec RemoteControl").value(0).split(QRegExp("[\\n ]")))
      if (line.startsWith(name + "=")) return line.mid(name.size() + 1);
    return "none";
  }
  QString receipt() {
    if (!processUntil([] { return waitingBox() != nullptr; })) return "none";
    CPopMessageBox* const box = waitingBox();
    EXPECT_EQ(box->titleText(), "Квитанция телеуправления");
    EXPECT_EQ(box->type(), 2);
    const QString text = QString("%1 %2").arg(box->icon()).arg(box->messageText());
    QTest::keyClick(box, Qt::Key_Return);
    settle();
    return text;
  }
};

TEST_F(RemoteControl, OpensSubscribesAndWaitsForAReceipt) {
  choose("Q-1", module->actRemoteControl);
  ASSERT_NE(panel(), nullptr);
  EXPECT_TRUE(panel()->isVisible());
  EXPECT_EQ(panel()->panelTitle(), "Телеуправление");
  EXPECT_EQ(panel()->locId, 2001);
  EXPECT_EQ(module->pendingTelecontrol, QList<int>{2001});
  EXPECT_EQ(asked(), QStringList({"PacketExec RecByKeyLink " + key("Q-1"), "PacketExec MeasParams locId=2001",
                                  "SubEvent 601,602,603,902,903,904"}));
  EXPECT_EQ(QApplication::focusWidget(), in<QLineEdit>(panel(), "le_Password"));
}

TEST_F(RemoteControl, AddsASecondEntryAtASecondOpening) {
  choose("Q-1", module->actRemoteControl);
  QTest::keyClick(panel(), Qt::Key_Escape);
  choose("Q-1", module->actRemoteControl);
  EXPECT_EQ(module->pendingTelecontrol, (QList<int>{2001, 2001}));
}

TEST_F(RemoteControl, GetsTheFocusWhenItIsOpenAlready) {
  choose("Q-1", module->actRemoteControl);
  choose("Q-3", module->actRemoteControl);
  EXPECT_EQ(panel()->locId, 2005);
  EXPECT_EQ(QApplication::focusWidget(), in<QLineEdit>(panel(), "le_Password"));
}

TEST_F(RemoteControl, OfNoNumberOrWithoutParametersDoesNotOpen) {
  app.log.clear();
  EXPECT_FALSE(module->CreateRemoteControl(0));
  EXPECT_EQ(asked(), QStringList());
  EXPECT_FALSE(module->CreateRemoteControl(777));
  EXPECT_EQ(panel(), nullptr);
  EXPECT_TRUE(module->pendingTelecontrol.isEmpty());
  EXPECT_TRUE(module->CreateRemoteControl(2001));
}

TEST_F(RemoteControl, ConnectsTheClosingAtEachCall) {
  module->CreateRemoteControl(2001);
  module->CreateRemoteControl(2001);
  int cut = 0;
  while (QObject::disconnect(panel(), SIGNAL(signalTlmCliWidgetClosed(QWidget*, int)), module.get(),
                             SLOT(slot_CliWidgetClosed(QWidget*, int))))
    ++cut;
  EXPECT_EQ(cut, 1);  // one call of disconnect cuts all that are alike
}

TEST_F(RemoteControl, TellsOfItsClosing) {
  choose("Q-1", module->actRemoteControl);
  QSignalSpy closed(panel(), &CPopRemoteControl::signalTlmCliWidgetClosed);
  QTest::keyClick(panel(), Qt::Key_Escape);
  ASSERT_EQ(closed.size(), 1);
  EXPECT_EQ(closed[0][0].value<QWidget*>(), panel());
  EXPECT_EQ(closed[0][1].toInt(), 0);
}

TEST_F(RemoteControl, OffersTheCommandThatChangesTheState) {
  choose("Q-1", module->actRemoteControl);
  EXPECT_TRUE(in<QRadioButton>(panel(), "rb_Command1")->isChecked());
  EXPECT_EQ(in<QRadioButton>(panel(), "rb_Command1")->text(), "Включить");
  EXPECT_EQ(told(panel(), "lbl_Value"), "Отключено");
}

TEST_F(RemoteControl, AsksASecondTimeWithObjectAndCommand) {
  choose("Q-1", module->actRemoteControl);
  enter(panel(), "le_User", "Петров");
  enter(panel(), "le_Password", "verysecret");
  QTest::keyClick(in<QLineEdit>(panel(), "le_Password"), Qt::Key_Return);
  EXPECT_EQ(panel()->step(), CPopRemoteControl::kConfirming);
  EXPECT_EQ(told(panel(), "lbl_Notice"), "Подать команду «Включить» на объект «КП-1, Q-1»?");
  EXPECT_TRUE(device->commands.empty());
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);  // on the way back: nothing goes out
  EXPECT_EQ(panel()->step(), CPopRemoteControl::kChoosing);
  EXPECT_TRUE(device->commands.empty());
}

TEST_F(RemoteControl, WantsAnOperatorAndAPassword) {
  choose("Q-1", module->actRemoteControl);
  press("btn_OK");
  EXPECT_EQ(told(panel(), "lbl_Notice"), "Назовите оператора.");
  EXPECT_EQ(QApplication::focusWidget(), in<QLineEdit>(panel(), "le_User"));
  enter(panel(), "le_User", "  ");
  press("btn_OK");
  EXPECT_EQ(told(panel(), "lbl_Notice"), "Назовите оператора.");
  enter(panel(), "le_User", "Петров");
  press("btn_OK");
  EXPECT_EQ(told(panel(), "lbl_Notice"), "Введите пароль.");
  EXPECT_EQ(QApplication::focusWidget(), in<QLineEdit>(panel(), "le_Password"));
  EXPECT_EQ(panel()->step(), CPopRemoteControl::kChoosing);
}

TEST_F(RemoteControl, TakesANameAndAPasswordAsLongAsTheServerDoes) {
  choose("Q-1", module->actRemoteControl);
  for (const auto& [field, length] : {std::pair("le_User", 60), std::pair("le_Password", 128)}) {
    enter(panel(), field, QString(length + 1, 'x'));
    EXPECT_EQ(in<QLineEdit>(panel(), field)->text().size(), length) << field;
  }
}

TEST_F(RemoteControl, ExecutedBringsItsReceiptAndItsOutcome) {
  command("Q-1");
  ASSERT_EQ(device->commands.size(), 1u);
  EXPECT_EQ(device->commands[0].locId, 2001);
  EXPECT_EQ(device->commands[0].state, 1);
  EXPECT_EQ(receipt(), "4 Команда телеуправления выполнена успешно");
  EXPECT_TRUE(module->pendingTelecontrol.isEmpty());
  EXPECT_EQ(outcome(), "Команда выполнена.");
  EXPECT_EQ(told(panel(), "lbl_Value"), "Отключено");  // the device of the test moves nothing
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
  EXPECT_TRUE(panel()->isHidden());
  EXPECT_EQ(QApplication::focusWidget(), tree());
}

TEST_F(RemoteControl, RefusedByTheDeviceBringsItsReceipt) {
  device->habit = server::DeviceHabit::kRefuses;
  command("Q-1");
  EXPECT_EQ(receipt(), "3 Команда телеуправления не выполнена");
  EXPECT_TRUE(module->pendingTelecontrol.isEmpty());
  EXPECT_EQ(outcome(), "bad: Команда не выполнена: устройство отказало.");
}

TEST_F(RemoteControl, WithoutAnEndBringsTheReceiptOfItsTime) {
  Colleague colleague(*server.core());
  ASSERT_TRUE(colleague.change("Discrete", key("Q-1"), {"tuTimeout=1"}).commit());
  device->habit = server::DeviceHabit::kSilent;
  command("Q-1");
  EXPECT_EQ(panel()->step(), CPopRemoteControl::kWaiting);
  EXPECT_EQ(receipt(), "3 Команда телеуправления не выполнена по таймауту");
  EXPECT_EQ(outcome(), "bad: Команда не выполнена по таймауту.");
}

TEST_F(RemoteControl, IsNotSentWithAWrongPassword) {
  command("Q-1", "Петров", "wrong");
  EXPECT_TRUE(device->commands.empty());
  EXPECT_EQ(panel()->step(), CPopRemoteControl::kChoosing);
  EXPECT_EQ(told(panel(), "lbl_Notice"), "Неверное имя оператора или пароль.");
  EXPECT_EQ(in<QLineEdit>(panel(), "le_Password")->text(), "");
  EXPECT_EQ(QApplication::focusWidget(), in<QLineEdit>(panel(), "le_Password"));
  EXPECT_EQ(module->pendingTelecontrol, QList<int>{2001});
}

TEST_F(RemoteControl, IsNotSentWithoutTheRight) {
  command("Q-1", "Гость", "guest");
  EXPECT_TRUE(device->commands.empty());
  EXPECT_EQ(told(panel(), "lbl_Notice"), "У оператора нет права телеуправления.");
}

TEST_F(RemoteControl, WithoutALineIsNotSent) {
  app.failures.add("PacketExec RemoteControl", Fail::kRefuseToSend);
  command("Q-1");
  EXPECT_TRUE(device->commands.empty());
  EXPECT_EQ(told(panel(), "lbl_Notice"), "Нет связи с сервером, команда не подана.");
}

TEST_F(RemoteControl, WithoutAnAnswerSaysThatItIsNotKnownAndAsksLater) {
  app.failures.add("PacketExec RemoteControl", Fail::kTimeOut);
  app.failures.add("PacketExec CommandOutcome", Fail::kTimeOut, 1);
  command("Q-1");
  EXPECT_EQ(panel()->step(), CPopRemoteControl::kUnknown);
  EXPECT_TRUE(told(panel(), "lbl_Notice").startsWith("Ответа нет: выполнена ли команда, не известно."));
  EXPECT_TRUE(comes([this] { return panel()->step() == CPopRemoteControl::kOver; }));
  const bool executed = !device->commands.empty();
  if (executed) {
    EXPECT_EQ(receipt(), "4 Команда телеуправления выполнена успешно");
  }
  EXPECT_EQ(told(panel(), "lbl_Notice"),
            executed ? "Команда выполнена." : "Команда не дошла до сервера и выполнена не будет.");
}

TEST_F(RemoteControl, OfASignalThatMayNoLongerBeCommandedIsNotSent) {
  choose("Q-1", module->actRemoteControl);
  Colleague colleague(*server.core());
  enter(panel(), "le_User", "Петров");
  enter(panel(), "le_Password", "verysecret");
  press("btn_OK");
  ASSERT_EQ(panel()->step(), CPopRemoteControl::kConfirming);
  ASSERT_TRUE(colleague.change("Discrete", key("Q-1"), {"CheckTu=0"}).commit());
  press("btn_OK");
  EXPECT_EQ(told(panel(), "lbl_Notice"), "Этим объектом нельзя управлять: телеуправление для него не включено.");
  EXPECT_TRUE(device->commands.empty());
}

TEST_F(RemoteControl, OfADeletedMeasurementIsNotSent) {
  choose("Q-1", module->actRemoteControl);
  enter(panel(), "le_User", "Петров");
  enter(panel(), "le_Password", "verysecret");
  press("btn_OK");
  Colleague colleague(*server.core());
  ASSERT_TRUE(colleague.remove("Discrete", key("Q-1")).commit());
  press("btn_OK");
  EXPECT_EQ(told(panel(), "lbl_Notice"), "Измерения с таким номером нет на сервере.");
  EXPECT_TRUE(device->commands.empty());
}

TEST_F(RemoteControl, ThatGoesByItselfAwaitsNoReceipt) {
  choose("Q-авто", module->actRemoteControl);
  ASSERT_NE(panel(), nullptr);
  EXPECT_TRUE(panel()->isHidden());
  EXPECT_TRUE(module->pendingTelecontrol.isEmpty());
  EXPECT_FALSE(asked().contains("SubEvent 601,602,603,902,903,904"));
  ASSERT_EQ(device->commands.size(), 1u);
  EXPECT_EQ(device->commands[0].state, 1);
  EXPECT_EQ(app.messages.last(), "Телеуправление, Q-авто, «Включить»: команда передана");
}

TEST_F(RemoteControl, ThatGoesByItselfLeavesItsReceiptToNobody) {
  choose("Q-1", module->actRemoteControl);  // the receipts are subscribed to from here on
  QTest::keyClick(panel(), Qt::Key_Escape);
  choose("Q-авто", module->actRemoteControl);
  ASSERT_EQ(device->commands.size(), 1u);
  settle();
  EXPECT_EQ(waitingBox(), nullptr);
  EXPECT_EQ(module->pendingTelecontrol, QList<int>{2001});
}

TEST_F(RemoteControl, FollowsAnIncomingChangeOfItsField) {
  openMenu("Q-2");
  EXPECT_TRUE(module->actRemoteControl->isVisible());
  EXPECT_FALSE(module->actRemoteControl->isEnabled());
  module->contextMenu->hide();
  Colleague colleague(*server.core());
  ASSERT_TRUE(colleague.change("Discrete", key("Q-2"), {"CheckTu=1"}).commit());
  ASSERT_TRUE(eventsAreIn());
  openMenu("Q-2");
  EXPECT_TRUE(module->actRemoteControl->isEnabled());
}

// ---- keys ----

TEST_F(RemoteControl, EnterSendsFromItsOwnButtonAlone) {
  confirm("Q-1");
  EXPECT_EQ(QApplication::focusWidget(), in<QPushButton>(panel(), "btn_Cancel"));
  panel()->setFocus();
  QTest::keyClick(panel(), Qt::Key_Return);
  EXPECT_EQ(panel()->step(), CPopRemoteControl::kConfirming);
  EXPECT_TRUE(device->commands.empty());
  in<QPushButton>(panel(), "btn_OK")->setFocus();
  QTest::keyClick(in<QPushButton>(panel(), "btn_OK"), Qt::Key_Return);
  EXPECT_EQ(panel()->step(), CPopRemoteControl::kWaiting);
  EXPECT_EQ(device->commands.size(), 1u);
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
  EXPECT_TRUE(panel()->isHidden());
  EXPECT_EQ(device->commands.size(), 1u);
}

TEST_F(RemoteControl, EnterClosesWhatIsOver) {
  command("Q-1");
  receipt();
  outcome();
  panel()->setFocus();
  QTest::keyClick(panel(), Qt::Key_Return);
  EXPECT_TRUE(panel()->isHidden());
}

TEST_F(RemoteControl, AnEnterThatIsHeldGoesOneStep) {
  confirm("Q-1");
  in<QPushButton>(panel(), "btn_OK")->setFocus();
  device->habit = server::DeviceHabit::kSilent;
  for (const bool held : {false, true, true, true}) {
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, "\r", held);
    QCoreApplication::sendEvent(QApplication::focusWidget(), &press);
  }
  EXPECT_EQ(panel()->step(), CPopRemoteControl::kWaiting);
  EXPECT_TRUE(panel()->isVisible());
  EXPECT_EQ(device->commands.size(), 1u);
}

TEST_F(RemoteControl, ADoubleClickOnTheCommandSendsOne) {
  confirm("Q-1");
  auto* const send = in<QPushButton>(panel(), "btn_OK");
  QTest::mouseClick(send, Qt::LeftButton);
  QTest::mouseDClick(send, Qt::LeftButton);
  settle();
  receipt();
  EXPECT_EQ(device->commands.size(), 1u);
}

TEST_F(RemoteControl, EscapeLeadsBackAStepAndThenOut) {
  confirm("Q-1");
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
  EXPECT_EQ(panel()->step(), CPopRemoteControl::kChoosing);
  EXPECT_EQ(told(panel(), "lbl_Notice"), "");
  EXPECT_EQ(in<QLineEdit>(panel(), "le_Password")->text(), "verysecret");
  EXPECT_EQ(QApplication::focusWidget(), in<QLineEdit>(panel(), "le_Password"));
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
  EXPECT_TRUE(panel()->isHidden());
  EXPECT_TRUE(device->commands.empty());
}

TEST_F(RemoteControl, NamesItsButtonsByTheStep) {
  choose("Q-1", module->actRemoteControl);
  EXPECT_EQ(buttons(), "Далее, Отмена");
  EXPECT_TRUE(in<QLineEdit>(panel(), "le_User")->isVisible());
  QTest::keyClick(panel(), Qt::Key_Escape);
  device->habit = server::DeviceHabit::kSilent;
  confirm("Q-1");
  EXPECT_EQ(buttons(), "Подать команду, Назад");
  EXPECT_FALSE(in<QLineEdit>(panel(), "le_User")->isVisible());
  EXPECT_FALSE(isBad());
  press("btn_OK");
  EXPECT_EQ(buttons(), "Закрыть");
  EXPECT_EQ(told(panel(), "lbl_Notice"), "Команда передана, ожидается квитанция.");
  EXPECT_FALSE(isBad());
}

// ---- what is sent ----

TEST_F(RemoteControl, GoesToTheStateThatWasChosen) {
  choose("Q-1", module->actRemoteControl);
  QTest::mouseClick(in<QRadioButton>(panel(), "rb_Command0"), Qt::LeftButton, Qt::NoModifier, QPoint(8, 8));
  enter(panel(), "le_User", " Петров ");
  enter(panel(), "le_Password", "verysecret");
  press("btn_OK");
  EXPECT_EQ(told(panel(), "lbl_Notice"), "Подать команду «Отключить» на объект «КП-1, Q-1»?");
  press("btn_OK");
  receipt();
  ASSERT_EQ(device->commands.size(), 1u);
  EXPECT_EQ(device->commands[0].state, 0);
}

TEST_F(RemoteControl, OfASignalWithoutAUnitNamesTheSignalAlone) {
  Colleague colleague(*server.core());
  ASSERT_TRUE(colleague.change("Measurement", key("Q-3"), {"RemoteUnitKey"}).commit());
  ASSERT_TRUE(eventsAreIn());
  module->CreateRemoteControl(2005);
  EXPECT_EQ(told(panel(), "lbl_Place"), "№ 2005");
  order("Петров", "wrong");
  EXPECT_EQ(told(panel(), "lbl_Notice"), "Неверное имя оператора или пароль.");
  enter(panel(), "le_Password", "verysecret");
  press("btn_OK");
  EXPECT_EQ(told(panel(), "lbl_Notice"), "Подать команду «Включить» на объект «Q-3»?");
}

TEST_F(RemoteControl, OffersToSwitchOffWhatIsOn) {
  server.core()->live().set(2001, {server::systemTime(), server::Quality::kGood, 1.0});
  choose("Q-1", module->actRemoteControl);
  EXPECT_TRUE(in<QRadioButton>(panel(), "rb_Command0")->isChecked());
}

TEST_F(RemoteControl, IsANewCommandEachTime) {
  device->habit = server::DeviceHabit::kRefuses;
  command("Q-1");
  const QString first = sentLine("id");
  EXPECT_EQ(first.size(), 32);
  receipt();
  outcome();
  QTest::keyClick(panel(), Qt::Key_Escape);
  command("Q-1");
  receipt();
  EXPECT_EQ(device->commands.size(), 2u);
  EXPECT_NE(sentLine("id"), first);
}

TEST_F(RemoteControl, CarriesTheTimeOfTheServerAtWhichItWasSent) {
  confirm("Q-1");
  panel()->refreshTimer.stop();
  const double opened = server::systemTime();
  ASSERT_TRUE(processUntil([&] { return server::systemTime() > opened + 0.3 / 86400; }));
  press("btn_OK");
  EXPECT_GT(sentLine("issued").toDouble(), opened + 0.25 / 86400);
  EXPECT_LE(sentLine("issued").toDouble(), server::systemTime() + 0.01 / 86400);
  receipt();
}

TEST_F(RemoteControl, FollowsTheClockOfTheServerWhileItIsOpen) {
  choose("Q-1", module->actRemoteControl);
  CToolMeasParamsConf tool(module.get());
  tool.locId = 2001;
  tool.Perform(false);
  const double opened = server::systemTime();
  panel()->SetParams(tool.params.replace("now=", "now=9"));  // a clock that is far ahead, until it is heard again
  ASSERT_TRUE(comes([&] { return server::systemTime() > opened + 0.3 / 86400; }));
  order("Петров", "verysecret");
  EXPECT_GT(sentLine("issued").toDouble(), opened + 0.25 / 86400);
  EXPECT_LE(sentLine("issued").toDouble(), server::systemTime() + 0.01 / 86400);
  receipt();
}

TEST_F(RemoteControl, TakesAPasswordInAnyLetters) {
  command("Q-1", "Слава", "секрет");
  receipt();
  EXPECT_EQ(device->commands.size(), 1u);
}

TEST_F(RemoteControl, OfASignalWithoutAPasswordAsksForTheOperatorAlone) {
  choose("Q-без пароля", module->actRemoteControl);
  EXPECT_FALSE(in<QLineEdit>(panel(), "le_Password")->isVisible());
  for (const QLabel* title : panel()->findChildren<QLabel*>()) {
    if (title->text() == "Пароль:") {
      EXPECT_FALSE(title->isVisible());
    }
  }
  EXPECT_EQ(QApplication::focusWidget(), in<QLineEdit>(panel(), "le_User"));
  enter(panel(), "le_User", "Гость");
  press("btn_OK");
  press("btn_OK");
  EXPECT_EQ(told(panel(), "lbl_Notice"), "У оператора нет права телеуправления.");
  enter(panel(), "le_User", "Петров");
  press("btn_OK");
  press("btn_OK");
  receipt();
  EXPECT_EQ(device->commands.size(), 1u);
}

TEST_F(RemoteControl, KeepsNoPassword) {
  choose("Q-1", module->actRemoteControl);
  auto* const field = in<QLineEdit>(panel(), "le_Password");
  EXPECT_EQ(field->echoMode(), QLineEdit::Password);
  order("Петров", "wrong");
  ASSERT_EQ(told(panel(), "lbl_Notice"), "Неверное имя оператора или пароль.");
  EXPECT_TRUE(isBad());
  EXPECT_EQ(field->text(), "");
  EXPECT_FALSE(field->isUndoAvailable());
  QTest::keyClick(field, Qt::Key_Z, Qt::ControlModifier);
  EXPECT_EQ(field->text(), "");
  enter(panel(), "le_Password", "secret");
  QTest::keyClick(panel(), Qt::Key_Escape);
  EXPECT_EQ(field->text(), "");
  EXPECT_FALSE(field->isUndoAvailable());
  choose("Q-1", module->actRemoteControl);
  enter(panel(), "le_Password", "secret");
  module->CreateRemoteControl(2005);
  EXPECT_EQ(field->text(), "");
  EXPECT_EQ(in<QLineEdit>(panel(), "le_User")->text(), "Петров");
}

// ---- what comes between ----

TEST_F(RemoteControl, TellsItsOwnOutcomeWhenTheReceiptWasAnothersAlready) {
  choose("Q-1", module->actRemoteControl);
  server.core()->publish({0, 903, 0, key("Q-1").toStdString(), "id=2001,cmd=1", "other", {}});
  EXPECT_EQ(receipt(), "4 Команда телеуправления выполнена успешно");
  device->habit = server::DeviceHabit::kRefuses;
  order("Петров", "verysecret");
  EXPECT_EQ(outcome(), "bad: Команда не выполнена: устройство отказало.");
  EXPECT_EQ(waitingBox(), nullptr);
  EXPECT_TRUE(panel()->isVisible());
}

TEST_F(RemoteControl, OfANumberThatWentToAnotherSignalIsNotSent) {
  confirm("Q-1");
  panel()->refreshTimer.stop();  // the other signal comes between two looks
  renumber("Q-1", 2001, "Q-3");
  press("btn_OK");
  EXPECT_EQ(told(panel(), "lbl_Notice"), "Этот номер теперь у другого измерения.");
  EXPECT_TRUE(device->commands.empty());
}

TEST_F(RemoteControl, EndsWhenItsNumberWentToAnotherSignal) {
  confirm("Q-1");
  renumber("Q-1", 2001, "Q-3");
  EXPECT_EQ(outcome(), "bad: Этот номер теперь у другого измерения.");
  EXPECT_EQ(buttons(), "Закрыть");
}

TEST_F(RemoteControl, EndsWhenItsMeasurementIsDeletedBeforeItIsSent) {
  for (const bool confirming : {false, true}) {
    const char* const name = confirming ? "Q-1" : "Q-3";
    confirm(name);
    if (!confirming) QTest::keyClick(panel(), Qt::Key_Escape);
    Colleague colleague(*server.core());
    ASSERT_TRUE(colleague.remove("Discrete", key(name)).commit());
    EXPECT_EQ(outcome(), "bad: Измерения больше нет на сервере.");
    QTest::keyClick(panel(), Qt::Key_Escape);
  }
  EXPECT_TRUE(device->commands.empty());
}

TEST_F(RemoteControl, OfAMeasurementDeletedAfterItWasSentTellsItsOutcome) {
  device->habit = server::DeviceHabit::kSilent;
  command("Q-1");
  Colleague colleague(*server.core());
  ASSERT_TRUE(colleague.remove("Discrete", key("Q-1")).commit());
  app.log.clear();
  ASSERT_TRUE(comes([this] { return !app.log.filter("CommandOutcome").isEmpty(); }));
  EXPECT_EQ(panel()->step(), CPopRemoteControl::kWaiting);
  device->late(server::DeviceAnswer::kDone);
  EXPECT_EQ(outcome(), "Команда выполнена.");
  EXPECT_EQ(receipt(), "4 Команда телеуправления выполнена успешно");
}

TEST_F(RemoteControl, OnALineThatDiesWhileItWaitsTellsItsOutcomeLater) {
  device->habit = server::DeviceHabit::kSilent;
  command("Q-1");
  app.failures.add("PacketExec", Fail::kRefuseToSend);
  EXPECT_TRUE(
      comes([this] { return told(panel(), "lbl_Since") == "нет связи с сервером, значение могло измениться"; }));
  EXPECT_EQ(panel()->step(), CPopRemoteControl::kWaiting);
  device->late(server::DeviceAnswer::kDone);
  app.failures.clear();
  EXPECT_EQ(outcome(), "Команда выполнена.");
  EXPECT_TRUE(told(panel(), "lbl_Since").startsWith("достоверно, "));
  receipt();
}

TEST_F(RemoteControl, WhoseAnswerIsLostWaitsOnWhileTheServerHasIt) {
  device->habit = server::DeviceHabit::kSilent;
  app.failures.add("PacketExec RemoteControl", Fail::kTimeOut);
  app.failures.add("PacketExec CommandOutcome", Fail::kStatus, 1);
  command("Q-1");
  EXPECT_EQ(panel()->step(), CPopRemoteControl::kUnknown);
  EXPECT_TRUE(isBad());
  EXPECT_EQ(buttons(), "Закрыть");
  EXPECT_TRUE(comes([this] { return panel()->step() == CPopRemoteControl::kWaiting; }));
  EXPECT_EQ(told(panel(), "lbl_Notice"), "Команда передана, ожидается квитанция.");
  device->late(server::DeviceAnswer::kRefused);
  EXPECT_EQ(outcome(), "bad: Команда не выполнена: устройство отказало.");
  receipt();
}

TEST_F(RemoteControl, WhoseRefusalIsLostTellsWhyWhenItIsAskedFor) {
  app.failures.add("PacketExec RemoteControl", Fail::kTimeOut);
  command("Q-1", "Петров", "wrong");
  EXPECT_EQ(panel()->step(), CPopRemoteControl::kUnknown);
  EXPECT_EQ(outcome(), "bad: Команда не подана: сервер ее не принял. Неверное имя оператора или пароль.");
  EXPECT_TRUE(device->commands.empty());
}

TEST_F(RemoteControl, IsToldAsClosedWithACommandOnlyWhenOneWentOut) {
  const auto closedWith = [this](Fail fail, bool fails) {
    app.failures.clear();
    if (fails) app.failures.add("PacketExec RemoteControl", fail);
    command("Q-1");
    QSignalSpy closed(panel(), &CPopRemoteControl::signalTlmCliWidgetClosed);
    QTest::keyClick(panel(), Qt::Key_Escape);
    while (CPopMessageBox* box = waitingBox()) answerBox(box, 0);
    return closed.value(0).value(1).toInt();
  };
  EXPECT_EQ(closedWith(Fail::kStatus, false), 1);
  EXPECT_EQ(closedWith(Fail::kTimeOut, true), 1);
  EXPECT_EQ(closedWith(Fail::kRefuseToSend, true), 0);
  EXPECT_EQ(closedWith(Fail::kStatus, true), 0);
}

TEST_F(RemoteControl, AsksNothingWhileItIsHidden) {
  choose("Q-1", module->actRemoteControl);
  EXPECT_TRUE(panel()->refreshTimer.isActive());
  EXPECT_EQ(panel()->refreshTimer.interval(), 1000);
  QTest::keyClick(panel(), Qt::Key_Escape);
  EXPECT_FALSE(panel()->refreshTimer.isActive());
}

TEST_F(RemoteControl, FollowsTheStateWhileItIsOpenAndKeepsWhatWasChosen) {
  choose("Q-1", module->actRemoteControl);
  server.core()->live().set(2001, {server::systemTime(), server::Quality::kGood, 1.0});
  EXPECT_TRUE(comes([this] { return told(panel(), "lbl_Value") == "Включено"; }));
  EXPECT_TRUE(in<QRadioButton>(panel(), "rb_Command1")->isChecked());
  EXPECT_EQ(told(panel(), "lbl_Place"), "КП-1, № 2001");
}

TEST_F(RemoteControl, OpensForTheRowOfItsMenuAlone) {
  openMenu("Q-авто");
  ASSERT_TRUE(module->contextMenu->isVisible());
  Colleague colleague(*server.core());
  ASSERT_TRUE(colleague.remove("Discrete", key("Q-авто")).commit());
  ASSERT_TRUE(eventsAreIn());
  click("Q-1");
  module->actRemoteControl->trigger();
  EXPECT_EQ(panel(), nullptr);
  EXPECT_TRUE(device->commands.empty());
}

// ---- without the dialog ----

TEST_F(RemoteControl, ThatGoesByItselfChangesTheState) {
  server.core()->live().set(2003, {server::systemTime(), server::Quality::kGood, 1.0});
  choose("Q-авто", module->actRemoteControl);
  ASSERT_EQ(device->commands.size(), 1u);
  EXPECT_EQ(device->commands[0].state, 0);
  EXPECT_EQ(app.messages.last(), "Телеуправление, Q-авто, «Отключить»: команда передана");
  EXPECT_EQ(QApplication::focusWidget(), tree());
}

TEST_F(RemoteControl, GoesByItselfOnlyFromAStateThatIsKnownNow) {
  for (const auto quality : {server::Quality::kManual, server::Quality::kOld, server::Quality::kInvalid}) {
    server.core()->live().set(2003, {server::systemTime(), quality, 0.0});
    choose("Q-авто", module->actRemoteControl);
    EXPECT_TRUE(panel()->isVisible()) << static_cast<int>(quality);
    QTest::keyClick(panel(), Qt::Key_Escape);
  }
  server.core()->live().forget(2003);
  choose("Q-авто", module->actRemoteControl);
  EXPECT_TRUE(panel()->isVisible());
  EXPECT_TRUE(device->commands.empty());
}

TEST_F(RemoteControl, ThatAsksForAPasswordDoesNotGoByItself) {
  Colleague colleague(*server.core());
  ASSERT_TRUE(colleague.change("Discrete", key("Q-авто"), {"tuPassword=1"}).commit());
  choose("Q-авто", module->actRemoteControl);
  EXPECT_TRUE(panel()->isVisible());
  EXPECT_TRUE(device->commands.empty());
}

TEST_F(RemoteControl, ThatGoesByItselfTellsWhatCameOfIt) {
  const QString start = "Телеуправление, Q-авто, «Включить»: ";
  app.failures.add("PacketExec RemoteControl", Fail::kRefuseToSend);
  choose("Q-авто", module->actRemoteControl);
  EXPECT_EQ(app.messages.last(), start + "Нет связи с сервером, запрос не отправлен.");
  app.failures.clear();
  app.failures.add("PacketExec RemoteControl", Fail::kTimeOut);
  choose("Q-авто", module->actRemoteControl);
  EXPECT_EQ(app.messages.last(), start + "ответа нет, выполнена ли команда, не известно");
  app.failures.clear();
  server.core()->setDevice(nullptr);
  choose("Q-авто", module->actRemoteControl);
  EXPECT_EQ(app.messages.last(), start + "Нет устройства, которое выполнило бы команду.");
}

}  // namespace
}  // namespace tlm::test
