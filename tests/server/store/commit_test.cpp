#include <cerrno>

#include "testing.h"
#include "writes.h"

namespace tlm::test {
namespace {

using Strings = std::vector<std::string>;

class CommitTest : public ::testing::Test {
 protected:
  bool commit(const Commit& block) { return store_->commit(block, &error_); }
  Strings things() { return stored(*store_, smallCatalogue(), "Thing"); }
  void reopen() {
    store_.reset();
    store_ = openSmall(folder_);
  }

  Folder folder_;
  std::unique_ptr<Store> store_ = createSmall(folder_);
  Rows rows_{smallCatalogue(), "Thing"};
  std::string error_;
};

TEST_F(CommitTest, InsertsUpdatesAndDeletesInOrder) {
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

TEST_F(CommitTest, KeepsTheOrderOfArrivalOverUpdatesAndReopening) {
  for (const int key : {30, 10, 20}) ASSERT_TRUE(commitThing(*store_, key, "a"));
  Commit block;
  block.changes.push_back(rows_.change(MDX_REC_UPDATE, rows_.thing(30, "b")));
  ASSERT_TRUE(commit(block)) << error_;
  reopen();
  EXPECT_EQ(things(), (Strings{"30=b", "10=a", "20=a"}));
}

TEST_F(CommitTest, UpdateOfAnAbsentRowInsertsIt) {
  Commit block;
  block.changes.push_back(rows_.change(MDX_REC_UPDATE, rows_.thing(7, "seven")));
  ASSERT_TRUE(commit(block)) << error_;
  EXPECT_EQ(things(), Strings{"7=seven"});
}

TEST_F(CommitTest, DeleteOfAnAbsentRowIsNothing) {
  Commit block;
  block.changes.push_back(rows_.change(MDX_REC_DELETE, rows_.thing(7, "")));
  EXPECT_TRUE(commit(block)) << error_;
}

TEST_F(CommitTest, ABlockThatFailsHalfwayChangesNothing) {
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

TEST_F(CommitTest, AnUnknownTableIsRefused) {
  Commit block;
  block.changes.push_back({"Nothing", MDX_REC_DELETE, keyOf(1), nullptr});
  EXPECT_FALSE(commit(block));
  EXPECT_EQ(error_, "the store has no table Nothing");
}

TEST_F(CommitTest, ARowOfAnotherTableIsRefused) {
  Rows parts(smallCatalogue(), "Part");
  StoredChange change = parts.change(MDX_REC_INSERT, parts.thing(1, "x"));
  change.table = "Thing";
  Commit block;
  block.changes.push_back(change);
  EXPECT_FALSE(commit(block));
  EXPECT_EQ(things(), Strings{});
}

TEST_F(CommitTest, AFullDiskRefusesTheBlockAndTheStoreGoesOnLater) {
  ASSERT_TRUE(commitThing(*store_, 1, "one"));
  failWrites(ENOSPC);
  EXPECT_FALSE(commitThing(*store_, 2, "two"));
  failWrites(0);
  EXPECT_EQ(things(), Strings{"1=one"});
  EXPECT_TRUE(commitThing(*store_, 3, "three"));
  reopen();
  EXPECT_EQ(things(), (Strings{"1=one", "3=three"}));
}

TEST_F(CommitTest, ImportTakesAllTablesOrNone) {
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

TEST_F(CommitTest, LeavesOneFileWhenClosed) {
  ASSERT_TRUE(commitThing(*store_, 1, "one"));
  store_.reset();
  EXPECT_EQ(folder_.contents().size(), 1u);
}

}  // namespace
}  // namespace tlm::test
