// The life of a record: new, posted, changed, removed.

#include <gtest/gtest.h>

#include "support.h"

using namespace test;

TEST(Record, ANewOneIsNullAndNotPosted) {
  Table table({{"a", MDX_INT32}, {"b", MDX_TEXT, 8}, {"c", MDX_MEMO}});
  MDRData* record = MDARecNew(table.array);
  ASSERT_NE(record, nullptr);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(MDRIsNull(table.field(i), record, nullptr), 1);
    EXPECT_EQ(MDRIsUser(table.field(i), record, nullptr), 0);
  }
  EXPECT_EQ(MDARecCount(table.array), 0);
  EXPECT_EQ(MDROwner(record), table.array);
  EXPECT_EQ(MDRGetFlags(record), MDX_REC_NONE);
  EXPECT_EQ(MDARecNew(nullptr), nullptr);
}

TEST(Record, KeepsItsAddressWhenPosted) {
  Table table({{"a", MDX_INT32}}, {"a"});
  MDRData* record = MDARecNew(table.array);
  table.SetVal(record, 0, int32(5));
  MDRData* posted = nullptr;
  EXPECT_EQ(MDARecPost(record, &posted), MDX_OK);
  EXPECT_EQ(posted, record);
  EXPECT_EQ(MDARec(table.array, 0, 0), record);
  EXPECT_EQ(MDARecPost(MDARecNew(table.array), nullptr), MDX_OK);
  EXPECT_EQ(MDARecCount(table.array), 2);
}

TEST(Record, AddressesHoldWhileTheTableGrows) {
  Table table({{"a", MDX_INT32}, {"b", MDX_MEMO}}, {"a"});
  std::vector<MDRData*> records;
  for (int i = 0; i < 5000; ++i) records.push_back(table.add({int32(i), text("text number " + std::to_string(i))}));
  for (int i = 0; i < 5000; ++i)
    ASSERT_EQ(table.textOf(records[static_cast<size_t>(i)], 1), "text number " + std::to_string(i));
}

TEST(Record, PostingTwiceIsOnce) {
  Table table({{"a", MDX_INT32}}, {"a"});
  MDRData* record = table.add({int32(1)});
  EXPECT_EQ(MDARecEdit(record), record);
  EXPECT_EQ(MDARecPost(record, nullptr), MDX_OK);
  EXPECT_EQ(MDARecPost(record, nullptr), MDX_OK);
  EXPECT_EQ(MDARecCount(table.array), 1);
  EXPECT_EQ(MDARecEdit(nullptr), nullptr);
}

TEST(Record, UnpostedOnesMayBeLeftOrRemoved) {
  Table table({{"a", MDX_INT32}, {"b", MDX_MEMO}});
  MDRData* left = MDARecNew(table.array);
  MDRData* removed = MDARecNew(table.array);
  MDRData* posted = MDARecNew(table.array);
  for (MDRData* record : {left, removed, posted}) table.SetVal(record, 1, text("a text that needs a block"));
  EXPECT_EQ(MDARecDel(removed), MDX_OK);
  EXPECT_EQ(table.RecPost(posted), posted);
  EXPECT_EQ(MDARecCount(table.array), 1);
  EXPECT_EQ(table.textOf(left, 1), "a text that needs a block");
}

TEST(Record, AChangeOfAKeyFieldMovesItAtOnceWithAndWithoutEdit) {
  Table table({{"a", MDX_INT32}}, {"a"});
  MDRData* record = table.add({int32(1)});
  table.add({int32(5)});
  table.SetVal(record, 0, int32(9));
  EXPECT_EQ(table.order(0, 0), "5 9");
  MDARecEdit(record);
  table.SetVal(record, 0, int32(2));
  EXPECT_EQ(table.order(0, 0), "2 5");
  table.SetVal(record, 0, null());
  EXPECT_EQ(table.order(0, 0), "- 5");
  table.RecPost(record);
  EXPECT_EQ(table.order(0, 0), "- 5");
}

TEST(Record, ARefusedValueLeavesRecordAndKeysAlone) {
  Table table({{"a", MDX_TEXT, 4}}, {"a"});
  MDRData* record = table.add({text("bbbb")});
  table.add({text("cc")});
  const MDRVar tooLong = text("ddddd");
  const MDRVar number = int32(4);
  EXPECT_EQ(MDRSetVal(table.field(0), record, &tooLong), MDX_E_SIZE);
  EXPECT_EQ(MDRSetVal(table.field(0), record, &number), MDX_E_TYPE);
  EXPECT_EQ(table.order(0, 0), "bbbb cc");
}

TEST(Record, RemovedOnesLeaveAllKeys) {
  Table table({{"a", MDX_INT32}, {"b", MDX_MEMO}}, {"a", "b", "b;a"});
  MDRData* middle = nullptr;
  for (int i = 0; i < 3; ++i) {
    MDRData* record = table.add({int32(i), text(std::string(20, static_cast<char>('c' - i)))});
    if (i == 1) middle = record;
  }
  EXPECT_EQ(MDARecDel(middle), MDX_OK);
  EXPECT_EQ(MDARecCount(table.array), 2);
  EXPECT_EQ(table.order(0, 0), "0 2");
  EXPECT_EQ(table.order(1, 0), "2 0");
  EXPECT_EQ(table.order(2, 0), "2 0");
  EXPECT_EQ(MDARecDel(nullptr), MDX_E_ARG);
}

TEST(Record, AHandleOfARemovedRecordHasNoOwner) {
  Table table({{"a", MDX_INT32}}, {"a"});
  MDRData* record = table.add({int32(1)});
  MDARecDel(record);
  EXPECT_EQ(MDROwner(record), nullptr);
  EXPECT_EQ(table.RecPost(record), nullptr);
  EXPECT_EQ(MDARecDel(record), MDX_E_STATE);
  EXPECT_EQ(MDARecCount(table.array), 0);
}

TEST(Record, PlacesOfRemovedOnesAreUsedAgain) {
  Table table({{"a", MDX_INT32}, {"b", MDX_MEMO}}, {"a"});
  for (int i = 0; i < 1000; ++i) table.add({int32(i), text("a text of thirty-one letters...")});
  const size_t before = MDAMemory(table.array);
  for (int round = 0; round < 20; ++round) {
    for (int i = 0; i < 1000; ++i) MDARecDel(MDARec(table.array, 0, MDARecCount(table.array) / 2));
    for (int i = 0; i < 1000; ++i) table.add({int32(i), text("a text of thirty-one letters...")});
  }
  EXPECT_LT(MDAMemory(table.array), before * 3 / 2);
}

TEST(Record, EqualKeysStandInTheOrderOfArrivalWhateverHappens) {
  Table table({{"same", MDX_INT32}, {"arrival", MDX_INT32}}, {"same"});
  std::vector<MDRData*> records;
  for (int i = 0; i < 6; ++i) records.push_back(table.add({int32(1), int32(i)}));
  table.SetVal(records[1], 0, int32(5));
  table.SetVal(records[4], 0, int32(0));
  EXPECT_EQ(table.order(0, 1), "4 0 2 3 5 1");
  table.SetVal(records[1], 0, int32(1));
  table.SetVal(records[4], 0, int32(1));
  EXPECT_EQ(table.order(0, 1), "0 1 2 3 4 5");
}

TEST(Record, KindsOfChange) {
  Table table({{"a", MDX_INT32}});
  MDRData* record = MDARecNew(table.array);
  for (const int kind : {MDX_REC_INSERT, MDX_REC_UPDATE, MDX_REC_DELETE, MDX_REC_NONE}) {
    EXPECT_EQ(MDRSetFlags(record, kind), MDX_OK);
    EXPECT_EQ(MDRGetFlags(record), kind);
  }
  MDRSetFlags(record, MDX_REC_UPDATE);
  EXPECT_EQ(MDRSetFlags(record, 3), MDX_E_ARG);
  EXPECT_EQ(MDRGetFlags(record), MDX_REC_UPDATE);
  EXPECT_EQ(table.RecPost(record), record);
  EXPECT_EQ(MDRGetFlags(record), MDX_REC_UPDATE);
  EXPECT_EQ(MDRSetFlags(nullptr, 1), MDX_E_ARG);
  EXPECT_LT(MDRGetFlags(nullptr), 0);
  EXPECT_EQ(MDROwner(nullptr), nullptr);
}

TEST(Record, ATableWithoutFieldsHoldsRecords) {
  CMDArray table;
  for (int i = 0; i < 100; ++i) {
    MDRData* record = MDARecNew(table.array);
    ASSERT_NE(record, nullptr);
    if (i % 2) {
      EXPECT_EQ(table.RecPost(record), record);
    }
  }
  EXPECT_EQ(MDARecCount(table.array), 50);
}

TEST(Record, NullHandlesAreErrors) {
  MDRData* posted = reinterpret_cast<MDRData*>(1);
  EXPECT_EQ(MDARecPost(nullptr, &posted), MDX_E_ARG);
  EXPECT_EQ(posted, nullptr);
  MDRData bound;
  MDRRecInit(&bound);
  EXPECT_EQ(MDARecPost(&bound, nullptr), MDX_E_STATE);
  EXPECT_EQ(MDARecDel(&bound), MDX_E_STATE);
}
