// Tables, fields and keys as such.

#include <gtest/gtest.h>

#include "support.h"

using namespace test;

TEST(TableStructure, ANewTableIsEmpty) {
  MDArray* array = nullptr;
  ASSERT_EQ(MDACreate(&array, 0), MDX_OK);
  EXPECT_EQ(MDAFldCount(array), 0);
  EXPECT_EQ(MDAKeyCount(array), 0);
  EXPECT_EQ(MDARecCount(array), 0);
  EXPECT_EQ(MDARec(array, 0, 0), nullptr);
  EXPECT_GT(MDAMemory(array), 0u);
  MDADestroy(array);
  MDADestroy(nullptr);
}

TEST(TableStructure, CreateRefusesWhatItDoesNotKnow) {
  MDArray* array = nullptr;
  EXPECT_EQ(MDACreate(nullptr, 0), MDX_E_ARG);
  EXPECT_EQ(MDACreate(&array, 7), MDX_E_ARG);
}

TEST(TableStructure, FieldsAreNumberedInOrderAndFoundByNameInAnyCase) {
  Table table;
  EXPECT_EQ(addField(table.array, "KeyLink", MDX_TEXT, 32), 0);
  EXPECT_EQ(addField(table.array, "name_", MDX_MEMO), 1);
  EXPECT_EQ(addField(table.array, "\xCF\xEE\xEB\xE5", MDX_INT32), 2);
  EXPECT_EQ(MDAFldCount(table.array), 3);
  EXPECT_STREQ(MDAFldName(table.array, 1), "name_");
  EXPECT_EQ(MDAFldName(table.array, 3), nullptr);
  EXPECT_EQ(MDAFldName(table.array, -1), nullptr);
  EXPECT_EQ(MDRFldByName(table.array, "KEYLINK"), table.field(0));
  EXPECT_EQ(MDRFldByName(table.array, "NAME_"), table.field(1));
  EXPECT_EQ(MDRFldByName(table.array, "\xEF\xCE\xCB\xC5"), table.field(2));
  EXPECT_EQ(MDRFldByName(table.array, "KeyLin"), nullptr);
  EXPECT_EQ(MDRFldByName(table.array, "KeyLinks"), nullptr);
  EXPECT_EQ(MDRFldByName(table.array, nullptr), nullptr);
  EXPECT_EQ(MDRFldByName(nullptr, "KeyLink"), nullptr);
  EXPECT_EQ(MDRFldByNum(table.array, 3), nullptr);
  EXPECT_EQ(MDRFldByNum(table.array, -1), nullptr);
}

TEST(TableStructure, AFieldDescribesItself) {
  Table table({{"KeyLink", MDX_TEXT, 32}, {"locId", MDX_INT64, 0}});
  EXPECT_STREQ(table.field(0)->name, "KeyLink");
  EXPECT_EQ(table.field(0)->type, MDX_TEXT);
  EXPECT_EQ(table.field(0)->size, 32);
  EXPECT_EQ(table.field(0)->number, 0);
  EXPECT_EQ(table.field(1)->type, MDX_INT64);
  EXPECT_EQ(table.field(1)->size, 0);
  EXPECT_EQ(table.field(1)->number, 1);
  EXPECT_EQ(reinterpret_cast<const char*>(table.field(1)) - reinterpret_cast<const char*>(table.field(0)), 204);
}

TEST(TableStructure, FieldsThatCannotBeAreRefused) {
  Table table;
  EXPECT_EQ(addField(table.array, "", MDX_INT32), MDX_E_ARG);
  for (const int type : {0, 2, 3, 4, 11, 255}) EXPECT_EQ(addField(table.array, "x", type), MDX_E_TYPE) << type;
  EXPECT_EQ(addField(table.array, "x", MDX_TEXT, 0), MDX_E_ARG);
  MDRFldDesc good{};
  std::strcpy(good.name, "x");
  good.type = MDX_INT32;
  EXPECT_EQ(MDAFldAdd(table.array, 2, &good), MDX_E_ARG);
  EXPECT_EQ(MDAFldAdd(nullptr, 1, &good), MDX_E_ARG);
  EXPECT_EQ(MDAFldAdd(table.array, 1, nullptr), MDX_E_ARG);
  EXPECT_EQ(MDAFldCount(table.array), 0);
}

TEST(TableStructure, ANameWithoutAnEndIsCut) {
  Table table;
  EXPECT_EQ(addField(table.array, std::string(64, 'n'), MDX_INT32), 0);
  EXPECT_EQ(std::string(MDAFldName(table.array, 0)), std::string(63, 'n'));
}

TEST(TableStructure, ATableHasAtMost255Fields) {
  Table table;
  for (int i = 0; i < 255; ++i) ASSERT_EQ(addField(table.array, "f" + std::to_string(i), MDX_TEXT, 255), i);
  EXPECT_EQ(addField(table.array, "one more", MDX_INT32), MDX_E_SIZE);
  MDRData* record = table.add({});
  table.SetVal(record, 254, text(std::string(255, 'z')));
  EXPECT_EQ(table.textOf(record, 254), std::string(255, 'z'));
  EXPECT_EQ(table.textOf(record, 253), "<null>");
}

TEST(TableStructure, AFieldThatComesLaterIsNullInTheRowsThere) {
  Table table({{"number", MDX_INT32}, {"memo", MDX_MEMO}}, {"number"});
  MDRData* first = table.add({int32(2), text("a long text of many letters")});
  MDRData* second = table.add({int32(1), null()});
  MDRData* open = MDARecNew(table.array);
  table.SetVal(open, 1, text("open"));
  MDRSetUser(table.field(1), first, 1);
  for (int i = 2; i < 20; ++i) {
    ASSERT_EQ(addField(table.array, "f" + std::to_string(i), i % 2 ? MDX_MEMO : MDX_TEXT, 32), i);
    for (MDRData* record : {first, second, open}) {
      EXPECT_EQ(MDRIsNull(table.field(i), record, nullptr), 1);
      EXPECT_EQ(MDRIsUser(table.field(i), record, nullptr), 0);
      table.SetVal(record, i, text("value " + std::to_string(i)));
    }
  }
  EXPECT_EQ(table.order(0, 0), "1 2");
  EXPECT_EQ(table.textOf(first, 1), "a long text of many letters");
  EXPECT_EQ(table.textOf(second, 1), "<null>");
  EXPECT_EQ(table.textOf(open, 1), "open");
  EXPECT_EQ(table.textOf(open, 19), "value 19");
  EXPECT_EQ(MDRIsUser(table.field(1), first, nullptr), 1);
  table.SetVal(open, 0, int32(0));
  EXPECT_EQ(table.RecPost(open), open);
  EXPECT_EQ(table.order(0, 2), "value 2 value 2 value 2");
  EXPECT_EQ(MDARecDel(first), MDX_OK);
  EXPECT_EQ(table.integer(table.add({int32(5)}), 0), 5);
}

TEST(TableStructure, FieldsMayComeAfterTheLastRecordWent) {
  Table table({{"number", MDX_INT32}});
  MDARecDel(table.add({int32(1)}));
  ASSERT_EQ(addField(table.array, "later", MDX_TEXT, 200), 1);
  MDRData* record = table.add({int32(2), text(std::string(200, 'x'))});
  EXPECT_EQ(table.integer(record, 0), 2);
  EXPECT_EQ(table.textOf(record, 1), std::string(200, 'x'));
}

TEST(TableKeys, ATableWithoutKeysGetsTheOrderOfArrivalWithItsFirstRecord) {
  Table table({{"number", MDX_INT32}});
  EXPECT_EQ(MDAKeyCount(table.array), 0);
  for (const int number : {3, 1, 2}) table.add({int32(number)});
  EXPECT_EQ(MDAKeyCount(table.array), 1);
  EXPECT_STREQ(MDAKeyExpr(table.array, 0), "");
  EXPECT_EQ(table.order(0, 0), "3 1 2");
}

TEST(TableKeys, AKeyBeforeTheFirstRecordLeavesNoDefaultKey) {
  Table table({{"number", MDX_INT32}}, {"number"});
  for (const int number : {3, 1, 2}) table.add({int32(number)});
  EXPECT_EQ(MDAKeyCount(table.array), 1);
  EXPECT_EQ(table.order(0, 0), "1 2 3");
}

TEST(TableKeys, AKeyOnATableWithRecordsOrdersThem) {
  Table table({{"number", MDX_INT32}});
  for (const int number : {3, 1, 2}) table.add({int32(number)});
  EXPECT_EQ(table.KeyAdd("number", 0), 1);
  EXPECT_EQ(table.order(1, 0), "1 2 3");
  EXPECT_EQ(MDAKeyDel(table.array, 0), MDX_OK);
  EXPECT_EQ(MDAKeyCount(table.array), 1);
  EXPECT_EQ(table.order(0, 0), "1 2 3");
}

TEST(TableKeys, WithoutItsLastKeyATableWithDataFallsBackToTheOrderOfArrival) {
  Table table({{"number", MDX_INT32}}, {"number"});
  for (const int number : {3, 1, 2}) table.add({int32(number)});
  EXPECT_EQ(MDAKeyDel(table.array, 0), MDX_OK);
  EXPECT_EQ(MDAKeyCount(table.array), 1);
  EXPECT_EQ(table.order(0, 0), "3 1 2");
  EXPECT_EQ(MDAKeyDel(table.array, 0), MDX_OK);
  EXPECT_EQ(table.order(0, 0), "3 1 2");
}

TEST(TableKeys, WithoutDataTheLastKeyGoes) {
  Table table({{"number", MDX_INT32}}, {"number"});
  EXPECT_EQ(MDAKeyDel(table.array, 0), MDX_OK);
  EXPECT_EQ(MDAKeyCount(table.array), 0);
  EXPECT_EQ(MDAKeyDel(table.array, 0), MDX_E_KEY);
}

TEST(TableKeys, TheKeysBehindADeletedOneMoveUp) {
  Table table({{"a", MDX_INT32}, {"b", MDX_INT32}, {"c", MDX_INT32}}, {"a", "b", "c"});
  table.add({int32(1), int32(2), int32(2)});
  table.add({int32(2), int32(1), int32(3)});
  EXPECT_EQ(MDAKeyDel(table.array, 1), MDX_OK);
  EXPECT_STREQ(MDAKeyExpr(table.array, 0), "a");
  EXPECT_STREQ(MDAKeyExpr(table.array, 1), "c");
  EXPECT_EQ(MDAKeyExpr(table.array, 2), nullptr);
  table.SetVal(MDARec(table.array, 0, 0), "c", int32(9));
  EXPECT_EQ(table.order(1, 2), "3 9");
}

TEST(TableKeys, AnExpressionNamesKnownFields) {
  Table table({{"a", MDX_INT32}, {"b", MDX_MEMO}});
  EXPECT_EQ(table.KeyAdd("x", 0), MDX_E_KEY);
  EXPECT_EQ(table.KeyAdd("a;x", 0), MDX_E_KEY);
  EXPECT_EQ(table.KeyAdd("a;", 0), MDX_E_KEY);
  EXPECT_EQ(table.KeyAdd("", 0), MDX_E_KEY);
  EXPECT_EQ(MDAKeyCount(table.array), 0);
  EXPECT_EQ(table.KeyAdd("A;B", 0), 0);
  EXPECT_EQ(table.KeyAdd("b; a", 0), 1);
  EXPECT_STREQ(MDAKeyExpr(table.array, 0), "A;B");
}

TEST(TableKeys, NumbersOutsideAreAnswered) {
  Table table({{"a", MDX_INT32}}, {"a"});
  table.add({int32(1)});
  EXPECT_EQ(MDAKeyRecCount(table.array, 0), 1);
  EXPECT_EQ(MDAKeyRecCount(table.array, 1), MDX_E_KEY);
  EXPECT_EQ(MDAKeyRecCount(nullptr, 0), MDX_E_ARG);
  EXPECT_EQ(MDAKeyDel(table.array, 1), MDX_E_KEY);
  EXPECT_EQ(MDAKeyDel(table.array, -1), MDX_E_KEY);
  EXPECT_EQ(MDARecSort(table.array, 5), MDX_E_KEY);
  EXPECT_EQ(MDAKeyFlags(table.array, 1), nullptr);
  EXPECT_EQ(MDARec(table.array, 1, 0), nullptr);
  EXPECT_EQ(MDARec(table.array, -1, 0), nullptr);
  EXPECT_EQ(MDARec(table.array, 0, -1), nullptr);
  EXPECT_EQ(MDARec(table.array, 0, 1), nullptr);
}

TEST(TableKeys, ATableHasAtMost64Keys) {
  Table table({{"a", MDX_INT32}});
  for (int i = 0; i < 64; ++i) ASSERT_EQ(table.KeyAdd("a", 0), i);
  EXPECT_EQ(table.KeyAdd("a", 0), MDX_E_SIZE);
  MDRData* record = table.add({int32(2)});
  table.add({int32(1)});
  table.SetVal(record, 0, int32(0));
  EXPECT_EQ(table.order(63, 0), "0 1");
}

TEST(TableRecords, ClearAllKeepsFieldsAndKeys) {
  Table table({{"a", MDX_INT32}, {"b", MDX_MEMO}}, {"a"});
  for (int i = 0; i < 300; ++i) table.add({int32(i), text("some text that is longer than a slot")});
  EXPECT_EQ(MDAClearAll(table.array), MDX_OK);
  EXPECT_EQ(MDARecCount(table.array), 0);
  EXPECT_EQ(MDAFldCount(table.array), 2);
  EXPECT_EQ(MDAKeyCount(table.array), 1);
  table.add({int32(2), text("b")});
  table.add({int32(1), text("a")});
  EXPECT_EQ(table.order(0, 1), "a b");
  EXPECT_EQ(MDAClearAll(nullptr), MDX_E_ARG);
}

TEST(TableRecords, MemoryComesBackWithClearAll) {
  Table table({{"a", MDX_INT32}, {"b", MDX_MEMO}}, {"a"});
  const size_t empty = MDAMemory(table.array);
  for (int i = 0; i < 10000; ++i) table.add({int32(i), text(std::string(300, 'x'))});
  EXPECT_GT(MDAMemory(table.array), empty + 10000 * 300u);
  MDAClearAll(table.array);
  EXPECT_LT(MDAMemory(table.array), empty + 1000);
}
