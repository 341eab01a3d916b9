// Many records at once: copies of another table's records, and seeks of many values.

#include <TlmMdx/bulk.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "support.h"

using namespace test;

namespace {

class RecsAdd : public testing::Test {
 protected:
  RecsAdd() {
    for (int i = 0; i < 4; ++i) {
      MDRData* record = source.add({int32(10 - i), text("a text of row " + std::to_string(i)), text("k"), real(0.5)});
      MDRSetUser(source.field(0), record, 1);
      MDRSetFlags(record, MDX_REC_UPDATE);
      records.push_back(record);
    }
  }
  int add(int change = MDX_REC_INSERT) {
    return MDXRecsAdd(target.array, records.data(), static_cast<int>(records.size()), change);
  }
  MDRData* at(int position) { return MDARec(target.array, 0, position); }

  Table source{{{"n", MDX_INT32}, {"t", MDX_MEMO}, {"k", MDX_TEXT, 32}, {"x", MDX_DOUBLE}}, {"t"}};
  Table target{{{"n", MDX_INT32}, {"t", MDX_MEMO}, {"k", MDX_TEXT, 32}, {"x", MDX_DOUBLE}}, {"n", "k"}};
  std::vector<MDRData*> records;
};

}  // namespace

TEST_F(RecsAdd, PutsCopiesIntoAllKeys) {
  target.add({int32(8), text("here before"), text("k")});
  EXPECT_EQ(add(), 4);
  EXPECT_EQ(target.order(0, 0), "7 8 8 9 10");
  EXPECT_EQ(target.order(1, 0), "8 10 9 8 7") << "equal keys in the order of arrival";
  EXPECT_EQ(target.textOf(at(0), 1), "a text of row 3");
  EXPECT_EQ(target.textOf(at(1), 1), "here before");
}

TEST_F(RecsAdd, OwnsItsTexts) {
  add();
  MDAClearAll(source.array);
  EXPECT_EQ(target.textOf(at(3), 1), "a text of row 0");
  EXPECT_EQ(target.textOf(at(3), 2), "k");
}

TEST_F(RecsAdd, LeavesTheSourceAlone) {
  add();
  EXPECT_EQ(MDARecCount(source.array), 4);
  EXPECT_EQ(MDRGetFlags(records[0]), MDX_REC_UPDATE);
  EXPECT_EQ(MDROwner(records[0]), source.array);
}

TEST_F(RecsAdd, GivesTheKindOfChangeAndNoMarks) {
  add(MDX_REC_DELETE);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(MDRGetFlags(at(i)), MDX_REC_DELETE);
    EXPECT_EQ(MDRIsUser(target.field(0), at(i), nullptr), 0);
    EXPECT_EQ(MDROwner(at(i)), target.array);
  }
}

TEST_F(RecsAdd, KeepsNulls) {
  records = {source.add({null(), null(), text(""), null()})};
  add();
  EXPECT_EQ(MDRIsNull(target.field(0), at(0), nullptr), 1);
  EXPECT_EQ(MDRIsNull(target.field(1), at(0), nullptr), 1);
  EXPECT_EQ(MDRIsNull(target.field(2), at(0), nullptr), 0);
  EXPECT_EQ(MDRIsNull(target.field(3), at(0), nullptr), 1);
}

TEST_F(RecsAdd, CopiedRecordsAreFoundAndCanBeChanged) {
  add();
  const MDRVar nine = int32(9);
  MDRData* found = MDARecSeekV(target.array, 0, &nine, nullptr);
  ASSERT_TRUE(found);
  const MDRVar eleven = int32(11);
  EXPECT_EQ(MDRSetVal(target.field(0), found, &eleven), MDX_OK);
  EXPECT_EQ(target.order(0, 0), "7 8 10 11");
  EXPECT_EQ(MDARecDel(found), MDX_OK);
  EXPECT_EQ(target.order(0, 0), "7 8 10");
}

TEST_F(RecsAdd, ConvertsWhereTheFieldsDiffer) {
  Table other{{{"n", MDX_INT64}, {"t", MDX_TEXT, 20}, {"k", MDX_MEMO}, {"x", MDX_FLOAT}}, {"n"}};
  EXPECT_EQ(MDXRecsAdd(other.array, records.data(), 1, MDX_REC_NONE), 1);
  const MDRData* record = MDARec(other.array, 0, 0);
  EXPECT_EQ(+other.value(record, 0).i64, 10);
  EXPECT_EQ(other.textOf(record, 1), "a text of row 0");
  EXPECT_EQ(other.textOf(record, 2), "k");
  EXPECT_EQ(+other.value(record, 3).f32, 0.5f);
}

TEST_F(RecsAdd, AValueThatDoesNotFitIsNull) {
  Table other{{{"n", MDX_TEXT, 8}, {"t", MDX_TEXT, 4}, {"k", MDX_TEXT, 4}, {"x", MDX_INT32}}, {"k"}};
  EXPECT_EQ(MDXRecsAdd(other.array, records.data(), 1, MDX_REC_NONE), 1);
  const MDRData* record = MDARec(other.array, 0, 0);
  EXPECT_EQ(MDRIsNull(other.field(0), record, nullptr), 1) << "a number for a text";
  EXPECT_EQ(MDRIsNull(other.field(1), record, nullptr), 1) << "a text too long";
  EXPECT_EQ(other.textOf(record, 2), "k");
  EXPECT_EQ(MDRIsNull(other.field(3), record, nullptr), 1) << "a fraction for an integer";
}

TEST_F(RecsAdd, FieldsThatOnlyOneTableHasAreLeftOut) {
  Table shorter{{{"n", MDX_INT32}}, {"n"}};
  Table longer{{{"n", MDX_INT32}, {"t", MDX_MEMO}, {"k", MDX_TEXT, 32}, {"x", MDX_DOUBLE}, {"more", MDX_INT32}}, {}};
  EXPECT_EQ(MDXRecsAdd(shorter.array, records.data(), 4, MDX_REC_NONE), 4);
  EXPECT_EQ(shorter.order(0, 0), "7 8 9 10");
  EXPECT_EQ(MDXRecsAdd(longer.array, records.data(), 4, MDX_REC_NONE), 4);
  EXPECT_EQ(longer.order(0, 0), "10 9 8 7") << "a table without keys gets the order of arrival";
  EXPECT_EQ(MDRIsNull(longer.field(4), MDARec(longer.array, 0, 0), nullptr), 1);
}

TEST_F(RecsAdd, NoRecordsAreNoError) {
  EXPECT_EQ(MDXRecsAdd(target.array, nullptr, 0, MDX_REC_INSERT), 0);
  EXPECT_EQ(MDARecCount(target.array), 0);
}

TEST_F(RecsAdd, RefusesForeignUnpostedAndMissingRecordsWhole) {
  Table third{{{"n", MDX_INT32}}, {"n"}};
  records.push_back(third.add({int32(1)}));
  EXPECT_EQ(add(), MDX_E_FOREIGN);
  records.back() = target.add({int32(1)});
  EXPECT_EQ(add(), MDX_E_FOREIGN);
  MDRData* own = records.back();
  EXPECT_EQ(MDXRecsAdd(target.array, &own, 1, MDX_REC_NONE), MDX_E_FOREIGN);
  records.back() = MDARecNew(source.array);
  EXPECT_EQ(add(), MDX_E_STATE);
  records.back() = nullptr;
  EXPECT_EQ(add(), MDX_E_ARG);
  EXPECT_EQ(MDARecCount(target.array), 1);
}

TEST_F(RecsAdd, RefusesUnusableArguments) {
  EXPECT_EQ(MDXRecsAdd(nullptr, records.data(), 1, MDX_REC_NONE), MDX_E_ARG);
  EXPECT_EQ(MDXRecsAdd(target.array, nullptr, 1, MDX_REC_NONE), MDX_E_ARG);
  EXPECT_EQ(MDXRecsAdd(target.array, records.data(), -1, MDX_REC_NONE), MDX_E_ARG);
  EXPECT_EQ(add(3), MDX_E_ARG);
  EXPECT_EQ(MDARecCount(target.array), 0);
}

namespace {

// Compares with the plain seek.
void expectAsOneByOne(const Table& table, const std::vector<MDRVar>& values) {
  std::vector<MDRData*> found(values.size(), reinterpret_cast<MDRData*>(1));
  ASSERT_EQ(MDXRecsSeek(table.array, 0, values.data(), static_cast<int>(values.size()), found.data()), MDX_OK);
  for (size_t i = 0; i < values.size(); ++i)
    EXPECT_EQ(found[i], MDARecSeekV(table.array, 0, &values[i], nullptr)) << "value " << i;
}

}  // namespace

TEST(RecsSeek, FindsNumbersAsOneByOne) {
  Table table{{{"n", MDX_INT32}}, {"n"}};
  for (int i = 0; i < 20000; ++i) table.add({int32(i * 7919 % 20000 / 2 * 3)});
  std::vector<MDRVar> values{null(), text("no number"), int64(int64_t{1} << 40), real(4.5), real(6)};
  for (int i = -10; i < 3000; ++i) values.push_back(int32(i * 10));
  expectAsOneByOne(table, values);
  table.add({null()});
  expectAsOneByOne(table, values);
}

TEST(RecsSeek, FindsTextsAsOneByOne) {
  Table table{{{"t", MDX_TEXT, 32}}, {"t"}};
  std::vector<std::string> texts;
  for (int i = 0; i < 9000; ++i) texts.push_back("a rather common beginning " + std::to_string(i * 7919 % 9000));
  texts.push_back("");
  texts.push_back(std::string(32, 'z'));
  for (size_t i = 0; i < texts.size(); i += 2) table.add({text(texts[i])});
  texts.push_back(std::string(33, 'z'));
  std::vector<MDRVar> values{null(), int32(5)};
  for (const std::string& one : texts) values.push_back(text(one));
  expectAsOneByOne(table, values);
}

TEST(RecsSeek, GivesTheFirstOfEqualOnes) {
  Table table{{{"n", MDX_INT32}}, {"n"}};
  for (int i = 0; i < 500; ++i) table.add({int32(i % 3)});
  expectAsOneByOne(table, {int32(0), int32(1), int32(2), int32(3)});
}

TEST(RecsSeek, FindsLongTextsAsOneByOne) {
  Table table{{{"t", MDX_MEMO}}, {"t"}};
  for (int i = 0; i < 100; ++i) table.add({text("a long text " + std::to_string(i))});
  expectAsOneByOne(table, {text("a long text 7"), text("a long text"), text("a long text 99"), null()});
}

TEST(RecsSeek, FindsNothingInAnEmptyTable) {
  Table table{{{"t", MDX_TEXT, 32}}, {"t"}};
  expectAsOneByOne(table, {text("a"), null()});
}

TEST(RecsSeek, RefusesKeysOfSeveralFieldsAndUnusableArguments) {
  Table table{{{"n", MDX_INT32}, {"t", MDX_MEMO}}, {"n;t", "n"}};
  const MDRVar value = int32(1);
  MDRData* found = nullptr;
  EXPECT_EQ(MDXRecsSeek(table.array, 0, &value, 1, &found), MDX_E_KEY);
  EXPECT_EQ(MDXRecsSeek(table.array, 2, &value, 1, &found), MDX_E_KEY);
  EXPECT_EQ(MDXRecsSeek(nullptr, 1, &value, 1, &found), MDX_E_ARG);
  EXPECT_EQ(MDXRecsSeek(table.array, 1, nullptr, 1, &found), MDX_E_ARG);
  EXPECT_EQ(MDXRecsSeek(table.array, 1, &value, 1, nullptr), MDX_E_ARG);
  EXPECT_EQ(MDXRecsSeek(table.array, 1, &value, -1, &found), MDX_E_ARG);
  EXPECT_EQ(MDXRecsSeek(table.array, 1, nullptr, 0, nullptr), MDX_OK);
}

namespace {

class RecsAddNew : public RecsAdd {
 protected:
  int addNew(Table& to) {
    return MDXRecsAddNew(to.array, records.data(), static_cast<int>(records.size()), MDX_REC_INSERT);
  }
};

}  // namespace

TEST_F(RecsAddNew, LeavesOutWhatTheFirstKeyHolds) {
  MDRData* held = target.add({int32(8), text("here before"), text("k")});
  EXPECT_EQ(addNew(target), 3);
  EXPECT_EQ(target.order(0, 0), "7 8 9 10");
  EXPECT_EQ(target.order(1, 0), "8 10 9 7") << "the other keys do not have it either";
  EXPECT_EQ(target.textOf(held, 1), "here before");
  EXPECT_EQ(addNew(target), 0);
  EXPECT_EQ(MDARecCount(target.array), 4);
}

TEST_F(RecsAddNew, OfEqualRecordsTheFirstOneComes) {
  records.push_back(source.add({int32(10), text("once more"), text("k"), real(1)}));
  EXPECT_EQ(addNew(target), 4);
  EXPECT_EQ(target.textOf(at(3), 1), "a text of row 0");
}

TEST_F(RecsAddNew, NullIsNoValue) {
  records = {source.add({null(), text("one"), null(), null()}), source.add({null(), text("two"), null(), null()})};
  target.add({null(), text("here before"), null(), null()});
  EXPECT_EQ(addNew(target), 2);
}

TEST_F(RecsAddNew, KnowsTextsOfAnyLengthAndKeysOfSeveralFields) {
  Table byText{{{"n", MDX_INT32}, {"t", MDX_MEMO}}, {"t"}};
  byText.add({int32(1), text("a text of row 2")});
  byText.add({int32(1), text("a text of row 22")});
  EXPECT_EQ(addNew(byText), 3);
  Table byBoth{{{"n", MDX_INT32}, {"t", MDX_MEMO}}, {"n;t"}};
  byBoth.add({int32(8), text("a text of row 2")});
  byBoth.add({int32(8), text("a text of row 3")});
  EXPECT_EQ(addNew(byBoth), 3);
}

TEST_F(RecsAddNew, ATableInOrderOfArrivalTakesAll) {
  Table plain{{{"n", MDX_INT32}}, {}};
  EXPECT_EQ(addNew(plain), 4);
  EXPECT_EQ(addNew(plain), 4);
  EXPECT_EQ(MDXRecsAddNew(nullptr, records.data(), 1, MDX_REC_INSERT), MDX_E_ARG);
}

TEST_F(RecsAddNew, WhatWasLeftOutLeavesNothingBehind) {
  for (int i = 0; i < 3; ++i) addNew(target);
  MDRData* record = MDARecNew(target.array);
  const MDRVar twelve = int32(12);
  MDRSetVal(target.field(0), record, &twelve);
  EXPECT_EQ(MDARecPost(record, nullptr), MDX_OK);
  EXPECT_EQ(target.order(0, 0), "7 8 9 10 12");
}

// ---- seeks near the one before

namespace {

class SeekNear : public testing::Test {
 protected:
  SeekNear() { EXPECT_EQ(MDXKeyExact(table.array, 0), MDX_OK); }
  static std::string key(int number) {
    const std::string digits = std::to_string(number * 7919 % 100003);
    return std::string(32 - digits.size(), 'k') + digits;
  }
  MDRData* add(int number) { return rows.emplace_back(table.add({text(key(number))})); }
  MDRData* near(int number) {
    const std::string wanted = key(number);
    const MDRVar value = text(wanted);
    return MDXRecSeekNear(table.array, 0, &value, &place);
  }

  Table table{{{"k", MDX_TEXT, 32}}, {"k"}};
  std::vector<MDRData*> rows;
  MDXNear place{};
};

}  // namespace

TEST_F(SeekNear, FindsRowsInAnyOrder) {
  constexpr int kRows = 5000;  // more than one piece of memory
  for (int i = 0; i < kRows; ++i) add(i);
  for (int i = 0; i < kRows; ++i) ASSERT_EQ(near(i), rows[static_cast<size_t>(i)]) << "forward, " << i;
  for (int i = kRows; i-- > 0;) ASSERT_EQ(near(i), rows[static_cast<size_t>(i)]) << "backward, " << i;
  for (int i = 0; i < kRows; ++i) ASSERT_EQ(near(i * 31 % kRows), rows[static_cast<size_t>(i * 31 % kRows)]) << i;
  EXPECT_EQ(near(kRows), nullptr);
}

TEST_F(SeekNear, DoesNotTakeANeighbourThatIsGoneOrNotPosted) {
  for (int i = 0; i < 4; ++i) add(i);
  EXPECT_EQ(near(0), rows[0]);
  MDARecDel(rows[1]);
  place = {};
  EXPECT_EQ(near(0), rows[0]);
  EXPECT_EQ(near(1), nullptr);
  const std::string second = key(1);
  const MDRVar value = text(second);
  MDRData* fresh = MDARecNew(table.array);  // in the place of the one that went
  MDRSetVal(table.field(0), fresh, &value);
  place = {};
  EXPECT_EQ(near(0), rows[0]);
  EXPECT_EQ(near(1), nullptr);
  MDARecPost(fresh, nullptr);
  place = {};
  EXPECT_EQ(near(0), rows[0]);
  EXPECT_EQ(near(1), fresh);
}

TEST_F(SeekNear, GoesOnFromTheLastOneFound) {
  for (int i = 0; i < 10; ++i) add(i);
  EXPECT_EQ(near(3), rows[3]);
  EXPECT_EQ(near(77), nullptr);
  EXPECT_EQ(near(4), rows[4]);
  EXPECT_EQ(near(9), rows[9]);
  EXPECT_EQ(near(10), nullptr) << "behind the last row is nothing";
}

TEST_F(SeekNear, OfOtherKeysItIsAPlainSeek) {
  Table numbers{{{"n", MDX_INT32}, {"t", MDX_MEMO}}, {"n", "n;t"}};
  MDRData* row = numbers.add({int32(5), text("a")});
  const MDRVar five = int32(5), six = int32(6);
  EXPECT_EQ(MDXRecSeekNear(numbers.array, 0, &five, &place), row);
  EXPECT_EQ(MDXRecSeekNear(numbers.array, 0, &six, &place), nullptr);
  EXPECT_EQ(MDXRecSeekNear(numbers.array, 1, &five, &place), nullptr);
  EXPECT_EQ(MDXRecSeekNear(numbers.array, 2, &five, &place), nullptr);
  EXPECT_EQ(MDXRecSeekNear(nullptr, 0, &five, &place), nullptr);
  EXPECT_EQ(MDXRecSeekNear(numbers.array, 0, nullptr, &place), nullptr);
  EXPECT_EQ(MDXRecSeekNear(numbers.array, 0, &five, nullptr), nullptr);
}

// ---- runs of records

namespace {

std::string padded(int number, size_t length) {
  const std::string digits = std::to_string(number);
  return std::string(length - digits.size(), '0') + digits;
}

// A table with a key of each form over the same values, beside a plain list in the order of arrival.
class Runs : public testing::Test {
 protected:
  void add(int value) {
    const std::string key = padded(value, 32), longer = padded(value, 50);
    model.emplace_back(value, table.add({int32(value), text(key), text(longer)}));
  }
  void removeOne() {
    const size_t at = random() % model.size();
    MDARecDel(model[at].second);
    model.erase(model.begin() + static_cast<std::ptrdiff_t>(at));
  }
  void check() const {
    auto sorted = model;
    std::stable_sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    for (int key = 0; key < kKeys; ++key)
      for (size_t i = 0; i < sorted.size(); ++i)
        ASSERT_EQ(MDARec(table.array, key, static_cast<int>(i)), sorted[i].second) << key << ", " << i;
  }

  static constexpr int kKeys = 4;
  Table table{{{"n", MDX_INT32}, {"k", MDX_TEXT, 32}, {"l", MDX_MEMO}}, {"n", "k", "l", "l;n"}};
  std::vector<std::pair<int, MDRData*>> model;
  std::mt19937 random{20262};
};

}  // namespace

TEST_F(Runs, LandWhereSingleRecordsWould) {
  for (int run = 0; run < 300; ++run) {
    int value = static_cast<int>(random() % 2000);
    for (unsigned i = random() % 90 + 1; i > 0; --i, value += static_cast<int>(random() % 3)) add(value);
    for (unsigned i = random() % (run % 10 ? 4 : 60); i > 0; --i) removeOne();
    if (run % 20 == 0) check();
  }
  check();
}

TEST_F(Runs, OfEqualValuesStayInTheOrderOfArrival) {
  for (int i = 0; i < 1000; ++i) add(i % 3 * 10);
  for (int i = 0; i < 300; ++i) add(10);
  for (int i = 0; i < 300; ++i) add(5);
  check();
}

TEST_F(Runs, GoOnAfterTheTableWasEmptied) {
  for (int i = 0; i < 200; ++i) add(i);
  while (!model.empty()) removeOne();
  for (int i = 0; i < 200; ++i) add(i);
  MDAClearAll(table.array);
  model.clear();
  for (int i = 0; i < 200; ++i) add(i);
  check();
}
