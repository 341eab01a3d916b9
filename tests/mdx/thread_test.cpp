// Many threads read one table; each changes a table of its own.

#include <TlmMdx/cursor.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>

#include "support.h"

using namespace test;

namespace {

void run(int threads, const std::function<void(int)>& work) {
  std::vector<std::thread> all;
  for (int i = 0; i < threads; ++i) all.emplace_back(work, i);
  for (std::thread& thread : all) thread.join();
}

}  // namespace

TEST(Threads, ReadOneTableAtOnce) {
  Table table({{"n", MDX_INT32}, {"k", MDX_TEXT, 32}, {"m", MDX_MEMO}}, {"n", "k", "m"});
  for (int i = 0; i < 3000; ++i)
    table.add({int32(i), text("key " + std::to_string(i)), text("memo " + std::to_string(i))});
  std::atomic<int> wrong{0};
  run(4, [&](int seed) {
    mdx::Cursor cursor;
    for (int i = 0; i < 3000; ++i) {
      const int n = (i * 7 + seed * 500) % 3000;
      const MDRVar value = int32(n);
      int position = -1;
      const MDRData* record = MDARecSeekV(table.array, 0, &value, &position);
      if (!record || position != n || MDARec(table.array, 0, i) == nullptr) ++wrong;
      const std::string memo = "memo " + std::to_string(n);
      const MDRVar sought = text(memo);
      if (!cursor.seek(table.array, 2, &sought) || cursor.record() != record) ++wrong;
      if (table.textOf(record, 2) != memo) ++wrong;
    }
    if (packed(table.array).empty()) ++wrong;
    Table copy;
    if (MDACopy(copy.array, table.array, 3) != MDX_OK || MDARecCount(copy.array) != 3000) ++wrong;
  });
  EXPECT_EQ(wrong, 0);
}

TEST(Threads, ChangeTablesOfTheirOwn) {
  std::atomic<int> wrong{0};
  run(4, [&](int seed) {
    for (int round = 0; round < 20; ++round) {
      Table table({{"n", MDX_INT32}}, {"n"});
      for (int i = 0; i < 200; ++i) table.add({int32((i * 7 + seed) % 200)});
      for (int i = 0; i < 200; ++i) {
        if (table.integer(MDARec(table.array, 0, i), 0) != i) ++wrong;
      }
    }
  });
  EXPECT_EQ(wrong, 0);
}

TEST(Threads, ATableHandedOnIsReadAfresh) {
  // What a thread remembers of a place must not outlive a change made by another one.
  Table table({{"n", MDX_INT32}}, {"n"});
  for (int i = 0; i < 100; ++i) table.add({int32(i)});
  EXPECT_EQ(table.integer(MDARec(table.array, 0, 50), 0), 50);
  std::thread([&] { MDARecDel(MDARec(table.array, 0, 10)); }).join();
  EXPECT_EQ(table.integer(MDARec(table.array, 0, 50), 0), 51);
}

TEST(Threads, ANewTableInAnOldPlaceIsReadAfresh) {
  for (int round = 0; round < 50; ++round) {
    Table table({{"n", MDX_INT32}}, {"n"});
    for (int i = 0; i < 3; ++i) table.add({int32(i + round)});
    for (int i = 0; i < 3; ++i) ASSERT_EQ(table.integer(MDARec(table.array, 0, i), 0), i + round);
  }
}
