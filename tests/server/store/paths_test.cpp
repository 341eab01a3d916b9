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

}  // namespace
}  // namespace tlm::test
