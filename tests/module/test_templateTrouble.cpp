// Series by template: bad numbers, a colleague meanwhile, a server that is away.
#include <QCheckBox>
#include <QMimeData>

#include <climits>

#include "TemplateWindow.h"

namespace tlm::test {
namespace {

// ---- bad input -------------------------------------------------------------------------------------------

class TemplateBadInput : public Template {
 protected:
  explicit TemplateBadInput(const char* model = kTemplateModel) : Template(model) {}
  void expectNothing(const char* message) {
    EXPECT_EQ(made(), QStringList());
    expectBox(kTitle, message, kBoxWarning);
  }
};

TEST_F(TemplateBadInput, TextsThatAreNoNumbersReadAsZero) {
  start();
  open("Q Т-1", "КП-2");
  series("abc", "12x", 1, 3);
  EXPECT_EQ(made(), (QStringList{"1 Ряд 1", "2 Ряд 2"})) << "from 0 on, which is no number itself";
}

class NoNumberFree : public TemplateBadInput {
 protected:
  NoNumberFree() : TemplateBadInput("unit КП-1\n  analog 1 A\n  analog 3 B\nunit КП-2\n") {}
};

TEST_F(NoNumberFree, ASeriesWithoutAnyNumberIsTold) {
  start();
  for (const char* wrong : {"", "abc", "99999999999"}) {
    open("A", "КП-2");
    series(wrong, wrong, 1, 3);
    expectNothing("В заданном диапазоне нет номеров, измерения не созданы");
    EXPECT_EQ(writes(), (QStringList{"BlockBeg", "BlockEnd"}));
    EXPECT_FALSE(module->templatePasteOn);
  }
}

TEST_F(TemplateBadInput, ARangeThatEndsBeforeItBeginsIsLookedAtAsFarAsTheRuleGoes) {
  start();
  open("Q Т-1", "КП-2");
  series("1009", "1000", 1, 3);
  EXPECT_EQ(made(), QStringList{"1009 Ряд 1009"}) << "1010 is taken, and the end has passed";
  open("Q Т-1", "КП-2");
  series("1500", "1400", 1, 3);
  EXPECT_EQ(made().size(), 4) << "in front of the next number in use the end is not looked at";
}

TEST_F(TemplateBadInput, AnEnormousStepMakesOneObject) {
  start();
  open("Q Т-1", "КП-2");
  series("1500", "2147483647", 999999999, 3);
  EXPECT_EQ(made(), (QStringList{"1500 Ряд 1500", "1000001499 Ряд 1000001499", "2000001498 Ряд 2000001498"}));
}

TEST_F(TemplateBadInput, ACountBeyondAllBoundsEndsWithAMessage) {
  start();
  open("P Т-1", "КП-2");
  series("9001", "2147483647", 1, 999999999);
  expectNothing("В заданном диапазоне нет номеров, измерения не созданы");
  open("P Т-1", "КП-2");
  series("9001", "9002", 1, 999999999);
  EXPECT_TRUE(waitingBox() == nullptr);
  EXPECT_EQ(made().size(), 2) << "no numbers could be had for the aggregated ones, which stay behind whole";
}

TEST_F(TemplateBadInput, ATemplateThatIsGoneIsTold) {
  start();
  open("Q Т-1", "КП-2");
  ASSERT_TRUE(Colleague(*server.core()).remove("Analog", key("Q Т-1")).commit());
  ASSERT_TRUE(eventsAreIn());
  series("1100", "1200", 1, 3);
  expectNothing("Шаблон не найден на сервере, измерения не созданы");
  EXPECT_EQ(writes(), QStringList());
  EXPECT_TRUE(module->templatePasteOn);
}

TEST_F(TemplateBadInput, AUnitThatIsGoneIsTold) {
  start();
  open("Q Т-1", "КП-3");
  ASSERT_TRUE(Colleague(*server.core()).remove("RemoteUnit", key("КП-3")).commit());
  ASSERT_TRUE(eventsAreIn());
  series("1100", "1200", 1, 3);
  expectNothing("Устройство не найдено, измерения не созданы");
  EXPECT_EQ(writes(), QStringList());
}

TEST_F(TemplateBadInput, AUnitThatGoesBehindTheReportIsToldToo) {
  start();
  open("Q Т-1", "КП-3");
  series("1020", "1100", 1, 4);
  ASSERT_TRUE(Colleague(*server.core()).remove("RemoteUnit", key("КП-3")).commit());
  ASSERT_TRUE(eventsAreIn());
  report()->On_Accept();
  expectNothing("Устройство не найдено, измерения не созданы");
}

TEST_F(TemplateBadInput, TheSeriesGoesWhereItWasAskedFor) {
  start();
  open("Q Т-1", "КП-3");
  tree()->setCurrentIndex(find("КП-2"));
  form()->lE_name->setFocus();
  series("1020", "1100", 1, 4);
  tree()->setCurrentIndex(find("Подстанция"));
  report()->On_Accept();
  ASSERT_TRUE(eventsAreIn());
  EXPECT_EQ(below("КП-3"), "Аналоговые измерения\n  1023 Ряд 1023\n");
}

TEST_F(TemplateBadInput, ATemplateThatACutReplacedIsTold) {
  start();
  open("Q Т-1", "КП-3");
  click("Wp Т-1");
  QTest::keyClick(tree(), Qt::Key_X, Qt::ControlModifier);
  settle();
  dialog()->On_Accept();
  expectNothing("Шаблона больше нет в буфере обмена, измерения не созданы");
  EXPECT_EQ(writes(), QStringList());
}

TEST_F(TemplateBadInput, WithoutADialogTheSeriesGoesToTheCurrentRow) {
  start();
  open("Q Т-1", "КП-3");
  series("1100", "1200", 1, 1);
  copy("Q Т-1");
  click("КП-2");
  module->OnCopyByTemplate_SignOK("1101", "1200", 1, 1, "Ряд");
  ASSERT_TRUE(eventsAreIn());
  EXPECT_EQ(serverField("Measurement", keyOfNumber(1101), "RemoteUnitKey"), "КП-2");
}

TEST_F(TemplateBadInput, ADeclinedDialogLeavesNoTargetBehind) {
  start();
  open("Q Т-1", "КП-3");
  key(Qt::Key_Escape);
  click("КП-2");
  module->OnCopyByTemplate_SignOK("1101", "1200", 1, 1, "Ряд");
  ASSERT_TRUE(eventsAreIn());
  EXPECT_EQ(serverField("Measurement", keyOfNumber(1101), "RemoteUnitKey"), "КП-2");
  open("Q Т-1", "КП-3");
  series("1020", "1100", 1, 4);
  key(Qt::Key_Escape);
  click("КП-2");
  module->OnMessageBoxByTemplate_SignOK();
  ASSERT_TRUE(eventsAreIn());
  EXPECT_EQ(serverField("Measurement", keyOfNumber(1023), "RemoteUnitKey"), "КП-2");
}

TEST_F(TemplateBadInput, ANewSeriesTakesTheOldQuestionBack) {
  start();
  open("Q Т-1", "КП-3");
  series("1020", "1100", 1, 4);
  ASSERT_TRUE(report()->isVisible());
  press(module->actCopyTemplate);
  series("1200", "1300", 1, 1);
  EXPECT_FALSE(report()->isVisible());
  EXPECT_EQ(made(), QStringList{"1200 Ряд 1200"});
}

TEST_F(TemplateBadInput, MeasurementsWithoutAUnitTakeNoSeries) {
  start();
  copy("Q Т-1");
  click(find("Без КП").parent());
  press(module->actCopyTemplate);
  series("1100", "1200", 1, 3);
  expectNothing("Шаблон копируется только в устройство, измерения не созданы");
}

TEST_F(TemplateBadInput, ARefusedBlockLeavesNothingBehind) {
  start();
  open("P Т-1", "КП-2");
  const QStringList before = serverRows();
  // A colleague takes a number between the search and the write.
  series("1020", "1100", 1, 4);
  ASSERT_TRUE(Colleague(*server.core())
                  .add("Analog", QString(32, 'A'), {"name_=Чужое", "locId=1023", "RemoteUnitKey=" + key("КП-1")})
                  .commit());
  ASSERT_TRUE(eventsAreIn());
  report()->On_Accept();
  EXPECT_EQ(serverRows().size(), before.size() + 1);
  EXPECT_EQ(made(), QStringList());
  expectBox("Ошибка изменения данных", "При изменения данных возникла непредвиденная ошибка.\nДанные не были изменены!",
            kBoxError);
  EXPECT_FALSE(module->templatePasteOn) << "whatever the save gave";
  EXPECT_FALSE(module->actCopyTemplate->isEnabled());
}

TEST_F(TemplateBadInput, AServerThatIsAwayIsTold) {
  start();
  open("Q Т-1", "КП-2");
  app.failures.add("CalcExec", Fail::kRefuseToSend);
  app.failures.add("PacketExec", Fail::kRefuseToSend);
  app.failures.add("BlockEnd", Fail::kRefuseToSend);
  series("1100", "1200", 1, 3);
  app.failures.clear();
  expectNothing("Шаблон не найден на сервере, измерения не созданы");
  EXPECT_EQ(writes(), QStringList());
}

TEST_F(TemplateBadInput, FailedScriptsLeaveTheListsEmpty) {
  start();
  for (const Fail fail : {Fail::kTimeOut, Fail::kNoReply, Fail::kStatus, Fail::kEmptyPayload, Fail::kEmptyText}) {
    open("Q Т-1", "КП-2");
    module->freeLocIds = QList<int>{1, 2};
    module->agregLocIds = QList<int>{3};
    app.failures.add("CalcExec", fail);
    series("1100", "1200", 1, 3);
    app.failures.clear();
    EXPECT_EQ(module->freeLocIds, QList<int>());
    EXPECT_EQ(module->agregLocIds, QList<int>());
    expectNothing("В заданном диапазоне нет номеров, измерения не созданы");
  }
}

}  // namespace
}  // namespace tlm::test
