// Manual input, duplicates, remote control: when they open, what they ask, and what comes of it.
#include "CToolMeasParamsConf.h"

#include <QSignalSpy>
#include <QTableWidget>

#include "Colleague.h"
#include "OperatorWindow.h"

namespace tlm::test {
namespace {

constexpr char kNoArchive[] =
    "Для данного измерения не задействована система архивирования. Для корректной работы системы архивирования у "
    "измерения должны быть включены свойства : Архивирование";
constexpr char kNoDuplicates[] =
    "Для данного измерения не задействована система дублирования. Для корректной работы системы дублирования  у "
    "измерения должны быть включены свойства : ";

QString refusalBox() {
  CPopMessageBox* const box = waitingBox();
  if (!box) return "none";
  EXPECT_EQ(box->titleText(), "Ошибка");
  EXPECT_EQ(box->icon(), 1);
  EXPECT_EQ(box->type(), 0);
  const QString text = box->messageText();
  QTest::keyClick(box, Qt::Key_Return);
  settle();
  EXPECT_EQ(waitingBox(), nullptr);
  EXPECT_TRUE(box->isHidden());
  return text;
}

// ---- conditions ----

class Conditions : public OperatorWindow {
 protected:
  QString refused(const QString& objectKey, int kind) {
    QString message = "untouched";
    const bool refuses = module->CheckConditions(objectKey, message, kind);
    return refuses ? message : "may open, " + message;
  }
};

TEST_F(Conditions, OfAValueWantTheArchive) {
  EXPECT_EQ(refused(key("Без архива"), 1), kNoArchive);
  EXPECT_EQ(refused(key("Без всего"), 1), kNoArchive);
  EXPECT_EQ(refused(key("Без дублей"), 1), "may open, untouched");
  EXPECT_EQ(refused(key("Всё есть"), 1), "may open, untouched");
}

TEST_F(Conditions, OfDuplicatesWantBothProperties) {
  EXPECT_EQ(refused(key("Всё есть"), 2), "may open, untouched");
  EXPECT_EQ(refused(key("Без дублей"), 2), kNoDuplicates + QString("Использование дублирования"));
  EXPECT_EQ(refused(key("Без архива"), 2), kNoDuplicates + QString("Архивирование"));
  EXPECT_EQ(refused(key("Без всего"), 2), kNoDuplicates + QString("Использование дублирования и Архивирование"));
}

TEST_F(Conditions, AreMetByPropertiesThatAreNotSet) {
  EXPECT_EQ(refused(key("Не задано"), 1), "may open, untouched");
  EXPECT_EQ(refused(key("Не задано"), 2), "may open, untouched");
}

TEST_F(Conditions, AreMetByAnObjectThatCannotBeRead) {
  EXPECT_EQ(refused(QString(), 1), "may open, untouched");
  EXPECT_EQ(refused(key("нигде"), 1), "may open, untouched");
  for (const Fail fail : {Fail::kRefuseToSend, Fail::kTimeOut, Fail::kStatus, Fail::kEmptyPayload}) {
    app.failures.clear();
    app.failures.add("PacketExec RecByKeyLink", fail);
    EXPECT_EQ(refused(key("Без всего"), 1), "may open, untouched");
    EXPECT_EQ(refused(key("Без всего"), 2), "may open, untouched");
  }
}

TEST_F(Conditions, AskNothingForAnEmptyKey) {
  app.log.clear();
  refused(QString(), 1);
  EXPECT_EQ(asked(), QStringList());
}

TEST_F(Conditions, OfNoOtherKindAreLookedAt) { EXPECT_EQ(refused(key("Без всего"), 3), "may open, untouched"); }

TEST_F(Conditions, ThatAreNotMetShowTheBoxForEachTool) {
  choose("Без архива", module->actManual);
  EXPECT_EQ(refusalBox(), kNoArchive);
  EXPECT_EQ(module->popManualInput, nullptr);
  choose("Без архива", module->actDubl);
  EXPECT_EQ(refusalBox(), kNoDuplicates + QString("Архивирование"));
  EXPECT_EQ(module->popDublies, nullptr);
  choose("Q-без архива", module->actRemoteControl);
  EXPECT_EQ(refusalBox(), kNoArchive);
  EXPECT_EQ(module->popRemoteControl, nullptr);
  EXPECT_TRUE(module->pendingTelecontrol.isEmpty());
}

// ---- the tool ----

class ParamsTool : public OperatorWindow {};

TEST_F(ParamsTool, BringsTheTextOfTheReply) {
  CToolMeasParamsConf tool(module.get());
  EXPECT_EQ(tool.objectName(), "measparams");
  tool.locId = 1001;
  app.recordWaits = true;
  tool.Perform(false);
  EXPECT_EQ(tool.state, 2);
  EXPECT_TRUE(tool.params.startsWith("locId=1001\n")) << tool.params.toStdString();
}

TEST_F(ParamsTool, NamesTheNumberInTheBody) {
  CToolMeasParamsConf tool(module.get());
  tool.locId = 77;
  app.log.clear();
  tool.Perform(false);
  EXPECT_EQ(app.log, QStringList("PacketExec MeasParams locId=77"));
  EXPECT_EQ(tool.state, 3);
  EXPECT_TRUE(tool.params.isEmpty());
}

TEST_F(ParamsTool, FailsOnEveryOtherReply) {
  for (const Fail fail :
       {Fail::kRefuseToSend, Fail::kTimeOut, Fail::kNoReply, Fail::kStatus, Fail::kEmptyPayload, Fail::kEmptyText}) {
    app.failures.clear();
    app.failures.add("PacketExec MeasParams", fail);
    CToolMeasParamsConf tool(module.get());
    tool.locId = 1001;
    tool.Perform(false);
    EXPECT_EQ(tool.state, 3) << static_cast<int>(fail);
    EXPECT_TRUE(tool.params.isEmpty());
  }
}

TEST_F(ParamsTool, LoadsOnlyWhileItRuns) {
  CToolMeasParamsConf tool(module.get());
  tool.locId = 1001;
  app.log.clear();
  for (const int state : {0, 2, 3}) {
    tool.state = state;
    tool.LoadMeasParams();
    EXPECT_EQ(tool.state, state);
  }
  EXPECT_EQ(app.log, QStringList());
}

TEST_F(ParamsTool, FailsWithoutASession) {
  CTlmCliMod alone(nullptr);
  CToolMeasParamsConf tool(&alone);
  tool.locId = 1001;
  tool.Perform(false);
  EXPECT_EQ(tool.state, 3);
}

// ---- manual input ----

class ManualInput : public OperatorWindow {
 protected:
  CPopManualInput* panel() { return module->popManualInput; }
  QString valueOf(int locId) {
    const auto value = server.core()->live().current(locId);
    return value ? QString::fromStdString(server::valueText(*value)) : "none";
  }
  bool isManual(int locId) { return server.core()->live().isManual(locId); }
};

TEST_F(ManualInput, AsksForConditionsThenParameters) {
  choose("Всё есть", module->actManual);
  EXPECT_EQ(asked(), QStringList({"PacketExec RecByKeyLink " + key("Всё есть"), "PacketExec MeasParams locId=1001"}));
  ASSERT_NE(panel(), nullptr);
  EXPECT_EQ(panel()->locId, 1001);
  EXPECT_EQ(panel()->parent(), module.get());
  EXPECT_TRUE(panel()->isVisible());
  EXPECT_EQ(told(panel(), "lbl_Name"), "Всё есть");
}

TEST_F(ManualInput, KeepsItsPanelFromOneMeasurementToTheNext) {
  choose("Всё есть", module->actManual);
  CPopManualInput* const first = panel();
  QTest::keyClick(first, Qt::Key_Escape);
  choose("Не задано", module->actManual);
  EXPECT_EQ(panel(), first);
  EXPECT_EQ(panel()->locId, 1005);
  EXPECT_EQ(told(panel(), "lbl_Name"), "Не задано");
}

TEST_F(ManualInput, ComesToTheFrontAndRefreshesOnWhenOpenedAgain) {
  choose("Всё есть", module->actManual);
  ASSERT_TRUE(panel()->refreshTimer.isActive());
  QWidget cover(module.get());
  cover.show();
  module->CreateManualInputSetting(1001);
  EXPECT_TRUE(panel()->isVisible());
  EXPECT_TRUE(panel()->refreshTimer.isActive());
  EXPECT_EQ(module->children().last(), panel());
}

TEST_F(ManualInput, ThatGetsNoParametersShowsNothing) {
  app.failures.add("PacketExec MeasParams", Fail::kStatus);
  choose("Всё есть", module->actManual);
  EXPECT_EQ(panel(), nullptr);
  EXPECT_EQ(waitingBox(), nullptr);
}

TEST_F(ManualInput, OfNoRowOrOfARowWithoutNumberDoesNothing) {
  tree()->setCurrentIndex(QModelIndex());
  app.log.clear();
  module->OnSetManuslAction();
  module->OnSetDublieslAction();
  module->OnRemoteControl();
  EXPECT_EQ(asked(), QStringList());
  tree()->setCurrentIndex(find("Q-1").parent());  // a group: no key
  app.log.clear();
  module->OnSetManuslAction();
  EXPECT_EQ(asked(), QStringList());
  click("КП-1");
  app.log.clear();
  module->OnSetManuslAction();  // a unit: a key, no number
  module->OnRemoteControl();
  EXPECT_EQ(asked().filter("MeasParams"), QStringList());
  EXPECT_EQ(panel(), nullptr);
}

TEST_F(ManualInput, TakesANumberTypedAndEntered) {
  choose("Всё есть", module->actManual);
  enter(panel(), "le_Value", "12,75");
  QTest::keyClick(in<QLineEdit>(panel(), "le_Value"), Qt::Key_Return);
  EXPECT_TRUE(panel()->isHidden());
  EXPECT_EQ(valueOf(1001), "12.75");
  EXPECT_TRUE(isManual(1001));
}

TEST_F(ManualInput, KeepsToTheLimits) {
  choose("Всё есть", module->actManual);
  EXPECT_EQ(told(panel(), "lbl_Limits"), "от 0 до 100");
  for (const char* wrong : {"100,01", "-0,01", "abc", "", "inf", "nan"}) {
    enter(panel(), "le_Value", wrong);
    press(panel(), "btn_OK");
    EXPECT_TRUE(panel()->isVisible()) << wrong;
    EXPECT_FALSE(told(panel(), "lbl_Problem").isEmpty()) << wrong;
  }
  EXPECT_FALSE(isManual(1001));
  for (const char* bound : {"100", "0"}) {
    enter(panel(), "le_Value", bound);
    press(panel(), "btn_OK");
    EXPECT_TRUE(panel()->isHidden()) << bound;
    EXPECT_EQ(valueOf(1001), bound);
    module->CreateManualInputSetting(1001);
  }
}

TEST_F(ManualInput, EscapeSendsNothing) {
  choose("Всё есть", module->actManual);
  enter(panel(), "le_Value", "7");
  QTest::keyClick(in<QLineEdit>(panel(), "le_Value"), Qt::Key_Escape);
  EXPECT_TRUE(panel()->isHidden());
  EXPECT_FALSE(isManual(1001));
}

TEST_F(ManualInput, OfADiscreteIsAStateByName) {
  choose("Q-1", module->actManual);
  auto* const states = in<QComboBox>(panel(), "cb_State");
  ASSERT_TRUE(states->isVisible());
  EXPECT_FALSE(in<QLineEdit>(panel(), "le_Value")->isVisible());
  EXPECT_EQ(states->itemText(0), "Отключено");
  EXPECT_EQ(states->itemText(1), "Включено");
  QTest::keyClick(states, Qt::Key_Down);
  press(panel(), "btn_OK");
  EXPECT_EQ(valueOf(2001), "1");
}

TEST_F(ManualInput, OfAnAccumulatorIsAWholeNumber) {
  choose("Wp", module->actManual);
  for (const char* wrong : {"1,5", "-1", "1001"}) {
    enter(panel(), "le_Value", wrong);
    press(panel(), "btn_OK");
    EXPECT_TRUE(panel()->isVisible()) << wrong;
  }
  enter(panel(), "le_Value", "1000");
  press(panel(), "btn_OK");
  EXPECT_EQ(valueOf(3001), "1000");
}

TEST_F(ManualInput, OfAStringIsATextNoLongerThanAllowed) {
  choose("Режим", module->actManual);
  enter(panel(), "le_Value", "Ручной");
  EXPECT_EQ(in<QLineEdit>(panel(), "le_Value")->text(), "Ручно");
  press(panel(), "btn_OK");
  EXPECT_EQ(server::valueText(*server.core()->live().current(4001)).size(), 5u);
  module->CreateManualInputSetting(4001);
  EXPECT_EQ(in<QLineEdit>(panel(), "le_Value")->text(), "Ручно");
}

TEST_F(ManualInput, TellsWhoAndWhenAndIsLiftedAgain) {
  choose("Всё есть", module->actManual);
  EXPECT_EQ(told(panel(), "lbl_Who"), "");
  enter(panel(), "le_Value", "7");
  press(panel(), "btn_OK");
  choose("Всё есть", module->actManual);
  EXPECT_TRUE(told(panel(), "lbl_Who").startsWith("Введено вручную: engineer, "))
      << told(panel(), "lbl_Who").toStdString();
  EXPECT_TRUE(told(panel(), "lbl_Since").startsWith("ручной ввод"));
  QTest::mouseClick(in<QRadioButton>(panel(), "rb_Auto"), Qt::LeftButton, Qt::NoModifier, QPoint(8, 8));
  EXPECT_TRUE(panel()->isManualAuto());
  EXPECT_FALSE(in<QLineEdit>(panel(), "le_Value")->isEnabled());
  press(panel(), "btn_OK");
  EXPECT_FALSE(isManual(1001));
  EXPECT_EQ(valueOf(1001), "42.5");
}

TEST_F(ManualInput, IsShownInThePassport) {
  choose("Всё есть", module->actManual);
  enter(panel(), "le_Value", "7");
  press(panel(), "btn_OK");
  module->onTimerMeasEvent();
  bool shownThere = false;
  QAbstractItemModel* const sheet = module->ui->tV_Prop->model();
  for (int row = 0; row < sheet->rowCount(); ++row)
    shownThere = shownThere || sheet->index(row, 1).data().toString().contains("ручной ввод");
  EXPECT_TRUE(shownThere);
}

TEST_F(ManualInput, TellsWhatTheServerRefusesAndStaysOpen) {
  choose("Всё есть", module->actManual);
  enter(panel(), "le_Value", "7");
  app.failures.add("PacketExec ManualValue", Fail::kStatus);
  press(panel(), "btn_OK");
  EXPECT_TRUE(panel()->isVisible());
  EXPECT_FALSE(told(panel(), "lbl_Problem").isEmpty());
}

TEST_F(ManualInput, OfADeletedMeasurementTellsSoAndCannotBeApplied) {
  choose("Всё есть", module->actManual);
  Colleague colleague(*server.core());
  ASSERT_TRUE(colleague.remove("Analog", key("Всё есть")).commit());
  EXPECT_TRUE(processUntil([this] { return !in<QPushButton>(panel(), "btn_OK")->isEnabled(); }));
  EXPECT_EQ(told(panel(), "lbl_Problem"), "Измерения больше нет на сервере.");
}

// ---- duplicates ----

class DuplicatesPanel : public OperatorWindow {
 protected:
  TlmDublies* panel() { return module->popDublies; }
  QTableWidget* table() { return in<QTableWidget>(panel(), "tw_Dublies"); }
  // "NUMBER on|off MODE" for each source.
  QString rows() {
    QStringList texts;
    for (int row = 0; row < table()->rowCount(); ++row)
      texts << QString("%1 %2 %3")
                   .arg(table()->item(row, 1)->text(), table()->item(row, 0)->checkState() ? "on" : "off")
                   .arg(qobject_cast<QComboBox*>(table()->cellWidget(row, 4))->currentIndex());
    return texts.join(", ");
  }
};

TEST_F(DuplicatesPanel, OpenWithTheObjectsKeyAndNoTool) {
  choose("Всё есть", module->actDubl);
  ASSERT_NE(panel(), nullptr);
  EXPECT_TRUE(panel()->isVisible());
  EXPECT_EQ(panel()->parent(), module.get());
  EXPECT_EQ(asked().first(), "PacketExec RecByKeyLink " + key("Всё есть"));
  EXPECT_EQ(module->findChildren<CToolMeasParamsConf*>().size(), 0);
}

TEST_F(DuplicatesPanel, KeepTheirPanel) {
  choose("Всё есть", module->actDubl);
  TlmDublies* const first = panel();
  QTest::keyClick(first, Qt::Key_Escape);
  EXPECT_TRUE(first->isHidden());
  choose("Не задано", module->actDubl);
  EXPECT_EQ(panel(), first);
  EXPECT_TRUE(first->isVisible());
}

TEST_F(DuplicatesPanel, ShowSourcesInTheirOrderWithSwitchAndMode) {
  choose("Всё есть", module->actDubl);
  EXPECT_EQ(rows(), "1002 on 0, 1003 off 2");
  EXPECT_EQ(table()->item(0, 2)->text(), "КП-1: Без архива");
  EXPECT_FALSE(in<QPushButton>(panel(), "btn_OK")->isEnabled());
}

TEST_F(DuplicatesPanel, SaveAllEditsInOneBlock) {
  choose("Всё есть", module->actDubl);
  QTest::mouseClick(in<QToolButton>(panel(), "btn_Down"), Qt::LeftButton);
  EXPECT_EQ(rows(), "1003 off 2, 1002 on 0");
  table()->item(0, 0)->setCheckState(Qt::Checked);
  enter(panel(), "le_Number", "1005");
  QTest::keyClick(in<QLineEdit>(panel(), "le_Number"), Qt::Key_Return);
  EXPECT_EQ(rows(), "1003 on 2, 1002 on 0, 1005 on 0");
  EXPECT_TRUE(panel()->isVisible());
  app.log.clear();
  press(panel(), "btn_OK");
  EXPECT_TRUE(panel()->isHidden());
  EXPECT_EQ(app.log.filter("SqlUpdate"), QStringList("SqlUpdate Dublies 3 records"));
  EXPECT_EQ(app.log.filter("BlockEnd"), QStringList("BlockEnd"));
  choose("Всё есть", module->actDubl);
  EXPECT_EQ(rows(), "1003 on 2, 1002 on 0, 1005 on 0");
}

TEST_F(DuplicatesPanel, RemoveASource) {
  choose("Всё есть", module->actDubl);
  QTest::mouseClick(in<QToolButton>(panel(), "btn_Remove"), Qt::LeftButton);
  EXPECT_EQ(rows(), "1003 off 2");
  press(panel(), "btn_OK");
  choose("Всё есть", module->actDubl);
  EXPECT_EQ(rows(), "1003 off 2");
}

TEST_F(DuplicatesPanel, EscapeDropsTheEdits) {
  choose("Всё есть", module->actDubl);
  QTest::mouseClick(in<QToolButton>(panel(), "btn_Remove"), Qt::LeftButton);
  app.log.clear();
  QTest::keyClick(panel(), Qt::Key_Escape);
  EXPECT_EQ(app.log.filter("SqlUpdate"), QStringList());
  choose("Всё есть", module->actDubl);
  EXPECT_EQ(rows(), "1002 on 0, 1003 off 2");
}

TEST_F(DuplicatesPanel, TakeNoNumberThatIsNotThereTwiceOrItsOwn) {
  choose("Всё есть", module->actDubl);
  for (const char* wrong : {"777", "1002", "1001"}) {
    enter(panel(), "le_Number", wrong);
    QTest::mouseClick(in<QPushButton>(panel(), "btn_Add"), Qt::LeftButton);
    EXPECT_FALSE(told(panel(), "lbl_Problem").isEmpty()) << wrong;
  }
  EXPECT_EQ(rows(), "1002 on 0, 1003 off 2");
}

TEST_F(DuplicatesPanel, StayOpenWhenTheServerRefuses) {
  choose("Всё есть", module->actDubl);
  QTest::mouseClick(in<QToolButton>(panel(), "btn_Remove"), Qt::LeftButton);
  app.failures.add("BlockEnd", Fail::kStatus);
  press(panel(), "btn_OK");
  EXPECT_TRUE(panel()->isVisible());
  EXPECT_FALSE(told(panel(), "lbl_Problem").isEmpty());
  EXPECT_TRUE(panel()->isEdited());
}

// ---- remote control ----

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
    press(panel(), "btn_OK");
    if (panel()->step() == CPopRemoteControl::kConfirming) press(panel(), "btn_OK");
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

TEST_F(RemoteControl, OfNoNumberOrWithoutParametersDoesNotOpen) {
  EXPECT_FALSE(module->CreateRemoteControl(0));
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
  press(panel(), "btn_OK");
  EXPECT_EQ(told(panel(), "lbl_Notice"), "Назовите оператора.");
  enter(panel(), "le_User", "Петров");
  press(panel(), "btn_OK");
  EXPECT_EQ(told(panel(), "lbl_Notice"), "Введите пароль.");
  EXPECT_EQ(panel()->step(), CPopRemoteControl::kChoosing);
}

TEST_F(RemoteControl, ExecutedBringsItsReceiptAndGoes) {
  command("Q-1");
  ASSERT_EQ(device->commands.size(), 1u);
  EXPECT_EQ(device->commands[0].locId, 2001);
  EXPECT_EQ(device->commands[0].state, 1);
  EXPECT_EQ(receipt(), "4 Команда телеуправления выполнена успешно");
  EXPECT_TRUE(module->pendingTelecontrol.isEmpty());
  EXPECT_TRUE(processUntil([this] { return panel()->isHidden(); }));
}

TEST_F(RemoteControl, RefusedByTheDeviceBringsItsReceipt) {
  device->habit = server::DeviceHabit::kRefuses;
  command("Q-1");
  EXPECT_EQ(receipt(), "3 Команда телеуправления не выполнена");
  EXPECT_TRUE(module->pendingTelecontrol.isEmpty());
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
  EXPECT_TRUE(processUntil([this] { return panel()->step() == CPopRemoteControl::kOver; }));
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
  press(panel(), "btn_OK");
  ASSERT_EQ(panel()->step(), CPopRemoteControl::kConfirming);
  ASSERT_TRUE(colleague.change("Discrete", key("Q-1"), {"CheckTu=0"}).commit());
  press(panel(), "btn_OK");
  EXPECT_EQ(told(panel(), "lbl_Notice"), "Этим объектом нельзя управлять: телеуправление для него не включено.");
  EXPECT_TRUE(device->commands.empty());
}

TEST_F(RemoteControl, OfADeletedMeasurementIsNotSent) {
  choose("Q-1", module->actRemoteControl);
  enter(panel(), "le_User", "Петров");
  enter(panel(), "le_Password", "verysecret");
  press(panel(), "btn_OK");
  Colleague colleague(*server.core());
  ASSERT_TRUE(colleague.remove("Discrete", key("Q-1")).commit());
  press(panel(), "btn_OK");
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

}  // namespace
}  // namespace tlm::test
