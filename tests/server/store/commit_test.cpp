#include <cerrno>

#include "testing.h"
#include "writes.h"

namespace tlm::test {
namespace {

using Strings = std::vector<std::string>;

class CommitTest : public StoreTest {
 protected:
  bool commit(const Commit& block) { return store_->commit(block, &error_); }
  Strings things() { return stored(*store_, smallCatalogue(), "Thing"); }

  Rows rows_{smallCatalogue(), "Thing"};
};

INSTANTIATE_TEST_SUITE_P(Stores, CommitTest, ::testing::ValuesIn(kPlaces), placeName);

TEST_P(CommitTest, InsertsUpdatesAndDeletesInOrder) {
  Commit block;
  block.changes.push_back(rows_.change(MDX_REC_INSERT, rows_.thing(1, "one")));
  block.changes.push_back(rows_.change(MDX_REC_INSERT, rows_.thing(2, "two")));
  block.changes.push_back(rows_.change(MDX_REC_INSERT, rows_.thing(3, "three")));
  block.changes.push_back(rows_.change(MDX_REC_UPDATE, rows_.thing(2, "zwei")));
  block.changes.push_back(rows_.change(MDX_REC_DELETE, rows_.thing(1, "")));
  ASSERT_TRUE(commit(block)) << error_;
  reopen();
  EXPECT_EQ(things(), (Strings{"2=zwei", "3=three"}));
}

TEST_P(CommitTest, KeepsTheOrderOfArrivalOverUpdatesAndReopening) {
  for (const int key : {30, 10, 20}) ASSERT_TRUE(commitThing(*store_, key, "a"));
  Commit block;
  block.changes.push_back(rows_.change(MDX_REC_UPDATE, rows_.thing(30, "b")));
  ASSERT_TRUE(commit(block)) << error_;
  reopen();
  EXPECT_EQ(things(), (Strings{"30=b", "10=a", "20=a"}));
}

TEST_P(CommitTest, UpdateOfAnAbsentRowInsertsIt) {
  Commit block;
  block.changes.push_back(rows_.change(MDX_REC_UPDATE, rows_.thing(7, "seven")));
  ASSERT_TRUE(commit(block)) << error_;
  EXPECT_EQ(things(), Strings{"7=seven"});
}

TEST_P(CommitTest, DeleteOfAnAbsentRowIsNothing) {
  Commit block;
  block.changes.push_back(rows_.change(MDX_REC_DELETE, rows_.thing(7, "")));
  EXPECT_TRUE(commit(block)) << error_;
}

TEST_P(CommitTest, ABlockThatFailsHalfwayChangesNothing) {
  ASSERT_TRUE(commitThing(*store_, 1, "one"));
  Commit block;
  block.identity = keyOf(99);
  block.changes.push_back(rows_.change(MDX_REC_INSERT, rows_.thing(2, "two")));
  block.changes.push_back(rows_.change(MDX_REC_INSERT, rows_.thing(1, "again")));
  block.events.push_back(eventOf(1));
  EXPECT_FALSE(commit(block));
  EXPECT_NE(error_.find("Thing"), std::string::npos) << error_;
  EXPECT_EQ(things(), Strings{"1=one"});
  EXPECT_EQ(store_->lastSequence(), 0);
  EXPECT_FALSE(store_->holdsBlock(keyOf(99)));
  EXPECT_TRUE(commitThing(*store_, 3, "three"));
}

TEST_P(CommitTest, AnUnknownTableIsRefused) {
  Commit block;
  block.changes.push_back({"Nothing", MDX_REC_DELETE, keyOf(1), nullptr});
  EXPECT_FALSE(commit(block));
  EXPECT_EQ(error_, "the store has no table Nothing");
}

TEST_P(CommitTest, ARowOfAnotherTableIsRefused) {
  Rows parts(smallCatalogue(), "Part");
  StoredChange change = parts.change(MDX_REC_INSERT, parts.thing(1, "x"));
  change.table = "Thing";
  Commit block;
  block.changes.push_back(change);
  EXPECT_FALSE(commit(block));
  EXPECT_EQ(things(), Strings{});
}

TEST_P(CommitTest, ImportTakesAllTablesOrNone) {
  rows_.thing(5, "five");
  rows_.thing(4, "four");
  Rows parts(smallCatalogue(), "Part");
  parts.thing(1, "part");
  ASSERT_TRUE(store_->import({{"Thing", rows_.array().array}, {"Part", parts.array().array}}, &error_)) << error_;
  EXPECT_EQ(things(), (Strings{"5=five", "4=four"}));
  EXPECT_EQ(stored(*store_, smallCatalogue(), "Part"), Strings{"1=part"});
  Rows more(smallCatalogue(), "Thing");
  more.thing(6, "six");
  EXPECT_FALSE(store_->import({{"Thing", more.array().array}, {"Part", parts.array().array}}, &error_));
  EXPECT_EQ(things(), (Strings{"5=five", "4=four"}));
}

TEST_P(CommitTest, AChangeOfNoKindIsRefused) {
  Commit block;
  block.changes.push_back(rows_.change(77, rows_.thing(1, "x")));
  EXPECT_FALSE(commit(block));
  EXPECT_EQ(error_, "a change of no kind for Thing");
}

TEST_P(CommitTest, AKeyCanBeGivenAgainWithinTheBlockThatTookItAway) {
  ASSERT_TRUE(commitThing(*store_, 1, "one"));
  Commit block;
  block.changes.push_back(rows_.change(MDX_REC_DELETE, rows_.thing(1, "")));
  block.changes.push_back(rows_.change(MDX_REC_INSERT, rows_.thing(1, "again")));
  ASSERT_TRUE(commit(block)) << error_;
  EXPECT_EQ(things(), Strings{"1=again"});
}

TEST_P(CommitTest, AnUnknownTableHasNothingToLoad) {
  CMDArray array;
  EXPECT_FALSE(store_->load("Nothing", array.array, &error_));
  EXPECT_EQ(error_, "the store has no table Nothing");
}

TEST(FileCommitTest, AFullDiskRefusesTheBlockAndTheStoreGoesOnLater) {
  const Folder folder;
  auto store = createSmall(folder);
  ASSERT_TRUE(commitThing(*store, 1, "one"));
  failWrites(ENOSPC);
  EXPECT_FALSE(commitThing(*store, 2, "two"));
  failWrites(0);
  EXPECT_EQ(stored(*store, smallCatalogue(), "Thing"), Strings{"1=one"});
  EXPECT_TRUE(commitThing(*store, 3, "three"));
  store.reset();
  EXPECT_EQ(stored(*openSmall(folder), smallCatalogue(), "Thing"), (Strings{"1=one", "3=three"}));
}

TEST(FileCommitTest, LeavesOneFileWhenClosed) {
  const Folder folder;
  ASSERT_TRUE(commitThing(*createSmall(folder), 1, "one"));
  EXPECT_EQ(folder.contents().size(), 1u);
}

}  // namespace
}  // namespace tlm::test
