#include "ModuleFixture.h"

namespace tlm::test {
namespace {

constexpr const char* kModel = R"(
    table MeasurementArchGroup Часовая {aggregatedData=1}
    folder А
      unit А-1
        analog 1 Первое
          analog 2 Часовое {MeasurementArchGroupKey=@Часовая}
        discrete 3 Сигнал
      unit А-2
    folder Б
      unit Б-1
    unit В
    analog 9 Ничьё
)";

struct NavigationTest : ModuleFixture {
  void SetUp() override {
    load(kModel);
    for (const char* unit : {"А-1", "А-2", "Б-1", "В"}) expand(unit);
  }
  QString text(const QModelIndex& index) const { return index.isValid() ? index.data().toString() : QString("-"); }
};

TEST_F(NavigationTest, NextAndPreviousWalkTheWholeTreeInDisplayOrder) {
  const QStringList expected = {"А",
                                "А-1",
                                "Аналоговые измерения",
                                "Первое",
                                "Часовое",
                                "Дискретные сигналы",
                                "Сигнал",
                                "А-2",
                                "Б",
                                "Б-1",
                                "(Устройство по умолчанию)",
                                "Аналоговые измерения",
                                "Ничьё",
                                "В"};
  QStringList seen;
  QModelIndex last;
  for (QModelIndex at = module->treeModel->index(0, 0); at.isValid(); at = module->GetNextIndex(at)) {
    seen.append(text(at));
    last = at;
  }
  EXPECT_EQ(seen, expected);
  QStringList back;
  for (QModelIndex at = last; at.isValid(); at = module->GetPrevIndex(at)) back.prepend(text(at));
  EXPECT_EQ(back, expected);
}

TEST_F(NavigationTest, TheEndsOfTheTreeGiveInvalidIndexes) {
  EXPECT_FALSE(module->GetNextIndex(row("В")).isValid());
  EXPECT_FALSE(module->GetPrevIndex(row("А")).isValid());
  EXPECT_FALSE(module->GetNextIndex(QModelIndex()).isValid());
  EXPECT_FALSE(module->GetPrevIndex(QModelIndex()).isValid());
}

TEST_F(NavigationTest, AUnitThatWasNotFetchedIsPassedOver) {
  load(kModel);
  EXPECT_EQ(text(module->GetNextIndex(row("А-1"))), "А-2");
  EXPECT_EQ(text(module->GetPrevIndex(row("А-2"))), "А-1");
}

TEST_F(NavigationTest, BeforeAnOpenUnitStandsItsDeepestLastRow) {
  EXPECT_EQ(text(module->GetPrevIndex(row("А-2"))), "Сигнал");
  module->treeModel->takeNode(node("А-1"), 1);
  EXPECT_EQ(text(module->GetPrevIndex(row("А-2"))), "Часовое");
}

TEST_F(NavigationTest, NextUnitStaysAtItsLevelAndClimbs) {
  EXPECT_EQ(text(module->GetNextRTUIndex(row("А-1"))), "А-2");
  EXPECT_EQ(text(module->GetNextRTUIndex(row("А-2"))), "Б");
  EXPECT_EQ(text(module->GetNextRTUIndex(row("А"))), "Б");
  EXPECT_EQ(text(module->GetNextRTUIndex(row("Б"))), "(Устройство по умолчанию)");
  EXPECT_EQ(text(module->GetNextRTUIndex(row("В"))), "-");
}

TEST_F(NavigationTest, FromAMeasurementTheUnitAroundItCounts) {
  EXPECT_EQ(text(module->GetNextRTUIndex(row("Часовое"))), "А-2");
  EXPECT_EQ(text(module->GetNextRTUIndex(row("Дискретные сигналы"))), "А-2");
  EXPECT_EQ(text(module->GetPrevRTUIndex(row("Сигнал"))), "А");
  EXPECT_EQ(text(module->GetNextRTUIndex(row("Ничьё"))), "-");
}

TEST_F(NavigationTest, PreviousUnitGoesDownToTheDeepestRow) {
  EXPECT_EQ(text(module->GetPrevRTUIndex(row("А-2"))), "Сигнал");
  EXPECT_EQ(text(module->GetPrevRTUIndex(row("А-1"))), "А");
  EXPECT_EQ(text(module->GetPrevRTUIndex(row("Б"))), "А-2");
  EXPECT_EQ(text(module->GetPrevRTUIndex(row("А"))), "-");
  load(kModel);
  EXPECT_EQ(text(module->GetPrevRTUIndex(row("А-2"))), "А-1");
}

// A current row may lie in the number's column.
TEST_F(NavigationTest, WalksFromAnyColumnGiveTheFirst) {
  const QModelIndex next = module->GetNextIndex(row("Первое").siblingAtColumn(1));
  EXPECT_EQ(text(next), "Часовое");
  EXPECT_EQ(next.column(), 0);
  EXPECT_EQ(module->GetNextIndex(row("Часовое").siblingAtColumn(1)), row("Дискретные сигналы"));
  EXPECT_EQ(module->GetPrevIndex(row("А-2").siblingAtColumn(1)), row("Сигнал"));
  EXPECT_EQ(module->GetNextRTUIndex(row("А-1").siblingAtColumn(1)), row("А-2"));
  EXPECT_EQ(module->GetPrevRTUIndex(row("А-2").siblingAtColumn(1)), row("Сигнал"));
  EXPECT_EQ(module->GetKeyLinkRTU(row("Первое").siblingAtColumn(1)), key("А-1"));
  EXPECT_EQ(module->GetKeyLinkByModelIndex(row("Первое").siblingAtColumn(1)), key("Первое"));
}

TEST_F(NavigationTest, BeforeARowInAnyColumnStandsTheFirstColumnOfTheOneAbove) {
  load(kModel);
  EXPECT_EQ(module->GetPrevIndex(row("А-2").siblingAtColumn(1)), row("А-1"));
}

TEST_F(NavigationTest, FolderWithinFoldersLiesInNoUnit) {
  load("folder А\n  folder Б\n    folder В\n");
  EXPECT_EQ(module->GetKeyLinkRTU(row("В")), QString());
}

TEST_F(NavigationTest, GroupOutsideAUnitLiesInNone) {
  module->treeModel->insertNodes(row("Б"), 0, {new myConfNode(node("Б"), "Счетчики", nullptr, nullptr)});
  ASSERT_EQ(row("Счетчики").parent(), row("Б"));
  EXPECT_EQ(module->GetKeyLinkRTU(row("Счетчики")), QString());
}

TEST_F(NavigationTest, FromTheDefaultUnitThereIsNoUnitBesideIt) {
  EXPECT_EQ(text(module->GetNextRTUIndex(module->treeModel->defaultUnit())), "-");
  EXPECT_EQ(text(module->GetPrevRTUIndex(row("Ничьё"))), "-");
}

TEST_F(NavigationTest, ParentOfAGroupIsItsUnitAndOfOthersTheRowAbove) {
  QModelIndex parent;
  EXPECT_TRUE(module->GetIndexParent(row("Дискретные сигналы"), parent));
  EXPECT_EQ(parent, row("А-1"));
  EXPECT_TRUE(module->GetIndexParent(row("Ничьё"), parent));
  EXPECT_EQ(parent, module->treeModel->defaultUnit());
}

TEST_F(NavigationTest, ParentOfAMeasurementIsItsUnit) {
  QModelIndex parent;
  EXPECT_TRUE(module->GetIndexParent(row("Первое"), parent));
  EXPECT_EQ(parent, row("А-1"));
  EXPECT_TRUE(module->GetIndexParent(row("Часовое"), parent));
  EXPECT_EQ(parent, row("Первое"));
  EXPECT_TRUE(module->GetIndexParent(row("А-1"), parent));
  EXPECT_EQ(parent, row("А"));
  EXPECT_TRUE(module->GetIndexParent(row("А"), parent));
  EXPECT_FALSE(parent.isValid());
  parent = row("Б");
  EXPECT_FALSE(module->GetIndexParent(QModelIndex(), parent));
  EXPECT_EQ(parent, row("Б"));
}

TEST_F(NavigationTest, KeysOfIndexes) {
  EXPECT_EQ(module->GetKeyLinkByModelIndex(row("Первое")), key("Первое"));
  EXPECT_EQ(module->GetKeyLinkByModelIndex(row("Аналоговые измерения")), QString());
  EXPECT_EQ(module->GetKeyLinkByModelIndex(QModelIndex()), QString());
}

TEST_F(NavigationTest, KeyOfTheUnitAroundAnIndex) {
  EXPECT_EQ(module->GetKeyLinkRTU(row("А-1")), key("А-1"));
  EXPECT_EQ(module->GetKeyLinkRTU(row("Дискретные сигналы")), key("А-1"));
  EXPECT_EQ(module->GetKeyLinkRTU(row("Первое")), key("А-1"));
  EXPECT_EQ(module->GetKeyLinkRTU(row("Часовое")), QString());
  EXPECT_EQ(module->GetKeyLinkRTU(row("Ничьё")), QString());
  EXPECT_EQ(module->GetKeyLinkRTU(row("Ничьё").parent()), QString());
  EXPECT_EQ(module->GetKeyLinkRTU(row("(Устройство по умолчанию)")), QString());
  EXPECT_EQ(module->GetKeyLinkRTU(row("А")), QString());
  EXPECT_EQ(module->GetKeyLinkRTU(QModelIndex()), QString());
}

}  // namespace
}  // namespace tlm::test
