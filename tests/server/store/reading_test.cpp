// A store that is only looked at stays as it is, may be written by nobody, and tells what it lacks.
#include <sqlite3.h>

#include "neighbours.h"
#include "testing.h"
#include "writes.h"

namespace tlm::test {
namespace {

class ReadingTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(commitThing(*createSmall(folder_), 1, "one")); }

  std::string path() const { return folder_.file("model.tlm"); }
  std::unique_ptr<Store> read() { return readSqliteStore(path(), smallCatalogue(), &error_, &why_); }
  std::unique_ptr<Store> write() { return openSqliteStore(path(), smallCatalogue(), &error_, &why_); }

  // The things in the store, which is left with all that lies beside it.
  std::vector<std::string> things() {
    const auto before = folder_.contents();
    auto store = read();
    EXPECT_TRUE(store) << error_;
    if (!store) return {};
    const auto rows = stored(*store, smallCatalogue(), "Thing");
    EXPECT_EQ(checkSqliteStore(*store), std::vector<std::string>{});
    EXPECT_EQ(missingInSqliteStore(*store), std::vector<std::string>{});
    EXPECT_EQ(folder_.contents(), before);
    store.reset();
    EXPECT_EQ(folder_.contents(), before);
    return rows;
  }
  void alter(const std::string& sql) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(path().c_str(), &db), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(db);
    sqlite3_close(db);
  }
  // What loading the table says, the files left as they are.
  std::string loadError(const std::string& table) {
    const auto before = folder_.contents();
    auto store = read();
    EXPECT_TRUE(store) << error_;
    CMDArray array;
    Catalogue::makeFields(*smallCatalogue().table(table), array.array);
    std::string error;
    EXPECT_FALSE(store->load(table, array.array, &error));
    missing_ = missingInSqliteStore(*store);
    store.reset();
    EXPECT_EQ(folder_.contents(), before);
    return error;
  }

  Folder folder_;
  std::string error_;
  StoreError why_ = StoreError::kOther;
  std::vector<std::string> missing_;
};

const std::vector<std::string> kOne = {"1=one"};
const std::vector<std::string> kBoth = {"1=one", "5000=late"};

TEST_F(ReadingTest, LeavesEveryFileAsItIs) {
  EXPECT_EQ(things(), kOne);
  EXPECT_EQ(why_, StoreError::kNone);
}

TEST_F(ReadingTest, SeesWhatIsStillInTheLogAndLeavesItThere) {
  leaveLog(folder_);
  ASSERT_EQ(folder_.contents().size(), 2u);
  const Counts before = countsNow();
  EXPECT_EQ(things(), kBoth);
  EXPECT_EQ(countsNow().writes, before.writes);  // nor does it try to
  EXPECT_EQ(countsNow().syncs, before.syncs);
}

TEST_F(ReadingTest, SeesTheLogOfAFileThroughALinkToIt) {
  leaveLog(folder_);
  const Folder elsewhere;
  std::filesystem::create_symlink(path(), elsewhere.file("model.tlm"));
  auto store = readSqliteStore(elsewhere.file("model.tlm"), smallCatalogue(), &error_);
  ASSERT_TRUE(store) << error_;
  EXPECT_EQ(stored(*store, smallCatalogue(), "Thing"), kBoth);
}

TEST_F(ReadingTest, NeedsNoRightToWrite) {
  chmod(path().c_str(), 0444);
  chmod(folder_.path().c_str(), 0555);
  const Unprivileged user;
  EXPECT_EQ(things(), kOne);
  EXPECT_FALSE(write());
  EXPECT_EQ(why_, StoreError::kReadOnly);
}

TEST_F(ReadingTest, NeedsNoRightToWriteWithALogEither) {
  leaveLog(folder_);
  chmod(path().c_str(), 0444);
  chmod((path() + "-wal").c_str(), 0444);
  chmod(folder_.path().c_str(), 0555);
  const Unprivileged user;
  EXPECT_EQ(things(), kBoth);
}

TEST_F(ReadingTest, TellsThatTheFileMayNotBeRead) {
  chmod(path().c_str(), 0000);
  chmod(folder_.path().c_str(), 0777);
  const Unprivileged user;
  EXPECT_FALSE(read());
  EXPECT_EQ(why_, StoreError::kReadOnly);
}

TEST_F(ReadingTest, RefusesChanges) {
  for (const bool logged : {false, true}) {
    if (logged) leaveLog(folder_);
    const auto before = folder_.contents();
    auto store = read();
    ASSERT_TRUE(store) << error_;
    EXPECT_FALSE(commitThing(*store, 2, "two"));
    store.reset();
    EXPECT_EQ(folder_.contents(), before);
  }
}

TEST_F(ReadingTest, IsRefusedWhileAServerHasTheFile) {
  std::unique_ptr<Store> store;
  Neighbour server([&] { return (store = openSmall(folder_)) != nullptr; }, [] { return true; });
  EXPECT_FALSE(read());
  EXPECT_EQ(why_, StoreError::kHeld);
  EXPECT_EQ(error_, path() + " is in use by another server");
}

TEST_F(ReadingTest, IsRefusedWhileThisProgramHasTheFile) {
  const auto store = write();
  EXPECT_FALSE(read());
  EXPECT_EQ(why_, StoreError::kHeld);
}

TEST_F(ReadingTest, KeepsServersOff) {
  for (const bool logged : {false, true}) {
    if (logged) leaveLog(folder_);
    std::unique_ptr<Store> store;
    Neighbour reader([&] { return (store = read()) != nullptr; }, [] { return true; });
    EXPECT_FALSE(write());
    EXPECT_EQ(why_, StoreError::kHeld) << error_;
    EXPECT_TRUE(reader.ends());
    EXPECT_TRUE(write()) << error_;
  }
}

TEST_F(ReadingTest, KeepsOffAProgramThatAsksForNoLocksFirst) {
  std::unique_ptr<Store> store;
  Neighbour reader([&] { return (store = read()) != nullptr; }, [] { return true; });
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(path().c_str(), &db), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(db, "PRAGMA locking_mode = EXCLUSIVE; DELETE FROM Thing", nullptr, nullptr, nullptr),
            SQLITE_BUSY);
  sqlite3_close(db);
}

TEST_F(ReadingTest, NamesATableThatIsMissing) {
  alter("DROP TABLE Part");
  EXPECT_EQ(loadError("Part"), "the table Part is missing");
  EXPECT_EQ(missing_, std::vector<std::string>{"the table Part is missing"});
  ASSERT_TRUE(write()) << error_;
  EXPECT_EQ(missingInSqliteStore(*read()), std::vector<std::string>{});
}

TEST_F(ReadingTest, NamesColumnsThatAreMissing) {
  alter("ALTER TABLE Thing DROP COLUMN name_; ALTER TABLE Thing DROP COLUMN number");
  EXPECT_EQ(loadError("Thing"), "the column name_ of Thing is missing");
  EXPECT_EQ(missing_, (std::vector<std::string>{"the column name_ of Thing is missing",
                                                "the column number of Thing is missing"}));
}

TEST_F(ReadingTest, NamesTheTablesOfTheStoreThatAreMissing) {
  alter("DROP TABLE store_event; DROP TABLE store_block");
  const auto before = folder_.contents();
  EXPECT_FALSE(read());
  EXPECT_EQ(why_, StoreError::kDamaged);
  EXPECT_EQ(error_, path() + " is damaged: tables are missing: store_event, store_block");
  EXPECT_EQ(folder_.contents(), before);
}

}  // namespace
}  // namespace tlm::test
