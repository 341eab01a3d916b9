// Values by hand: how the panel opens, what it takes, and what comes of it.
#include "OperatorWindow.h"

namespace tlm::test {
namespace {

class ManualInput : public OperatorWindow {
 protected:
  CPopManualInput* panel() { return module->popManualInput; }
  QString valueOf(int locId) {
    const auto value = server.core()->live().current(locId);
    return value ? QString::fromLatin1(server::valueText(*value).c_str()) : "none";
  }
  // The panel looks more often than an operator would want.
  bool comes(const std::function<bool()>& condition) {
    panel()->refreshTimer.setInterval(30);
    return processUntil(condition);
  }
  // A text as valueOf gives it: byte by byte.
  QString latin(const char* text) { return QString::fromLatin1(module->moduleCodec->fromUnicode(text)); }
  QColor colourOf(const char* label) { return in<QLabel>(panel(), label)->palette().color(QPalette::WindowText); }
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
  for (const char* label : {"lbl_Who", "lbl_Problem"}) EXPECT_TRUE(in<QLabel>(panel(), label)->isHidden()) << label;
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

TEST_F(ManualInput, TellsTheQualityOfTheValueInItsColour) {
  struct Shade {
    server::Quality quality;
    const char* text;
    const char* colour;
  };
  for (const Shade& shade :
       {Shade{server::Quality::kGood, "достоверно, ", "#1b6e3a"}, Shade{server::Quality::kOld, "устарело, ", "#a85a00"},
        Shade{server::Quality::kInvalid, "недостоверно, ", "#c62828"}}) {
    server.core()->live().set(1001, {server::systemTime(), shade.quality, 42.5});
    choose("Всё есть", module->actManual);
    EXPECT_TRUE(told(panel(), "lbl_Since").startsWith(shade.text)) << shade.text;
    EXPECT_EQ(colourOf("lbl_Since"), QColor(shade.colour)) << shade.text;
  }
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

TEST_F(ManualInput, OfADiscreteEndsItsStatesWhereItsButtonsEnd) {
  choose("Q-1", module->actManual);
  QApplication::processEvents();
  const auto rightOf = [&](const char* name) {
    const auto* widget = in<QWidget>(panel(), name);
    return widget->mapTo(panel(), widget->rect().topRight()).x();
  };
  EXPECT_EQ(rightOf("cb_State"), rightOf("btn_Cancel"));
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
  EXPECT_TRUE(comes([this] { return !in<QPushButton>(panel(), "btn_OK")->isEnabled(); }));
  EXPECT_EQ(told(panel(), "lbl_Problem"), "Измерения больше нет на сервере.");
}

// ---- keys, bounds and what comes between ----

constexpr char kElsewhere[] = "Этот номер теперь у другого измерения.";
constexpr char kGone[] = "Измерения больше нет на сервере.";

TEST_F(ManualInput, OpensOnTheValueReadyToBeTypedOver) {
  choose("Всё есть", module->actManual);
  EXPECT_EQ(QApplication::focusWidget(), in<QLineEdit>(panel(), "le_Value"));
  EXPECT_EQ(in<QLineEdit>(panel(), "le_Value")->selectedText(), "42,5");
  EXPECT_EQ(told(panel(), "lbl_Unit"), "кВ");
  choose("Q-1", module->actManual);
  EXPECT_EQ(QApplication::focusWidget(), in<QComboBox>(panel(), "cb_State"));
}

TEST_F(ManualInput, BringsTheFocusBackToWhatIsWrong) {
  choose("Всё есть", module->actManual);
  for (const auto& [wrong, why] : {std::pair("", "Введите значение."),
                                   {"много", "Это не число."},
                                   {"101", "Значение вне пределов: от 0 до 100."}}) {
    enter(panel(), "le_Value", wrong);
    in<QPushButton>(panel(), "btn_OK")->setFocus();
    press(panel(), "btn_OK");
    EXPECT_EQ(told(panel(), "lbl_Problem"), why);
    EXPECT_EQ(QApplication::focusWidget(), in<QLineEdit>(panel(), "le_Value"));
    EXPECT_EQ(in<QLineEdit>(panel(), "le_Value")->selectedText(), wrong);
  }
}

TEST_F(ManualInput, TakesPointCommaAndBlanksAround) {
  for (const char* text : {"7.25", "7,25", " 7,25 "}) {
    choose("Всё есть", module->actManual);
    enter(panel(), "le_Value", text);
    press(panel(), "btn_OK");
    EXPECT_TRUE(panel()->isHidden()) << text;
    EXPECT_EQ(valueOf(1001), "7.25") << text;
    module->CreateManualInputSetting(1001);
    enter(panel(), "le_Value", "1");
    press(panel(), "btn_OK");
  }
}

TEST_F(ManualInput, WithReversedLimitsTakesNothingAndSaysWhy) {
  choose("Наоборот", module->actManual);
  enter(panel(), "le_Value", "50");
  press(panel(), "btn_OK");
  EXPECT_EQ(told(panel(), "lbl_Problem"), "Значение вне пределов: от 100 до 0.");
  EXPECT_FALSE(isManual(1007));
}

TEST_F(ManualInput, WithoutLimitsShowsNoneAndTakesAnyNumber) {
  choose("Не задано", module->actManual);
  EXPECT_TRUE(in<QLabel>(panel(), "lbl_Limits")->isHidden());
  enter(panel(), "le_Value", "inf");
  press(panel(), "btn_OK");
  EXPECT_EQ(told(panel(), "lbl_Problem"), "Это не число.");
  EXPECT_EQ(told(panel(), "lbl_Value"), "нет данных");
  EXPECT_EQ(told(panel(), "lbl_Since"), "");
  enter(panel(), "le_Value", "-123456,5");
  press(panel(), "btn_OK");
  EXPECT_EQ(valueOf(1005), "-123456.5");
}

TEST_F(ManualInput, OfACounterHasItsOwnWords) {
  choose("Wp", module->actManual);
  EXPECT_EQ(told(panel(), "lbl_Limits"), "от 0 до 1000");
  enter(panel(), "le_Value", "1,5");
  press(panel(), "btn_OK");
  EXPECT_EQ(told(panel(), "lbl_Problem"), "Показание счетчика — целое число.");
  EXPECT_EQ(app.log.filter("ManualValue"), QStringList());
  Colleague colleague(*server.core());
  ASSERT_TRUE(colleague.change("Accumulator", key("Wp"), {"rollover=0"}).commit());
  module->CreateManualInputSetting(3001);
  EXPECT_EQ(told(panel(), "lbl_Limits"), "от 0");
  enter(panel(), "le_Value", "123456789");
  press(panel(), "btn_OK");
  EXPECT_EQ(valueOf(3001), "123456789");
}

TEST_F(ManualInput, OfATextWithoutABoundTakesWhatTheServerTakes) {
  Colleague colleague(*server.core());
  ASSERT_TRUE(colleague.change("StringMeasurement", key("Режим"), {"maxLength=0"}).commit());
  module->CreateManualInputSetting(4001);
  EXPECT_EQ(in<QLineEdit>(panel(), "le_Value")->maxLength(), 4096);
  in<QLineEdit>(panel(), "le_Value")->setText("две\nстроки");
  press(panel(), "btn_OK");
  EXPECT_EQ(valueOf(4001), latin("две строки"));
}

TEST_F(ManualInput, TakesNothingFromANameThatLooksLikeAValue) {
  Colleague colleague(*server.core());
  ASSERT_TRUE(colleague.change("IdentifiedObject", key("Всё есть"), {"name_=value=7"}).commit());
  ASSERT_TRUE(eventsAreIn());
  module->CreateManualInputSetting(1001);
  EXPECT_EQ(in<QLineEdit>(panel(), "le_Value")->text(), "42,5");
}

TEST_F(ManualInput, OfATextShowsAllOfItAfterAShorterOne) {
  const QString text = QString("Сводка ").repeated(9).trimmed();
  server.core()->live().set(
      4002, {server::systemTime(), server::Quality::kGood, module->moduleCodec->fromUnicode(text).toStdString()});
  choose("Режим", module->actManual);
  EXPECT_EQ(told(panel(), "lbl_Limits"), "не длиннее 5 знаков");
  choose("Сводка", module->actManual);
  EXPECT_EQ(in<QLineEdit>(panel(), "le_Value")->text(), text);
  EXPECT_EQ(in<QLineEdit>(panel(), "le_Value")->maxLength(), 100);
}

TEST_F(ManualInput, OfATextOfOneLetterTakesOne) {
  ASSERT_TRUE(Colleague(*server.core()).change("StringMeasurement", key("Режим"), {"maxLength=1"}).commit());
  choose("Режим", module->actManual);
  EXPECT_EQ(told(panel(), "lbl_Limits"), "не длиннее 1 знаков");
  enter(panel(), "le_Value", "ab");
  EXPECT_EQ(in<QLineEdit>(panel(), "le_Value")->text(), "a");
}

TEST_F(ManualInput, OfANumberTakesFortyCharacters) {
  choose("Всё есть", module->actManual);
  enter(panel(), "le_Value", QString(41, '1'));
  EXPECT_EQ(in<QLineEdit>(panel(), "le_Value")->text().size(), 40);
}

TEST_F(ManualInput, KeepsNothingOfTheMeasurementBefore) {
  choose("Q-1", module->actManual);
  choose("Q-3", module->actManual);
  EXPECT_EQ(in<QComboBox>(panel(), "cb_State")->count(), 2);
  EXPECT_NE(told(panel(), "lbl_Since"), "");
  choose("Не задано", module->actManual);
  EXPECT_EQ(told(panel(), "lbl_Value"), "нет данных");
  EXPECT_EQ(told(panel(), "lbl_Since"), "");
}

TEST_F(ManualInput, OfATextTakesOnlyWhatTheServerCanWrite) {
  choose("Сводка", module->actManual);
  enter(panel(), "le_Value", QString::fromUtf8("температура ℃"));
  press(panel(), "btn_OK");
  EXPECT_EQ(told(panel(), "lbl_Problem"), "В тексте есть знаки, которых нет в кодировке сервера.");
  EXPECT_FALSE(isManual(4002));
  enter(panel(), "le_Value", "");
  press(panel(), "btn_OK");
  EXPECT_TRUE(isManual(4002));
  EXPECT_EQ(valueOf(4002), "");
}

TEST_F(ManualInput, OfAStateOpensOnTheStateThatStands) {
  server.core()->live().set(2001, {server::systemTime(), server::Quality::kGood, 1.0});
  choose("Q-1", module->actManual);
  EXPECT_EQ(in<QComboBox>(panel(), "cb_State")->currentText(), "Включено");
  server.core()->live().set(2001, {server::systemTime(), server::Quality::kGood, 0.0});
  module->CreateManualInputSetting(2001);
  EXPECT_EQ(in<QComboBox>(panel(), "cb_State")->currentText(), "Отключено");
}

TEST_F(ManualInput, ThatIsNotAllowedOnlyLifts) {
  choose("Нельзя", module->actManual);
  EXPECT_EQ(told(panel(), "lbl_Problem"), "Ручной ввод для этого измерения не разрешен.");
  EXPECT_TRUE(panel()->isManualAuto());
  EXPECT_FALSE(in<QRadioButton>(panel(), "rb_Manual")->isEnabled());
  EXPECT_FALSE(in<QLineEdit>(panel(), "le_Value")->isEnabled());
  EXPECT_FALSE(in<QPushButton>(panel(), "btn_OK")->isEnabled());
  QTest::keyClick(panel(), Qt::Key_Return);
  EXPECT_TRUE(panel()->isVisible());
  server.core()->live().setManual(1006, {server::systemTime(), server::Quality::kManual, 5.0}, "x");
  module->CreateManualInputSetting(1006);
  EXPECT_TRUE(in<QPushButton>(panel(), "btn_OK")->isEnabled());
  press(panel(), "btn_OK");
  EXPECT_TRUE(panel()->isHidden());
  EXPECT_FALSE(isManual(1006));
}

TEST_F(ManualInput, EnterOnCancelCancels) {
  choose("Всё есть", module->actManual);
  enter(panel(), "le_Value", "7");
  in<QPushButton>(panel(), "btn_Cancel")->setFocus();
  QTest::keyClick(in<QPushButton>(panel(), "btn_Cancel"), Qt::Key_Return);
  EXPECT_TRUE(panel()->isHidden());
  EXPECT_FALSE(isManual(1001));
  EXPECT_EQ(QApplication::focusWidget(), tree());
}

TEST_F(ManualInput, EnterOnASwitchApplies) {
  choose("Всё есть", module->actManual);
  enter(panel(), "le_Value", "7");
  in<QRadioButton>(panel(), "rb_Manual")->setFocus();
  QTest::keyClick(in<QRadioButton>(panel(), "rb_Manual"), Qt::Key_Enter);
  EXPECT_TRUE(panel()->isHidden());
  EXPECT_TRUE(isManual(1001));
}

TEST_F(ManualInput, TabGoesThroughItsFieldsInTheirOrder) {
  choose("Всё есть", module->actManual);
  QStringList order;
  for (int i = 0; i < 4; ++i) {
    order << QApplication::focusWidget()->objectName();
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
  }
  EXPECT_EQ(order, QStringList({"le_Value", "btn_OK", "btn_Cancel", "rb_Auto"}));
}

TEST_F(ManualInput, WithoutAnAnswerSaysThatItIsNotKnown) {
  choose("Всё есть", module->actManual);
  enter(panel(), "le_Value", "7");
  app.failures.add("PacketExec ManualValue", Fail::kTimeOut);
  press(panel(), "btn_OK");
  EXPECT_TRUE(panel()->isVisible());
  EXPECT_EQ(told(panel(), "lbl_Problem"), "Сервер не ответил: принято ли значение, не известно.");
  app.failures.clear();
  app.failures.add("PacketExec ManualValue", Fail::kRefuseToSend);
  press(panel(), "btn_OK");
  EXPECT_EQ(told(panel(), "lbl_Problem"), "Нет связи с сервером, запрос не отправлен.");
  app.failures.clear();
  app.failures.add("PacketExec ManualValue", Fail::kStatus);
  press(panel(), "btn_OK");
  EXPECT_EQ(told(panel(), "lbl_Problem"), "refused by the test");
  app.failures.clear();
  press(panel(), "btn_OK");
  EXPECT_TRUE(panel()->isHidden());
}

TEST_F(ManualInput, OfANumberThatWentToAnotherMeasurementWritesNothing) {
  choose("Всё есть", module->actManual);
  panel()->refreshTimer.stop();  // the other measurement comes between two looks
  enter(panel(), "le_Value", "7");
  renumber("Всё есть", 1001, "Без архива");
  press(panel(), "btn_OK");
  EXPECT_EQ(told(panel(), "lbl_Problem"), kElsewhere);
  EXPECT_FALSE(isManual(1001));
  QTest::mouseClick(in<QRadioButton>(panel(), "rb_Auto"), Qt::LeftButton, Qt::NoModifier, QPoint(8, 8));
  server.core()->live().setManual(1001, {server::systemTime(), server::Quality::kManual, 5.0}, "x");
  press(panel(), "btn_OK");
  EXPECT_TRUE(isManual(1001));
}

TEST_F(ManualInput, TellsThatItsNumberWentToAnotherMeasurement) {
  choose("Всё есть", module->actManual);
  renumber("Всё есть", 1001, "Без архива");
  EXPECT_TRUE(comes([this] { return told(panel(), "lbl_Problem") == kElsewhere; }));
  EXPECT_FALSE(in<QPushButton>(panel(), "btn_OK")->isEnabled());
  EXPECT_EQ(told(panel(), "lbl_Name"), "Всё есть");
}

TEST_F(ManualInput, FollowsTheValueWhileItIsOpen) {
  choose("Всё есть", module->actManual);
  server.core()->live().set(1001, {server::systemTime(), server::Quality::kOld, 43.0});
  EXPECT_TRUE(comes([this] { return told(panel(), "lbl_Value").startsWith("43"); }));
  EXPECT_TRUE(told(panel(), "lbl_Since").startsWith("устарело, ")) << told(panel(), "lbl_Since").toStdString();
  server.core()->live().setManual(1001, {server::systemTime(), server::Quality::kManual, 5.0}, {});
  EXPECT_TRUE(comes([this] { return told(panel(), "lbl_Who").startsWith("Введено вручную: неизвестно кем, "); }));
  EXPECT_EQ(in<QLineEdit>(panel(), "le_Value")->text(), "42,5");  // what is being typed stays
}

TEST_F(ManualInput, TellsThatTheServerIsSilentAndAsksOn) {
  choose("Всё есть", module->actManual);
  app.failures.add("PacketExec MeasParams", Fail::kRefuseToSend);
  EXPECT_TRUE(
      comes([this] { return told(panel(), "lbl_Since") == "нет связи с сервером, значение могло измениться"; }));
  EXPECT_EQ(colourOf("lbl_Since"), QColor("#c62828"));
  EXPECT_TRUE(in<QPushButton>(panel(), "btn_OK")->isEnabled());
  app.failures.clear();
  EXPECT_TRUE(comes([this] { return told(panel(), "lbl_Since").startsWith("достоверно, "); }));
  EXPECT_EQ(colourOf("lbl_Since"), QColor("#1b6e3a"));
}

TEST_F(ManualInput, AsksNothingWhileItIsHidden) {
  choose("Всё есть", module->actManual);
  EXPECT_EQ(panel()->refreshTimer.interval(), 1000);
  QTest::keyClick(panel(), Qt::Key_Escape);
  EXPECT_FALSE(panel()->refreshTimer.isActive());
}

TEST_F(ManualInput, CutsNoLongName) {
  const QString name = QString("ПС110_Щёкинская-").repeated(9);
  Colleague colleague(*server.core());
  ASSERT_TRUE(colleague.change("IdentifiedObject", key("Всё есть"), {"name_=" + name}).commit());
  ASSERT_TRUE(eventsAreIn());
  module->CreateManualInputSetting(1001);
  const auto* const label = in<QLabel>(panel(), "lbl_Name");
  EXPECT_EQ(label->text().remove(QChar(0x200B)), name);
  for (const QString& piece : label->text().split(QChar(0x200B)))
    EXPECT_LE(label->fontMetrics().horizontalAdvance(piece), label->width());
  EXPECT_GE(label->height(), label->heightForWidth(label->width()));
  EXPECT_TRUE(module->rect().contains(panel()->geometry()));
}

TEST_F(ManualInput, ShowsMarkupInANameAsItIs) {
  Colleague colleague(*server.core());
  ASSERT_TRUE(colleague.change("IdentifiedObject", key("Всё есть"), {"name_=<b>U</b> & I"}).commit());
  ASSERT_TRUE(eventsAreIn());
  module->CreateManualInputSetting(1001);
  EXPECT_EQ(in<QLabel>(panel(), "lbl_Name")->textFormat(), Qt::PlainText);
  EXPECT_EQ(told(panel(), "lbl_Name"), "<b>U</b> & I");
}

TEST_F(ManualInput, OpensForTheRowOfItsMenuAlone) {
  click("Всё есть");
  openMenu("Q-1");
  click("Всё есть");
  module->actManual->trigger();
  EXPECT_EQ(panel(), nullptr);
  EXPECT_EQ(asked().filter("MeasParams"), QStringList());
}

}  // namespace
}  // namespace tlm::test
