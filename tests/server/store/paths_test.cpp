#include <TlmServer/Paths.h>

#include "testing.h"

namespace tlm::test {
namespace {

class PathsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* name : {"XDG_DATA_HOME", "HOME"})
      if (const char* value = std::getenv(name)) before_[name] = value;
  }
  void TearDown() override {
    for (const char* name : {"XDG_DATA_HOME", "HOME"})
      before_.count(name) ? setenv(name, before_[name].c_str(), 1) : unsetenv(name);
  }

  std::map<std::string, std::string> before_;
};

TEST_F(PathsTest, TheStoreLiesInTheFolderForData) {
  setenv("XDG_DATA_HOME", "/data/of/user", 1);
  EXPECT_EQ(defaultStorePath(), "/data/of/user/tlm/model.tlm");
}

TEST_F(PathsTest, WithoutThatFolderItLiesUnderTheHome) {
  setenv("HOME", "/home/engineer", 1);
  unsetenv("XDG_DATA_HOME");
  EXPECT_EQ(defaultStorePath(), "/home/engineer/.local/share/tlm/model.tlm");
  setenv("XDG_DATA_HOME", "relative", 1);
  EXPECT_EQ(defaultStorePath(), "/home/engineer/.local/share/tlm/model.tlm");
}

TEST_F(PathsTest, FoldersAreMadeWithThoseAboveThem) {
  const Folder folder;
  std::string error;
  EXPECT_TRUE(makeFolder(folder.file("a/b/c"), &error)) << error;
  EXPECT_TRUE(makeFolder(folder.file("a/b/c"), &error)) << error;
  EXPECT_TRUE(std::filesystem::is_directory(folder.file("a/b/c")));
}

TEST_F(PathsTest, AFileInTheWayIsAnError) {
  const Folder folder;
  writeFile(folder.file("a"), "x");
  std::string error;
  EXPECT_FALSE(makeFolder(folder.file("a/b"), &error));
  EXPECT_NE(error.find(folder.file("a")), std::string::npos) << error;
}

// The names that follow are relative, as somebody types them.
class FileNameTest : public ::testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    before_ = std::filesystem::current_path();
    std::filesystem::current_path(folder_.path());
  }
  void TearDown() override { std::filesystem::current_path(before_); }

  Folder folder_;
  std::filesystem::path before_;
};

TEST_P(FileNameTest, IsTakenLiterally) {
  const std::string name = GetParam();
  std::string error;
  auto store = createSqliteStore(name, smallCatalogue(), &error);
  ASSERT_TRUE(store) << error;
  EXPECT_TRUE(commitThing(*store, 1, "one"));
  store.reset();
  const auto files = folder_.contents();
  ASSERT_EQ(files.size(), 1u);
  EXPECT_EQ(files.begin()->first, name);
  for (const auto open : {openSqliteStore, readSqliteStore}) {
    store = open(name, smallCatalogue(), &error, nullptr);
    ASSERT_TRUE(store) << error;
    EXPECT_EQ(stored(*store, smallCatalogue(), "Thing"), std::vector<std::string>{"1=one"});
    store.reset();
  }
}

INSTANTIATE_TEST_SUITE_P(Odd, FileNameTest,
                         ::testing::Values("model.tlm", "file:model.tlm", "file:a?mode=memory", ":memory:", "мод ель",
                                           "a%41#b?c&d=e"));

TEST(FileName, MayBeginWithMoreThanOneStroke) {
  const Folder folder;
  createSmall(folder).reset();
  std::string error;
  EXPECT_TRUE(readSqliteStore("/" + folder.file("model.tlm"), smallCatalogue(), &error)) << error;
}

}  // namespace
}  // namespace tlm::test
