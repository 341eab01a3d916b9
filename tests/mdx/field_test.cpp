// Values of fields: reading, writing, conversion, marks.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support.h"

using namespace test;

namespace {

const std::initializer_list<Field> kEveryType = {{"bool", MDX_BOOL},   {"int32", MDX_INT32},   {"int64", MDX_INT64},
                                                 {"float", MDX_FLOAT}, {"double", MDX_DOUBLE}, {"text", MDX_TEXT, 32},
                                                 {"memo", MDX_MEMO}};
enum { kBool, kInt32, kInt64, kFloat, kDouble, kText, kMemo };

class Fields : public testing::Test {
 protected:
  int set(int field, MDRVar value) { return MDRSetVal(table.field(field), record, &value); }
  MDRVar get(int field) const { return table.value(record, field); }

  Table table{kEveryType};
  MDRData* record = MDARecNew(table.array);
};

}  // namespace

TEST_F(Fields, EveryTypeHoldsItsValue) {
  EXPECT_EQ(set(kBool, boolean(true)), MDX_OK);
  EXPECT_EQ(set(kInt32, int32(-7)), MDX_OK);
  EXPECT_EQ(set(kInt64, int64(INT64_MIN)), MDX_OK);
  EXPECT_EQ(set(kFloat, single(1.5f)), MDX_OK);
  EXPECT_EQ(set(kDouble, real(-0.1)), MDX_OK);
  EXPECT_EQ(set(kText, text("fixed")), MDX_OK);
  EXPECT_EQ(set(kMemo, text("long", MDX_MEMO)), MDX_OK);
  EXPECT_EQ(get(kBool).flag, 1);
  EXPECT_EQ(get(kBool).type, MDX_BOOL);
  EXPECT_EQ(+get(kInt32).i32, -7);
  EXPECT_EQ(get(kInt32).type, MDX_INT32);
  EXPECT_EQ(+get(kInt64).i64, INT64_MIN);
  EXPECT_EQ(+get(kFloat).f32, 1.5f);
  EXPECT_EQ(+get(kDouble).f64, -0.1);
  EXPECT_EQ(table.textOf(record, kText), "fixed");
  EXPECT_EQ(get(kText).type, MDX_TEXT);
  EXPECT_EQ(table.textOf(record, kMemo), "long");
  EXPECT_EQ(get(kMemo).type, MDX_MEMO);
}

TEST_F(Fields, NullKeepsTheFieldsType) {
  set(kInt32, int32(3));
  EXPECT_EQ(set(kInt32, null(MDX_TEXT)), MDX_OK);
  EXPECT_EQ(get(kInt32).type, MDX_INT32);
  EXPECT_NE(get(kInt32).isNull, 0);
  set(kMemo, text("a text that needs a block of its own"));
  EXPECT_EQ(set(kMemo, null()), MDX_OK);
  EXPECT_NE(get(kMemo).isNull, 0);
}

TEST_F(Fields, TextsOfEveryLengthEndWithAZero) {
  for (size_t length = 0; length <= 32; ++length) {
    const std::string wanted(length, 'q');
    ASSERT_EQ(set(kText, text(wanted)), MDX_OK);
    ASSERT_EQ(set(kMemo, text(wanted)), MDX_OK);
    for (const int field : {kText, kMemo}) {
      char* pointer = nullptr;
      ASSERT_EQ(MDRGetTextPtr(table.field(field), record, &pointer), MDX_OK);
      ASSERT_EQ(std::string(pointer), wanted);
      ASSERT_EQ(table.textOf(record, field), wanted);
    }
  }
  for (const size_t length : {33u, 255u, 256u, 257u, 5000u, 1000000u}) {
    const std::string wanted(length, 'm');
    EXPECT_EQ(set(kText, text(wanted)), MDX_E_SIZE);
    ASSERT_EQ(set(kMemo, text(wanted)), MDX_OK);
    char* pointer = nullptr;
    MDRGetTextPtr(table.field(kMemo), record, &pointer);
    ASSERT_EQ(std::string(pointer), wanted);
  }
  EXPECT_EQ(table.textOf(record, kText), std::string(32, 'q'));
}

TEST_F(Fields, AnEmptyTextIsNotNull) {
  for (const int field : {kText, kMemo}) {
    EXPECT_EQ(set(field, text("")), MDX_OK);
    EXPECT_EQ(MDRIsNull(table.field(field), record, nullptr), 0);
    char* pointer = nullptr;
    MDRGetTextPtr(table.field(field), record, &pointer);
    ASSERT_NE(pointer, nullptr);
    EXPECT_STREQ(pointer, "");
  }
}

TEST_F(Fields, BlocksMayHoldZeros) {
  const std::string block("\0a\0b\0", 5);
  for (const int field : {kText, kMemo}) {
    set(field, text(block));
    int length = -1;
    void* data = nullptr;
    EXPECT_EQ(MDRGetTextRef(table.field(field), record, &length, &data), MDX_OK);
    EXPECT_EQ(std::string(static_cast<char*>(data), static_cast<size_t>(length)), block);
  }
}

TEST_F(Fields, ATextMayBeSetFromItself) {
  for (const char* start : {"short", "a text that does not fit into its slot"}) {
    for (const int field : {kText, kMemo}) {
      set(field, text(std::string_view(start).substr(0, 32)));
      MDRVar own = get(field);
      own.text.data += 2;
      own.text.length -= 2;
      ASSERT_EQ(set(field, own), MDX_OK);
      ASSERT_EQ(table.textOf(record, field), std::string(start).substr(0, 32).substr(2));
    }
  }
}

TEST_F(Fields, NumbersConvertWhereTheyFit) {
  EXPECT_EQ(set(kInt64, int32(-5)), MDX_OK);
  EXPECT_EQ(+get(kInt64).i64, -5);
  EXPECT_EQ(set(kInt32, int64(INT32_MAX)), MDX_OK);
  EXPECT_EQ(+get(kInt32).i32, INT32_MAX);
  EXPECT_EQ(set(kInt32, boolean(true)), MDX_OK);
  EXPECT_EQ(+get(kInt32).i32, 1);
  EXPECT_EQ(set(kBool, int32(2)), MDX_OK);
  EXPECT_EQ(get(kBool).flag, 1);
  EXPECT_EQ(set(kBool, int64(0)), MDX_OK);
  EXPECT_EQ(get(kBool).flag, 0);
  EXPECT_EQ(set(kBool, real(0.5)), MDX_OK);
  EXPECT_EQ(get(kBool).flag, 1);
  EXPECT_EQ(set(kDouble, int64(1) /* */), MDX_OK);
  EXPECT_EQ(+get(kDouble).f64, 1.0);
  EXPECT_EQ(set(kInt32, real(4.0)), MDX_OK);
  EXPECT_EQ(+get(kInt32).i32, 4);
  EXPECT_EQ(set(kFloat, real(0.25)), MDX_OK);
  EXPECT_EQ(+get(kFloat).f32, 0.25f);
  EXPECT_EQ(set(kDouble, single(0.25f)), MDX_OK);
  EXPECT_EQ(+get(kDouble).f64, 0.25);
}

TEST_F(Fields, NumbersThatDoNotFitAreRefused) {
  const double infinity = std::numeric_limits<double>::infinity(), nan = std::nan("");
  EXPECT_EQ(set(kInt32, int64(int64_t{INT32_MAX} + 1)), MDX_E_TYPE);
  EXPECT_EQ(set(kInt32, int64(int64_t{INT32_MIN} - 1)), MDX_E_TYPE);
  EXPECT_EQ(set(kInt32, real(1.5)), MDX_E_TYPE);
  EXPECT_EQ(set(kInt64, real(0x1p63)), MDX_E_TYPE);
  EXPECT_EQ(set(kInt64, real(infinity)), MDX_E_TYPE);
  EXPECT_EQ(set(kInt64, real(nan)), MDX_E_TYPE);
  EXPECT_EQ(set(kBool, real(nan)), MDX_E_TYPE);
  EXPECT_EQ(set(kFloat, real(1e300)), MDX_E_TYPE);
  EXPECT_EQ(set(kFloat, real(infinity)), MDX_OK);
  EXPECT_EQ(set(kInt64, real(-0x1p63)), MDX_OK);
  EXPECT_EQ(+get(kInt64).i64, INT64_MIN);
  EXPECT_NE(get(kInt32).isNull, 0);
}

TEST_F(Fields, TextsAndNumbersDoNotMix) {
  EXPECT_EQ(set(kInt32, text("5")), MDX_E_TYPE);
  EXPECT_EQ(set(kText, int32(5)), MDX_E_TYPE);
  EXPECT_EQ(set(kMemo, real(5)), MDX_E_TYPE);
  MDRVar strange{};
  strange.type = 77;
  EXPECT_EQ(set(kInt32, strange), MDX_E_TYPE);
  MDRVar nowhere = text("");
  nowhere.text.data = nullptr;
  nowhere.text.length = 4;
  EXPECT_EQ(set(kMemo, nowhere), MDX_E_ARG);
  nowhere.text.length = 0;
  EXPECT_EQ(set(kMemo, nowhere), MDX_OK);
  EXPECT_EQ(table.textOf(record, kMemo), "");
}

TEST_F(Fields, TextReadersSayWhatIsNoText) {
  set(kInt32, int32(5));
  char* pointer = reinterpret_cast<char*>(1);
  EXPECT_EQ(MDRGetTextPtr(table.field(kInt32), record, &pointer), MDX_E_TYPE);
  EXPECT_EQ(pointer, nullptr);
  pointer = reinterpret_cast<char*>(1);
  EXPECT_EQ(MDRGetTextPtr(table.field(kText), record, &pointer), MDX_OK);
  EXPECT_EQ(pointer, nullptr);
  int length = 9;
  void* data = &length;
  EXPECT_EQ(MDRGetTextRef(table.field(kText), record, &length, &data), MDX_OK);
  EXPECT_EQ(length, 0);
  EXPECT_EQ(data, nullptr);
  length = 9;
  EXPECT_EQ(MDRGetTextRef(table.field(kInt32), record, &length, &data), MDX_E_TYPE);
  EXPECT_EQ(length, 0);
  EXPECT_EQ(MDRGetTextRef(table.field(kText), record, nullptr, &data), MDX_E_ARG);
  EXPECT_EQ(MDRGetTextPtr(table.field(kText), record, nullptr), MDX_E_ARG);
}

TEST_F(Fields, ReadAsInt32) {
  int32_t out = 7;
  const auto as = [&](int field) { return MDRGetAsInt32(table.field(field), record, &out); };
  EXPECT_LT(as(kInt32), 0);
  EXPECT_EQ(out, 0);
  set(kInt64, int64(-12));
  EXPECT_EQ(as(kInt64), MDX_OK);
  EXPECT_EQ(out, -12);
  set(kInt64, int64(1LL << 40));
  EXPECT_LT(as(kInt64), 0);
  EXPECT_EQ(out, 0);
  set(kBool, boolean(true));
  EXPECT_EQ(as(kBool), MDX_OK);
  EXPECT_EQ(out, 1);
  set(kDouble, real(-3.9));
  EXPECT_EQ(as(kDouble), MDX_OK);
  EXPECT_EQ(out, -3);
  for (const auto& [written, number] : {std::pair{"42", 42}, {" -17 ", -17}, {"+5", 5}, {"3.7", 3}}) {
    set(kText, text(written));
    EXPECT_EQ(as(kText), MDX_OK) << written;
    EXPECT_EQ(out, number) << written;
  }
  for (const char* written : {"", "x", "5x", "--5", "+-5", "99999999999", "0x10"}) {
    set(kText, text(written));
    EXPECT_LT(as(kText), 0) << written;
    EXPECT_EQ(out, 0) << written;
  }
  EXPECT_EQ(MDRGetAsInt32(table.field(kText), record, nullptr), MDX_E_ARG);
}

TEST_F(Fields, ReadAsDouble) {
  double out = 7;
  const auto as = [&](int field) { return MDRGetAsDouble(table.field(field), record, &out); };
  EXPECT_LT(as(kDouble), 0);
  EXPECT_EQ(out, 0);
  set(kFloat, single(0.5f));
  EXPECT_EQ(as(kFloat), MDX_OK);
  EXPECT_EQ(out, 0.5);
  set(kInt64, int64(1LL << 40));
  EXPECT_EQ(as(kInt64), MDX_OK);
  EXPECT_EQ(out, 0x1p40);
  set(kMemo, text("-12.5e2"));
  EXPECT_EQ(as(kMemo), MDX_OK);
  EXPECT_EQ(out, -1250);
  set(kMemo, text("12,5"));
  EXPECT_LT(as(kMemo), 0);
  EXPECT_EQ(out, 0);
  EXPECT_EQ(MDRGetAsDouble(table.field(kMemo), record, nullptr), MDX_E_ARG);
}

TEST_F(Fields, NullMarks) {
  int flag = 9;
  EXPECT_EQ(MDRIsNull(table.field(kInt32), record, &flag), 1);
  EXPECT_EQ(flag, 1);
  set(kInt32, int32(0));
  EXPECT_EQ(MDRIsNull(table.field(kInt32), record, &flag), 0);
  EXPECT_EQ(flag, 0);
  EXPECT_LT(MDRIsNull(nullptr, record, &flag), 0);
  EXPECT_LT(MDRIsNull(table.field(0), nullptr, &flag), 0);
}

TEST_F(Fields, ChangedMarksAreSetOnRequestOnly) {
  set(kInt32, int32(4));
  int flag = 9;
  EXPECT_EQ(MDRIsUser(table.field(kInt32), record, &flag), 0);
  EXPECT_EQ(flag, 0);
  EXPECT_EQ(MDRSetUser(table.field(kInt32), record, 1), MDX_OK);
  EXPECT_EQ(MDRIsUser(table.field(kInt32), record, &flag), 1);
  EXPECT_EQ(flag, 1);
  EXPECT_EQ(MDRIsUser(table.field(kInt64), record, nullptr), 0);
  EXPECT_EQ(MDRSetUser(table.field(kInt32), record, 0), MDX_OK);
  EXPECT_EQ(MDRIsUser(table.field(kInt32), record, nullptr), 0);
  EXPECT_EQ(MDRSetUser(nullptr, record, 1), MDX_E_FIELD);
  EXPECT_LT(MDRIsUser(nullptr, record, &flag), 0);
}

TEST_F(Fields, AFieldOfAnotherTableIsNone) {
  Table other(kEveryType);
  MDRVar out = int32(5);
  EXPECT_EQ(MDRGetVal(other.field(kInt32), record, &out), MDX_E_FIELD);
  EXPECT_EQ(out.type, MDX_NONE);
  const MDRVar five = int32(5);
  EXPECT_EQ(MDRSetVal(other.field(kInt32), record, &five), MDX_E_FIELD);
  EXPECT_EQ(MDRSetUser(other.field(kInt32), record, 1), MDX_E_FIELD);
  MDRField copy = *table.field(kInt32);
  EXPECT_EQ(MDRSetVal(&copy, record, &five), MDX_E_FIELD);
  EXPECT_NE(get(kInt32).isNull, 0);
}

TEST_F(Fields, NullArgumentsAreErrors) {
  const MDRVar five = int32(5);
  MDRVar out{};
  EXPECT_EQ(MDRGetVal(nullptr, record, &out), MDX_E_FIELD);
  EXPECT_EQ(out.type, MDX_NONE);
  EXPECT_EQ(MDRGetVal(table.field(0), nullptr, &out), MDX_E_FIELD);
  EXPECT_EQ(MDRGetVal(table.field(0), record, nullptr), MDX_E_ARG);
  EXPECT_EQ(MDRSetVal(nullptr, record, &five), MDX_E_FIELD);
  EXPECT_EQ(MDRSetVal(table.field(0), nullptr, &five), MDX_E_FIELD);
  EXPECT_EQ(MDRSetVal(table.field(0), record, nullptr), MDX_E_ARG);
}
