// Order and seeks, type by type.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support.h"

using namespace test;

namespace {

// Where a seek lands: "position" when found, "position?" when not.
std::string land(const Table& table, int key, std::initializer_list<MDRVar> values) {
  int position = -1;
  const MDRData* hit = MDARecSeekV(table.array, key, values.begin(), &position);
  if (hit && hit != MDARec(table.array, key, position)) return "another record";
  return std::to_string(position) + (hit ? "" : "?");
}

}  // namespace

TEST(Seek, InAnEmptyTable) {
  Table table({{"a", MDX_INT32}, {"t", MDX_TEXT, 32}, {"m", MDX_MEMO}}, {"a", "t", "m", "a;t"});
  EXPECT_EQ(land(table, 0, {int32(5)}), "0?");
  EXPECT_EQ(land(table, 0, {null()}), "0?");
  EXPECT_EQ(land(table, 1, {text("x")}), "0?");
  EXPECT_EQ(land(table, 2, {text("x")}), "0?");
  EXPECT_EQ(land(table, 3, {int32(5), text("x")}), "0?");
}

TEST(Seek, BadArgumentsFindNothing) {
  Table table({{"a", MDX_INT32}}, {"a"});
  table.add({int32(1)});
  const MDRVar one = int32(1);
  int position = 7;
  EXPECT_EQ(MDARecSeekV(nullptr, 0, &one, &position), nullptr);
  EXPECT_EQ(MDARecSeekV(table.array, 1, &one, &position), nullptr);
  EXPECT_EQ(MDARecSeekV(table.array, -1, &one, &position), nullptr);
  EXPECT_EQ(MDARecSeekV(table.array, 0, nullptr, &position), nullptr);
  EXPECT_NE(MDARecSeekV(table.array, 0, &one, nullptr), nullptr);
}

TEST(Seek, IntegersOfEveryWidthStandForOneAnother) {
  Table table({{"wide", MDX_INT64}, {"narrow", MDX_INT32}, {"flag", MDX_BOOL}}, {"wide", "narrow", "flag"});
  table.add({int64(1), int32(1), boolean(false)});
  table.add({int64(1LL << 40), int32(INT32_MAX), boolean(true)});
  EXPECT_EQ(land(table, 0, {int32(1)}), "0");
  EXPECT_EQ(land(table, 0, {boolean(true)}), "0");
  EXPECT_EQ(land(table, 1, {int64(1)}), "0");
  EXPECT_EQ(land(table, 1, {int64(int64_t{INT32_MAX})}), "1");
  EXPECT_EQ(land(table, 1, {int64(1LL << 40)}), "2?");
  EXPECT_EQ(land(table, 1, {int64(-(1LL << 40))}), "0?");
  EXPECT_EQ(land(table, 2, {int32(1)}), "1");
  EXPECT_EQ(land(table, 2, {int32(2)}), "2?");
}

TEST(Seek, FloatingNumbersInIntegerKeys) {
  Table table({{"a", MDX_INT64}}, {"a"});
  for (const int64_t number : {INT64_MIN, int64_t{-3}, int64_t{0}, int64_t{4}, INT64_MAX}) table.add({int64(number)});
  EXPECT_EQ(land(table, 0, {real(4.0)}), "3");
  EXPECT_EQ(land(table, 0, {real(3.5)}), "3?");
  EXPECT_EQ(land(table, 0, {real(-3.5)}), "1?");
  EXPECT_EQ(land(table, 0, {real(-2.5)}), "2?");
  EXPECT_EQ(land(table, 0, {single(-0.0f)}), "2");
  EXPECT_EQ(land(table, 0, {real(-0x1p63)}), "0");
  EXPECT_EQ(land(table, 0, {real(-0x1p64)}), "0?");
  EXPECT_EQ(land(table, 0, {real(0x1p63)}), "5?");
  EXPECT_EQ(land(table, 0, {real(std::nan(""))}), "5?");
  EXPECT_EQ(land(table, 0, {real(HUGE_VAL)}), "5?");
}

TEST(Seek, IntegersInFloatingKeys) {
  Table table({{"a", MDX_DOUBLE}, {"b", MDX_FLOAT}}, {"a", "b"});
  for (const double number : {-HUGE_VAL, -1.5, -0.0, 2.0, 0x1p53, std::nan("")})
    table.add({real(number), real(number)});
  EXPECT_EQ(land(table, 0, {int32(2)}), "3");
  EXPECT_EQ(land(table, 0, {int32(0)}), "2");
  EXPECT_EQ(land(table, 0, {int32(-1)}), "2?");
  EXPECT_EQ(land(table, 0, {int64((1LL << 53) + 1)}), "5?");
  EXPECT_EQ(land(table, 0, {int64((1LL << 53) - 1)}), "4?");
  EXPECT_EQ(land(table, 0, {real(std::nan(""))}), "5");
  EXPECT_EQ(land(table, 1, {real(-1.5)}), "1");
  EXPECT_EQ(land(table, 1, {int32(2)}), "3");
}

TEST(Seek, NumbersAtTheEndsOfTheirRange) {
  Table table({{"a", MDX_INT64}}, {"a"});
  table.add({int64(INT64_MIN)});
  table.add({int64(INT64_MAX)});
  table.add({int64(INT64_MAX)});
  table.add({null()});
  EXPECT_EQ(land(table, 0, {null()}), "0");
  EXPECT_EQ(land(table, 0, {int64(INT64_MIN)}), "1");
  EXPECT_EQ(land(table, 0, {int64(INT64_MIN + 1)}), "2?");
  EXPECT_EQ(land(table, 0, {int64(INT64_MAX)}), "2");
  EXPECT_EQ(table.order(0, 0), "- -9223372036854775808 9223372036854775807 9223372036854775807");
}

TEST(Seek, NullIsBelowEveryValueAndNotTheEmptyText) {
  Table table({{"t", MDX_TEXT, 32}, {"m", MDX_MEMO}}, {"t", "m"});
  table.add({text("a"), text("a")});
  table.add({text(""), text("")});
  table.add({null(), null()});
  table.add({null(), null()});
  for (const int key : {0, 1}) {
    EXPECT_EQ(table.order(key, key), "- -  a");
    EXPECT_EQ(land(table, key, {null()}), "0");
    EXPECT_EQ(land(table, key, {null(MDX_TEXT)}), "0");
    EXPECT_EQ(land(table, key, {text("")}), "2");
    EXPECT_EQ(land(table, key, {text("A")}), "3?");
    EXPECT_EQ(land(table, key, {text("b")}), "4?");
  }
}

TEST(Seek, NullThatIsNotThereWouldStandFirst) {
  Table table({{"t", MDX_TEXT, 32}}, {"t"});
  table.add({text("a")});
  EXPECT_EQ(land(table, 0, {null()}), "0?");
}

TEST(Seek, AValueOfAnotherKindIsNotFound) {
  Table table({{"n", MDX_INT32}, {"t", MDX_TEXT, 32}, {"m", MDX_MEMO}}, {"n", "t", "m", "n;t", "t;n"});
  table.add({int32(5), text("5"), text("5")});
  table.add({null(), null(), null()});
  EXPECT_EQ(land(table, 0, {text("5")}), "2?");
  EXPECT_EQ(land(table, 1, {int32(5)}), "1?");
  EXPECT_EQ(land(table, 2, {int32(5)}), "1?");
  EXPECT_EQ(land(table, 3, {text("5"), text("5")}), "2?");
  EXPECT_EQ(land(table, 3, {int32(5), int32(5)}), "1?");
  EXPECT_EQ(land(table, 4, {int32(5), int32(5)}), "1?");
}

TEST(Seek, TextsCompareAsUnsignedBytes) {
  Table table({{"t", MDX_TEXT, 32}, {"m", MDX_MEMO}}, {"t", "m"});
  for (const char* word : {"\xE0", "z", "a", "\x01"}) table.add({text(word), text(word)});
  EXPECT_EQ(table.order(0, 0), "\x01 a z \xE0");
  EXPECT_EQ(table.order(1, 0), "\x01 a z \xE0");
}

TEST(Seek, KeysOf32CharactersDifferInAnyOfThem) {
  Table table({{"t", MDX_TEXT, 32}}, {"t"});
  std::vector<std::string> keys;
  for (int i = 0; i < 32; ++i)
    keys.push_back(std::string(static_cast<size_t>(i), '5') + "7" + std::string(static_cast<size_t>(31 - i), '5'));
  for (const std::string& key : keys) table.add({text(key)});
  for (int i = 0; i < 32; ++i) EXPECT_EQ(land(table, 0, {text(keys[static_cast<size_t>(31 - i)])}), std::to_string(i));
  EXPECT_EQ(land(table, 0, {text(std::string(32, '5'))}), "0?");
  EXPECT_EQ(land(table, 0, {text(std::string(31, '5'))}), "0?");
  EXPECT_EQ(land(table, 0, {text(keys[31] + "x")}), "1?");
}

TEST(Seek, TextsThatEndWithZerosAreLongerOnes) {
  Table table({{"t", MDX_TEXT, 32}, {"m", MDX_MEMO}}, {"t", "m"});
  const std::string one("a", 1), two("a\0", 2), three("a\0\0", 3), full("a" + std::string(31, '\0'));
  for (const std::string& key : {full, three, one, two, one}) table.add({text(key), text(key)});
  for (const int key : {0, 1}) {
    EXPECT_EQ(land(table, key, {text(one)}), "0");
    EXPECT_EQ(land(table, key, {text(two)}), "2");
    EXPECT_EQ(land(table, key, {text(three)}), "3");
    EXPECT_EQ(land(table, key, {text(full)}), "4");
    EXPECT_EQ(land(table, key, {text(full + '\0')}), "5?");
    EXPECT_EQ(land(table, key, {text(std::string("a\0\0\0", 4))}), "4?");
  }
}

TEST(Seek, LongTextsDifferBehindTheirPrefix) {
  Table table({{"m", MDX_MEMO}}, {"m"});
  const std::string head(100, 'h');
  for (const char* tail : {"c", "a", "", "b"}) table.add({text(head + tail)});
  EXPECT_EQ(land(table, 0, {text(head)}), "0");
  EXPECT_EQ(land(table, 0, {text(head + "b")}), "2");
  EXPECT_EQ(land(table, 0, {text(head + "bb")}), "3?");
  EXPECT_EQ(land(table, 0, {text(head + "d")}), "4?");
  EXPECT_EQ(land(table, 0, {text("hhhh")}), "0?");
}

TEST(Seek, TheFirstOfEqualRecordsAnswers) {
  Table table({{"a", MDX_INT32}}, {"a"});
  for (int i = 0; i < 1000; ++i) table.add({int32(i / 100)});
  for (int i = 0; i < 10; ++i) EXPECT_EQ(land(table, 0, {int32(i)}), std::to_string(i * 100));
}

TEST(Seek, EveryBoundaryOfAFilledKey) {
  Table table({{"a", MDX_INT32}}, {"a"});
  for (int i = 0; i < 1000; ++i) table.add({int32((i * 617 % 1000) * 2)});
  for (int i = 0; i < 1000; ++i) {
    ASSERT_EQ(land(table, 0, {int32(2 * i)}), std::to_string(i));
    ASSERT_EQ(land(table, 0, {int32(2 * i - 1)}), std::to_string(i) + "?");
  }
  EXPECT_EQ(land(table, 0, {int32(1999)}), "1000?");
}

TEST(CompositeKey, OrdersByItsFieldsInTurn) {
  Table table({{"a", MDX_TEXT, 32}, {"b", MDX_MEMO}, {"c", MDX_INT32}}, {"a;c", "b;a", "c;b;a"});
  table.add({text("x"), text("2"), int32(2)});
  table.add({text("x"), text("1"), int32(1)});
  table.add({text("w"), text("1"), null()});
  table.add({null(), text("3"), int32(1)});
  EXPECT_EQ(table.order(0, 1), "3 1 1 2");
  EXPECT_EQ(table.order(1, 0), "w x x -");
  EXPECT_EQ(table.order(2, 1), "1 1 3 2");
  EXPECT_EQ(land(table, 0, {text("x"), int32(1)}), "2");
  EXPECT_EQ(land(table, 0, {text("x"), int64(2)}), "3");
  EXPECT_EQ(land(table, 0, {text("x"), null()}), "2?");
  EXPECT_EQ(land(table, 0, {text("w"), null()}), "1");
  EXPECT_EQ(land(table, 0, {null(), int32(1)}), "0");
  EXPECT_EQ(land(table, 0, {null(), null()}), "0?");
  EXPECT_EQ(land(table, 0, {text("y"), null()}), "4?");
  EXPECT_EQ(land(table, 2, {int32(1), text("3"), null()}), "2");
  EXPECT_EQ(land(table, 0, {text("x"), real(1.5)}), "3?");
}

TEST(CompositeKey, ChangesOfAnyFieldMoveTheRecord) {
  Table table({{"a", MDX_INT32}, {"b", MDX_INT32}, {"n", MDX_INT32}}, {"a;b"});
  MDRData* record = table.add({int32(1), int32(1), int32(1)});
  table.add({int32(1), int32(2), int32(2)});
  table.SetVal(record, "b", int32(3));
  EXPECT_EQ(table.order(0, 2), "2 1");
  table.SetVal(record, "a", int32(0));
  EXPECT_EQ(table.order(0, 2), "1 2");
}

TEST(IgnoringCase, BitAndSortTogetherChangeTheOrder) {
  Table table({{"t", MDX_TEXT, 32}, {"n", MDX_INT32}}, {"t"});
  for (const char* word : {"b", "A", "a", "B"}) table.add({text(word), int32(0)});
  EXPECT_EQ(table.order(0, 0), "A B a b");
  *MDAKeyFlags(table.array, 0) |= MDX_KEY_NOCASE;
  // Until the sort the order in force stays whole.
  EXPECT_EQ(land(table, 0, {text("a")}), "2");
  table.add({text("C"), int32(0)});
  EXPECT_EQ(table.order(0, 0), "A B C a b");
  EXPECT_EQ(MDARecSort(table.array, 0), MDX_OK);
  EXPECT_EQ(table.order(0, 0), "A a b B C");
  EXPECT_EQ(land(table, 0, {text("c")}), "4");
  EXPECT_EQ(land(table, 0, {text("B")}), "2");
  table.add({text("a"), int32(0)});
  EXPECT_EQ(table.order(0, 0), "A a a b B C");
  *MDAKeyFlags(table.array, 0) = 0;
  MDARecSort(table.array, 0);
  EXPECT_EQ(table.order(0, 0), "A B C a a b");
}

TEST(IgnoringCase, KnowsTheLettersOfWindows1251) {
  Table table({{"t", MDX_TEXT, 32}, {"m", MDX_MEMO}}, {"t", "m", "m;t"});
  for (const int key : {0, 1, 2}) {
    *MDAKeyFlags(table.array, key) |= MDX_KEY_NOCASE;
    MDARecSort(table.array, key);
  }
  table.add({text("\xCF\xEE\xE4"), text("\xCF\xEE\xE4")});  // "Под"
  EXPECT_EQ(land(table, 0, {text("\xEF\xCE\xC4")}), "0");
  EXPECT_EQ(land(table, 1, {text("\xEF\xCE\xC4")}), "0");
  EXPECT_EQ(land(table, 2, {text("\xEF\xCE\xC4"), text("\xEF\xEE\xE4")}), "0");
  table.add({text("\xA8"), text("\xA8")});  // "Ё"
  EXPECT_EQ(land(table, 0, {text("\xB8")}), "0");
  table.add({text("\xB2"), text("\xB2")});  // "І"
  EXPECT_EQ(land(table, 1, {text("\xB3")}), "0");
  EXPECT_EQ(land(table, 1, {text("\xD7")}), "3?");  // "Ч" has no pair by a plain bit
  EXPECT_EQ(land(table, 1, {text("\x97")}), "0?");
}

TEST(IgnoringCase, ADescriptionMayAskForItAtOnce) {
  Table table({{"t", MDX_TEXT, 32}});
  MDRKeyDesc key{};
  std::strcpy(key.expression, "t");
  key.flags = MDX_KEY_NOCASE;
  table.add({text("a")});
  table.add({text("B")});
  EXPECT_EQ(MDAKeyAdd(table.array, 1, &key), 1);
  EXPECT_EQ(table.order(1, 0), "a B");
  EXPECT_EQ(MDAKeyAdd(table.array, 2, &key), MDX_E_ARG);
  EXPECT_EQ(MDAKeyAdd(table.array, 1, nullptr), MDX_E_ARG);
  EXPECT_EQ(MDAKeyAdd(nullptr, 1, &key), MDX_E_ARG);
}

TEST(Order, NotANumberStandsBehindAll) {
  Table table({{"a", MDX_DOUBLE}, {"n", MDX_INT32}}, {"a"});
  table.add({real(std::nan("")), int32(3)});
  table.add({real(HUGE_VAL), int32(2)});
  table.add({real(-HUGE_VAL), int32(1)});
  EXPECT_EQ(table.order(0, 1), "1 2 3");
}

TEST(Order, PositionsFollowChangesInBetween) {
  Table table({{"a", MDX_INT32}}, {"a"});
  for (int i = 0; i < 200; ++i) table.add({int32(i)});
  // A loop that removes as it goes reads each position afresh.
  for (int i = 0; i < MDARecCount(table.array); ++i) {
    MDRData* record = MDARec(table.array, 0, i);
    ASSERT_EQ(table.integer(record, 0), 2 * i);
    if (i + 1 < MDARecCount(table.array)) MDARecDel(MDARec(table.array, 0, i + 1));
  }
  EXPECT_EQ(MDARecCount(table.array), 100);
}
