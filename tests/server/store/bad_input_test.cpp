// What is no whole store of ours is refused with its reason, and every file is left byte for byte as it was.
#include <TlmServer/SampleModel.h>
#include <sqlite3.h>

#include <cerrno>

#include "neighbours.h"
#include "testing.h"
#include "writes.h"

namespace tlm::test {
namespace {

class BadInputTest : public ::testing::Test {
 protected:
  // A store with rows on many pages.
  void makeStore() {
    Rows rows(smallCatalogue(), "Thing");
    for (int i = 0; i < 300; ++i) rows.thing(i, std::string(200, 'n'));
    std::string error;
    ASSERT_TRUE(createSqliteStore(path(), smallCatalogue(), {{"Thing", rows.array().array}}, &error)) << error;
  }
  std::string path() const { return folder_.file("model.tlm"); }

  // Opens the file, expects the refusal with that reason and no change of any file, and returns its message.
  std::string refused(StoreError reason) {
    const auto before = folder_.contents();
    std::string error = refusedWithoutALook(reason);
    EXPECT_EQ(folder_.contents(), before);
    return error;
  }
  // For what cannot be read as a file, or not by this user.
  std::string refusedWithoutALook(StoreError reason) {
    std::string error;
    StoreError why = StoreError::kNone;
    EXPECT_FALSE(openSqliteStore(path(), smallCatalogue(), &error, &why));
    EXPECT_EQ(why, reason) << error;
    return error;
  }
  void expectRefused(StoreError reason, const std::string& words) {
    const std::string error = refused(reason);
    EXPECT_NE(error.find(words), std::string::npos) << error;
    EXPECT_NE(error.find(path()), std::string::npos) << error;
  }

  void patch(size_t at, const std::string& bytes) {
    std::string all = readFile(path());
    all.replace(at, bytes.size(), bytes);
    writeFile(path(), all);
  }

  Folder folder_;
};

TEST_F(BadInputTest, AFileThatIsNotThere) { expectRefused(StoreError::kNotThere, "No such file"); }

TEST_F(BadInputTest, AFolder) {
  std::filesystem::create_directory(path());
  refusedWithoutALook(StoreError::kNoStore);
}

TEST_F(BadInputTest, AnEmptyFile) {
  writeFile(path(), "");
  expectRefused(StoreError::kNoStore, "no model store");
}

TEST_F(BadInputTest, AText) {
  writeFile(path(), std::string(5000, 't'));
  expectRefused(StoreError::kNoStore, "no model store");
}

TEST_F(BadInputTest, ADatabaseOfAnotherProgram) {
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(path().c_str(), &db), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(db, "PRAGMA journal_mode=WAL; CREATE TABLE Thing (a)", nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(db);
  expectRefused(StoreError::kNoStore, "no model store");
}

TEST_F(BadInputTest, ANewerVersion) {
  makeStore();
  patch(60, std::string("\0\0\0\x02", 4));
  expectRefused(StoreError::kNewer, "version 2");
}

TEST_F(BadInputTest, AFileCutShortAnywhere) {
  makeStore();
  const std::string whole = readFile(path());
  for (const size_t length : {size_t{20}, size_t{99}, size_t{100}, size_t{4096}, size_t{5000}, whole.size() / 2,
                              whole.size() - 4096, whole.size() - 1}) {
    SCOPED_TRACE(length);
    writeFile(path(), whole.substr(0, length));
    expectRefused(StoreError::kDamaged, "cut short");
  }
}

TEST_F(BadInputTest, ADamagedPage) {
  makeStore();
  const std::string whole = readFile(path());
  for (size_t page = 1; page < whole.size() / 4096; ++page) {
    SCOPED_TRACE(page);
    writeFile(path(), whole);
    patch(page * 4096, std::string(4096, '\xA5'));
    refused(StoreError::kDamaged);
  }
}

TEST_F(BadInputTest, ADamagedFirstPage) {
  makeStore();
  patch(100, std::string(3000, '\x5A'));
  refused(StoreError::kDamaged);
}

TEST_F(BadInputTest, ADamagedFileWithALogBesideIt) {
  makeStore();
  leaveLog(folder_);
  ASSERT_EQ(folder_.contents().size(), 2u);
  patch(readFile(path()).size() / 2 / 4096 * 4096, std::string(4096, '\xA5'));
  refused(StoreError::kDamaged);
}

TEST_F(BadInputTest, AValueThatItsFieldCannotHold) {
  makeStore();
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(path().c_str(), &db), SQLITE_OK);
  const std::string sql = "UPDATE Thing SET number = 'seven' WHERE KeyLink = '" + keyOf(7) + "'";
  ASSERT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(db);
  auto store = openSmall(folder_);
  CMDArray array;
  Catalogue::makeFields(*smallCatalogue().table("Thing"), array.array);
  std::string error;
  EXPECT_FALSE(store->load("Thing", array.array, &error));
  EXPECT_EQ(error, "Thing, row " + keyOf(7) + ": number cannot hold \"seven\"");
}

TEST_F(BadInputTest, AStoreThatThisProcessHas) {
  makeStore();
  auto first = openSmall(folder_);
  expectRefused(StoreError::kHeld, "open in this program");
  EXPECT_TRUE(commitThing(*first, 1000, "still mine"));
  first.reset();
  EXPECT_TRUE(openSmall(folder_));
}

TEST_F(BadInputTest, AStoreThatAnotherProcessHas) {
  makeStore();
  std::unique_ptr<Store> store;
  Neighbour neighbour([&] { return (store = openSmall(folder_)) != nullptr; },
                      [&] { return commitThing(*store, 1000, "still mine"); });
  expectRefused(StoreError::kHeld, "in use by another server");
  EXPECT_TRUE(neighbour.ends());
  EXPECT_TRUE(openSmall(folder_));
}

TEST_F(BadInputTest, AStoreThatAnotherProgramReads) {
  makeStore();
  Neighbour neighbour(
      [&] {
        sqlite3* db = nullptr;
        return sqlite3_open(path().c_str(), &db) == SQLITE_OK &&
               sqlite3_exec(db, "BEGIN; SELECT count(*) FROM Thing", nullptr, nullptr, nullptr) == SQLITE_OK;
      },
      [] { return true; });
  refusedWithoutALook(StoreError::kHeld);
  EXPECT_TRUE(neighbour.ends());
}

TEST_F(BadInputTest, AReadOnlyFile) {
  makeStore();
  chmod(path().c_str(), 0444);
  chmod(folder_.path().c_str(), 0777);
  const Unprivileged user;
  expectRefused(StoreError::kReadOnly, "cannot be written");
}

TEST_F(BadInputTest, AReadOnlyFolder) {
  makeStore();
  chmod(path().c_str(), 0666);
  chmod(folder_.path().c_str(), 0555);
  const Unprivileged user;
  const std::string error = refused(StoreError::kReadOnly);
  EXPECT_EQ(error.find("the folder " + folder_.path() + " cannot be written"), 0u) << error;
}

TEST_F(BadInputTest, AFileThatMayNotBeRead) {
  makeStore();
  chmod(path().c_str(), 0000);
  chmod(folder_.path().c_str(), 0777);
  const Unprivileged user;
  refusedWithoutALook(StoreError::kReadOnly);
}

// ---- making ----

class BadPlaceTest : public ::testing::Test {
 protected:
  void expectNotMade(const std::string& path, StoreError reason) {
    const auto before = folder_.contents();
    std::string error;
    StoreError why = StoreError::kNone;
    EXPECT_FALSE(createSqliteStore(path, smallCatalogue(), {}, &error, &why));
    EXPECT_EQ(why, reason) << error;
    EXPECT_FALSE(error.empty());
    EXPECT_EQ(folder_.contents(), before);
  }

  Folder folder_;
};

TEST_F(BadPlaceTest, AFileThatIsThereIsLeftAlone) {
  writeFile(folder_.file("model.tlm"), "precious");
  expectNotMade(folder_.file("model.tlm"), StoreError::kExists);
}

TEST_F(BadPlaceTest, AFolderThatIsNotThere) { expectNotMade(folder_.file("nowhere/model.tlm"), StoreError::kNotThere); }

TEST_F(BadPlaceTest, AReadOnlyFolder) {
  chmod(folder_.path().c_str(), 0555);
  const Unprivileged user;
  expectNotMade(folder_.file("model.tlm"), StoreError::kReadOnly);
}

TEST_F(BadPlaceTest, AFullDiskLeavesNoFile) {
  failWrites(ENOSPC);
  expectNotMade(folder_.file("model.tlm"), StoreError::kDiskFull);
  failWrites(0);
}

TEST_F(BadPlaceTest, RowsThatCannotBeStoredLeaveNoFile) {
  Rows rows(smallCatalogue(), "Thing");
  rows.thing(1, "one");
  rows.thing(1, "again");
  std::string error;
  EXPECT_FALSE(createSqliteStore(folder_.file("model.tlm"), smallCatalogue(), {{"Thing", rows.array().array}}, &error));
  EXPECT_NE(error.find("UNIQUE"), std::string::npos) << error;
  EXPECT_TRUE(folder_.contents().empty());
}

TEST_F(BadPlaceTest, ALastStepThatFailsLeavesNoFile) {
  std::string error;
  StoreError why = StoreError::kNone;
  const auto refuse = [](Store&, std::string* what) { return *what = "no operator", false; };
  EXPECT_FALSE(createSqliteStore(folder_.file("model.tlm"), smallCatalogue(), {}, &error, &why, refuse));
  EXPECT_EQ(error, "no operator");
  EXPECT_EQ(why, StoreError::kOther);
  EXPECT_TRUE(folder_.contents().empty());
}

TEST_F(BadPlaceTest, AFileOfALikeNameIsLeftAlone) {
  const std::string path = folder_.file("model.tlm");
  for (const char* more : {".new", ".tmp", "-wal.new"}) writeFile(path + more, "precious");
  EXPECT_TRUE(createSmall(folder_));
  auto left = folder_.contents();
  EXPECT_EQ(left.erase("model.tlm"), 1u);
  for (const auto& [name, bytes] : left) EXPECT_EQ(bytes, "precious") << name;
  EXPECT_EQ(left.size(), 3u);
}

// What makes a store, met by somebody else who makes one of that name and is quicker.
template <typename Make>
std::unique_ptr<Store> overtaken(const Folder& folder, Make make) {
  bool first = false;
  beforeNextSync([&] { first = commitThing(*createSmall(folder), 1, "first"); });
  auto store = make();
  EXPECT_TRUE(first);
  return store;
}

TEST_F(BadPlaceTest, OfTwoWhoMakeOneStoreTheSecondIsToldThatItExists) {
  const std::string path = folder_.file("model.tlm");
  std::string error;
  StoreError why = StoreError::kNone;
  EXPECT_FALSE(overtaken(folder_, [&] { return createSqliteStore(path, smallCatalogue(), {}, &error, &why); }));
  EXPECT_EQ(why, StoreError::kExists);
  EXPECT_EQ(error, path + " exists already");
  EXPECT_EQ(folder_.contents().size(), 1u);
  EXPECT_EQ(stored(*openSmall(folder_), smallCatalogue(), "Thing"), std::vector<std::string>{"1=first"});
}

TEST_F(BadPlaceTest, ASampleThatSomebodyElseHasMadeIsOpened) {
  std::string error;
  StoreError why = StoreError::kOther;
  bool made = true;
  auto store = overtaken(folder_, [&] {
    return openOrCreateSampleStore(folder_.file("model.tlm"), Catalogue::builtIn(), &made, &error, &why);
  });
  ASSERT_TRUE(store) << error;
  EXPECT_EQ(why, StoreError::kNone);
  EXPECT_FALSE(made);
  store.reset();
  EXPECT_EQ(stored(*openSmall(folder_), smallCatalogue(), "Thing"), std::vector<std::string>{"1=first"});
}

class NoLinksTest : public BadPlaceTest, public ::testing::WithParamInterface<int> {
 protected:
  void SetUp() override { failLinks(GetParam()); }
  void TearDown() override { failLinks(0); }
};

TEST_P(NoLinksTest, AStoreIsMadeWhereTheFileSystemHasNone) {
  auto store = createSmall(folder_);
  ASSERT_TRUE(store);
  EXPECT_TRUE(commitThing(*store, 1, "one"));
  store.reset();
  EXPECT_EQ(folder_.contents().size(), 1u);
  EXPECT_EQ(stored(*openSmall(folder_), smallCatalogue(), "Thing"), std::vector<std::string>{"1=one"});
}

TEST_P(NoLinksTest, AStoreThatSomebodyElseHasMadeIsNotReplaced) {
  std::string error;
  StoreError why = StoreError::kNone;
  EXPECT_FALSE(overtaken(
      folder_, [&] { return createSqliteStore(folder_.file("model.tlm"), smallCatalogue(), {}, &error, &why); }));
  EXPECT_EQ(why, StoreError::kExists) << error;
  EXPECT_EQ(folder_.contents().size(), 1u);
  EXPECT_EQ(stored(*openSmall(folder_), smallCatalogue(), "Thing"), std::vector<std::string>{"1=first"});
}

INSTANTIATE_TEST_SUITE_P(Errors, NoLinksTest, ::testing::Values(EPERM, ENOTSUP, ENOSYS));

TEST_F(BadPlaceTest, AnotherFailureOfALinkIsTold) {
  failLinks(EACCES);
  expectNotMade(folder_.file("model.tlm"), StoreError::kOther);
  failLinks(0);
}

}  // namespace
}  // namespace tlm::test
