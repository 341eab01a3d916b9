#include "ModuleFixture.h"

#include <algorithm>

namespace tlm::test {
namespace {

using UnitLoadTest = ModuleFixture;

constexpr const char* kTwoUnits = R"(
    unit КП-1
      analog 1 P
      discrete 2 Q
    unit КП-2
      analog 3 Другое
)";

TEST_F(UnitLoadTest, WithoutFoldersUnitsAreHungInTheOrderOfTheirKeys) {
  load("unit А\nunit Б\nunit В\nunit Г\nunit Д", false);
  QStringList keys;
  for (int i = 0; i < module->treeModel->rowCount(); ++i)
    keys.append(module->treeModel->index(i, 0).data(kKeyRole).toString());
  EXPECT_EQ(keys.size(), 5);
  EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end()));
}

TEST_F(UnitLoadTest, TheRowThatIsSkippedIsNotTakenEither) {
  load(kTwoUnits);
  expand("КП-2");
  EXPECT_TRUE(module->AddMeasForRTU(row("КП-1"), QString(), true, key("Q")));
  EXPECT_EQ(MDARecCount(module->measRecords.array), 2);
  EXPECT_EQ(treeText(*module->treeModel, row("КП-1")), "Аналоговые измерения\n  1 P\n");
}

// The lists of a load by hand.
struct Lists {
  QStringList classes, aggKeys, pairs, aggClasses;
  QList<myConfNode*> groups;
  QList<int> primaries;
};

struct AggregateListsTest : ModuleFixture {
  void SetUp() override {
    load(kTwoUnits);
    module->GetMeasurementsForRTU(key("КП-1"), nullptr, false, QString());
    bytes = key("КП-1").toLatin1();
  }
  ~AggregateListsTest() override { unit.children.assign(lists.groups.begin(), lists.groups.end()); }
  // True if the load hung the discrete under the analog.
  bool hangs() {
    MDRVar unitKey{};
    unitKey.type = MDX_TEXT;
    unitKey.text = {static_cast<uint32_t>(bytes.size()), bytes.constData()};
    EXPECT_EQ(GetMeasurementsWithAgreg(unitKey, &unit, module.get(), &lists.classes, &lists.groups, &lists.aggKeys,
                                       &lists.primaries, &lists.pairs, &lists.aggClasses, false, QString()),
              1);
    return lists.groups.size() == 2 && lists.groups[1]->children.empty();
  }

  QByteArray bytes;
  myConfNode unit{nullptr, QString(), nullptr, nullptr};
  Lists lists;
};

TEST_F(AggregateListsTest, ThatAgreeHangTheAggregateUnderItsPrimary) {
  lists = {{}, {key("Q")}, {key("Q") + ",1"}, {"Discrete"}, {}, {1}};
  EXPECT_TRUE(hangs());
}

TEST_F(AggregateListsTest, WithMorePrimariesThanPairsHangNothing) {
  lists = {{}, {key("Q")}, {key("Q") + ",1"}, {"Discrete"}, {}, {1, 7}};
  EXPECT_FALSE(hangs());
}

TEST_F(AggregateListsTest, WithMoreKeysThanPairsHangNothing) {
  lists = {{}, {key("Q"), "0"}, {key("Q") + ",1"}, {"Discrete"}, {}, {1}};
  EXPECT_FALSE(hangs());
}

TEST_F(AggregateListsTest, WithAPairInOnePieceHangNothing) {
  lists = {{}, {key("Q")}, {key("Q")}, {"Discrete"}, {}, {1}};
  EXPECT_FALSE(hangs());
}

TEST_F(AggregateListsTest, WithAClassThatHasNoGroupHangNothing) {
  lists = {{}, {key("Q")}, {key("Q") + ",1"}, {"Accumulator"}, {}, {1}};
  EXPECT_FALSE(hangs());
}

}  // namespace
}  // namespace tlm::test
