// Cursors.

#include <TlmMdx/cursor.h>
#include <gtest/gtest.h>

#include "support.h"

using namespace test;

namespace {

class Cursors : public testing::Test {
 protected:
  Cursors() {
    for (int i = 0; i < 1000; ++i) {
      const int n = i * 617 % 1000;
      char key[33];
      std::snprintf(key, sizeof key, "%032d", n / 10);
      table.add({n % 4 ? int32(n) : null(), text(key), real(-n), text(key), int32(n)});
    }
  }
  Table table{{{"n", MDX_INT32}, {"k", MDX_TEXT, 32}, {"d", MDX_DOUBLE}, {"m", MDX_MEMO}, {"all", MDX_INT32}},
              {"n", "k", "d", "m", "k;n"}};
  mdx::Cursor cursor;
};

}  // namespace

TEST_F(Cursors, WalkEveryKeyInItsOrder) {
  for (int key = 0; key < 5; ++key) {
    int count = 0;
    for (cursor.place(table.array, key, 0); cursor.valid(); cursor.next()) {
      ASSERT_EQ(cursor.position(), count);
      ASSERT_EQ(cursor.record(), MDARec(table.array, key, count)) << key << " " << count;
      ++count;
    }
    EXPECT_EQ(count, 1000);
    EXPECT_EQ(cursor.position(), 1000);
    EXPECT_FALSE(cursor.next());
  }
}

TEST_F(Cursors, ReadNumbersAndNullsOutOfTheKey) {
  for (cursor.place(table.array, 0, 0); cursor.valid(); cursor.next()) {
    const MDRVar value = table.value(cursor.record(), 0);
    ASSERT_EQ(cursor.form(), value.isNull ? MDX_CURSOR_NULL : MDX_CURSOR_INT);
    if (!value.isNull) {
      ASSERT_EQ(cursor.integer(), +value.i32);
    }
  }
  for (cursor.place(table.array, 2, 0); cursor.valid(); cursor.next()) {
    ASSERT_EQ(cursor.form(), MDX_CURSOR_DOUBLE);
    ASSERT_EQ(cursor.number(), +table.value(cursor.record(), 2).f64);
  }
}

TEST_F(Cursors, ReadKeyTextsOutOfTheKey) {
  char key[32];
  for (cursor.place(table.array, 1, 0); cursor.valid(); cursor.next()) {
    ASSERT_EQ(cursor.form(), MDX_CURSOR_TEXT);
    cursor.text(key);
    ASSERT_EQ(std::string(key, 32), table.textOf(cursor.record(), 1));
  }
}

TEST_F(Cursors, LongAndCompositeKeysSendToTheRecord) {
  ASSERT_TRUE(cursor.place(table.array, 3, 0));
  EXPECT_EQ(cursor.form(), MDX_CURSOR_OTHER);
  ASSERT_TRUE(cursor.place(table.array, 4, 0));
  EXPECT_EQ(cursor.form(), MDX_CURSOR_OTHER);
  *MDAKeyFlags(table.array, 1) |= MDX_KEY_NOCASE;
  MDARecSort(table.array, 1);
  ASSERT_TRUE(cursor.place(table.array, 1, 0));
  EXPECT_EQ(cursor.form(), MDX_CURSOR_OTHER);
}

TEST_F(Cursors, SeekStandsWhereSeekVSays) {
  for (int n = -3; n < 1005; ++n) {
    const MDRVar value = int32(n);
    int position = -1;
    const MDRData* record = MDARecSeekV(table.array, 0, &value, &position);
    ASSERT_EQ(cursor.seek(table.array, 0, &value), record != nullptr);
    ASSERT_EQ(cursor.position(), position);
    ASSERT_EQ(cursor.valid(), position < 1000);
    if (cursor.valid()) {
      ASSERT_EQ(cursor.record(), MDARec(table.array, 0, position));
    }
  }
  const MDRVar none = null();
  EXPECT_TRUE(cursor.seek(table.array, 0, &none));
  EXPECT_EQ(cursor.position(), 0);
}

TEST_F(Cursors, WalkARangeOfEqualKeys) {
  const std::string key(30, '0');
  const std::string wanted = key + "42";
  const MDRVar sought = text(wanted);
  int count = 0;
  for (cursor.seek(table.array, 1, &sought); cursor.valid(); cursor.next()) {
    if (table.textOf(cursor.record(), 1) != wanted) break;
    ++count;
  }
  EXPECT_EQ(count, 10);
}

TEST_F(Cursors, PlacesOutsideAreInvalid) {
  EXPECT_FALSE(cursor.place(table.array, 0, 1000));
  EXPECT_FALSE(cursor.valid());
  EXPECT_EQ(cursor.position(), 1000);
  EXPECT_FALSE(cursor.place(table.array, 0, -1));
  EXPECT_FALSE(cursor.place(table.array, 9, 0));
  EXPECT_FALSE(cursor.place(nullptr, 0, 0));
  EXPECT_FALSE(cursor.next());
  const MDRVar one = int32(1);
  EXPECT_FALSE(cursor.seek(nullptr, 0, &one));
  EXPECT_FALSE(cursor.seek(table.array, 9, &one));
  EXPECT_FALSE(cursor.seek(table.array, 0, nullptr));
  EXPECT_LT(MDXCurAt(nullptr, table.array, 0, 0), 0);
  EXPECT_LT(MDXCurSeek(nullptr, table.array, 0, &one), 0);
  EXPECT_LT(MDXCurNextRun(nullptr), 0);
}

TEST_F(Cursors, AnEmptyTableHasNoPlace) {
  MDAClearAll(table.array);
  EXPECT_FALSE(cursor.place(table.array, 0, 0));
  const MDRVar one = int32(1);
  EXPECT_FALSE(cursor.seek(table.array, 0, &one));
  EXPECT_FALSE(cursor.valid());
}
