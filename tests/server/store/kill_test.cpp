// A process that dies at any write loses nothing that it has acknowledged and leaves no half block behind.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <random>

#include "testing.h"
#include "writes.h"

namespace tlm::test {
namespace {

constexpr int kBlocks = 4;

// A block of three records over two tables, with three events and an identity. The text makes the rows
// span pages, so that a block is many writes.
bool commitBlock(Store& store, int number) {
  const std::string text(3000, static_cast<char>('a' + number % 26));
  Rows things(smallCatalogue(), "Thing");
  Rows parts(smallCatalogue(), "Part");
  Commit commit;
  commit.identity = keyOf(1000 + number);
  commit.changes.push_back(things.change(MDX_REC_INSERT, things.thing(2 * number, text)));
  commit.changes.push_back(things.change(MDX_REC_INSERT, things.thing(2 * number + 1, text)));
  commit.changes.push_back(parts.change(MDX_REC_INSERT, parts.thing(number, text)));
  for (int i = 0; i < 3; ++i) commit.events.push_back(eventOf(3 * number + i + 1));
  std::string error;
  return store.commit(commit, &error);
}

// What the child says about its progress comes through a pipe, one byte for each acknowledged block.
struct Outcome {
  bool killed = false;
  bool failed = false;
  int acknowledged = 0;
};

Outcome runChild(const std::function<bool(int pipe)>& work, const std::function<void(pid_t, int pipe)>& watch) {
  int ends[2];
  if (pipe(ends) != 0) return {};
  const pid_t child = fork();
  if (child == 0) {
    close(ends[0]);
    _exit(work(ends[1]) ? 0 : 1);
  }
  close(ends[1]);
  Outcome outcome;
  if (watch) watch(child, ends[0]);
  char byte;
  while (read(ends[0], &byte, 1) == 1) ++outcome.acknowledged;
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  outcome.killed = WIFSIGNALED(status);
  outcome.failed = WIFEXITED(status) && WEXITSTATUS(status) != 0;
  return outcome;
}

bool commitBlocks(const Folder& folder, int from, int to, int pipe) {
  auto store = openSmall(folder);
  for (int number = from; number < to; ++number)
    if (!commitBlock(*store, number) || write(pipe, "+", 1) != 1) return false;
  return true;  // and closes the store, which writes the log back into the file
}

// The store holds whole blocks only: all acknowledged ones, and at most one more.
int wholeBlocks(const Folder& folder, int acknowledged) {
  auto store = openSmall(folder);
  if (!store) return -1;
  EXPECT_EQ(checkSqliteStore(*store), std::vector<std::string>{});
  const auto blocks = static_cast<int>(stored(*store, smallCatalogue(), "Part").size());
  EXPECT_GE(blocks, acknowledged);
  EXPECT_LE(blocks, acknowledged + 1);
  EXPECT_EQ(stored(*store, smallCatalogue(), "Thing").size(), static_cast<size_t>(2 * blocks));
  EXPECT_EQ(store->lastSequence(), 3 * blocks);
  for (int number = 0; number < blocks + 2; ++number)
    EXPECT_EQ(store->holdsBlock(keyOf(1000 + number)), number < blocks) << number;
  return blocks;
}

void killAtEveryWrite(bool torn) {
  int points = 0;
  for (int at = 1;; ++at, ++points) {
    SCOPED_TRACE("killed at write " + std::to_string(at));
    const Folder folder;
    createSmall(folder).reset();
    const Outcome outcome = runChild(
        [&](int pipe) {
          killAtWrite(at, torn);
          return commitBlocks(folder, 0, kBlocks, pipe);
        },
        nullptr);
    ASSERT_FALSE(outcome.failed);
    wholeBlocks(folder, outcome.acknowledged);
    if (::testing::Test::HasFailure()) return;
    if (!outcome.killed) break;
  }
  EXPECT_GT(points, 4 * kBlocks);  // the way through a few blocks and the write-back is many writes
}

TEST(KilledStore, HoldsEveryAcknowledgedBlockWhereverAWriteWasCutOff) { killAtEveryWrite(false); }

TEST(KilledStore, HoldsEveryAcknowledgedBlockWhenAWriteWasTorn) { killAtEveryWrite(true); }

TEST(KilledStore, GoesOnAfterManyKillsFromOutside) {
  const Folder folder;
  createSmall(folder).reset();
  std::mt19937 random(20240611);
  int blocks = 0;
  for (int round = 0; round < 12; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    const int wait = 1 + static_cast<int>(random() % 20);
    int seen = 0;
    const Outcome outcome = runChild([&](int pipe) { return commitBlocks(folder, blocks, blocks + 100000, pipe); },
                                     [&](pid_t child, int pipe) {
                                       char byte;
                                       while (seen < wait && read(pipe, &byte, 1) == 1) ++seen;
                                       kill(child, SIGKILL);
                                     });
    ASSERT_TRUE(outcome.killed);
    blocks = wholeBlocks(folder, blocks + seen + outcome.acknowledged);
    ASSERT_FALSE(HasFailure());
  }
  EXPECT_GE(blocks, 12);
}

TEST(KilledStore, NumbersEventsOnFromWhereItWas) {
  const Folder folder;
  createSmall(folder).reset();
  runChild(
      [&](int pipe) {
        auto store = openSmall(folder);
        commitBlock(*store, 0);
        std::string error;
        store->forgetEvents(3, &error);
        if (write(pipe, "+", 1) == 1) kill(getpid(), SIGKILL);
        return false;
      },
      nullptr);
  auto store = openSmall(folder);
  EXPECT_EQ(store->lastSequence(), 3);
  EXPECT_EQ(store->firstSequence(), 4);
}

TEST(KilledStore, IsWholeOrNotThereWhenItsMakingWasCutOff) {
  int points = 0;
  for (int at = 1;; ++at, ++points) {
    SCOPED_TRACE("killed at write " + std::to_string(at));
    const Folder folder;
    const Outcome outcome = runChild(
        [&](int) {
          killAtWrite(at, false);
          Rows things(smallCatalogue(), "Thing");
          for (int i = 0; i < 40; ++i) things.thing(i, std::string(2000, 'x'));
          std::string error;
          return createSqliteStore(folder.file("model.tlm"), smallCatalogue(), {{"Thing", things.array().array}},
                                   &error) != nullptr;
        },
        nullptr);
    ASSERT_FALSE(outcome.failed);
    const bool there = std::filesystem::exists(folder.file("model.tlm"));
    auto store = there ? openSmall(folder) : createSmall(folder);
    ASSERT_TRUE(store);
    EXPECT_EQ(stored(*store, smallCatalogue(), "Thing").size(), there ? 40u : 0u);
    if (HasFailure() || !outcome.killed) break;
  }
  EXPECT_GT(points, 10);
}

TEST(Durability, ACommitIsSyncedToDiskWhenItReturns) {
  const Folder folder;
  auto store = createSmall(folder);
  for (int number = 0; number < 5; ++number) {
    const Counts before = countsNow();
    ASSERT_TRUE(commitBlock(*store, number));
    const Counts after = countsNow();
    EXPECT_GT(after.writes, before.writes);
    EXPECT_GT(after.syncs, before.syncs);
    EXPECT_EQ(after.unsynced, 0);
  }
}

}  // namespace
}  // namespace tlm::test
