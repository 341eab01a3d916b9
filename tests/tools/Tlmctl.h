// tlmctl as a test starts it: words in, texts and an exit code out.
#ifndef TLMTEST_TLMCTL_H
#define TLMTEST_TLMCTL_H

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace tlm::test {

using Words = std::vector<std::string>;

inline std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

inline std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> all;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) all.push_back(line);
  return all;
}

struct Result {
  int code = -1;
  std::string out;
  std::string err;
};

class Tlmctl : public ::testing::Test {
 protected:
  Tlmctl() : folder_("/tmp/tlmctl_XXXXXX") {
    if (!mkdtemp(folder_.data())) ADD_FAILURE() << "no folder";
  }
  ~Tlmctl() override {
    std::error_code code;
    std::filesystem::remove_all(folder_, code);
  }

  std::string file(const std::string& name) const { return folder_ + "/" + name; }

  Result run(const Words& words, const std::string& input = {}) const {
    std::vector<char*> argv = {const_cast<char*>(TLMCTL)};
    for (const std::string& word : words) argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    constexpr int kNew = O_CREAT | O_WRONLY | O_TRUNC;
    std::ofstream(file("in"), std::ios::binary) << input;
    posix_spawn_file_actions_addopen(&actions, 0, file("in").c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, file("out").c_str(), kNew, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, file("err").c_str(), kNew, 0600);
    pid_t child = 0;
    Result result;
    int status = 0;
    if (posix_spawn(&child, TLMCTL, &actions, nullptr, argv.data(), environ) == 0 &&
        waitpid(child, &status, 0) == child && WIFEXITED(status))
      result.code = WEXITSTATUS(status);
    posix_spawn_file_actions_destroy(&actions);
    result.out = readFile(file("out"));
    result.err = readFile(file("err"));
    return result;
  }

  void make(const Words& words) const {
    const Result result = run(words);
    ASSERT_EQ(result.code, 0) << result.err;
  }

  std::string folder_;
};

}  // namespace tlm::test

#endif
