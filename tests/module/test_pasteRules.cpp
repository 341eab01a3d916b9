// How a paste makes its change set: numbers, keys, names, links, and what it leaves out.
#include "PasteSteps.h"
#include "support/DebugLines.h"

namespace tlm::test {
namespace {

// ---- one object ------------------------------------------------------------------------------------------

TEST_F(PasteRules, CopyOfAMeasurementIsAFullRecordOfEachTable) {
  start();
  PasteLists lists;
  ASSERT_TRUE(prepare(lists, key("P"), "Analog", key("КП-3"), true));
  EXPECT_EQ(lists.tables, (QStringList{"IdentifiedObject", "Measurement", "Analog"}));
  EXPECT_EQ(lists.newKey.size(), 32);
  EXPECT_NE(lists.newKey, key("P"));
  for (const char* table : {"IdentifiedObject", "Measurement", "Analog"}) {
    EXPECT_EQ(flags(lists, table), MDX_REC_INSERT) << table;
    EXPECT_EQ(value(lists, table, "KeyLink"), lists.newKey) << table;
  }
  EXPECT_EQ(value(lists, "IdentifiedObject", "name_"), "P");
  EXPECT_EQ(value(lists, "IdentifiedObject", "ClassName"), "Analog");
  EXPECT_EQ(value(lists, "Measurement", "locId"), "11");
  EXPECT_EQ(value(lists, "Measurement", "work_"), "1");
  EXPECT_EQ(value(lists, "Measurement", "RemoteUnitKey"), key("КП-3") + "*");
  EXPECT_EQ(value(lists, "Analog", "scale_"), "2") << "the source's 2.5, as a whole number";
  EXPECT_EQ(lists.newLocIds, QList<int>{11});
  EXPECT_EQ(lists.used, 1);
  MDRVar number{};
  lists.table("Measurement")->GetVal(lists.row("Measurement"), "locId", number);
  EXPECT_EQ(+number.type, MDX_INT64);
}

TEST_F(PasteRules, CopyOnTheServerEqualsItsSourceButForKeyNumberAndUnit) {
  start();
  paste(doc(element("Analog", "P")), find("КП-3"));
  QModelIndex copy;
  ASSERT_TRUE(module->FindLocId("1", copy));
  const QString copyKey = copy.data(kKeyRole).toString();
  server.core()->read([&](const server::ModelTables& tables) {
    const QStringList others{"KeyLink", "locId", "RemoteUnitKey", "created"};
    for (const char* table : {"IdentifiedObject", "Measurement", "Analog"}) {
      const MDArray* array = tables.table(table);
      for (int i = 0; i < MDAFldCount(array); ++i) {
        const char* name = MDAFldName(array, i);
        if (others.contains(name)) continue;
        EXPECT_EQ(field(copyKey, table, name), field(key("P"), table, name)) << name;
      }
    }
  });
}

TEST_F(PasteRules, MoveOfAMeasurementWritesItsUnitAndNothingElse) {
  start();
  PasteLists lists;
  ASSERT_TRUE(prepare(lists, key("P"), "Analog", key("КП-3"), false, true));
  EXPECT_EQ(lists.newKey, key("P"));
  for (const char* table : {"IdentifiedObject", "Measurement", "Analog"}) {
    EXPECT_EQ(flags(lists, table), MDX_REC_UPDATE) << table;
    EXPECT_EQ(value(lists, table, "KeyLink"), key("P")) << table;
  }
  EXPECT_EQ(marked(lists, "IdentifiedObject"), QStringList());
  EXPECT_EQ(marked(lists, "Measurement"), QStringList{"RemoteUnitKey"});
  EXPECT_EQ(marked(lists, "Analog"), QStringList());
  EXPECT_EQ(value(lists, "Measurement", "RemoteUnitKey"), key("КП-3") + "*");
  EXPECT_EQ(value(lists, "Measurement", "locId"), "1001");
  EXPECT_EQ(value(lists, "IdentifiedObject", "name_"), "P") << "what is moved keeps its name";
  EXPECT_EQ(lists.newLocIds, QList<int>());
  EXPECT_EQ(lists.used, 0);
  EXPECT_EQ(module->clipCopyCount, 0);
}

TEST_F(PasteRules, UnitLinkIsLeftAloneWithoutATarget) {
  start();
  PasteLists copied;
  ASSERT_TRUE(prepare(copied, key("P"), "Analog", "", true));
  EXPECT_EQ(value(copied, "Measurement", "RemoteUnitKey"), "null");
  PasteLists moved;
  ASSERT_TRUE(prepare(moved, key("P"), "Analog", "", false));
  EXPECT_EQ(marked(moved, "Measurement"), QStringList());
}

TEST_F(PasteRules, FolderLinksBecomeNullWithoutATargetAndAreMarked) {
  start();
  for (const bool isCopy : {true, false}) {
    PasteLists lists;
    ASSERT_TRUE(prepare(lists, key("Север-110"), "", "", isCopy));
    ASSERT_TRUE(prepare(lists, key("КП-2"), "RemoteUnit", "", isCopy));
    EXPECT_EQ(lists.tables, (QStringList{"RemoteUnitFolder", "IdentifiedObject", "RemoteUnit"}));
    EXPECT_EQ(value(lists, "RemoteUnitFolder", "ParentKey"), "null*");
    EXPECT_EQ(value(lists, "RemoteUnit", "RemoteUnitFolderKey"), "null*");
    EXPECT_EQ(marked(lists, "RemoteUnitFolder"), QStringList{"ParentKey"});
    EXPECT_EQ(marked(lists, "RemoteUnit"), QStringList{"RemoteUnitFolderKey"});
  }
}

TEST_F(PasteRules, FolderLinksNameTheTarget) {
  start();
  PasteLists lists;
  ASSERT_TRUE(prepare(lists, key("Север-110"), "", key("Юг"), true, true));
  ASSERT_TRUE(prepare(lists, key("КП-2"), "RemoteUnit", key("Юг"), true, true));
  EXPECT_EQ(value(lists, "RemoteUnitFolder", "ParentKey"), key("Юг") + "*");
  EXPECT_EQ(value(lists, "RemoteUnit", "RemoteUnitFolderKey"), key("Юг") + "*");
  EXPECT_EQ(value(lists, "RemoteUnitFolder", "caption"), "Север-110-копия");
  EXPECT_EQ(value(lists, "IdentifiedObject", "name_"), "КП-2-копия(2)");
  EXPECT_EQ(lists.used, 0) << "neither has a number";
}

TEST_F(PasteRules, AggregatedNeedsPrimaryAndGroup) {
  start();
  PasteLists lists;
  ASSERT_TRUE(prepare(lists, key("P макс"), "Analog", key("КП-3"), true, false, 77, "G"));
  EXPECT_EQ(value(lists, "Measurement", "primaryLocId"), "77");
  EXPECT_EQ(value(lists, "Measurement", "MeasurementArchGroupKey"), "G");
  PasteLists noGroup;
  ASSERT_TRUE(prepare(noGroup, key("P макс"), "Analog", key("КП-3"), true, false, 77, ""));
  EXPECT_EQ(value(noGroup, "Measurement", "primaryLocId"), "1001");
  EXPECT_EQ(value(noGroup, "Measurement", "MeasurementArchGroupKey"), key("Часовая"));
  PasteLists noPrimary;
  ASSERT_TRUE(prepare(noPrimary, key("P макс"), "Analog", key("КП-3"), true, false, 0, "G"));
  EXPECT_EQ(value(noPrimary, "Measurement", "MeasurementArchGroupKey"), key("Часовая"));
  PasteLists moved;
  ASSERT_TRUE(prepare(moved, key("P макс"), "Analog", key("КП-3"), false, false, 77, "G"));
  EXPECT_EQ(value(moved, "Measurement", "primaryLocId"), "1001");
  EXPECT_EQ(value(moved, "Measurement", "MeasurementArchGroupKey"), key("Часовая"));
}

TEST_F(PasteRules, ObjectsOfAClassShareTheirTables) {
  start();
  PasteLists lists;
  ASSERT_TRUE(prepare(lists, key("P"), "Analog", key("КП-3"), true));
  ASSERT_TRUE(prepare(lists, key("Выключатель"), "Discrete", key("КП-3"), true));
  ASSERT_TRUE(prepare(lists, key("Q"), "Analog", key("КП-3"), true));
  EXPECT_EQ(lists.tables, (QStringList{"IdentifiedObject", "Measurement", "Analog", "Discrete"}));
  EXPECT_EQ(lists.rows("IdentifiedObject"), 3);
  EXPECT_EQ(lists.rows("Analog"), 2);
  EXPECT_EQ(lists.newLocIds, (QList<int>{11, 12, 13}));
}

TEST_F(PasteRules, UnknownClassIsToldToTheLogAndLeftOut) {
  start();
  PasteLists lists;
  const DebugLines told;
  EXPECT_FALSE(prepare(lists, key("P"), "Terminal", key("КП-3"), true));
  EXPECT_FALSE(prepare(lists, key("P"), "analog", key("КП-3"), true)) << "with case";
  const QStringList lines = told.all();
  ASSERT_EQ(lines.size(), 2);
  EXPECT_THAT(lines[0].toStdString(), testing::HasSubstr("Terminal"));
  EXPECT_THAT(lines[0].toStdString(), testing::HasSubstr("(ind = SavedClasses.indexOf(ClassNameSrc))==-1 !!!"));
  EXPECT_EQ(lists.tables, QStringList());
}

TEST_F(PasteRules, WithoutAKeyOrASourceThereIsNoObject) {
  start();
  PasteLists lists;
  app.log.clear();
  EXPECT_FALSE(prepare(lists, "", "Analog", key("КП-3"), true));
  EXPECT_EQ(app.log, QStringList());
  EXPECT_FALSE(prepare(lists, "no such key", "Analog", key("КП-3"), true));
  EXPECT_EQ(lists.tables, QStringList());
  EXPECT_EQ(lists.newKey, "");
  EXPECT_EQ(lists.used, 0);
}

TEST_F(PasteRules, NumbersAreFetchedFromTheLastOneOn) {
  start();
  PasteLists lists;
  lists.numbers = {500};
  ASSERT_TRUE(prepare(lists, key("P"), "Analog", key("КП-3"), true));
  ASSERT_TRUE(prepare(lists, key("Q"), "Analog", key("КП-3"), true));
  EXPECT_EQ(lists.newLocIds, (QList<int>{500, 501}));
  EXPECT_EQ(lists.numbers.size(), 101);
  EXPECT_EQ(lists.numbers.last(), 600);
}

TEST_F(PasteRules, WithoutANumberTheObjectIsNotThere) {
  start();
  PasteLists lists;
  lists.numbers = {10'000};
  lists.used = 1;
  EXPECT_FALSE(prepare(lists, key("P"), "Analog", key("КП-3"), true));
  EXPECT_EQ(lists.newLocIds, QList<int>());
  EXPECT_EQ(lists.tables, QStringList{"IdentifiedObject"}) << "what was added stays";
  EXPECT_EQ(lists.newKey, "");
  lists.numbers = {0};
  lists.used = 0;
  EXPECT_FALSE(prepare(lists, key("P"), "Analog", key("КП-3"), true));
}

TEST_F(PasteRules, NamesCountUp) {
  start();
  QString name = "a";
  module->ChangeNameCopy(name);
  EXPECT_EQ(name, "a-копия");
  module->ChangeNameCopy(name);
  EXPECT_EQ(name, "a-копия-копия(2)");
  EXPECT_EQ(module->clipCopyCount, 2);
  module->clipCopyCount = 9;
  module->ChangeNameCopy(name = "b");
  EXPECT_EQ(name, "b-копия(10)");
}

// ---- what lies below -------------------------------------------------------------------------------------

TEST_F(PasteRules, AggregatedBelowItsPrimaryIsMappedInACopy) {
  start();
  PasteLists lists;
  const QString inner = element("Analog", "P макс", "locId='1002' primaryLocId='1001' MeasurementArchGroupKey='G'");
  walk(lists, doc(element("Analog", "P", "locId='1001'", inner)), key("КП-3"), true, true);
  EXPECT_EQ(lists.srcLocIds, (QList<int>{1001, 1002}));
  EXPECT_EQ(lists.newLocIds, (QList<int>{11, 12}));
  ASSERT_EQ(lists.rows("Measurement"), 2);
  for (int row = 0; row < 2; ++row) {
    const bool isMapped = value(lists, "Measurement", "locId", row) == "12";
    EXPECT_EQ(value(lists, "Measurement", "primaryLocId", row), isMapped ? "11" : "null");
    EXPECT_EQ(value(lists, "Measurement", "RemoteUnitKey", row), key("КП-3") + "*");
  }
}

TEST_F(PasteRules, AggregatedWithoutItsPrimaryIsLeftOutOfACopy) {
  start();
  PasteLists lists;
  walk(lists, doc(element("Analog", "P макс", "locId='1002' primaryLocId='1001' MeasurementArchGroupKey='G'")),
       key("КП-3"), true, true);
  EXPECT_EQ(lists.tables, QStringList());
  lists.srcLocIds = {1001};
  walk(lists, doc(element("Analog", "P макс", "locId='1002' primaryLocId='1001' MeasurementArchGroupKey='G'")),
       key("КП-3"), true, true);
  EXPECT_EQ(lists.tables, QStringList()) << "the position has no new number";
}

TEST_F(PasteRules, AggregatedMovesWithoutAMap) {
  start();
  PasteLists lists;
  walk(lists, doc(element("Analog", "P макс", "locId='1002' primaryLocId='1001' MeasurementArchGroupKey='G'")),
       key("КП-3"), false, true);
  EXPECT_EQ(lists.rows("Measurement"), 1);
  EXPECT_EQ(value(lists, "Measurement", "primaryLocId"), "1001");
}

TEST_F(PasteRules, WithoutAggregatedDataNoneIsWalked) {
  start();
  for (const bool isCopy : {true, false}) {
    PasteLists lists;
    lists.srcLocIds = {1001};
    lists.newLocIds = {5};
    walk(lists, doc(element("Analog", "P макс", "locId='1002' primaryLocId='1001' MeasurementArchGroupKey='G'")),
         key("КП-3"), isCopy, false);
    EXPECT_EQ(lists.tables, QStringList());
  }
}

TEST_F(PasteRules, WhatIsBelowAFolderGoesIntoItsCopy) {
  start();
  PasteLists lists;
  walk(lists, doc(element("Folder", "Север", "", element("RemoteUnit", "КП-2", "", element("Analog", "U")))), key("Юг"),
       true, true);
  EXPECT_EQ(value(lists, "RemoteUnitFolder", "ParentKey"), key("Юг") + "*");
  EXPECT_EQ(value(lists, "RemoteUnit", "RemoteUnitFolderKey"), value(lists, "RemoteUnitFolder", "KeyLink") + "*");
  EXPECT_EQ(value(lists, "Measurement", "RemoteUnitKey"), value(lists, "RemoteUnit", "KeyLink") + "*");
  EXPECT_EQ(value(lists, "RemoteUnitFolder", "caption"), "Север") << "names below the top stay";
}

TEST_F(PasteRules, TagsOfMeasurementsCompareWithCase) {
  start();
  PasteLists lists;
  walk(lists, doc(QString("<analog ClassName='Analog' KeyLink='%1'/>").arg(key("P"))), key("КП-3"), true, true);
  EXPECT_EQ(lists.tables, QStringList());
}

// ---- the top ---------------------------------------------------------------------------------------------

TEST_F(PasteRules, AggregatedAtTheTopBehindItsPrimaryIsMapped) {
  start();
  paste(doc(element("Analog", "P", "locId='1001'") +
            element(
                "Analog", "P макс",
                QString("locId='1002' primaryLocId='1001' MeasurementArchGroupKey='%1'").arg(key("Часовая")).toUtf8())),
        find("КП-3"));
  EXPECT_EQ(below(onServer(), "КП-3"), "КП-3\n  1 P\n  2 P макс < 1\n  3001 I\n");
}

TEST_F(PasteRules, AggregatedAtTheTopBeforeItsPrimaryIsLeftOut) {
  start();
  paste(doc(element("Analog", "P макс", "locId='1002' primaryLocId='1001' MeasurementArchGroupKey='G'") +
            element("Analog", "P", "locId='1001'")),
        find("КП-3"));
  EXPECT_EQ(below(onServer(), "КП-3"), "КП-3\n  1 P\n  3001 I\n");
}

TEST_F(PasteRules, AggregatedAtTheTopStaysWhereItIsWhenItsPrimaryMoves) {
  start();
  const QString both = element("Analog", "P", "locId='1001'") +
                       element("Analog", "P макс", "locId='1002' primaryLocId='1001' MeasurementArchGroupKey='G'");
  paste(doc(both), find("КП-3"), false);
  EXPECT_EQ(below(onServer(), "КП-3"), "КП-3\n  1001 P\n  3001 I\n");
  EXPECT_EQ(field(key("P макс"), "Measurement", "RemoteUnitKey"), key("КП-1"));
}

TEST_F(PasteRules, AggregatedAtTheTopNeedsAggregatedData) {
  start();
  paste(doc(element("Analog", "P", "locId='1001'") +
            element("Analog", "P макс", "locId='1002' primaryLocId='1001' MeasurementArchGroupKey='G'")),
        find("КП-3"), true, false);
  EXPECT_EQ(below(onServer(), "КП-3"), "КП-3\n  1 P\n  3001 I\n");
}

TEST_F(PasteRules, BelowAMovedMeasurementNothingIsWalkedWithoutAggregatedData) {
  start();
  const QString inner = element("Analog", "Q", "locId='1003'");
  paste(doc(element("Analog", "P", "locId='1001'", inner)), find("КП-3"), false, false);
  EXPECT_EQ(below(onServer(), "КП-3"), "КП-3\n  1001 P\n  3001 I\n");
  paste(doc(element("Analog", "P", "locId='1001'", inner)), find("КП-2"), true, false);
  EXPECT_EQ(below(onServer(), "КП-2"), "КП-2\n  1 P\n  2 Q\n  2001 U\n") << "a copy is walked always";
}

TEST_F(PasteRules, BelowAMovedUnitNothingIsWalked) {
  start();
  app.log.clear();
  paste(doc(element("RemoteUnit", "КП-2", "", element("Analog", "U", "locId='2001'"))), find("Юг"), false);
  EXPECT_EQ(calls("PacketExec RecByKeyLink"), 1);
  EXPECT_EQ(below(onServer(), "Юг"), "Юг\n  КП-2\n    2001 U\n");
}

TEST_F(PasteRules, ParentInTheDocumentDecidesAboutTheName) {
  start();
  paste(doc(element("Analog", "P", ("RemoteUnitKey='" + key("КП-3") + "'").toUtf8())), find("КП-3"));
  EXPECT_EQ(below(onServer(), "КП-3"), "КП-3\n  1 P-копия\n  3001 I\n");
  module->clipCopyCount = 0;
  module->clipPasteTarget.clear();
  paste(doc(element("RemoteUnit", "КП-2", ("RemoteUnitFolderKey='" + key("Юг") + "'").toUtf8()) +
            element("Folder", "Север-110", ("ParentKey='" + key("Юг") + "'").toUtf8())),
        find("Юг"));
  EXPECT_EQ(below(onServer(), "Юг"), "Юг\n  КП-2-копия\n  Север-110-копия(2)\n");
}

TEST_F(PasteRules, AtTheTopACopyBesideItsSourceIsRenamed) {
  start();
  paste(doc(element("RemoteUnit", "КП-3", "RemoteUnitFolderKey=''")), QModelIndex());
  EXPECT_THAT(onServer().toStdString(), testing::HasSubstr("\nКП-3-копия\n"));
  EXPECT_EQ(module->clipPasteTarget, "");
}

TEST_F(PasteRules, ClassOfTheTargetComparesWithoutCase) {
  start();
  const QModelIndex target = find("I");
  const QByteArray name("ANALOG");
  nodeOf(target)->table->SetVal(nodeOf(target)->record, "ClassName", textVar(name));
  paste(doc(element("Analog", "P")), target);
  EXPECT_EQ(below(onServer(), "КП-3"), "КП-3\n  1 P\n  3001 I\n");
}

TEST_F(PasteRules, WhatIsLeftOutIsToldToTheDevelopers) {
  start();
  PasteLists lists;
  const DebugLines told;
  prepare(lists, QString(32, '0'), "Analog", key("КП-3"), true);
  EXPECT_EQ(told.with(QString(32, '0') + " is left out: its record cannot be read").size(), 1);
  walk(lists, doc(element("Analog", "P макс", "locId='1002' primaryLocId='1001' MeasurementArchGroupKey='G'")),
       key("КП-3"), true, true);
  EXPECT_EQ(told.with(key("P макс") + " is left out: its primary measurement is not copied").size(), 1);
  lists.numbers = {0};
  prepare(lists, key("P"), "Analog", key("КП-3"), true);
  EXPECT_EQ(told.with(key("P") + " is left out: no number is free").size(), 1);
  paste("no document", find("КП-3"));
  EXPECT_EQ(told.with("ParseUpLevelXml(): the document cannot be read").size(), 1);
}

TEST_F(PasteRules, WithoutAggregatedDataNothingIsLeftOut) {
  start();
  PasteLists lists;
  const DebugLines told;
  walk(lists, doc(element("Analog", "P макс", "locId='1002' primaryLocId='1001' MeasurementArchGroupKey='G'")),
       key("КП-3"), true, false);
  EXPECT_EQ(told.all(), QStringList()) << "nobody asked for it";
}

TEST_F(PasteRules, UnknownElementsArePassedOver) {
  start();
  paste(doc("<Terminal/>" + element("Analog", "P") + "<MyTree>" + element("Analog", "Q") + "</MyTree>"), find("КП-3"));
  EXPECT_EQ(below(onServer(), "КП-3"), "КП-3\n  1 P\n  3001 I\n");
}

TEST_F(PasteRules, MeasurementWithoutARowAboveTakesNothing) {
  start();
  myConfNode* loose = nodeOf(find("I"));
  myConfNode* unit = loose->parent->parent;
  QModelIndex top;
  module->treeModel->GetIndex(top, 0, 0, loose);
  myConfNode* group = loose->parent;
  loose->parent = module->treeModel->GetRootNode();
  app.log.clear();
  module->ParseUpLevelXml(doc(element("Analog", "P")), top, true, true);
  EXPECT_EQ(app.log, QStringList());
  loose->parent = group;
  EXPECT_EQ(unit, group->parent);
}

}  // namespace
}  // namespace tlm::test
