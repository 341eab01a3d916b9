// Packed tables.

#include <gtest/gtest.h>

#include "support.h"

using namespace test;

namespace {

class Packed : public testing::Test {
 protected:
  Packed() {
    for (int i = 0; i < 200; ++i) {
      MDRData* record = table.add({int32(i * 37 % 200), i % 3 ? int64(-i) : null(), boolean(i % 2), single(0.5f),
                                   real(i / 8.0), i % 5 ? text("key " + std::to_string(i)) : null(),
                                   i % 7 ? text(std::string(static_cast<size_t>(i), 'm')) : null()});
      MDRSetFlags(record, i % 3 == 2 ? 4 : i % 3);
      MDRSetUser(table.field(i % 7), record, 1);
    }
    bytes = packed(table.array);
  }
  Table table{{{"n", MDX_INT32},
               {"w", MDX_INT64},
               {"b", MDX_BOOL},
               {"f", MDX_FLOAT},
               {"d", MDX_DOUBLE},
               {"k", MDX_TEXT, 32},
               {"m", MDX_MEMO}},
              {"n", "k", "m;n"}};
  Table target{{{"old", MDX_MEMO}}};
  std::vector<unsigned char> bytes;
};

void expectSameRecords(const Table& a, const Table& b) {
  ASSERT_EQ(MDARecCount(a.array), MDARecCount(b.array));
  for (int i = 0; i < MDARecCount(a.array); ++i) {
    const MDRData *x = MDARec(a.array, 0, i), *y = MDARec(b.array, 0, i);
    ASSERT_EQ(MDRGetFlags(x), MDRGetFlags(y));
    for (int f = 0; f < MDAFldCount(a.array); ++f) {
      const MDRVar v = a.value(x, f), w = b.value(y, f);
      ASSERT_EQ(v.isNull, w.isNull);
      ASSERT_EQ(v.type, w.type);
      ASSERT_EQ(MDRIsUser(a.field(f), x, nullptr), MDRIsUser(b.field(f), y, nullptr));
      if (v.type == MDX_TEXT || v.type == MDX_MEMO) {
        ASSERT_EQ(a.textOf(x, f), b.textOf(y, f));
      } else {
        ASSERT_EQ(int64_t{+v.i64}, int64_t{+w.i64});
      }
    }
  }
}

}  // namespace

TEST_F(Packed, ATableComesBackWhole) {
  for (const int mode : {0, 1}) {
    target.add({text("goes")});
    ASSERT_EQ(MDXArrayUnPackN(target.array, bytes.data(), bytes.size(), mode), MDX_OK);
    ASSERT_EQ(MDAFldCount(target.array), 7);
    EXPECT_EQ(target.field(5)->size, 32);
    EXPECT_STREQ(target.field(5)->name, "k");
    ASSERT_EQ(MDAKeyCount(target.array), 3);
    EXPECT_STREQ(MDAKeyExpr(target.array, 2), "m;n");
    expectSameRecords(table, target);
    EXPECT_EQ(target.order(0, 0), table.order(0, 0));
    EXPECT_EQ(target.order(1, 5), table.order(1, 5));
    EXPECT_EQ(target.order(2, 0), table.order(2, 0));
    MDAClearAll(target.array);
  }
}

TEST_F(Packed, ThePayloadKnowsItsLength) {
  EXPECT_EQ(MDXArrayUnPack(target.array, bytes.data(), 1), MDX_OK);
  expectSameRecords(table, target);
  bytes.insert(bytes.end(), 100, 'x');  // what follows a payload is not its own
  EXPECT_EQ(MDXArrayUnPackN(target.array, bytes.data(), bytes.size(), 1), MDX_OK);
  expectSameRecords(table, target);
}

TEST_F(Packed, PackingAgainGivesTheSameBytes) {
  ASSERT_EQ(MDXArrayUnPackN(target.array, bytes.data(), bytes.size(), 1), MDX_OK);
  EXPECT_EQ(packed(target.array), bytes);
}

TEST_F(Packed, RowsArriveInTheOrderOfKeyZero) {
  ASSERT_EQ(MDXArrayUnPackN(target.array, bytes.data(), bytes.size(), 1), MDX_OK);
  // Every fifth row has no "k": among these nulls the order of arrival shows.
  EXPECT_EQ(target.order(1, 0).substr(0, 12), "0 5 10 15 20");
}

TEST_F(Packed, StructureAlone) {
  MDAClearAll(table.array);
  bytes = packed(table.array);
  EXPECT_EQ(MDXArrayUnPackN(target.array, bytes.data(), bytes.size(), 1), MDX_OK);
  EXPECT_EQ(MDAFldCount(target.array), 7);
  EXPECT_EQ(MDARecCount(target.array), 0);
}

TEST_F(Packed, ATableWithoutFields) {
  Table none;
  bytes = packed(none.array);
  EXPECT_EQ(MDXArrayUnPackN(target.array, bytes.data(), bytes.size(), 1), MDX_OK);
  EXPECT_EQ(MDAFldCount(target.array), 0);
}

TEST_F(Packed, TheDefaultKeyComesBack) {
  Table plain({{"n", MDX_INT32}});
  for (const int n : {3, 1, 2}) plain.add({int32(n)});
  bytes = packed(plain.array);
  ASSERT_EQ(MDXArrayUnPackN(target.array, bytes.data(), bytes.size(), 0), MDX_OK);
  EXPECT_EQ(MDAKeyCount(target.array), 1);
  EXPECT_EQ(target.order(0, 0), "3 1 2");
}

TEST_F(Packed, AnOrderThatIgnoresCaseComesBack) {
  Table words({{"t", MDX_TEXT, 32}}, {"t"});
  for (const char* word : {"b", "A", "B", "a"}) words.add({text(word)});
  *MDAKeyFlags(words.array, 0) |= MDX_KEY_NOCASE;
  MDARecSort(words.array, 0);
  bytes = packed(words.array);
  ASSERT_EQ(MDXArrayUnPackN(target.array, bytes.data(), bytes.size(), 0), MDX_OK);
  EXPECT_EQ(target.order(0, 0), "A a b B");
}

TEST_F(Packed, RowsMayArriveLater) {
  ASSERT_EQ(MDXArrayUnPackN(target.array, bytes.data(), bytes.size(), 1), MDX_OK);
  for (int i = 0; i < 200; ++i)
    target.add({int32(i), null(), null(), null(), null(), text("key " + std::to_string(i))});
  EXPECT_EQ(MDARecCount(target.array), 400);
  for (int i = 1; i < 400; ++i)
    ASSERT_LE(target.integer(MDARec(target.array, 0, i - 1), 0), target.integer(MDARec(target.array, 0, i), 0));
}

TEST_F(Packed, EveryCutFailsAndLeavesTheTableEmpty) {
  for (size_t length = 0; length < bytes.size(); length += length < 300 ? 1 : 97) {
    // A copy of just these bytes, so that a read past their end is seen.
    const std::vector<unsigned char> cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
    ASSERT_NE(MDXArrayUnPackN(target.array, cut.data(), cut.size(), 1), MDX_OK) << length;
    ASSERT_EQ(MDARecCount(target.array), 0);
    ASSERT_EQ(MDAFldCount(target.array), 0);
    ASSERT_EQ(MDAKeyCount(target.array), 0);
  }
}

TEST_F(Packed, ANewerFormatSaysSo) {
  bytes[2] = 99;
  EXPECT_EQ(MDXArrayUnPackN(target.array, bytes.data(), bytes.size(), 1), MDX_E_VERSION);
  EXPECT_EQ(MDAFldCount(target.array), 0);
  bytes[2] = 0;
  EXPECT_EQ(MDXArrayUnPackN(target.array, bytes.data(), bytes.size(), 1), MDX_E_FORMAT);
}

TEST_F(Packed, AnEmptyPayloadIsNoTable) {
  target.add({text("goes")});
  EXPECT_EQ(MDXArrayUnPack(target.array, "", 0), MDX_E_FORMAT);
  EXPECT_EQ(MDARecCount(target.array), 0);
  EXPECT_EQ(MDXArrayUnPackN(target.array, nullptr, 0, 0), MDX_E_ARG);
  EXPECT_EQ(MDXArrayUnPackN(nullptr, bytes.data(), bytes.size(), 0), MDX_E_ARG);
  EXPECT_EQ(MDXArrayUnPack(target.array, bytes.data(), 5), MDX_E_ARG);
}

TEST_F(Packed, MoreRowsThanBytesAreRefusedBeforeAnyMemory) {
  // A row of 255 wide fixed texts, all null, takes little in the payload and much in memory.
  Table wide;
  for (int i = 0; i < 255; ++i) addField(wide.array, "f" + std::to_string(i), MDX_TEXT, 255);
  wide.add({});
  std::vector<unsigned char> one = packed(wide.array);
  const std::vector<unsigned char> row(one.end() - 65, one.end());
  constexpr uint32_t kRows = 100000;
  for (uint32_t i = 1; i < kRows; ++i) one.insert(one.end(), row.begin(), row.end());
  const auto length = static_cast<uint32_t>(one.size());
  std::memcpy(one.data() + 4, &length, 4);
  std::memcpy(one.data() + 12, &kRows, 4);
  EXPECT_EQ(MDXArrayUnPackN(target.array, one.data(), one.size(), 1), MDX_E_MEMORY);
  EXPECT_LT(MDAMemory(target.array), 100000u);
}

TEST_F(Packed, ArgumentsAreChecked) {
  void* out = &out;
  uint32_t length = 5;
  EXPECT_EQ(MDXArrayPack(nullptr, &out, &length), MDX_E_ARG);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(length, 0u);
  EXPECT_EQ(MDXArrayPack(table.array, nullptr, &length), MDX_E_ARG);
  EXPECT_EQ(MDXArrayPack(table.array, &out, nullptr), MDX_E_ARG);
  MDXFree(nullptr);
}
