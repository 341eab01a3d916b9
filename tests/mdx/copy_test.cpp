// MDACopy in its three modes.

#include <gtest/gtest.h>

#include "support.h"

using namespace test;

namespace {

class Copy : public testing::Test {
 protected:
  Copy() {
    for (int i = 5; i > 0; --i) {
      MDRData* record = source.add({int32(i), text("text of row " + std::to_string(i)), null()});
      MDRSetFlags(record, MDX_REC_UPDATE);
      MDRSetUser(source.field(1), record, i % 2);
    }
  }
  Table source{{{"n", MDX_INT32}, {"t", MDX_MEMO}, {"k", MDX_TEXT, 32}}, {"n", "t;n"}};
  Table target{{{"other", MDX_DOUBLE}}, {"other"}};
};

}  // namespace

TEST_F(Copy, StructureTakesFieldsAndKeysOnly) {
  target.add({real(1)});
  EXPECT_EQ(MDACopy(target.array, source.array, 0), MDX_OK);
  EXPECT_EQ(MDAFldCount(target.array), 3);
  EXPECT_STREQ(MDAFldName(target.array, 2), "k");
  EXPECT_EQ(target.field(2)->size, 32);
  EXPECT_EQ(MDAKeyCount(target.array), 2);
  EXPECT_STREQ(MDAKeyExpr(target.array, 1), "t;n");
  EXPECT_EQ(MDARecCount(target.array), 0);
  target.add({int32(2), text("b")});
  target.add({int32(1), text("c")});
  EXPECT_EQ(target.order(0, 0), "1 2");
  EXPECT_EQ(target.order(1, 0), "2 1");
}

TEST_F(Copy, RowsComeWithoutMarksAndKinds) {
  EXPECT_EQ(MDACopy(target.array, source.array, 1), MDX_OK);
  EXPECT_EQ(target.order(0, 0), "1 2 3 4 5");
  EXPECT_EQ(target.textOf(MDARec(target.array, 0, 2), 1), "text of row 3");
  for (int i = 0; i < 5; ++i) {
    const MDRData* record = MDARec(target.array, 0, i);
    EXPECT_EQ(MDRGetFlags(record), MDX_REC_NONE);
    EXPECT_EQ(MDRIsUser(target.field(1), record, nullptr), 0);
    EXPECT_EQ(MDROwner(record), target.array);
    EXPECT_EQ(MDRIsNull(target.field(2), record, nullptr), 1);
  }
}

TEST_F(Copy, RowsWithTheirMarksAndKinds) {
  EXPECT_EQ(MDACopy(target.array, source.array, 3), MDX_OK);
  for (int i = 0; i < 5; ++i) {
    const MDRData* record = MDARec(target.array, 0, i);
    EXPECT_EQ(MDRGetFlags(record), MDX_REC_UPDATE);
    EXPECT_EQ(MDRIsUser(target.field(1), record, nullptr), (i + 1) % 2);
  }
}

TEST_F(Copy, StandsByItself) {
  MDACopy(target.array, source.array, 3);
  source.SetVal(MDARec(source.array, 0, 0), 1, text("something quite different, and longer"));
  MDAClearAll(source.array);
  EXPECT_EQ(target.textOf(MDARec(target.array, 0, 0), 1), "text of row 1");
}

TEST_F(Copy, ArrivesInTheOrderOfKeyZero) {
  MDACopy(target.array, source.array, 1);
  EXPECT_EQ(target.KeyAdd("k", 0), 2);  // all null: equal keys in the order of arrival
  EXPECT_EQ(target.order(2, 0), "1 2 3 4 5");
}

TEST_F(Copy, TheDefaultKeyTravelsToo) {
  Table plain({{"n", MDX_INT32}});
  for (const int n : {3, 1, 2}) plain.add({int32(n)});
  EXPECT_EQ(MDACopy(target.array, plain.array, 1), MDX_OK);
  EXPECT_EQ(MDAKeyCount(target.array), 1);
  EXPECT_EQ(target.KeyAdd("n", 0), 1);
  EXPECT_EQ(MDAKeyDel(target.array, 0), MDX_OK);
  EXPECT_EQ(target.order(0, 0), "1 2 3");
}

TEST_F(Copy, AnOrderThatIgnoresCaseStays) {
  Table words({{"t", MDX_TEXT, 32}}, {"t"});
  for (const char* word : {"b", "A", "B", "a"}) words.add({text(word)});
  *MDAKeyFlags(words.array, 0) |= MDX_KEY_NOCASE;
  // Not sorted yet: the order in force and the flags word are copied as they are.
  MDACopy(target.array, words.array, 1);
  EXPECT_EQ(target.order(0, 0), "A B a b");
  EXPECT_EQ(*MDAKeyFlags(target.array, 0), static_cast<uint32_t>(MDX_KEY_NOCASE));
  MDARecSort(words.array, 0);
  MDACopy(target.array, words.array, 1);
  EXPECT_EQ(target.order(0, 0), "A a b B");
}

TEST_F(Copy, WithoutASourceNothingChanges) {
  target.add({real(4)});
  EXPECT_EQ(MDACopy(target.array, nullptr, 1), MDX_E_SOURCE);
  EXPECT_EQ(target.order(0, 0), "4");
  EXPECT_EQ(MDACopy(nullptr, source.array, 1), MDX_E_ARG);
  EXPECT_EQ(MDACopy(target.array, source.array, 2), MDX_E_ARG);
  EXPECT_EQ(target.order(0, 0), "4");
}

TEST_F(Copy, OntoItselfIsHarmless) {
  for (const int mode : {0, 1, 3}) {
    EXPECT_EQ(MDACopy(source.array, source.array, mode), MDX_OK);
    EXPECT_EQ(source.order(0, 0), "1 2 3 4 5");
    EXPECT_EQ(MDRGetFlags(MDARec(source.array, 0, 0)), MDX_REC_UPDATE);
  }
}

TEST_F(Copy, OfAnEmptyTable) {
  Table empty;
  target.add({real(4)});
  EXPECT_EQ(MDACopy(target.array, empty.array, 3), MDX_OK);
  EXPECT_EQ(MDAFldCount(target.array), 0);
  EXPECT_EQ(MDARecCount(target.array), 0);
  EXPECT_EQ(MDAKeyCount(target.array), 0);
}

TEST_F(Copy, AfterFieldsThatCameLate) {
  addField(source.array, "late", MDX_MEMO);
  source.SetVal(MDARec(source.array, 0, 1), "late", text("a late text of some length"));
  EXPECT_EQ(MDACopy(target.array, source.array, 1), MDX_OK);
  EXPECT_EQ(target.textOf(MDARec(target.array, 0, 1), 3), "a late text of some length");
  EXPECT_EQ(target.textOf(MDARec(target.array, 0, 0), 3), "<null>");
}

TEST_F(Copy, UnpostedRecordsStayBehind) {
  MDARecNew(source.array);
  EXPECT_EQ(MDACopy(target.array, source.array, 1), MDX_OK);
  EXPECT_EQ(MDARecCount(target.array), 5);
}
