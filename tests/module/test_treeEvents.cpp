// The tree follows what others do: rows that come and go by the server's events alone.
#include <QSignalSpy>

#include "TreeEventsWindow.h"

namespace tlm::test {
namespace {

// ---- AddNodeByEvent --------------------------------------------------------------------------------------

TEST_F(TreeEvents, RowThatStandsAlreadyIsPaintedAgain) {
  start();
  const QString before = text();
  QSignalSpy painted(module->treeModel, &QAbstractItemModel::dataChanged);
  module->AddNodeByEvent(key("КП-1"), "RemoteUnit");
  ASSERT_EQ(painted.size(), 1);
  EXPECT_EQ(painted[0][0].toModelIndex(), row("КП-1"));
  EXPECT_EQ(painted[0][1].toModelIndex(), row("КП-1"));
  EXPECT_EQ(text(), before);
}

TEST_F(TreeEvents, AddedFolderEntersItsParentAtTheTop) {
  start();
  EXPECT_EQ(text(), picture(R"(
      Подстанция Северная
        ОРУ-110
          КП-1
        КП-2
      Подстанция Южная
      Без папки
        Аналоговые измерения
          3001 U 10 кВ
  )"));
  other.add("RemoteUnitFolder", key("Я"), {"caption=Я", "ParentKey=" + key("Подстанция Северная")});
  commit();
  EXPECT_EQ(text(), picture(R"(
      Подстанция Северная
        Я
        ОРУ-110
          КП-1
        КП-2
      Подстанция Южная
      Без папки
        Аналоговые измерения
          3001 U 10 кВ
  )"));
  EXPECT_TRUE(nodeOf(row("Я"))->isFolder);
}

TEST_F(TreeEvents, AddedRootFolderEntersTheTopLevel) {
  start();
  other.add("RemoteUnitFolder", key("Я"), {"caption=Я"});
  commit();
  EXPECT_EQ(module->treeModel->index(0, 0).data().toString(), "Я");
}

TEST_F(TreeEvents, FolderOfAParentThatIsNotHereLandsAtTheTop) {
  start();
  looseRow(module->tblRemoteUnitFolder, "Я", {"caption=Я", "ParentKey=" + QString(32, 'F')});
  module->AddNodeByEvent(key("Я"), "RemoteUnitFolder");
  EXPECT_EQ(row("Я"), module->treeModel->index(0, 0));
}

TEST_F(TreeEvents, FolderIsAFolderUnderWhateverClass) {
  start();
  looseRow(module->tblRemoteUnitFolder, "Я", {"caption=Я", "ParentKey="});
  module->AddNodeByEvent(key("Я"), "Measurement");
  ASSERT_TRUE(row("Я").isValid());
  EXPECT_TRUE(nodeOf(row("Я"))->isFolder);
  EXPECT_FALSE(row("Я").parent().isValid());
}

TEST_F(TreeEvents, AddedUnitEntersItsFolderAndIsFetchedWhenItIsOpened) {
  start();
  other.add("RemoteUnit", key("КП-9"), {"name_=КП-9", "SrvGroup=1", "RemoteUnitFolderKey=" + key("ОРУ-110")});
  addMeasurement("I Т-9", "Analog", 9001, "КП-9");
  commit();
  EXPECT_EQ(below("ОРУ-110"), picture(R"(
      КП-9
      КП-1
  )"));
  EXPECT_FALSE(nodeOf(row("КП-9"))->isLoaded);
  EXPECT_TRUE(module->treeModel->hasChildren(row("КП-9")));
  load("КП-9");
  EXPECT_EQ(below("КП-9"), picture(R"(
      Аналоговые измерения
        9001 I Т-9
  )"));
}

TEST_F(TreeEvents, UnitThatComesBackIsNoLongerOpen) {
  start();
  load("КП-1");
  ASSERT_TRUE(module->loadedRemoteUnits.contains(key("КП-1")));
  module->treeModel->DelNode(row("КП-1"), nullptr);
  module->AddNodeByEvent(key("КП-1"), "RemoteUnit");
  ASSERT_TRUE(row("КП-1").isValid());
  EXPECT_FALSE(nodeOf(row("КП-1"))->isLoaded);
  EXPECT_FALSE(module->loadedRemoteUnits.contains(key("КП-1")));
}

TEST_F(TreeEvents, UnitWithoutAFolderOrOfAnUnknownOneLandsAtTheTop) {
  start();
  other.add("RemoteUnit", key("КП-8"), {"name_=КП-8", "SrvGroup=1"});
  commit();
  looseRow(module->tblRemoteUnit, "КП-9", {"name_=КП-9", "RemoteUnitFolderKey=" + QString(32, 'F')});
  module->AddNodeByEvent(key("КП-9"), "RemoteUnit");
  EXPECT_EQ(row("КП-9"), module->treeModel->index(0, 0));
  EXPECT_EQ(row("КП-8"), module->treeModel->index(1, 0));
}

TEST_F(TreeEvents, UnitIsTakenByTheExactNameOfItsTable) {
  start();
  looseRow(module->tblRemoteUnit, "КП-9", {"name_=КП-9"});
  const QString before = text();
  module->AddNodeByEvent(key("КП-9"), "remoteunit");
  module->AddNodeByEvent(key("КП-9"), "Measurement");
  module->AddNodeByEvent(key("КП-10"), "RemoteUnit");
  EXPECT_EQ(text(), before);
  module->AddNodeByEvent(key("КП-9"), "RemoteUnit");
  EXPECT_TRUE(row("КП-9").isValid());
}

TEST_F(TreeEvents, AddedMeasurementEntersTheGroupOfItsUnitAtTheEnd) {
  start();
  load("КП-1");
  addMeasurement("А", "Analog", 1009, "КП-1");
  addMeasurement("Режим", "StringMeasurement", 1010, "КП-1");
  commit();
  EXPECT_EQ(below("КП-1"), picture(R"(
      Аналоговые измерения
        1001 P Т-1
        1002 Q Т-1
        1009 А
      Дискретные сигналы
        1003 Q-110
      Строковые величины
        1010 Режим
  )"));
}

TEST_F(TreeEvents, MeasurementWithoutAUnitGetsNoRow) {
  start();
  looseRow(module->measRecords, "А", {"name_=А", "ClassName=Analog", "locId=1009", "RemoteUnitKey="});
  looseRow(module->measRecords, "Б", {"name_=Б", "ClassName=Analog", "locId=1010"});
  const QString before = text();
  module->AddNodeByEvent(key("А"), "Measurement");
  module->AddNodeByEvent(key("Б"), "Measurement");
  EXPECT_EQ(text(), before);
}

TEST_F(TreeEvents, MeasurementNeedsAUnitThatIsHereAndOpen) {
  start();
  looseRow(module->measRecords, "А", {"ClassName=Analog", "RemoteUnitKey=" + QString(32, 'F')});
  looseRow(module->measRecords, "Б", {"ClassName=Analog", "RemoteUnitKey=" + key("КП-1")});
  module->AddNodeByEvent(key("А"), "Measurement");
  module->AddNodeByEvent(key("Б"), "Measurement");
  EXPECT_FALSE(row("А").isValid());
  EXPECT_FALSE(row("Б").isValid());
  EXPECT_EQ(below("КП-1"), "");
}

TEST_F(TreeEvents, MeasurementNeedsAClassARowAndItsTablesExactName) {
  start();
  load("КП-1");
  const QString before = text();
  looseRow(module->measRecords, "А", {"RemoteUnitKey=" + key("КП-1")});
  looseRow(module->measRecords, "Б", {"ClassName=", "RemoteUnitKey=" + key("КП-1")});
  looseRow(module->measRecords, "В", {"ClassName=Analog", "RemoteUnitKey=" + key("КП-1")});
  module->AddNodeByEvent(key("А"), "Measurement");
  module->AddNodeByEvent(key("Б"), "Measurement");
  module->AddNodeByEvent(key("В"), "measurement");
  module->AddNodeByEvent(key("В"), "Analog");
  module->AddNodeByEvent(key("Г"), "Measurement");
  EXPECT_EQ(text(), before);
}

TEST_F(TreeEvents, AggregatedMeasurementEntersUnderItsPrimary) {
  start();
  load("КП-1");
  addMeasurement("P Т-1 макс", "Analog", 1011, "КП-1",
                 {"primaryLocId=1001", "MeasurementArchGroupKey=" + key("Часовая")});
  commit();
  EXPECT_EQ(below("P Т-1"), "1011 P Т-1 макс\n");
  EXPECT_TRUE(nodeOf(row("P Т-1 макс"))->isAggregated);
}

TEST_F(TreeEvents, OnlyAGroupOfAggregatedDataMakesAMeasurementAggregated) {
  start();
  load("КП-1");
  addMeasurement("P Т-1 макс", "Analog", 1011, "КП-1",
                 {"primaryLocId=1001", "MeasurementArchGroupKey=" + key("Обычная")});
  commit();
  EXPECT_EQ(below("P Т-1"), "");
  EXPECT_EQ(row("P Т-1 макс").parent(), row("P Т-1").parent());
}

TEST_F(TreeEvents, AggregatedMeasurementOfAPrimaryThatIsNotHereGetsNoRow) {
  start();
  load("КП-1");
  for (int primary : {2001, 7777})
    addMeasurement(primary == 2001 ? "А" : "Б", "Analog", primary + 1, "КП-1",
                   {"primaryLocId=" + QString::number(primary), "MeasurementArchGroupKey=" + key("Часовая")});
  const QString before = text();
  commit();
  EXPECT_EQ(text(), before);
  EXPECT_NE(held(module->measRecords, "А", "name_"), "absent");
}

TEST_F(TreeEvents, AggregatedMeasurementFindsItsPrimaryInAnotherUnit) {
  start();
  load("КП-1");
  load("КП-2");
  addMeasurement("А", "Analog", 1011, "КП-1", {"primaryLocId=2001", "MeasurementArchGroupKey=" + key("Часовая")});
  commit();
  EXPECT_EQ(below("I Т-2"), "1011 А\n");
}

TEST_F(TreeEvents, AddsLeaveSelectionAndSheetAlone) {
  start();
  click("P Т-1");
  addMeasurement("А", "Analog", 1009, "КП-1");
  other.add("RemoteUnitFolder", key("Я"), {"caption=Я"});
  commit();
  EXPECT_EQ(current(), "P Т-1");
  EXPECT_EQ(tree()->selectionModel()->selectedIndexes(), QModelIndexList{row("P Т-1")});
  EXPECT_EQ(module->passport.currentKey, key("P Т-1"));
}

TEST_F(TreeEvents, DiscreteOfAnotherClientCannotBeCommandedUntilItChanges) {
  start();
  load("КП-1");
  addMeasurement("Q-111", "Discrete", 1012, "КП-1", {"CheckTu=1"});
  commit();
  EXPECT_FALSE(nodeOf(row("Q-111"))->checkTu);
  other.change("Discrete", key("Q-111"), {"CheckTu=1"});
  commit();
  EXPECT_TRUE(nodeOf(row("Q-111"))->checkTu);
}

// ---- DeleteNodeByEvent -----------------------------------------------------------------------------------

TEST_F(TreeEvents, DeletedRowGoesWithItsGroup) {
  start();
  load("КП-1");
  other.remove("Discrete", key("Q-110"));
  commit();
  EXPECT_EQ(below("КП-1"), picture(R"(
      Аналоговые измерения
        1001 P Т-1
        1002 Q Т-1
  )"));
  EXPECT_EQ(held(module->measRecords, "Q-110", "name_"), "absent");
}

TEST_F(TreeEvents, DeletedUnitAndFolderGo) {
  start();
  other.remove("RemoteUnit", key("КП-2"));
  commit();
  EXPECT_EQ(below("Подстанция Северная"), picture(R"(
      ОРУ-110
        КП-1
  )"));
  EXPECT_EQ(held(module->tblRemoteUnit, "КП-2", "name_"), "absent");
  other.remove("RemoteUnitFolder", key("Подстанция Северная"));
  commit();
  EXPECT_FALSE(row("КП-1").isValid());
  EXPECT_EQ(held(module->tblRemoteUnitFolder, "Подстанция Северная", "caption"), "absent");
}

TEST_F(TreeEvents, DeletedKeyThatIsNotHereLeavesTheTreeAlone) {
  start();
  const QString before = text();
  module->DeleteNodeByEvent(key("Q Т-1"));
  module->DeleteNodeByEvent(QString());
  EXPECT_EQ(text(), before);
}

TEST_F(TreeEvents, DeletingTheOnlyRowOfTheSelectionLandsOnTheNearestAncestorWithAKey) {
  start();
  click("Q-110");
  other.remove("Discrete", key("Q-110"));
  commit();
  EXPECT_EQ(current(), "КП-1");
  EXPECT_EQ(tree()->selectionModel()->selectedIndexes(), QModelIndexList{row("КП-1")});
  EXPECT_EQ(module->passport.currentKey, key("КП-1"));
}

TEST_F(TreeEvents, DeletingTheCurrentRowSelectsTheSiblingThatTheViewMovedTo) {
  start();
  click("Q Т-1");
  other.remove("Analog", key("Q Т-1"));
  commit();
  EXPECT_EQ(current(), "P Т-1");
  EXPECT_EQ(tree()->selectionModel()->selectedIndexes(), QModelIndexList{row("P Т-1")});
  EXPECT_EQ(module->passport.currentKey, key("P Т-1"));
}

TEST_F(TreeEvents, DeletingTheCurrentRowIsSeenInTheNumbersColumnToo) {
  start();
  const QModelIndex name = find("Q-110");
  click(name.sibling(name.row(), 1));
  ASSERT_EQ(tree()->currentIndex().column(), 1);
  other.remove("Discrete", key("Q-110"));
  commit();
  EXPECT_EQ(current(), "КП-1");
}

TEST_F(TreeEvents, DeletingTheLastTopRowClearsTheSelection) {
  start();
  for (const char* name : {"Подстанция Северная", "Подстанция Южная"}) other.remove("RemoteUnitFolder", key(name));
  commit();
  click("Без папки");
  other.remove("RemoteUnit", key("Без папки"));
  commit();
  EXPECT_EQ(text(), "");
  EXPECT_FALSE(tree()->currentIndex().isValid());
  EXPECT_TRUE(tree()->selectionModel()->selectedIndexes().isEmpty());
}

TEST_F(TreeEvents, DeletingAnotherRowLeavesSelectionAndSheetAlone) {
  start();
  click("P Т-1");
  other.remove("Discrete", key("Q-110")).remove("RemoteUnitFolder", key("Подстанция Южная"));
  commit();
  EXPECT_EQ(current(), "P Т-1");
  EXPECT_EQ(module->passport.currentKey, key("P Т-1"));
}

TEST_F(TreeEvents, DeletingAnotherRowLeavesSeveralSelected) {
  start();
  load("КП-1");
  click("P Т-1");
  click(find("Q Т-1"), Qt::ControlModifier);
  const QModelIndexList before = tree()->selectionModel()->selectedIndexes();
  ASSERT_GE(before.size(), 2);
  other.remove("Discrete", key("Q-110"));
  commit();
  EXPECT_EQ(tree()->selectionModel()->selectedIndexes().size(), before.size());
}

TEST_F(TreeEvents, DeletingTheCurrentRowOfSeveralLeavesOneSelected) {
  start();
  load("КП-1");
  click("Q-110");
  click(find("P Т-1"), Qt::ControlModifier);
  ASSERT_EQ(current(), "P Т-1");
  other.remove("Analog", key("P Т-1"));
  commit();
  ASSERT_EQ(current(), "Q Т-1");
  QSet<QString> names;
  for (const QModelIndex& index : tree()->selectionModel()->selectedIndexes())
    names += index.sibling(index.row(), 0).data().toString();
  EXPECT_EQ(names, QSet<QString>{"Q Т-1"}) << "though the Control key is still down";
}

TEST_F(TreeEvents, DeletingWhatStandsAboveTheCurrentRowChoosesNoOther) {
  start();
  click("P Т-1");
  module->DeleteNodeByEvent(key("ОРУ-110"));
  EXPECT_FALSE(tree()->currentIndex().isValid());
  EXPECT_TRUE(tree()->selectionModel()->selectedIndexes().isEmpty());
}

}  // namespace
}  // namespace tlm::test
