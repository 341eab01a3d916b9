// CMDArray: the table by value.

#include <gtest/gtest.h>

#include "support.h"

namespace {

using test::addField;

class ByValue : public testing::Test {
 protected:
  ByValue() {
    addField(table.array, "number", MDX_INT32);
    addField(table.array, "name", MDX_MEMO);
  }
  CMDArray table;
};

}  // namespace

TEST_F(ByValue, StartsAsAnEmptyTable) {
  CMDArray fresh;
  ASSERT_NE(fresh.array, nullptr);
  EXPECT_EQ(fresh.code, MDX_OK);
  EXPECT_EQ(MDAFldCount(fresh.array), 0);
}

TEST_F(ByValue, PostsItsOwnRecordsAndKeepsTheCode) {
  MDRData* record = MDARecNew(table.array);
  table.code = 99;
  EXPECT_EQ(table.RecPost(record), record);
  EXPECT_EQ(table.code, MDX_OK);
  EXPECT_EQ(MDARecCount(table.array), 1);
}

TEST_F(ByValue, DoesNotPostARecordOfAnotherTable) {
  CMDArray other;
  addField(other.array, "number", MDX_INT32);
  MDRData* foreign = MDARecNew(other.array);
  EXPECT_EQ(table.RecPost(foreign), nullptr);
  EXPECT_EQ(MDARecCount(table.array), 0);
  EXPECT_EQ(MDARecCount(other.array), 0);
  EXPECT_EQ(table.RecPost(nullptr), nullptr);
}

TEST_F(ByValue, ReadingAnUnknownFieldGivesType0AndLeavesTheRest) {
  MDRData* record = MDARecNew(table.array);
  MDRVar out = test::int32(17);
  out.isNull = 42;
  table.GetVal(record, "nothing", out);
  EXPECT_EQ(out.type, MDX_NONE);
  EXPECT_EQ(out.isNull, 42);
  EXPECT_EQ(+out.i32, 17);
  out.type = MDX_INT32;
  table.GetVal(record, 9, out);
  EXPECT_EQ(out.type, MDX_NONE);
}

TEST_F(ByValue, WritingAnUnknownFieldDoesNothing) {
  MDRData* record = MDARecNew(table.array);
  table.SetVal(record, "nothing", test::int32(5));
  table.SetVal(record, 9, test::int32(5));
  table.SetValF(record, 9, test::int32(5));
  EXPECT_EQ(MDRIsNull(MDRFldByNum(table.array, 0), record, nullptr), 1);
  EXPECT_EQ(MDRIsNull(MDRFldByNum(table.array, 1), record, nullptr), 1);
}

TEST_F(ByValue, FieldNumbersCountTheirLow8Bits) {
  MDRData* record = MDARecNew(table.array);
  table.SetVal(record, 0x100, test::int32(5));
  MDRVar out{};
  table.GetVal(record, 0x300, out);
  EXPECT_EQ(+out.i32, 5);
}

TEST_F(ByValue, SetValFMarksTheField) {
  MDRData* record = MDARecNew(table.array);
  table.SetVal(record, 0, test::int32(5));
  EXPECT_EQ(MDRIsUser(MDRFldByNum(table.array, 0), record, nullptr), 0);
  table.SetValF(record, 0, test::int32(6));
  EXPECT_EQ(MDRIsUser(MDRFldByNum(table.array, 0), record, nullptr), 1);
  EXPECT_EQ(MDRIsUser(MDRFldByNum(table.array, 1), record, nullptr), 0);
}

TEST_F(ByValue, AKeyExpressionIsCutAt384Bytes) {
  // 55 times "number;" are 385 bytes: the cut takes the last ";" away, 16 fields are the most a key has.
  std::string longer;
  for (int i = 0; i < 55; ++i) longer += "number;";
  EXPECT_EQ(table.KeyAdd(longer.c_str(), 0), MDX_E_KEY);
  // Blanks fill the expression, what stands behind its 384 bytes is not read.
  std::string cut = "name;number";
  cut.resize(384, ' ');
  EXPECT_EQ(table.KeyAdd((cut + "; nothing").c_str(), 0), 0);
  EXPECT_EQ(std::string(MDAKeyExpr(table.array, 0)).size(), 384u);
  cut.resize(380, ' ');
  EXPECT_EQ(table.KeyAdd((cut + ";nothing").c_str(), 0), MDX_E_KEY);
  EXPECT_EQ(table.code, MDX_E_KEY);
}

TEST_F(ByValue, KeyAddReturnsAndKeepsTheNumber) {
  EXPECT_EQ(table.KeyAdd("number", 0), 0);
  EXPECT_EQ(table.KeyAdd("name", 0), 1);
  EXPECT_EQ(table.code, 1);
  EXPECT_EQ(*MDAKeyFlags(table.array, 1), 0u);
}
