// Aggregated data of a measurement: the change set that is written.
#include "AggregatedWindow.h"
#include "support/DebugLines.h"

namespace tlm::test {
namespace {

// ---- the change set --------------------------------------------------------------------------------------

class AggregatedSet : public Aggregated {
 protected:
  bool prepare(const QString& primary, const QString& className, const QStringList& groups, QList<int> numbers,
               int locId = 1005, const QString& name = "Имя") {
    const bool ready = module->PrepareSaveGroupAgreg(changes.tables, changes.arrays, primary, className, name, locId,
                                                     groups, numbers, unticked);
    nameNewKeys(changes);
    return ready;
  }
  ChangeSet changes;
  QList<MDRData*> unticked;
};

TEST_F(AggregatedSet, HoldsThreeRecordsForEachGroup) {
  start();
  find("P Т-1");
  EXPECT_TRUE(prepare(key("P Т-1"), "Analog", {key("Час"), key("Минута")}, {7, 8}));
  EXPECT_EQ(changeText(changes),
            (QStringList{"IdentifiedObject 1: KeyLink=new1 ClassName=Analog name_=Имя_час",
                         "IdentifiedObject 1: KeyLink=new2 ClassName=Analog name_=Имя",
                         "Measurement 1: KeyLink=new1 locId=7 primaryLocId=1005* work_=1* RemoteUnitKey=КП-1* "
                         "MeasurementArchGroupKey=Час PSRKey=Т-1* TerminalKey=Т-1 полюс*",
                         "Measurement 1: KeyLink=new2 locId=8 primaryLocId=1005* work_=1* RemoteUnitKey=КП-1* "
                         "MeasurementArchGroupKey=Минута PSRKey=Т-1* TerminalKey=Т-1 полюс*",
                         "Analog 1: KeyLink=new1*", "Analog 1: KeyLink=new2*"}));
}

TEST_F(AggregatedSet, CopiesWhatThePrimaryHasEvenNothing) {
  start();
  find("Q Т-1");
  EXPECT_TRUE(prepare(key("Q Т-1"), "Analog", {key("Час")}, {7}));
  EXPECT_EQ(changeText(changes).value(1),
            "Measurement 1: KeyLink=new1 locId=7 primaryLocId=1005* work_=0* RemoteUnitKey=КП-1* "
            "MeasurementArchGroupKey=Час PSRKey=null* TerminalKey=null*");
}

TEST_F(AggregatedSet, AnUnknownGroupGivesNoSuffix) {
  start();
  EXPECT_TRUE(prepare(key("P Т-1"), "Analog", {"unknown"}, {7}));
  EXPECT_EQ(changeText(changes).value(0), "IdentifiedObject 1: KeyLink=new1 ClassName=Analog name_=Имя");
}

TEST_F(AggregatedSet, ComparesTheClassWithoutCaseAndGivesItAsItCame) {
  start();
  EXPECT_TRUE(prepare(key("P Т-1"), "STRINGmeasurement", {key("Час")}, {7}));
  EXPECT_EQ(changes.tables, (QStringList{"IdentifiedObject", "Measurement", "StringMeasurement"}));
  EXPECT_TRUE(changeText(changes).value(0).contains("ClassName=STRINGmeasurement"));
}

TEST_F(AggregatedSet, AClassOutsideTheFourGetsNoThirdRow) {
  start();
  EXPECT_TRUE(prepare(key("P Т-1"), "RemoteUnit", {key("Час")}, {7}));
  EXPECT_EQ(changes.tables, (QStringList{"IdentifiedObject", "Measurement"}));
}

TEST_F(AggregatedSet, JoinsTheEntriesThatStandThere) {
  start();
  ASSERT_TRUE(prepare(key("P Т-1"), "Analog", {key("Час")}, {7}));
  const QList<CMDArray*> before = changes.arrays;
  ASSERT_TRUE(prepare(key("P Т-1"), "Analog", {key("Сутки")}, {8}));
  EXPECT_EQ(changes.arrays, before);
  EXPECT_EQ(changes.tables.size(), 3);
  EXPECT_EQ(changeText(changes).size(), 6);
}

TEST_F(AggregatedSet, KeepsTheTickedAndGivesTheUntickedBack) {
  start();
  find("P Т-1");
  EXPECT_TRUE(prepare(key("P Т-1"), "Analog", {key("Час"), key("Минута")}, {7}, 1001));
  EXPECT_EQ(changes.tables.size(), 3);
  EXPECT_EQ(changeText(changes).size(), 3) << "the hour is there";
  ASSERT_EQ(unticked.size(), 1);
  EXPECT_EQ(fieldText(module->measRecords, unticked[0], 0, module->moduleCodec), key("P Т-1_сутки"));
}

TEST_F(AggregatedSet, ComparesGroupsWithCase) {
  start();
  find("P Т-1");
  EXPECT_TRUE(prepare(key("P Т-1"), "Analog", {key("Час").toLower(), key("Сутки")}, {7}, 1001));
  ASSERT_EQ(unticked.size(), 1);
  EXPECT_EQ(fieldText(module->measRecords, unticked[0], 0, module->moduleCodec), key("P Т-1_час"));
  EXPECT_EQ(changeText(changes).size(), 3);
}

TEST_F(AggregatedSet, KeepsWithCase) {
  start();
  find("P Т-1");
  EXPECT_TRUE(prepare(key("P Т-1"), "Analog", {key("Час"), key("Час").toLower(), key("Сутки")}, {7}, 1001));
  EXPECT_TRUE(unticked.isEmpty());
  EXPECT_EQ(changeText(changes).size(), 3) << "another key, another child";
}

TEST_F(AggregatedSet, AChildWithoutAGroupIsLeftAlone) {
  start();
  find("P Т-1");
  MDRData* child = seekText(module->measRecords, 0, key("P Т-1_час"), module->moduleCodec);
  for (const MDRVar& none : {nullTextVar(), textVar("")}) {
    module->measRecords.SetVal(child, "MeasurementArchGroupKey", none);
    unticked.clear();
    EXPECT_TRUE(prepare(key("P Т-1"), "Analog", {key("Минута")}, {7}, 1001));
    ASSERT_EQ(unticked.size(), 1);
    EXPECT_NE(unticked[0], child);
  }
}

TEST_F(AggregatedSet, ANumberOfZeroEndsItWithWhatWasBuilt) {
  start();
  EXPECT_FALSE(prepare(key("P Т-1"), "Analog", {key("Час"), key("Минута")}, {7, 0}));
  EXPECT_EQ(changes.tables, (QStringList{"IdentifiedObject", "Measurement", "Analog"}));
  EXPECT_EQ(changeText(changes).size(), 4) << "the second child's name stands there, and nothing else of it";
}

TEST_F(AggregatedSet, TooFewNumbersEndItToo) {
  start();
  const DebugLines told;
  EXPECT_FALSE(prepare(key("P Т-1"), "Analog", {key("Час"), key("Минута")}, {7}));
  EXPECT_EQ(told.with("PrepareSaveGroupAgreg(): no number is free").size(), 1);
  EXPECT_FALSE(prepare(key("P Т-1"), "Analog", {key("Сутки")}, {}));
}

TEST_F(AggregatedSet, WithoutAKeyOrARecordNothingIsBuilt) {
  start();
  EXPECT_FALSE(prepare("", "Analog", {key("Час")}, {7}));
  const DebugLines told;
  EXPECT_FALSE(prepare(QString(32, '0'), "Analog", {key("Час")}, {7})) << "the server does not know it";
  EXPECT_EQ(told.with("PrepareSaveGroupAgreg(): the record of").size(), 1);
  EXPECT_EQ(changes.tables, QStringList());
}

TEST_F(AggregatedSet, AMeasurementWithoutAUnitIsReadyWithNothing) {
  start();
  const DebugLines told;
  EXPECT_TRUE(prepare(key("Без КП"), "Analog", {key("Час")}, {7}));
  EXPECT_EQ(told.with("has no unit").size(), 1);
  EXPECT_EQ(changes.tables, QStringList());
  EXPECT_TRUE(unticked.isEmpty());
}

TEST_F(Aggregated, AsksForAsManyNumbersAsThereAreGroups) {
  start();
  open("Q Т-1");
  tick("Среднее за час");
  tick("Среднее за минуту");
  tick("Среднее за сутки");
  accept();
  EXPECT_EQ(app.log.filter("CalcExec"), QStringList{"CalcExec f*(countNeed, locidBeg)"});
  QStringList numbers;
  for (const QString& row : childrenOf(1005)) numbers += row.section(' ', 0, 0);
  EXPECT_EQ(numbers, (QStringList{"1", "3", "4"})) << "the lowest free ones";
}

}  // namespace
}  // namespace tlm::test
