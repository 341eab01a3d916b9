// The seven queries of the configurator, on real model tables.
#include "ScriptModel.h"

#include <data/MeasScripts.h>

#include <gtest/gtest.h>

namespace script_test {
namespace {

using testing::Test;
using Texts = std::vector<std::string>;

const Cell kNull;

std::string scalarOf(const ScriptModel& model, const char* script, const Row& arguments = {}) {
  const Answer answer = run(model, script, arguments);
  EXPECT_EQ(answer.error, "");
  EXPECT_FALSE(answer.isTable);
  return toText(answer.scalar);
}

Texts rowsOf(const ScriptModel& model, const char* script, const Row& arguments = {}) {
  const Answer answer = run(model, script, arguments);
  EXPECT_EQ(answer.error, "");
  EXPECT_TRUE(answer.isTable);
  return answer.texts();
}

// The first cell of each row.
Texts keysOf(const ScriptModel& model, const char* script, const Row& arguments = {}) {
  Texts keys;
  for (const Row& row : run(model, script, arguments).rows) keys.push_back(toText(row.front()));
  return keys;
}

// ---- 1: the lowest hole ---------------------------------------------------------------------------

TEST(FreeLocId, IsNoneInAnEmptyTable) { EXPECT_EQ(scalarOf(ScriptModel(), kScriptFreeLocId), "0"); }

TEST(FreeLocId, IsNoneWithoutHoles) {
  EXPECT_EQ(scalarOf(ScriptModel().numbers({1, 2, 3}), kScriptFreeLocId), "0");
  EXPECT_EQ(scalarOf(ScriptModel().numbers({7}), kScriptFreeLocId), "0");
}

TEST(FreeLocId, IsTheLowestHole) {
  EXPECT_EQ(scalarOf(ScriptModel().numbers({1, 2, 5}), kScriptFreeLocId), "3");
  EXPECT_EQ(scalarOf(ScriptModel().numbers({9, 1, 5, 2}), kScriptFreeLocId), "3");
}

TEST(FreeLocId, DoesNotLookBelowTheSmallestNumber) {
  EXPECT_EQ(scalarOf(ScriptModel().numbers({5, 6}), kScriptFreeLocId), "0");
}

TEST(FreeLocId, EndsAtOnceWhenTheFirstNumberIsNull) {
  ScriptModel model;
  model.measurement("n", kNull).numbers({1, 5});
  EXPECT_EQ(scalarOf(model, kScriptFreeLocId), "0");
}

TEST(FreeLocId, PassesOverEqualNumbers) {
  ScriptModel model;
  model.numbers({1}).measurement("again", int64_t{1}).numbers({2, 4});
  EXPECT_EQ(scalarOf(model, kScriptFreeLocId), "3");
}

TEST(FreeLocId, WalksALongTable) {
  ScriptModel model;
  std::vector<int64_t> numbers;
  for (int64_t i = 1; i <= 1000; ++i)
    if (i != 900) numbers.push_back(i);
  EXPECT_EQ(scalarOf(model.numbers(numbers), kScriptFreeLocId), "900");
}

// ---- 2: is a number taken -------------------------------------------------------------------------

TEST(LocIdIsBusy, TellsTakenFromFree) {
  ScriptModel model;
  model.numbers({1, 2, 5});
  EXPECT_EQ(scalarOf(model, kScriptLocIdIsBusy, {int64_t{5}}), "1");
  EXPECT_EQ(scalarOf(model, kScriptLocIdIsBusy, {int64_t{3}}), "0");
  EXPECT_EQ(scalarOf(ScriptModel(), kScriptLocIdIsBusy, {int64_t{3}}), "0");
}

// ---- 3: a name within a unit ----------------------------------------------------------------------

class NameInUnit : public Test {
 protected:
  NameInUnit() {
    model_.measurement("a", int64_t{1}, "u1")
        .object("a", "Analog", "\xD2\xCE\xCA line 7");  // a word of Cyrillic capitals
    model_.measurement("b", int64_t{2}, "u1").object("b", "Discrete", kNull);
    model_.measurement("c", int64_t{3}, "u1");  // without an object
    model_.measurement("d", int64_t{4}, "u1").object("d", "Analog", "Last");
    model_.measurement("e", int64_t{5}, "u2").object("e", "Analog", "Elsewhere");
  }
  std::string find(const Cell& unit, const Cell& value) { return scalarOf(model_, kScriptNameInUnit, {unit, value}); }
  ScriptModel model_;
};

TEST_F(NameInUnit, FindsAPartInAnotherCase) {
  EXPECT_EQ(find("u1", "LINE"), "1");
  EXPECT_EQ(find("u1", "\xF2\xEE\xEA"), "1");
  EXPECT_EQ(find("u1", "last"), "1");
}

TEST_F(NameInUnit, FindsNothingElse) { EXPECT_EQ(find("u1", "absent"), "0"); }
TEST_F(NameInUnit, StaysWithinTheUnit) { EXPECT_EQ(find("u1", "Elsewhere"), "0"); }
TEST_F(NameInUnit, UnknownUnitHasNothing) { EXPECT_EQ(find("u0", "Last"), "0"); }

// ---- 4: the measurements of a unit ----------------------------------------------------------------

const Texts kColumns = {"KeyLink",       "ClassName",
                        "name_",         "locId",
                        "work_",         "MeasurementCategoryKey",
                        "RemoteUnitKey", "MeasurementArchGroupKey",
                        "primaryLocId",  "CheckTu"};

TEST(UnitMeasurements, HaveTenColumns) {
  const Answer answer = run(ScriptModel(), kScriptUnitMeasurements, {std::string("u1")});
  EXPECT_EQ(answer.columns, kColumns);
  EXPECT_TRUE(answer.isTable);
  EXPECT_TRUE(answer.rows.empty());
}

TEST(UnitMeasurements, AreThoseOfTheUnitInOrderOfArrival) {
  ScriptModel model;
  model.whole("x", int64_t{9}, "u1").whole("other", int64_t{1}, "u2").whole("w", int64_t{8}, "u1");
  model.whole("before", int64_t{2}, "u0");
  EXPECT_EQ(rowsOf(model, kScriptUnitMeasurements, {std::string("u1")}),
            (Texts{R"("x", "Analog", "name x", 9, 1, "cat x", "u1", null, 7, 0)",
                   R"("w", "Analog", "name w", 8, 1, "cat w", "u1", null, 7, 0)"}));
}

TEST(UnitMeasurements, OfTheLastUnitReachTheEndOfTheTable) {
  ScriptModel model;
  model.whole("a", int64_t{1}, "u1").whole("z", int64_t{2}, "u9").whole("y", int64_t{3}, "u9");
  EXPECT_EQ(keysOf(model, kScriptUnitMeasurements, {std::string("u9")}), (Texts{"\"z\"", "\"y\""}));
}

TEST(UnitMeasurements, WithoutAnObjectAreLeftOut) {
  ScriptModel model;
  model.measurement("lost", int64_t{1}, "u1").whole("kept", int64_t{2}, "u1");
  EXPECT_EQ(keysOf(model, kScriptUnitMeasurements, {std::string("u1")}), (Texts{"\"kept\""}));
}

TEST(UnitMeasurements, CarryTelecontrolOfDiscretes) {
  ScriptModel model;
  model.whole("a", int64_t{1}, "u1").whole("b", int64_t{2}, "u1").whole("c", int64_t{3}, "u1");
  model.discrete("a", int64_t{1}).discrete("b", int64_t{0}).discrete("c", kNull);
  Texts controls;
  for (const Row& row : run(model, kScriptUnitMeasurements, {std::string("u1")}).rows)
    controls.push_back(toText(row.back()));
  EXPECT_EQ(controls, (Texts{"1", "0", "null"}));
}

// ---- 5: measurements without a unit ---------------------------------------------------------------

TEST(UnitlessMeasurements, EmptyTextsComeBeforeNulls) {
  ScriptModel model;
  model.whole("n1", int64_t{1}, kNull).whole("e1", int64_t{2}, "").whole("u", int64_t{3}, "unit");
  model.whole("n2", int64_t{4}, kNull).whole("e2", int64_t{5}, "");
  EXPECT_EQ(keysOf(model, kScriptUnitlessMeasurements), (Texts{"\"e1\"", "\"e2\"", "\"n1\"", "\"n2\""}));
}

TEST(UnitlessMeasurements, BothKindsAlsoWhereTheTableEndsBehindTheEmptyTexts) {
  ScriptModel model;
  model.whole("n1", int64_t{1}, kNull).whole("e1", int64_t{2}, "");
  EXPECT_EQ(keysOf(model, kScriptUnitlessMeasurements), (Texts{"\"e1\"", "\"n1\""}));
}

TEST(UnitlessMeasurements, OnlyNulls) {
  ScriptModel model;
  model.whole("n1", int64_t{1}, kNull).whole("n2", int64_t{2}, kNull);
  EXPECT_EQ(keysOf(model, kScriptUnitlessMeasurements), (Texts{"\"n1\"", "\"n2\""}));
  model.whole("u", int64_t{3}, "unit");
  EXPECT_EQ(keysOf(model, kScriptUnitlessMeasurements), (Texts{"\"n1\"", "\"n2\""}));
}

TEST(UnitlessMeasurements, OnlyEmptyTexts) {
  ScriptModel model;
  model.whole("e1", int64_t{1}, "");
  EXPECT_EQ(keysOf(model, kScriptUnitlessMeasurements), (Texts{"\"e1\""}));
  model.whole("u", int64_t{3}, "unit");
  EXPECT_EQ(keysOf(model, kScriptUnitlessMeasurements), (Texts{"\"e1\""}));
}

TEST(UnitlessMeasurements, NoneOfEitherKind) {
  ScriptModel model;
  EXPECT_EQ(rowsOf(model, kScriptUnitlessMeasurements), Texts{});
  model.whole("u", int64_t{3}, "unit");
  EXPECT_EQ(rowsOf(model, kScriptUnitlessMeasurements), Texts{});
}

TEST(UnitlessMeasurements, HaveTheRowsOfAUnit) {
  ScriptModel model;
  model.whole("e", int64_t{1}, "").discrete("e", int64_t{1}).measurement("lost", int64_t{2}, "");
  const Answer answer = run(model, kScriptUnitlessMeasurements);
  EXPECT_EQ(answer.columns, kColumns);
  EXPECT_EQ(answer.texts(), (Texts{R"("e", "Analog", "name e", 1, 1, "cat e", "", null, 7, 1)"}));
}

// ---- 6: free numbers from a given one -------------------------------------------------------------

Texts freeFrom(const std::vector<int64_t>& taken, int64_t need, int64_t begin) {
  return rowsOf(ScriptModel().numbers(taken), kScriptFreeFromGiven, {need, begin});
}

TEST(FreeFromGiven, FillsTheGapBeforeAndTheEndAfter) {
  EXPECT_EQ(freeFrom({11, 12}, 3, 10), (Texts{"10", "13", "14"}));
}

TEST(FreeFromGiven, BeginsAtATakenNumber) {
  EXPECT_EQ(freeFrom({10}, 2, 10), (Texts{"11", "12"}));
  EXPECT_EQ(freeFrom({10, 11, 15}, 6, 10), (Texts{"12", "13", "14", "16", "17", "18"}));
}

TEST(FreeFromGiven, AboveEveryNumberGivesNothing) {
  const Answer answer = run(ScriptModel().numbers({1, 2}), kScriptFreeFromGiven, {int64_t{3}, int64_t{5}});
  EXPECT_EQ(answer.columns, (Texts{"locId"}));
  EXPECT_TRUE(answer.isTable);
  EXPECT_TRUE(answer.rows.empty());
}

TEST(FreeFromGiven, OnAnEmptyTableGivesNothing) { EXPECT_EQ(freeFrom({}, 3, 5), Texts{}); }

TEST(FreeFromGiven, TakesNoMoreThanNeeded) {
  EXPECT_EQ(freeFrom({100}, 3, 10), (Texts{"10", "11", "12"}));
  EXPECT_EQ(freeFrom({10, 20}, 3, 10), (Texts{"11", "12", "13"}));
  EXPECT_EQ(freeFrom({100}, 0, 10), Texts{});
}

TEST(FreeFromGiven, JumpsFromGapToGap) {
  EXPECT_EQ(freeFrom({10, 12, 14, 16}, 5, 10), (Texts{"11", "13", "15", "17", "18"}));
  EXPECT_EQ(freeFrom({11, 13, 15}, 3, 10), (Texts{"10", "12", "14"}));
}

TEST(FreeFromGiven, NumbersAreWrittenAs32Bits) {
  const Answer answer = run(ScriptModel().numbers({10}), kScriptFreeFromGiven, {int64_t{1}, int64_t{1}});
  EXPECT_EQ(answer.texts(), (Texts{"1"}));
}

// ---- 7: numbers of a range ------------------------------------------------------------------------

Texts inRange(const ScriptModel& model, int64_t need, int64_t begin, int64_t end, int64_t step) {
  return rowsOf(model, kScriptFreeInRange, {need, begin, end, step});
}

std::string free(int64_t number) { return std::to_string(number) + ", \"FreeLocId\""; }
std::string taken(int64_t number) { return std::to_string(number) + ", \"name m" + std::to_string(number) + "\""; }
Texts frees(const std::vector<int64_t>& numbers) {
  Texts texts;
  for (const int64_t number : numbers) texts.push_back(free(number));
  return texts;
}

class FreeInRange : public Test {
 protected:
  void take(const std::vector<int64_t>& numbers) {
    for (const int64_t number : numbers) model_.whole("m" + std::to_string(number), number, "u1");
  }
  ScriptModel model_;
};

TEST_F(FreeInRange, HasNumberAndName) {
  const Answer answer = run(model_, kScriptFreeInRange, {int64_t{1}, int64_t{1}, int64_t{9}, int64_t{1}});
  EXPECT_EQ(answer.columns, (Texts{"locId", "name_"}));
}

TEST_F(FreeInRange, TakenNumbersCarryTheirNames) {
  take({10, 11, 13, 50});
  EXPECT_EQ(inRange(model_, 4, 10, 40, 1), (Texts{taken(10), taken(11), free(12), taken(13)}));
}

TEST_F(FreeInRange, ATakenNumberWithoutAnObjectHasAnEmptyName) {
  model_.numbers({10, 20});
  EXPECT_EQ(inRange(model_, 2, 10, 30, 10), (Texts{"10, \"\"", "20, \"\""}));
}

TEST_F(FreeInRange, FillsTheGapBeforeTheFirstNumberAtOnce) {
  take({100, 200});
  EXPECT_EQ(inRange(model_, 4, 10, 90, 10), frees({10, 20, 30, 40}));
}

TEST_F(FreeInRange, TheGapIsCutToWholeSteps) {
  take({15, 100});
  // (15 - 10) / 2 gives two steps; 14 comes by the search that follows.
  EXPECT_EQ(inRange(model_, 4, 10, 90, 2), frees({10, 12, 14, 16}));
}

TEST_F(FreeInRange, GapOfOneStepIsNoGap) {
  take({12, 100});
  EXPECT_EQ(inRange(model_, 3, 10, 90, 2), (Texts{free(10), taken(12), free(14)}));
}

TEST_F(FreeInRange, EndsAtTheCountWhileTheTableGoesOn) {
  take({10, 100});
  EXPECT_EQ(inRange(model_, 3, 10, 90, 1), (Texts{taken(10), free(11), free(12)}));
}

TEST_F(FreeInRange, EndOfTheRangeIsLeftOutWhileTheTableGoesOn) {
  take({10, 100});
  EXPECT_EQ(inRange(model_, 50, 10, 14, 2), (Texts{taken(10), free(12)}));
}

TEST_F(FreeInRange, BehindTheTableComesOneRowMore) {
  take({5});
  EXPECT_EQ(inRange(model_, 3, 10, 90, 2), frees({10, 12, 14, 16}));
}

TEST_F(FreeInRange, BehindTheTableTheEndOfTheRangeIsReached) {
  take({5});
  EXPECT_EQ(inRange(model_, 50, 10, 16, 2), frees({10, 12, 14, 16}));
}

TEST_F(FreeInRange, OfOneRowOnlyEndsBeforeTheLoops) {
  take({5});
  EXPECT_EQ(inRange(model_, 1, 10, 90, 2), frees({10}));
  EXPECT_EQ(inRange(model_, 1, 5, 90, 2), (Texts{taken(5)}));
}

TEST_F(FreeInRange, TheTableMayEndOnTheWay) {
  take({10, 11});
  EXPECT_EQ(inRange(model_, 4, 10, 90, 1), (Texts{taken(10), taken(11), free(12), free(13), free(14)}));
}

TEST_F(FreeInRange, OnAnEmptyTableEverythingIsFree) { EXPECT_EQ(inRange(model_, 3, 10, 12, 1), frees({10, 11, 12})); }

}  // namespace
}  // namespace script_test
