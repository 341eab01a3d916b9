// Aggregated data of a measurement: the children that come and go, another engineer and failures meanwhile.
#include "AggregatedWindow.h"

namespace tlm::test {
namespace {

// ---- children that come and go ---------------------------------------------------------------------------

TEST_F(Aggregated, NewChildrenComeInOneBlockAndHangUnderTheirPrimary) {
  start();
  open("Q Т-1");
  tick("Среднее за час");
  tick("Среднее за сутки");
  clickButton(dialog()->ui->buttonBox, QDialogButtonBox::Ok);
  EXPECT_EQ(writes(), (QStringList{"BlockBeg", "SqlUpdate IdentifiedObject 2 records",
                                   "SqlUpdate Measurement 2 records", "SqlUpdate Analog 2 records", "BlockEnd"}));
  ASSERT_TRUE(eventsAreIn());
  expectChildren(1005, (QStringList{"1 Q Т-1_час (of 1005, Час)", "3 Q Т-1_сутки (of 1005, Сутки)"}));
  EXPECT_EQ(below("Q Т-1"), picture(R"(
    1 Q Т-1_час
    3 Q Т-1_сутки
  )"));
  EXPECT_TRUE(nodeOf(module->treeModel->index(0, 0, find("Q Т-1")))->isAggregated);
}

TEST_F(Aggregated, OneComesAndOneGoes) {
  start();
  open("P Т-1");
  tick("Среднее за час");
  tick("Среднее за минуту");
  accept();
  expectChildren(1001, (QStringList{"1 P Т-1 (of 1001, Минута)", "1004 P Т-1_сутки (of 1001, Сутки)"}));
  EXPECT_EQ(writes().filter("Block"), (QStringList{"BlockBeg", "BlockEnd", "BlockBeg", "BlockEnd unwaited"}));
  EXPECT_EQ(below("P Т-1"), picture(R"(
    1004 P Т-1_сутки
    1 P Т-1
  )"));
}

TEST_F(Aggregated, UntickingAllRemovesAll) {
  start();
  open("P Т-1");
  tick("Среднее за час");
  tick("Среднее за сутки");
  EXPECT_EQ(ticked(), QStringList());
  accept();
  expectChildren(1001, QStringList());
  EXPECT_EQ(below("P Т-1"), "");
  EXPECT_EQ(writes(),
            (QStringList{"BlockBeg", "SqlUpdate IdentifiedObject 2 records", "SqlUpdate Measurement 2 records",
                         "SqlUpdate Analog 2 records", "BlockEnd unwaited"}));
  EXPECT_EQ(serverRows().size(), 6) << "nothing else goes";
}

TEST_F(Aggregated, AnOrdinaryMeasurementThatNamesThePrimaryStays) {
  start();
  const auto add = [&](char letter, int number, const QString& group) {
    QStringList fields = {"name_=Обычное", QString("locId=%1").arg(number), "primaryLocId=1001", "work_=1",
                          "RemoteUnitKey=" + key("КП-1")};
    if (!group.isEmpty()) fields += "MeasurementArchGroupKey=" + group;
    ASSERT_TRUE(Colleague(*server.core()).add("Analog", QString(32, letter), fields).commit());
  };
  add('A', 1012, key("Исходная"));
  add('B', 1013, "");
  ASSERT_TRUE(eventsAreIn());
  open("P Т-1");
  EXPECT_EQ(below("P Т-1").count("Обычное"), 0);
  accept();
  EXPECT_EQ(childrenOf(1001).size(), 4) << "nothing was unticked";
  open("P Т-1");
  tick("Среднее за час");
  tick("Среднее за сутки");
  accept();
  eventually([&] { return childrenOf(1001).size() == 2; }, 3000);
  EXPECT_EQ(childrenOf(1001).filter("Обычное").size(), 2);
}

TEST_F(Aggregated, AChildInAnotherUnitIsNotShownAndStays) {
  start();
  Colleague(*server.core())
      .add("RemoteUnit", QString(32, 'A'), {"name_=КП-2", "SrvGroup=1"})
      .add("Analog", QString(32, 'B'),
           {"name_=Чужое", "locId=1012", "primaryLocId=1005", "work_=1", "RemoteUnitKey=" + QString(32, 'A'),
            "MeasurementArchGroupKey=" + key("Час")})
      .commit();
  ASSERT_TRUE(eventsAreIn());
  QModelIndex row;
  ASSERT_TRUE(module->FindKeyLink(QString(32, 'B'), row));
  for (const bool isTicked : {false, true}) {
    open("Q Т-1");
    EXPECT_EQ(ticked(), QStringList());
    if (isTicked) tick("Среднее за сутки");
    accept();
    EXPECT_EQ(childrenOf(1005).filter("Чужое").size(), 1) << isTicked;
  }
}

TEST_F(Aggregated, ChildrenOfOthersStay) {
  start();
  open("Q Т-1");
  tick("Среднее за час");
  accept();
  expectChildren(1005, QStringList{"1 Q Т-1_час (of 1005, Час)"});
  open("P Т-1");
  tick("Среднее за час");
  tick("Среднее за сутки");
  accept();
  expectChildren(1001, QStringList());
  EXPECT_EQ(childrenOf(1005).size(), 1);
}

TEST_F(Aggregated, WhatIsThereAlreadyIsNotMadeAgain) {
  start();
  const QStringList before = serverRows();
  open("P Т-1");
  accept();
  EXPECT_EQ(serverRows(), before);
  EXPECT_EQ(writes(), (QStringList{"BlockBeg", "BlockEnd"})) << "an empty save, and no delete";
}

TEST_F(Aggregated, ADiscreteGetsARowInItsOwnTable) {
  start();
  open("Q-110");
  tick("Время работы");
  accept();
  expectChildren(1006, QStringList{"1 Q-110_раб (of 1006, ТС сутки)"});
  EXPECT_EQ(serverField("Discrete", keyOfNumber(1), "KeyLink"), keyOfNumber(1));
  EXPECT_EQ(serverField("Analog", keyOfNumber(1), "KeyLink"), "absent");
  EXPECT_EQ(serverField("IdentifiedObject", keyOfNumber(1), "ClassName"), "Discrete");
}

TEST_F(Aggregated, TheSecondWindowFollows) {
  start();
  const auto second = openSecond();
  ASSERT_TRUE(second->treeModel->findByKey(key("Q Т-1")).isValid());
  open("Q Т-1");
  tick("Среднее за час");
  accept();
  EXPECT_EQ(belowIn(*second, "Q Т-1"), "1 Q Т-1_час\n");
  open("Q Т-1");
  tick("Среднее за час");
  accept();
  expectChildren(1005, {});
  EXPECT_EQ(belowIn(*second, "Q Т-1"), "");
}

TEST_F(Aggregated, TheAnswerIsForTheMeasurementThatWasAsked) {
  start();
  open("Q Т-1");
  tick("Среднее за час");
  tree()->setCurrentIndex(find("P Т-1"));
  dialog()->activateWindow();
  dialog()->On_Accept();
  settle();
  ASSERT_TRUE(eventsAreIn());
  EXPECT_EQ(childrenOf(1005).size(), 1);
  EXPECT_EQ(childrenOf(1001).size(), 2);
}

TEST_F(Aggregated, WithoutADialogTheAnswerIsForTheCurrentRow) {
  start();
  open("Q Т-1");
  key(Qt::Key_Escape);
  click("P Т-1");
  module->OnAddAgregData_SignOK({key("Час")});
  ASSERT_TRUE(eventsAreIn());
  expectChildren(1001, QStringList{"1002 P Т-1_час (of 1001, Час)"});
  module->OnAddAgregData_SignOK({});
  ASSERT_TRUE(eventsAreIn());
  expectChildren(1001, QStringList());
}

// ---- rows without a number or a key ----------------------------------------------------------------------

TEST_F(Aggregated, ARowWithoutANumberHasNoChildrenToRemove) {
  start();
  click("P Т-1");
  const QStringList before = serverRows();
  module->measRecords.SetVal(seekText(module->measRecords, 0, key("Q Т-1"), module->moduleCodec), "primaryLocId",
                             intVar(0));
  for (const QModelIndex& row : {find("КП-1"), find("P Т-1").parent(), QModelIndex()}) {
    tree()->setCurrentIndex(row);
    module->OnAddAgregData_SignOKEmpty();
    module->OnAddAgregData_SignOK({key("Час")});
  }
  EXPECT_EQ(serverRows(), before) << "nobody's child is not the child of number 0";
}

// ---- another engineer meanwhile --------------------------------------------------------------------------

class AggregatedTogether : public Aggregated {
 protected:
  // Another engineer adds data of a day to the measurement whose dialog is open.
  void othersAddADay() {
    ASSERT_TRUE(Colleague(*server.core())
                    .add("Analog", QString(32, 'A'),
                         {"name_=Чужое", "locId=1012", "primaryLocId=1005", "work_=1", "RemoteUnitKey=" + key("КП-1"),
                          "MeasurementArchGroupKey=" + key("Сутки")})
                    .commit());
    ASSERT_TRUE(eventsAreIn());
    ASSERT_EQ(below("Q Т-1"), "1012 Чужое\n");
  }
};

TEST_F(AggregatedTogether, WhatTheDialogDidNotShowStays) {
  start();
  open("Q Т-1");
  othersAddADay();
  accept();
  EXPECT_EQ(writes(), QStringList()) << "nothing was ticked and nothing unticked";
  expectChildren(1005, QStringList{"1012 Чужое (of 1005, Сутки)"});
}

TEST_F(AggregatedTogether, OwnTicksComeBesideIt) {
  start();
  open("Q Т-1");
  tick("Среднее за час");
  othersAddADay();
  accept();
  expectChildren(1005, (QStringList{"1 Q Т-1_час (of 1005, Час)", "1012 Чужое (of 1005, Сутки)"}));
}

TEST_F(AggregatedTogether, WhatBothTickedIsMadeOnce) {
  start();
  open("Q Т-1");
  tick("Среднее за сутки");
  othersAddADay();
  accept();
  expectChildren(1005, QStringList{"1012 Чужое (of 1005, Сутки)"});
}

TEST_F(AggregatedTogether, TheNextOpeningShowsItAndUntickingRemovesIt) {
  start();
  open("Q Т-1");
  othersAddADay();
  key(Qt::Key_Escape);
  open("Q Т-1");
  EXPECT_EQ(ticked(), QStringList{"Среднее за сутки"});
  tick("Среднее за сутки");
  accept();
  expectChildren(1005, QStringList());
}

// ---- what fails meanwhile --------------------------------------------------------------------------------

TEST_F(Aggregated, AMeasurementThatIsGoneGetsNothing) {
  start();
  open("Q Т-1");
  tick("Среднее за час");
  ASSERT_TRUE(Colleague(*server.core()).remove("Analog", key("Q Т-1")).commit());
  ASSERT_TRUE(eventsAreIn());
  const QStringList before = serverRows();
  dialog()->On_Accept();
  EXPECT_EQ(serverRows(), before);
  EXPECT_EQ(writes(), QStringList());
  open("P Т-1");
  ASSERT_TRUE(Colleague(*server.core()).remove("Analog", key("P Т-1")).commit());
  ASSERT_TRUE(eventsAreIn());
  list()->checkedKeys.clear();
  dialog()->On_Accept();
  EXPECT_EQ(writes(), QStringList());
}

TEST_F(Aggregated, ARefusedSaveIsToldAndTheUntickedGoAllTheSame) {
  start();
  open("P Т-1");
  tick("Среднее за час");
  tick("Среднее за минуту");
  app.failures.add("BlockEnd", Fail::kStatus, 1);
  key(Qt::Key_Return);
  app.failures.clear();
  expectBox("Ошибка изменения данных", "При изменения данных возникла непредвиденная ошибка.\nДанные не были изменены!",
            kBoxError);
  eventually([&] { return !serverRows().join('\n').contains("P Т-1_час"); }, 3000);
  EXPECT_FALSE(serverRows().join('\n').contains("P Т-1_час"));
  ASSERT_TRUE(eventsAreIn());
}

TEST_F(Aggregated, WithoutNumbersNothingIsMade) {
  start();
  open("Q Т-1");
  tick("Среднее за час");
  app.failures.add("CalcExec", Fail::kRefuseToSend);
  key(Qt::Key_Return);
  app.failures.clear();
  EXPECT_EQ(writes(), QStringList());
  expectChildren(1005, QStringList());
}

TEST_F(Aggregated, AServerThatIsAwayIsAskedInVain) {
  start();
  const QStringList before = serverRows();
  open("P Т-1");
  tick("Среднее за час");
  for (const char* call : {"CalcExec", "PacketExec", "BlockEnd"}) app.failures.add(call, Fail::kRefuseToSend);
  key(Qt::Key_Return);
  app.failures.clear();
  EXPECT_EQ(serverRows(), before);
  EXPECT_EQ(waitingBox(), nullptr);
}

}  // namespace
}  // namespace tlm::test
