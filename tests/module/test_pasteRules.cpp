// How a paste makes its change set: numbers, keys, names, links, and what it leaves out. Documents from outside.
#include "ChangeSet.h"
#include "Colleague.h"
#include "PasteWindow.h"

namespace tlm::test {
namespace {

// The lists of a paste, for calls of its single steps.
struct Lists : ChangeSet {
  QList<int> srcLocIds;
  QList<int> newLocIds;
  QList<int> numbers{11, 12, 13};
  int used = 0;
  QString newKey = "before";

  const CMDArray* table(const char* name) const {
    const int at = tables.indexOf(name);
    return at < 0 ? nullptr : arrays[at];
  }
  const MDRData* row(const char* name, int number = 0) const { return MDARec(table(name)->array, 0, number); }
  int rows(const char* name) const { return table(name) ? MDARecCount(table(name)->array) : 0; }
};

class PasteRules : public PasteWindow {
 protected:
  void start() {
    startBoth();
    for (const char* unit : {"КП-1", "КП-2", "КП-3"}) openSorted(unit);
  }

  bool prepare(Lists& lists, const QString& srcKey, const char* className, const QString& target, bool isCopy,
               bool rename = false, int primary = 0, const QString& group = QString()) {
    return module->PrepareSaveGroupCopyORCut(lists.tables, lists.arrays, srcKey, className, target, lists.newKey,
                                             lists.used, lists.newLocIds, rename, lists.numbers, isCopy, primary,
                                             group);
  }
  void walk(Lists& lists, const QString& xml, const QString& parentKey, bool isCopy, bool withAgreg) {
    QDomDocument read;
    ASSERT_TRUE(read.setContent(xml));
    module->ParseSubLevelXml(read.documentElement(), lists.tables, lists.arrays, parentKey, QModelIndex(), nullptr,
                             lists.used, isCopy, lists.srcLocIds, lists.newLocIds, lists.numbers, withAgreg);
  }
  // A value with "*" behind it where the field carries the changed mark.
  QString value(const Lists& lists, const char* table, const char* field, int row = 0) {
    const CMDArray* array = lists.table(table);
    if (!array) return "no table";
    const MDRData* record = lists.row(table, row);
    MDRVar found{};
    array->GetVal(record, field, found);
    const QString text = !hasValue(found) ? QString("null")
                         : isText(found)  ? decodeVar(found, module->moduleCodec)
                                          : QString::number(asInteger(found));
    return isMarked(*array, record, module->GetPosFieldAtCMDArray(const_cast<CMDArray*>(array), field)) ? text + '*'
                                                                                                        : text;
  }
  // The fields of a table that carry the mark.
  QStringList marked(const Lists& lists, const char* table) {
    QStringList names;
    const CMDArray& array = *lists.table(table);
    for (int i = 0; i < MDAFldCount(array.array); ++i)
      if (isMarked(array, lists.row(table), i)) names += MDAFldName(array.array, i);
    return names;
  }
  int flags(const Lists& lists, const char* table) { return MDRGetFlags(lists.row(table)); }

  void paste(const QString& xml, const QModelIndex& target, bool isCopy = true, bool withAgreg = true) {
    module->ParseUpLevelXml(xml, target, isCopy, withAgreg);
    EXPECT_TRUE(eventsAreIn());
  }
  QString element(const char* tag, const char* name, const char* more = "", const QString& inner = QString()) {
    return QString("<%1 ClassName='%2' KeyLink='%3' %4>%5</%1>")
        .arg(tag, qstrcmp(tag, "Folder") == 0 ? "" : tag, key(name), more, inner);
  }
  static QString doc(const QString& elements) { return "<!DOCTYPE MyTreeCopy><MyTree>" + elements + "</MyTree>"; }
  int calls(const QString& call) { return int(app.log.filter(QRegExp("^" + QRegExp::escape(call))).size()); }
};

// ---- one object ------------------------------------------------------------------------------------------

TEST_F(PasteRules, CopyOfAMeasurementIsAFullRecordOfEachTable) {
  start();
  Lists lists;
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
  Lists lists;
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
  Lists copied;
  ASSERT_TRUE(prepare(copied, key("P"), "Analog", "", true));
  EXPECT_EQ(value(copied, "Measurement", "RemoteUnitKey"), "null");
  Lists moved;
  ASSERT_TRUE(prepare(moved, key("P"), "Analog", "", false));
  EXPECT_EQ(marked(moved, "Measurement"), QStringList());
}

TEST_F(PasteRules, FolderLinksBecomeNullWithoutATargetAndAreMarked) {
  start();
  for (const bool isCopy : {true, false}) {
    Lists lists;
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
  Lists lists;
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
  Lists lists;
  ASSERT_TRUE(prepare(lists, key("P макс"), "Analog", key("КП-3"), true, false, 77, "G"));
  EXPECT_EQ(value(lists, "Measurement", "primaryLocId"), "77");
  EXPECT_EQ(value(lists, "Measurement", "MeasurementArchGroupKey"), "G");
  Lists noGroup;
  ASSERT_TRUE(prepare(noGroup, key("P макс"), "Analog", key("КП-3"), true, false, 77, ""));
  EXPECT_EQ(value(noGroup, "Measurement", "primaryLocId"), "1001");
  EXPECT_EQ(value(noGroup, "Measurement", "MeasurementArchGroupKey"), key("Часовая"));
  Lists noPrimary;
  ASSERT_TRUE(prepare(noPrimary, key("P макс"), "Analog", key("КП-3"), true, false, 0, "G"));
  EXPECT_EQ(value(noPrimary, "Measurement", "MeasurementArchGroupKey"), key("Часовая"));
  Lists moved;
  ASSERT_TRUE(prepare(moved, key("P макс"), "Analog", key("КП-3"), false, false, 77, "G"));
  EXPECT_EQ(value(moved, "Measurement", "primaryLocId"), "1001");
  EXPECT_EQ(value(moved, "Measurement", "MeasurementArchGroupKey"), key("Часовая"));
}

TEST_F(PasteRules, ObjectsOfAClassShareTheirTables) {
  start();
  Lists lists;
  ASSERT_TRUE(prepare(lists, key("P"), "Analog", key("КП-3"), true));
  ASSERT_TRUE(prepare(lists, key("Выключатель"), "Discrete", key("КП-3"), true));
  ASSERT_TRUE(prepare(lists, key("Q"), "Analog", key("КП-3"), true));
  EXPECT_EQ(lists.tables, (QStringList{"IdentifiedObject", "Measurement", "Analog", "Discrete"}));
  EXPECT_EQ(lists.rows("IdentifiedObject"), 3);
  EXPECT_EQ(lists.rows("Analog"), 2);
  EXPECT_EQ(lists.newLocIds, (QList<int>{11, 12, 13}));
}

QStringList* debugLines = nullptr;
void takeDebug(QtMsgType, const QMessageLogContext& context, const QString& text) {
  if (debugLines && qstrcmp(context.category, "default") == 0) *debugLines += text;
}

TEST_F(PasteRules, UnknownClassIsToldToTheLogAndLeftOut) {
  start();
  Lists lists;
  QStringList lines;
  debugLines = &lines;
  const QtMessageHandler before = qInstallMessageHandler(takeDebug);
  EXPECT_FALSE(prepare(lists, key("P"), "Terminal", key("КП-3"), true));
  EXPECT_FALSE(prepare(lists, key("P"), "analog", key("КП-3"), true)) << "with case";
  qInstallMessageHandler(before);
  debugLines = nullptr;
  ASSERT_EQ(lines.size(), 2);
  EXPECT_THAT(lines[0].toStdString(), testing::HasSubstr("Terminal"));
  EXPECT_THAT(lines[0].toStdString(), testing::HasSubstr("(ind = SavedClasses.indexOf(ClassNameSrc))==-1 !!!"));
  EXPECT_EQ(lists.tables, QStringList());
}

TEST_F(PasteRules, WithoutAKeyOrASourceThereIsNoObject) {
  start();
  Lists lists;
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
  Lists lists;
  lists.numbers = {500};
  ASSERT_TRUE(prepare(lists, key("P"), "Analog", key("КП-3"), true));
  ASSERT_TRUE(prepare(lists, key("Q"), "Analog", key("КП-3"), true));
  EXPECT_EQ(lists.newLocIds, (QList<int>{500, 501}));
  EXPECT_EQ(lists.numbers.size(), 101);
  EXPECT_EQ(lists.numbers.last(), 600);
}

TEST_F(PasteRules, WithoutANumberTheObjectIsNotThere) {
  start();
  Lists lists;
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
  Lists lists;
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
  Lists lists;
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
  Lists lists;
  walk(lists, doc(element("Analog", "P макс", "locId='1002' primaryLocId='1001' MeasurementArchGroupKey='G'")),
       key("КП-3"), false, true);
  EXPECT_EQ(lists.rows("Measurement"), 1);
  EXPECT_EQ(value(lists, "Measurement", "primaryLocId"), "1001");
}

TEST_F(PasteRules, WithoutAggregatedDataNoneIsWalked) {
  start();
  for (const bool isCopy : {true, false}) {
    Lists lists;
    lists.srcLocIds = {1001};
    lists.newLocIds = {5};
    walk(lists, doc(element("Analog", "P макс", "locId='1002' primaryLocId='1001' MeasurementArchGroupKey='G'")),
         key("КП-3"), isCopy, false);
    EXPECT_EQ(lists.tables, QStringList());
  }
}

TEST_F(PasteRules, WhatIsBelowAFolderGoesIntoItsCopy) {
  start();
  Lists lists;
  walk(lists, doc(element("Folder", "Север", "", element("RemoteUnit", "КП-2", "", element("Analog", "U")))), key("Юг"),
       true, true);
  EXPECT_EQ(value(lists, "RemoteUnitFolder", "ParentKey"), key("Юг") + "*");
  EXPECT_EQ(value(lists, "RemoteUnit", "RemoteUnitFolderKey"), value(lists, "RemoteUnitFolder", "KeyLink") + "*");
  EXPECT_EQ(value(lists, "Measurement", "RemoteUnitKey"), value(lists, "RemoteUnit", "KeyLink") + "*");
  EXPECT_EQ(value(lists, "RemoteUnitFolder", "caption"), "Север") << "names below the top stay";
}

TEST_F(PasteRules, TagsOfMeasurementsCompareWithCase) {
  start();
  Lists lists;
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

// ---- from outside ----------------------------------------------------------------------------------------

TEST_F(PasteRules, UnreadableTextEndsWithoutAMessage) {
  start();
  const QString before = onServer();
  QString whole = doc(element("Analog", "P", "locId='1001'") + element("RemoteUnit", "КП-3"));
  app.log.clear();
  for (int length = 0; length < whole.size(); length += 3) {
    module->clipText = whole.left(length);
    module->clipIsCopy = true;
    module->CheckEnabledPaste(find("КП-2"));
    EXPECT_FALSE(module->btnPaste->isEnabled()) << length;
    module->ParseUpLevelXml(whole.left(length), find("КП-2"), true, true);
  }
  EXPECT_EQ(calls("BlockEnd"), 0);
  EXPECT_EQ(waitingBox(), nullptr);
  EXPECT_EQ(onServer(), before);
}

TEST_F(PasteRules, HarmfulTextsAreRefusedAtOnce) {
  start();
  click("КП-3");
  QString entity = "<!DOCTYPE MyTree [<!ENTITY a \"" + QString(50'000, 'x') + "\">]><MyTree>";
  while (entity.size() < 300'000) entity += "<Analog KeyLink='&a;&a;&a;'/>";
  const QString deep = "<MyTree>" + QString("<Analog KeyLink='a'>").repeated(40'000) + "</MyTree>";
  for (const QString& text : {entity + "</MyTree>", deep}) {
    putPayload("1" + text.toUtf8());
    EXPECT_EQ(module->clipTopTable, "");
    EXPECT_FALSE(module->btnPaste->isEnabled());
    module->ParseUpLevelXml(text, find("КП-3"), true, true);
  }
  EXPECT_EQ(below(onServer(), "КП-3"), "КП-3\n  3001 I\n");
}

TEST_F(PasteRules, OfAnotherProgramIsNoDocument) {
  start();
  click("КП-3");
  for (const char* bytes : {"1<svg><Analog/></svg2>", "1{\"a\":1}", "1\xff\xfe\x00\x01",
                            "1<html><body>text</body></html>", "1<MyTree/>", "1plain"}) {
    putPayload(bytes);
    EXPECT_FALSE(module->btnPaste->isEnabled()) << bytes;
    module->actPaste->trigger();
  }
  EXPECT_EQ(waitingBox(), nullptr);
  EXPECT_EQ(below(onServer(), "КП-3"), "КП-3\n  3001 I\n");
}

TEST_F(PasteRules, KeysOfAnotherServerArePassedOverInSilence) {
  start();
  click("КП-3");
  putPayload("1<MyTree><Analog ClassName='Analog' KeyLink='00000000000000000000000000000000' locId='7'/></MyTree>");
  press(Qt::Key_V);
  EXPECT_EQ(waitingBox(), nullptr);
  EXPECT_EQ(below(onServer(), "КП-3"), "КП-3\n  3001 I\n");
}

TEST_F(PasteRules, DeletedSourceIsSkippedAndTheRestGoesOn) {
  start();
  copy({"P", "Q", "Режим"});
  Colleague colleague(*server.core());
  ASSERT_TRUE(colleague.remove("Analog", key("Q")).commit());
  ASSERT_TRUE(eventsAreIn());
  pasteOnto("КП-3");
  EXPECT_EQ(waitingBox(), nullptr);
  EXPECT_EQ(below(onServer(), "КП-3"), "КП-3\n  1 P\n  2 P макс < 1\n  3 Режим\n  3001 I\n");
}

TEST_F(PasteRules, UnderADeletedFolderTheRestComesToTheTop) {
  start();
  copy({"Север"});
  Colleague colleague(*server.core());
  ASSERT_TRUE(colleague.change("RemoteUnit", key("КП-1"), {"RemoteUnitFolderKey=" + key("Юг")})
                  .remove("RemoteUnitFolder", key("Север-110"))
                  .commit());
  ASSERT_TRUE(eventsAreIn());
  pasteOnto("Юг");
  EXPECT_FALSE(onServer().contains("(оторвано)"));
  EXPECT_THAT(onServer().toStdString(), testing::HasSubstr("\nКП-1\n  1 P\n"));
  EXPECT_THAT(onServer().toStdString(), testing::HasSubstr("  Север\n    КП-2\n      7 U\n"));
}

TEST_F(PasteRules, KeyThatIsNoKeyIsRefusedWhole) {
  start();
  const QString before = onServer();
  module->ParseUpLevelXml(doc("<Analog ClassName='Analog' KeyLink='#1001' locId='1001'/>" + element("Analog", "Q")),
                          find("КП-3"), false, true);
  ASSERT_NE(waitingBox(), nullptr);
  answerBox(waitingBox(), 0);
  EXPECT_EQ(onServer(), before);
}

TEST_F(PasteRules, ClassThatIsNotTheSourcesIsRefusedWhole) {
  start();
  const QString before = onServer();
  module->ParseUpLevelXml(
      doc(QString("<Discrete ClassName='Discrete' KeyLink='%1' locId='1001'/>").arg(key("P")) + element("Analog", "Q")),
      find("КП-3"), true, true);
  ASSERT_NE(waitingBox(), nullptr);
  answerBox(waitingBox(), 0);
  EXPECT_EQ(onServer(), before);
}

// ---- when the server does not take it --------------------------------------------------------------------

struct FailureCase {
  const char* name;
  const char* call;
  Fail fail;
};
void PrintTo(const FailureCase& row, std::ostream* out) { *out << row.name; }

class PasteFailure : public PasteRules, public testing::WithParamInterface<FailureCase> {};

TEST_P(PasteFailure, IsToldInTheBoxAndACutIsGoneFromTheClipboard) {
  start();
  for (const bool isCopy : {true, false}) {
    isCopy ? copy({"Q"}) : cut({"Q"});
    click("КП-3");
    app.failures.add(GetParam().call, GetParam().fail);
    press(Qt::Key_V);
    app.failures.clear();
    ASSERT_NE(waitingBox(), nullptr);
    EXPECT_EQ(waitingBox()->titleText(), "Ошибка изменения данных");
    EXPECT_EQ(waitingBox()->messageText(),
              "При изменения данных возникла непредвиденная ошибка.\nДанные не были изменены!");
    EXPECT_EQ(waitingBox()->icon(), kBoxError);
    answerBox(waitingBox(), 0);
    settle();
    EXPECT_EQ(module->ownMoves, QStringList());
    EXPECT_EQ(module->treeModel->cutKeys, QStringList());
    EXPECT_EQ(module->clipText.isEmpty(), !isCopy);
    EXPECT_EQ(payload() == "0", !isCopy);
  }
}

const FailureCase kFailures[] = {
    {"RefusedBlock", "BlockEnd", Fail::kStatus},
    {"NoAnswer", "BlockEnd", Fail::kNoReply},
};
INSTANTIATE_TEST_SUITE_P(PasteRules, PasteFailure, testing::ValuesIn(kFailures),
                         [](const auto& each) { return std::string(each.param.name); });

TEST_F(PasteRules, LateAnswerCountsAsSuccess) {
  start();
  copy({"Q"});
  click("КП-3");
  app.failures.add("BlockEnd", Fail::kTimeOut);
  press(Qt::Key_V);
  EXPECT_EQ(waitingBox(), nullptr);
}

TEST_F(PasteRules, ServerAwayMeansNoSourceAndNoHarm) {
  start();
  const QString before = onServer();
  cut({"Q"});
  click("КП-3");
  app.failures.add("PacketExec", Fail::kRefuseToSend);
  app.failures.add("CalcExec", Fail::kRefuseToSend);
  app.failures.add("BlockEnd", Fail::kRefuseToSend);
  press(Qt::Key_V);
  app.failures.clear();
  EXPECT_EQ(waitingBox(), nullptr) << "an answer that does not come is no refusal";
  EXPECT_EQ(onServer(), before);
  EXPECT_EQ(module->treeModel->cutKeys, QStringList());
  EXPECT_EQ(module->ownMoves, QStringList());
}

// 150 measurements without a hole among their numbers: the first hundred free ones follow the highest, and behind them
// the server names none.
const std::string& fullModel() {
  static const std::string text = [] {
    std::string lines = "folder Юг\nunit А\n";
    for (int i = 1; i <= 150; ++i) lines += "  analog " + std::to_string(i) + " m" + std::to_string(i) + "\n";
    return lines + "unit Б\n  analog 151 c\n";
  }();
  return text;
}

class PasteFull : public PasteWindow {
 protected:
  PasteFull() : PasteWindow(fullModel().c_str()) {}
};

TEST_F(PasteFull, NumbersUsedUpRefuseTheWholePaste) {
  startBoth();
  const QString before = onServer();
  copy({"А"});
  click("Юг");
  press(Qt::Key_V);
  ASSERT_NE(waitingBox(), nullptr);
  EXPECT_EQ(waitingBox()->messageText(),
            "При изменения данных возникла непредвиденная ошибка.\nДанные не были изменены!");
  answerBox(waitingBox(), 0);
  EXPECT_EQ(onServer(), before);
  EXPECT_EQ(below(shownHere(), "Юг"), "Юг\n");
}

TEST_F(PasteFull, NumbersBehindTheHighestAreGivenFromTheFirstHundred) {
  startBoth();
  copy({"Б"});
  module->ParseUpLevelXml(module->clipText, QModelIndex(), true, true);
  ASSERT_TRUE(bothAreUpToDate());
  EXPECT_EQ(below(onServer(), "Б-копия"), "Б-копия\n  152 c\n");
}

}  // namespace
}  // namespace tlm::test
