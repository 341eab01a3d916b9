#include <sqlite3.h>

#include "sqliteSchema.h"
#include "testing.h"

namespace tlm::test {
namespace {

std::unique_ptr<Catalogue> grown() {
  std::string error;
  auto parsed = Catalogue::parse(
      "table Thing \"Вещь\"\n  keys KeyLink\n  field KeyLink GUID \"Ключ\"\n  field name_ TEXT \"Имя\"\n"
      "  field number INTEGER:int64 \"Номер\"\n  field added DOUBLE \"Новое\"\n"
      "table Part \"Часть\"\n  keys KeyLink\n  field KeyLink GUID \"Ключ\"\n  field text_ TEXT \"Текст\"\n"
      "table Fresh \"Новая\"\n  keys KeyLink\n  field KeyLink GUID \"Ключ\"\n  field name_ TEXT \"Имя\"\n",
      &error);
  EXPECT_TRUE(parsed) << error;
  return parsed;
}

TEST(StoreSchema, GainsTheColumnsAndTablesOfAGrownCatalogue) {
  const Folder folder;
  ASSERT_TRUE(commitThing(*createSmall(folder), 1, "one"));
  const auto catalogue = grown();
  std::string error;
  auto store = openSqliteStore(folder.file("model.tlm"), *catalogue, &error);
  ASSERT_TRUE(store) << error;
  EXPECT_EQ(stored(*store, *catalogue, "Thing"), std::vector<std::string>{"1=one"});
  Rows fresh(*catalogue, "Fresh");
  Rows things(*catalogue, "Thing");
  Commit commit;
  commit.changes.push_back(fresh.change(MDX_REC_INSERT, fresh.thing(5, "five")));
  MDRData* thing = things.thing(1, "changed");
  things.array().SetVal(thing, 3, intVar(4));
  commit.changes.push_back(things.change(MDX_REC_UPDATE, thing));
  ASSERT_TRUE(store->commit(commit, &error)) << error;
  EXPECT_EQ(stored(*store, *catalogue, "Fresh"), std::vector<std::string>{"5=five"});
}

TEST(StoreSchema, KeepsColumnsThatTheCatalogueNoLongerHas) {
  const Folder folder;
  const auto catalogue = grown();
  std::string error;
  ASSERT_TRUE(createSqliteStore(folder.file("model.tlm"), *catalogue, &error)) << error;
  auto store = openSmall(folder);
  EXPECT_TRUE(commitThing(*store, 1, "one"));
}

TEST(StoreSchema, AnUnchangedFileIsNotWrittenByOpening) {
  const Folder folder;
  createSmall(folder).reset();
  const auto before = folder.contents();
  openSmall(folder).reset();
  EXPECT_EQ(folder.contents(), before);
}

class UpgradeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(db_.open(folder_.file("old"), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, &failure_));
    ASSERT_TRUE(db_.exec("CREATE TABLE t (a); INSERT INTO t VALUES (1); PRAGMA user_version = 1", &failure_));
  }
  int64_t number(const std::string& sql) {
    int64_t value = -1;
    EXPECT_TRUE(db_.integer(sql, &value, &failure_)) << failure_.text;
    return value;
  }

  Folder folder_;
  Db db_;
  Failure failure_;
};

constexpr UpgradeStep kSteps[] = {{1, "ALTER TABLE t ADD COLUMN b DEFAULT 7"}, {2, "UPDATE t SET a = a + b"}};
constexpr UpgradeStep kBroken[] = {{1, "ALTER TABLE t ADD COLUMN b DEFAULT 7"}, {2, "UPDATE nothing SET a = 1"}};

TEST_F(UpgradeTest, RunsEveryStepInOrder) {
  ASSERT_TRUE(upgrade(db_, kSteps, 3, &failure_)) << failure_.text;
  EXPECT_EQ(number("SELECT a FROM t"), 8);
  EXPECT_EQ(number("PRAGMA user_version"), 3);
}

TEST_F(UpgradeTest, AStepThatFailsUndoesAll) {
  EXPECT_FALSE(upgrade(db_, kBroken, 3, &failure_));
  EXPECT_EQ(number("PRAGMA user_version"), 1);
  EXPECT_EQ(number("SELECT count(*) FROM pragma_table_info('t')"), 1);
}

TEST_F(UpgradeTest, AMissingStepIsAnError) {
  EXPECT_FALSE(upgrade(db_, std::span(kSteps).first(1), 3, &failure_));
  EXPECT_EQ(number("PRAGMA user_version"), 1);
}

TEST_F(UpgradeTest, ANewerFileIsRefused) {
  ASSERT_TRUE(db_.exec("PRAGMA user_version = 4", &failure_));
  EXPECT_FALSE(upgrade(db_, kSteps, 3, &failure_));
  EXPECT_EQ(failure_.why, StoreError::kNewer);
}

}  // namespace
}  // namespace tlm::test
