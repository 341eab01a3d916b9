#include "ModuleFixture.h"

#include <QAbstractItemModelTester>
#include <QHeaderView>
#include <QIdentityProxyModel>
#include <QSignalSpy>

namespace tlm::test {
namespace {

constexpr const char* kNested = R"(
    folder Север
      folder Порт
        unit КП-Порт
          analog 1001 P Т-1
      unit КП-Север
    folder Юг
    unit Без папки
)";

using TreeTest = ModuleFixture;

TEST_F(TreeTest, WithoutAModuleThereIsNoRoot) { EXPECT_EQ(InitTreeRTU(nullptr), nullptr); }

TEST_F(TreeTest, FoldersNestAndHoldTheirOwnFoldersBeforeTheirUnits) {
  load(kNested, false);
  EXPECT_EQ(treeText(*module->treeModel, row("Север")), "Порт\n  КП-Порт\nКП-Север\n");
  load(kNested);
  EXPECT_EQ(tree(), picture(R"(
      Север
        Порт
          КП-Порт
        КП-Север
      Юг
      Без папки
  )"));
}

TEST_F(TreeTest, KindsOfNodesCarryTheirMarks) {
  load(kNested);
  const myConfNode* folder = node("Север");
  EXPECT_TRUE(folder->isFolder);
  EXPECT_TRUE(folder->isLoaded);
  EXPECT_EQ(folder->table, &module->tblRemoteUnitFolder);
  const myConfNode* unit = node("КП-Порт");
  EXPECT_FALSE(unit->isFolder);
  EXPECT_FALSE(unit->isLoaded);
  EXPECT_EQ(unit->table, &module->tblRemoteUnit);
  EXPECT_EQ(unit->parent, node("Порт"));
  EXPECT_TRUE(unit->children.empty());
}

TEST_F(TreeTest, UnitsWithoutAFolderFollowTheFoldersAtTheTop) {
  serve(R"(
      unit Первый
      unit Второй
      folder Папка
        unit В папке
  )");
  emptyOnServer("RemoteUnit", "Второй", "RemoteUnitFolderKey");
  module->loadMdxTables();
  buildTree(false);
  EXPECT_EQ(node("Папка")->row(), 0);
  EXPECT_EQ(module->treeModel->rowCount(), 3);
  EXPECT_TRUE(row("Первый").isValid());
  EXPECT_TRUE(row("Второй").isValid());
}

TEST_F(TreeTest, UnitsWhoseFolderIsAnEmptyTextAloneAreShownToo) {
  serve(R"(
      folder Папка
      unit Единственный
  )");
  emptyOnServer("RemoteUnit", "Единственный", "RemoteUnitFolderKey");
  emptyOnServer("RemoteUnitFolder", "Папка", "ParentKey");
  module->loadMdxTables();
  buildTree();
  EXPECT_EQ(tree(), "Папка\nЕдинственный\n");
}

TEST_F(TreeTest, WithoutAnyFolderAllUnitsHangAtTheTop) {
  load(R"(
      unit КП-2
      unit КП-1 {RemoteUnitFolderKey=00000000000000000000000000000000}
  )");
  EXPECT_EQ(tree(), "КП-1\nКП-2\n");
}

TEST_F(TreeTest, AFolderOfAnUnknownParentIsNotShown) {
  load(R"(
      folder Видна
      folder Не видна {ParentKey=00000000000000000000000000000000}
  )");
  EXPECT_EQ(tree(), "Видна\n");
}

TEST_F(TreeTest, AParentIsFoundInItsOwnSpellingAlone) {
  const QByteArray lower = key("Папка").toLower().toLatin1();
  load("folder Папка\nfolder Ниже {ParentKey=" + lower + "}\nunit КП {RemoteUnitFolderKey=" + lower + "}\nunit Верх");
  EXPECT_EQ(tree(), "Папка\nВерх\n");
}

TEST_F(TreeTest, WithoutMeasurementsWithoutUnitThereIsNoDefaultUnit) {
  load("unit КП\n  analog 1 P");
  EXPECT_EQ(tree(), "КП\n");
  EXPECT_EQ(MDARecCount(module->measRecords.array), 0);
}

TEST_F(TreeTest, EmptyAndNullUnitsShareTheGroupsOfTheDefaultUnit) {
  serve(R"(
      analog 5 Пустой
      analog 3 Никакой
      discrete 4 Сигнал
      unit КП
  )");
  emptyOnServer("Measurement", "Пустой", "RemoteUnitKey");
  module->loadMdxTables();
  buildTree();
  EXPECT_EQ(tree(), picture(R"(
      (Устройство по умолчанию)
        Аналоговые измерения
          3 Никакой
          5 Пустой
        Дискретные сигналы
          4 Сигнал
      КП
  )"));
  const myConfNode* unit = node("(Устройство по умолчанию)");
  EXPECT_TRUE(unit->isLoaded);
  EXPECT_EQ(unit->record, nullptr);
  EXPECT_EQ(unit->table, nullptr);
}

TEST_F(TreeTest, TheDefaultUnitStaysWhenNoRowFitsIt) {
  load("unit КП\n  analog 1 P");
  expand("КП");
  ASSERT_GT(MDARecCount(module->measRecords.array), 0);
  myConfNode root(nullptr, QString(), nullptr, nullptr);
  GetEmptyRTU(&root, module.get());
  ASSERT_EQ(root.children.size(), 1u);
  EXPECT_EQ(root.children[0]->text, "(Устройство по умолчанию)");
  EXPECT_TRUE(root.children[0]->children.empty());
}

TEST_F(TreeTest, LoadersAnswerZeroForNothingToWalk) {
  load("unit КП");
  myConfNode root(nullptr, QString(), nullptr, nullptr);
  MDRVar none{};
  EXPECT_EQ(GetFolderRTU(&root, module.get()), 0);  // no folders
  EXPECT_EQ(GetSubFolderRTU(none, &root, module.get()), 0);
  EXPECT_EQ(GetRTU(nullptr, module.get()), 0);
  EXPECT_EQ(GetRTU(&root, nullptr), 0);
  EXPECT_EQ(GetRTUInFold(none, nullptr, module.get()), 0);
  EXPECT_EQ(GetRTU(&root, module.get()), 1);
  const QByteArray other("00000000000000000000000000000000");
  MDRVar unknown{};
  unknown.type = MDX_TEXT;
  unknown.text = {32, other.constData()};
  EXPECT_EQ(GetRTUInFold(unknown, &root, module.get()), 1);  // walked, no hit
  EXPECT_EQ(root.children.size(), 1u);
}

// ---- measurements of a unit -----------------------------------------------------------------------------

constexpr const char* kUnit = R"(
    folder Подстанция
      unit КП-1
        analog 1002 P Т-2
        analog 1001 P Т-1
        discrete 1003 Q-110 {CheckTu=1}
        accumulator 1004 Wh
        string 1005 Текст
      unit КП-2
        analog 2001 Другое
)";

TEST_F(TreeTest, AnOpenedUnitShowsItsMeasurementsByClass) {
  load(kUnit);
  EXPECT_TRUE(module->treeModel->hasChildren(row("КП-1")));
  expand("КП-1");
  EXPECT_EQ(treeText(*module->treeModel, row("КП-1")), picture(R"(
      Аналоговые измерения
        1002 P Т-2
        1001 P Т-1
      Дискретные сигналы
        1003 Q-110
      Строковые величины
        1005 Текст
      Счетчики
        1004 Wh
  )"));
  const myConfNode* unit = node("КП-1");
  EXPECT_TRUE(unit->isLoaded);
  EXPECT_TRUE(unit->isExpanded);
  EXPECT_EQ(module->loadedRemoteUnits, QStringList{key("КП-1")});
  EXPECT_TRUE(node("Q-110")->checkTu);
  EXPECT_FALSE(node("P Т-1")->checkTu);
  EXPECT_EQ(node("Wh")->table, &module->measRecords);
}

TEST_F(TreeTest, EveryOpenedNodeHasItsDirectRowsSorted) {
  load(kUnit);
  expand("КП-1");
  expand("Аналоговые измерения");
  EXPECT_EQ(treeText(*module->treeModel, row("Аналоговые измерения")), "1001 P Т-1\n1002 P Т-2\n");
  module->treeModel->sortOrder = Qt::DescendingOrder;
  module->slotCollapsedTVMeas(row("Аналоговые измерения"));
  EXPECT_FALSE(node("Аналоговые измерения")->isExpanded);
  expand("Аналоговые измерения");
  EXPECT_EQ(treeText(*module->treeModel, row("Аналоговые измерения")), "1002 P Т-2\n1001 P Т-1\n");
}

TEST_F(TreeTest, AUnitIsFetchedOnce) {
  load(kUnit);
  const int before = count("CalcExec");
  expand("КП-1");
  module->slotCollapsedTVMeas(row("КП-1"));
  expand("КП-1");
  EXPECT_TRUE(module->AddMeasForRTU(row("КП-1"), QString(), false, QString()));
  EXPECT_EQ(count("CalcExec"), before + 1);
  EXPECT_EQ(module->loadedRemoteUnits.size(), 1);
  EXPECT_EQ(MDARecCount(module->measRecords.array), 5);
}

TEST_F(TreeTest, CollapsingKeepsTheRows) {
  load(kUnit);
  expand("КП-1");
  module->slotCollapsedTVMeas(row("КП-1"));
  EXPECT_FALSE(node("КП-1")->isExpanded);
  EXPECT_EQ(node("КП-1")->children.size(), 4u);
}

TEST_F(TreeTest, OpeningAFolderFetchesNothing) {
  load(kUnit);
  const int before = app->log.size();
  expand("Подстанция");
  EXPECT_EQ(app->log.size(), before);
  EXPECT_TRUE(node("Подстанция")->isExpanded);
}

TEST_F(TreeTest, InvalidIndexesAreLeftAlone) {
  load(kUnit);
  module->slotExpandedTVMeas(QModelIndex());
  module->slotCollapsedTVMeas(QModelIndex());
  EXPECT_FALSE(module->AddMeasForRTU(QModelIndex(), "x", false, QString()));
}

TEST_F(TreeTest, AUnitWithoutAKeyIsNotFetched) {
  load(kUnit);
  myConfNode* unit = node("КП-1");
  unit->record = nullptr;
  const QModelIndex index = module->treeModel->indexOf(unit);
  EXPECT_FALSE(module->AddMeasForRTU(index, QString(), false, QString()));
  EXPECT_TRUE(module->AddMeasForRTU(index, key("КП-1"), false, QString()));
}

TEST_F(TreeTest, TheGroupsAreToldInOneGo) {
  load(kUnit);
  QSignalSpy told(module->treeModel, &QAbstractItemModel::rowsInserted);
  expand("КП-1");
  ASSERT_EQ(told.count(), 1);
  EXPECT_EQ(told[0][0].toModelIndex(), row("КП-1"));
  EXPECT_EQ(told[0][1].toInt(), 0);
  EXPECT_EQ(told[0][2].toInt(), 3);
}

TEST_F(TreeTest, AnEmptyUnitTellsOneRowThatNeverComesAndLosesItsExpander) {
  load("unit Пустой");
  QSignalSpy about(module->treeModel, &QAbstractItemModel::rowsAboutToBeInserted);
  QSignalSpy told(module->treeModel, &QAbstractItemModel::rowsInserted);
  EXPECT_FALSE(module->AddMeasForRTU(row("Пустой"), QString(), false, QString()));  // insertRows of no rows
  ASSERT_EQ(about.count(), 1);
  ASSERT_EQ(told.count(), 1);
  EXPECT_EQ(told[0][1].toInt(), 0);
  EXPECT_EQ(told[0][2].toInt(), 0);
  EXPECT_TRUE(node("Пустой")->isLoaded);
  EXPECT_FALSE(module->treeModel->hasChildren(row("Пустой")));
  EXPECT_EQ(module->loadedRemoteUnits, QStringList{key("Пустой")});
}

TEST_F(TreeTest, AViewOutlivesTheOpeningOfAnEmptyUnit) {
  load("unit Пустой\nunit Сосед\n  analog 1 P");
  KeysModifQTreeViewMeas view;
  view.setModel(module->treeModel);
  QObject::connect(&view, &QTreeView::expanded, module.get(), &CTlmMeasConfig::slotExpandedTVMeas);
  view.resize(300, 200);
  view.show();
  settle();
  view.expand(row("Пустой"));
  view.expand(row("Сосед"));
  settle();
  EXPECT_EQ(view.indexBelow(row("Пустой")), row("Сосед"));
  EXPECT_EQ(view.indexBelow(row("Сосед")), row("Аналоговые измерения"));
}

TEST_F(TreeTest, AFetchThatFailsLeavesAnEmptyUnit) {
  for (const Fail fail : {Fail::kRefuseToSend, Fail::kTimeOut, Fail::kNoReply, Fail::kStatus, Fail::kEmptyPayload}) {
    load(kUnit);
    app->failures.add("CalcExec", fail);
    expand("КП-1");
    EXPECT_TRUE(node("КП-1")->isLoaded);
    EXPECT_TRUE(node("КП-1")->children.empty());
  }
}

TEST_F(TreeTest, TheFetchWaitsFiveSeconds) {
  serve(kUnit);
  app->recordWaits = true;
  module = std::make_unique<CTlmMeasConfig>(app.get());
  module->loadMdxTables();
  buildTree();
  app->log.clear();
  expand("КП-1");
  EXPECT_TRUE(app->log.contains("WaitResult 5000")) << app->log.join('\n').toStdString();
}

TEST_F(TreeTest, SkippingOneLeavesItsGroup) {
  load(kUnit);
  EXPECT_TRUE(module->AddMeasForRTU(row("КП-2"), QString(), true, key("Другое").toLower()));
  EXPECT_EQ(treeText(*module->treeModel, row("КП-2")), "Аналоговые измерения\n");
}

TEST_F(TreeTest, WhatIsHeldAlreadyGetsNoSecondRowAndNoSecondNode) {
  load(kUnit);
  expand("КП-2");
  const QByteArray unit = key("КП-1").toLatin1();
  MDRVar moved{};
  moved.type = MDX_TEXT;
  moved.text = {32, unit.constData()};
  module->measRecords.SetVal(node("Другое")->record, "RemoteUnitKey", moved);
  const int before = MDARecCount(module->measRecords.array);
  expand("КП-1");
  EXPECT_EQ(MDARecCount(module->measRecords.array), before + 5);
  EXPECT_EQ(treeText(*module->treeModel, row("КП-2")), "Аналоговые измерения\n  2001 Другое\n");
  EXPECT_FALSE(treeText(*module->treeModel, row("КП-1")).contains("Другое"));
}

TEST_F(TreeTest, ARowThatIsHeldIsNotFetchedAgain) {
  load(kUnit);
  module->GetMeasurementsForRTU(key("КП-1"), nullptr, false, QString());
  expand("КП-1");
  EXPECT_EQ(MDARecCount(module->measRecords.array), 5);
  EXPECT_EQ(treeText(*module->treeModel, row("Аналоговые измерения")).count('\n'), 2);
}

TEST_F(TreeTest, AGroupThatStandsTakesTheRowsOfItsClass) {
  load(kUnit);
  const QModelIndex unit = row("КП-1");
  auto* group = new myConfNode(nullptr, "Аналоговые измерения", nullptr, nullptr);
  module->treeModel->insertNodes(unit, 0, {group});
  expand("КП-1");
  EXPECT_EQ(module->treeModel->rowCount(unit), 4);
  EXPECT_EQ(group->children.size(), 2u);
}

TEST_F(TreeTest, UnknownClassesGetAGroupWithoutACaption) {
  load(kUnit);
  module->GetMeasurementsForRTU(key("КП-1"), nullptr, false, QString());
  MDRVar other{};
  other.type = MDX_TEXT;
  other.text = {5, "Other"};
  module->measRecords.SetVal(MDARec(module->measRecords.array, 0, 0), "ClassName", other);
  expand("КП-1");
  EXPECT_TRUE(treeText(*module->treeModel, row("КП-1")).startsWith("\n  "));
}

// ---- aggregated measurements ----------------------------------------------------------------------------

constexpr const char* kAggregated = R"(
    table MeasurementArchGroup Часовая {aggregatedData=1}
    table MeasurementArchGroup Обычная {aggregatedData=0}
    unit КП-1
      analog 1001 P Т-1
        analog 1002 P Т-1 макс {MeasurementArchGroupKey=@Часовая}
        accumulator 1003 P Т-1 сумма {MeasurementArchGroupKey=@Часовая}
      analog 1004 P Т-2
        analog 1005 P Т-2 мин {MeasurementArchGroupKey=@Обычная}
      analog 1006 Чужой {primaryLocId=2001;MeasurementArchGroupKey=@Часовая}
    unit КП-2
      analog 2001 Другой
)";

TEST_F(TreeTest, AggregatedMeasurementsHangUnderTheirPrimary) {
  load(kAggregated);
  expand("КП-1");
  expand("Аналоговые измерения");
  EXPECT_EQ(treeText(*module->treeModel, row("КП-1")), picture(R"(
      Аналоговые измерения
        1001 P Т-1
          1002 P Т-1 макс
          1003 P Т-1 сумма
        1004 P Т-2
        1005 P Т-2 мин
        1006 Чужой
      Счетчики
  )"));
  EXPECT_TRUE(node("P Т-1 макс")->isAggregated);
  EXPECT_EQ(node("P Т-1 сумма")->parent, node("P Т-1"));
  EXPECT_FALSE(node("Чужой")->isAggregated);
  EXPECT_FALSE(node("P Т-2 мин")->isAggregated);
}

TEST_F(TreeTest, WithAggregatedMeasurementsNoneIsSkipped) {
  load(kAggregated);
  module->AddMeasForRTU(row("КП-1"), QString(), true, key("P Т-2"));
  EXPECT_TRUE(row("P Т-2").isValid());
}

TEST_F(TreeTest, ANestedAggregateIsOneLevelDeepOnly) {
  load(R"(
      table MeasurementArchGroup Часовая {aggregatedData=1}
      unit КП
        analog 1 Основное
          analog 2 Часовое {MeasurementArchGroupKey=@Часовая}
            analog 3 Суточное {MeasurementArchGroupKey=@Часовая}
  )");
  expand("КП");
  expand("Аналоговые измерения");
  EXPECT_EQ(treeText(*module->treeModel, row("КП")), picture(R"(
      Аналоговые измерения
        1 Основное
          2 Часовое
        3 Суточное
  )"));
}

TEST_F(TreeTest, CheckAgregatedMeasNeedsAPrimaryAndAMarkedGroup) {
  load(kAggregated);
  expand("КП-1");
  CMDArray* rows = &module->measRecords;
  CMDArray* groups = &module->tblArchGroup;
  int primary = -7;
  EXPECT_TRUE(CheckAgregatedMeas(node("P Т-1 макс")->record, rows, groups, &primary));
  EXPECT_EQ(primary, 1001);
  EXPECT_TRUE(CheckAgregatedMeas(node("P Т-1 макс")->record, rows, groups, nullptr));
  EXPECT_FALSE(CheckAgregatedMeas(node("P Т-2 мин")->record, rows, groups, &primary));
  EXPECT_EQ(primary, 1004);
  primary = -7;
  EXPECT_FALSE(CheckAgregatedMeas(node("P Т-1")->record, rows, groups, &primary));
  EXPECT_EQ(primary, -7);
  EXPECT_FALSE(CheckAgregatedMeas(nullptr, rows, groups, &primary));
  CMDArray none;
  EXPECT_FALSE(CheckAgregatedMeas(node("P Т-1 макс")->record, rows, &none, nullptr));
}

TEST_F(TreeTest, ListsThatDoNotAgreeFallBackToAPlainLoadWithoutSkip) {
  load(kAggregated);
  module->GetMeasurementsForRTU(key("КП-1"), nullptr, false, QString());
  myConfNode unit(nullptr, QString(), nullptr, nullptr);
  QStringList classes, aggKeys{key("P Т-1 макс")}, pairs, aggClasses;
  QList<myConfNode*> groups;
  QList<int> primaries{1001};
  const QByteArray bytes = key("КП-1").toLatin1();
  MDRVar unitKey{};
  unitKey.type = MDX_TEXT;
  unitKey.text = {32, bytes.constData()};
  EXPECT_EQ(GetMeasurementsWithAgreg(unitKey, &unit, module.get(), &classes, &groups, &aggKeys, &primaries, &pairs,
                                     &aggClasses, true, key("P Т-1")),
            1);
  ASSERT_EQ(groups.size(), 2);
  EXPECT_EQ(groups[0]->children.size(), 5u);
  EXPECT_EQ(classes, (QStringList{"Analog", "Accumulator"}));
  unit.children.assign(groups.begin(), groups.end());
}

TEST_F(TreeTest, MeasurementLoadersAnswerZeroForNothing) {
  load("unit КП");
  myConfNode unit(nullptr, QString(), nullptr, nullptr);
  QStringList classes;
  QList<myConfNode*> groups;
  MDRVar unitKey{};
  EXPECT_EQ(GetMeasurements(unitKey, &unit, module.get(), &classes, &groups, false, QString()), 0);
  EXPECT_EQ(GetMeasurements(unitKey, nullptr, module.get(), &classes, &groups, false, QString()), 0);
  EXPECT_EQ(GetMeasurementsWithoutAgreg(unitKey, &unit, nullptr, &classes, &groups, false, QString()), 0);
}

class OneColumn : public QIdentityProxyModel {
 public:
  int columnCount(const QModelIndex& = QModelIndex()) const override { return 1; }
};

TEST_F(TreeTest, LoadingPassesTheModelTesterOverOneColumn) {
  load(kAggregated);
  OneColumn proxy;
  proxy.setSourceModel(module->treeModel);
  const QAbstractItemModelTester tester(&proxy, QAbstractItemModelTester::FailureReportingMode::Fatal);
  expand("КП-1");
  expand("КП-2");
  expand("Аналоговые измерения");
  EXPECT_EQ(proxy.rowCount(), 2);
}

}  // namespace
}  // namespace tlm::test
