// The tree follows what others do: rows that move by the server's events alone.
#include <QSignalSpy>

#include "TreeEventsWindow.h"

namespace tlm::test {
namespace {

// ---- moves of units and folders ---------------------------------------------------------------------------

TEST_F(TreeEvents, UnitMovesToAnotherFolder) {
  start();
  click("КП-1");
  other.change("RemoteUnit", key("КП-1"), {"RemoteUnitFolderKey=" + key("Подстанция Южная")});
  commit();
  EXPECT_EQ(text(), picture(R"(
      Подстанция Северная
        ОРУ-110
        КП-2
      Подстанция Южная
        КП-1
      Без папки
        Аналоговые измерения
          3001 U 10 кВ
  )"));
  EXPECT_EQ(held(module->tblRemoteUnit, "КП-1", "RemoteUnitFolderKey"), key("Подстанция Южная"));
}

TEST_F(TreeEvents, UnitThatLosesItsFolderLandsAtTheTop) {
  start();
  other.change("RemoteUnit", key("КП-1"), {"RemoteUnitFolderKey"});
  commit();
  EXPECT_FALSE(row("КП-1").parent().isValid());
  EXPECT_TRUE(row("КП-1").isValid());
}

TEST_F(TreeEvents, UnitOfAFolderThatIsNotHereLandsAtTheTop) {
  start();
  send(602, "КП-1", "RemoteUnit", module->strRemoteUnit, {"RemoteUnitFolderKey=" + QString(32, 'F')});
  ASSERT_TRUE(row("КП-1").isValid());
  EXPECT_FALSE(row("КП-1").parent().isValid());
}

TEST_F(TreeEvents, FolderMovesWithAllBelowIt) {
  start();
  other.change("RemoteUnitFolder", key("ОРУ-110"), {"ParentKey=" + key("Подстанция Южная")});
  commit();
  EXPECT_EQ(below("Подстанция Южная"), picture(R"(
      ОРУ-110
        КП-1
  )"));
  other.change("RemoteUnitFolder", key("ОРУ-110"), {"ParentKey"});
  commit();
  EXPECT_FALSE(row("ОРУ-110").parent().isValid());
}

TEST_F(TreeEvents, ChangeWithoutANewParentMovesNothing) {
  start();
  const QString before = text();
  QSignalSpy moved(module->treeModel, &QAbstractItemModel::rowsMoved);
  other.change("RemoteUnit", key("КП-1"), {"SrvGroup=2", "RemoteUnitFolderKey=" + key("ОРУ-110")});
  other.change("RemoteUnitFolder", key("ОРУ-110"), {"caption=ОРУ-110"});
  commit();
  EXPECT_EQ(text(), before);
  EXPECT_EQ(moved.size(), 0);
}

TEST_F(TreeEvents, MovedUnitIsShownInTheSheetAndTheSelectionStays) {
  start();
  click("КП-2");
  other.change("RemoteUnit", key("КП-1"), {"RemoteUnitFolderKey=" + key("Подстанция Южная")});
  commit();
  EXPECT_EQ(module->passport.currentKey, key("КП-1"));
  EXPECT_EQ(current(), "КП-2");
}

TEST_F(TreeEvents, OwnMoveGetsTheFocusAndIsForgotten) {
  start();
  click("КП-2");
  module->ownMoves = QStringList{key("КП-1"), key("КП-1"), key("КП-2")};
  other.change("RemoteUnit", key("КП-1"), {"RemoteUnitFolderKey=" + key("Подстанция Южная")});
  commit();
  EXPECT_EQ(current(), "КП-1");
  EXPECT_EQ(module->ownMoves, QStringList{key("КП-2")});
}

TEST_F(TreeEvents, OwnMovesAreKnownByTheirExactKeys) {
  start();
  click("КП-2");
  module->ownMoves = QStringList{key("КП-1").toLower()};
  other.change("RemoteUnit", key("КП-1"), {"RemoteUnitFolderKey=" + key("Подстанция Южная")});
  commit();
  EXPECT_EQ(current(), "КП-2");
  EXPECT_EQ(module->ownMoves, QStringList{key("КП-1").toLower()});
}

TEST_F(TreeEvents, ForeignMoveIsSortedInAndOwnMoveToo) {
  start();
  for (const bool own : {false, true}) {
    if (own) module->ownMoves = QStringList{key("КП-2")};
    other.change("RemoteUnit", key(own ? "КП-2" : "КП-1"), {"RemoteUnitFolderKey=" + key("Подстанция Южная")});
    other.change("RemoteUnitFolder", key("ОРУ-110"), {"ParentKey=" + key("Подстанция Южная")});
    commit();
  }
  EXPECT_EQ(below("Подстанция Южная"), picture(R"(
      ОРУ-110
      КП-1
      КП-2
  )"));
}

TEST_F(TreeEvents, MoveOfWhatIsNotHereDoesNothing) {
  start();
  const QString before = text();
  module->MoveByEvent(key("Q Т-1"), key("КП-2"), true, false);
  module->MoveByEvent(key("Q Т-1"), QString(), false, true);
  EXPECT_EQ(text(), before);
}

// ---- moves of measurements -------------------------------------------------------------------------------

TEST_F(TreeEvents, MeasurementMovesToAnotherOpenUnit) {
  start();
  load("КП-1");
  load("КП-2");
  other.change("Measurement", key("P Т-1"), {"RemoteUnitKey=" + key("КП-2")});
  commit();
  EXPECT_EQ(below("КП-2"), picture(R"(
      Аналоговые измерения
        2001 I Т-2
        1001 P Т-1
  )"));
  EXPECT_EQ(below("КП-1"), picture(R"(
      Аналоговые измерения
        1002 Q Т-1
      Дискретные сигналы
        1003 Q-110
  )"));
}

TEST_F(TreeEvents, MeasurementThatGoesToAUnitNotOpenedIsForgottenUntilItIs) {
  start();
  load("КП-1");
  other.change("Measurement", key("P Т-1"), {"RemoteUnitKey=" + key("КП-2")});
  commit();
  EXPECT_FALSE(row("P Т-1").isValid());
  EXPECT_EQ(held(module->measRecords, "P Т-1", "name_"), "absent");
  EXPECT_FALSE(nodeOf(row("КП-2"))->isLoaded);
  load("КП-2");
  EXPECT_EQ(below("КП-2"), picture(R"(
      Аналоговые измерения
        2001 I Т-2
        1001 P Т-1
  )"));
}

TEST_F(TreeEvents, OwnMoveIntoAUnitNotOpenedOpensItAndTakesTheFocus) {
  start();
  load("КП-1");
  module->ownMoves = QStringList{key("Q-110")};
  other.change("Measurement", key("Q-110"), {"RemoteUnitKey=" + key("КП-2")});
  commit();
  EXPECT_EQ(below("КП-2"), picture(R"(
      Аналоговые измерения
        2001 I Т-2
      Дискретные сигналы
        1003 Q-110
  )"));
  EXPECT_TRUE(nodeOf(row("КП-2"))->isLoaded);
  EXPECT_EQ(module->loadedRemoteUnits.count(key("КП-2")), 1);
  EXPECT_EQ(current(), "Q-110");
  EXPECT_TRUE(module->ownMoves.isEmpty());
  EXPECT_EQ(below("КП-1"), picture(R"(
      Аналоговые измерения
        1001 P Т-1
        1002 Q Т-1
  )"));
}

TEST_F(TreeEvents, OwnMoveIntoAnOpenUnitTakesTheFocus) {
  start();
  load("КП-1");
  load("КП-2");
  module->ownMoves = QStringList{key("Q-110")};
  other.change("Measurement", key("Q-110"), {"RemoteUnitKey=" + key("КП-2")});
  commit();
  EXPECT_EQ(current(), "Q-110");
  EXPECT_EQ(row("Q-110").parent().parent(), row("КП-2"));
}

TEST_F(TreeEvents, OwnMoveOutOfItsUnitTakesTheFocus) {
  start();
  load("КП-1");
  module->ownMoves = QStringList{key("Q-110")};
  other.change("Measurement", key("Q-110"), {"RemoteUnitKey"});
  commit();
  EXPECT_EQ(current(), "Q-110");
  EXPECT_EQ(row("Q-110").parent().parent(), module->treeModel->defaultUnit());
}

TEST_F(TreeEvents, OpenUnitIsKnownInWhateverCase) {
  start();
  load("КП-1");
  load("КП-2");
  for (QString& unit : module->loadedRemoteUnits) unit = unit.toLower();
  other.change("Measurement", key("P Т-1"), {"RemoteUnitKey=" + key("КП-2")});
  commit();
  EXPECT_EQ(row("P Т-1").parent().parent(), row("КП-2"));
}

TEST_F(TreeEvents, MoveFetchesTheUnitThatItGoesTo) {
  start();
  load("КП-1");
  module->MoveByEvent(key("P Т-1"), key("КП-2"), true, false);
  EXPECT_TRUE(nodeOf(row("КП-2"))->isLoaded);
  EXPECT_EQ(row("I Т-2").parent().parent(), row("КП-2"));
  EXPECT_EQ(row("P Т-1").parent(), row("I Т-2").parent());
}

TEST_F(TreeEvents, MeasurementWithoutAUnitGoesToTheDefaultUnitWhichIsMadeOnce) {
  start();
  load("КП-1");
  EXPECT_FALSE(module->treeModel->defaultUnit().isValid());
  other.change("Measurement", key("P Т-1"), {"RemoteUnitKey"});
  commit();
  const QModelIndex unit = module->treeModel->index(0, 0);
  EXPECT_EQ(treeText(*module->treeModel, unit), picture(R"(
      Аналоговые измерения
        1001 P Т-1
  )"));
  const myConfNode* node = nodeOf(unit);
  EXPECT_EQ(node->text, "(Устройство по умолчанию)");
  EXPECT_EQ(node->parent, module->treeModel->GetRootNode());
  EXPECT_EQ(node->record, nullptr);
  EXPECT_EQ(node->table, nullptr);
  EXPECT_TRUE(node->isLoaded);
  EXPECT_FALSE(node->isFolder || node->isExpanded || node->isAggregated || node->checkTu);

  other.change("Measurement", key("Q-110"), {"RemoteUnitKey"});
  commit();
  EXPECT_EQ(text(), picture(R"(
      (Устройство по умолчанию)
        Аналоговые измерения
          1001 P Т-1
        Дискретные сигналы
          1003 Q-110
      Подстанция Северная
        ОРУ-110
          КП-1
            Аналоговые измерения
              1002 Q Т-1
        КП-2
      Подстанция Южная
      Без папки
        Аналоговые измерения
          3001 U 10 кВ
  )"));
}

TEST_F(TreeEvents, DefaultUnitIsToldToTheViews) {
  start();
  load("КП-1");
  QSignalSpy inserted(module->treeModel, &QAbstractItemModel::rowsInserted);
  other.change("Measurement", key("P Т-1"), {"RemoteUnitKey"});
  commit();
  ASSERT_GE(inserted.size(), 1);
  EXPECT_FALSE(inserted[0][0].toModelIndex().isValid());
  EXPECT_EQ(inserted[0][1].toInt(), 0);
  EXPECT_EQ(inserted[0][2].toInt(), 0);
}

TEST_F(TreeEvents, MeasurementLeavesTheDefaultUnitWhichStays) {
  start();
  load("КП-1");
  other.change("Measurement", key("P Т-1"), {"RemoteUnitKey"});
  commit();
  other.change("Measurement", key("P Т-1"), {"RemoteUnitKey=" + key("КП-1")});
  commit();
  EXPECT_EQ(row("P Т-1").parent().parent(), row("КП-1"));
  ASSERT_TRUE(module->treeModel->defaultUnit().isValid());
  EXPECT_EQ(module->treeModel->rowCount(module->treeModel->defaultUnit()), 0);
}

TEST_F(TreeEvents, MeasurementOfAUnitThatIsLoadedButGoneStaysWhereItIs) {
  start();
  load("КП-1");
  load("КП-2");
  other.remove("Analog", key("I Т-2")).remove("RemoteUnit", key("КП-2"));
  commit();
  const QString before = text();
  send(602, "P Т-1", "Measurement", module->strMeasurement, {"RemoteUnitKey=" + key("КП-2")});
  EXPECT_EQ(text(), before);
}

TEST_F(TreeEvents, ChangeOfAMeasurementThatIsNotHereBringsItNowhere) {
  start();
  load("КП-2");
  const QString before = text();
  other.change("Measurement", key("P Т-1"), {"RemoteUnitKey=" + key("КП-2")});
  commit();
  EXPECT_EQ(text(), before);
  EXPECT_EQ(held(module->measRecords, "P Т-1", "name_"), "absent");
}

TEST_F(TreeEvents, PrimaryThatGoesToAUnitNotOpenedLeavesTheRowsOfItsAggregatedChildren) {
  start();
  load("КП-1");
  addMeasurement("P Т-1 макс", "Analog", 1011, "КП-1",
                 {"primaryLocId=1001", "MeasurementArchGroupKey=" + key("Часовая")});
  commit();
  other.change("Measurement", key("P Т-1"), {"RemoteUnitKey=" + key("КП-2")});
  commit();
  EXPECT_FALSE(row("P Т-1 макс").isValid());
  EXPECT_EQ(held(module->measRecords, "P Т-1 макс", "name_"), "P Т-1 макс");
}

TEST_F(TreeEvents, MeasurementIsForgottenAlsoWithoutANode) {
  start();
  load("КП-1");
  looseRow(module->measRecords, "А", {"ClassName=Analog", "RemoteUnitKey=" + key("КП-1")});
  const QString before = text();
  send(602, "А", "Measurement", module->strMeasurement, {"RemoteUnitKey=" + key("КП-2")});
  EXPECT_EQ(text(), before);
  EXPECT_EQ(held(module->measRecords, "А", "ClassName"), "absent");
}

TEST_F(TreeEvents, SheetShowsTheServersStateBeforeTheMerge) {
  start();
  click("P Т-1");
  app.log.clear();
  other.change("Measurement", key("P Т-1"), {"work_=0"});
  commit();
  // Once for the row, and once more because the object is shown and stays in its unit.
  EXPECT_EQ(app.log.filter("LiteModel").size(), 2);
  app.log.clear();
  load("КП-2");
  other.change("Measurement", key("P Т-1"), {"RemoteUnitKey=" + key("КП-2")});
  commit();
  EXPECT_EQ(app.log.filter("LiteModel").size(), 1);
}

// ---- ChangeParent ----------------------------------------------------------------------------------------

TEST_F(TreeEvents, NewParentIsReadFromTheRow) {
  start();
  MDRData* unit = seekText(module->tblRemoteUnit, 0, key("КП-1"), module->moduleCodec);
  QString parent = "before";
  EXPECT_FALSE(module->ChangeParent(nullptr, module->tblRemoteUnit, "RemoteUnitFolderKey", "old", parent));
  EXPECT_EQ(parent, "before");
  EXPECT_TRUE(module->ChangeParent(unit, module->tblRemoteUnit, "remoteunitfolderkey", "old", parent));
  EXPECT_EQ(parent, key("ОРУ-110"));
  EXPECT_FALSE(module->ChangeParent(unit, module->tblRemoteUnit, "RemoteUnitFolderKey", key("ОРУ-110"), parent));
  set(module->tblRemoteUnit, "КП-1", "RemoteUnitFolderKey", nullTextVar());
  parent = "before";
  EXPECT_TRUE(module->ChangeParent(unit, module->tblRemoteUnit, "RemoteUnitFolderKey", "old", parent));
  EXPECT_EQ(parent, "before");
  EXPECT_FALSE(module->ChangeParent(unit, module->tblRemoteUnit, "no such field", "before", parent));
}

}  // namespace
}  // namespace tlm::test
