// Others who meet a store: processes beside this one, and users without rights.
#ifndef TLM_TEST_NEIGHBOURS_H
#define TLM_TEST_NEIGHBOURS_H

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <utility>

#include "testing.h"

namespace tlm::test {

// A process beside this one that runs `hold` (true: it has the file) and then waits until it is told to end with
// `end`, whose answer is how it ends.
class Neighbour {
 public:
  template <typename Hold, typename End>
  Neighbour(Hold hold, End end) {
    int ready[2], done[2];
    EXPECT_EQ(pipe(ready) + pipe(done), 0);
    child_ = fork();
    if (child_ == 0) {
      close(done[1]);
      char byte = '+';
      if (!hold() || write(ready[1], &byte, 1) != 1 || read(done[0], &byte, 1) != 0) _exit(2);
      _exit(end() ? 0 : 1);
    }
    close(ready[1]);
    close(done[0]);
    char byte;
    EXPECT_EQ(read(ready[0], &byte, 1), 1) << "the other process does not hold the file";
    close(ready[0]);
    done_ = done[1];
  }
  ~Neighbour() {
    if (done_ >= 0) ends();
  }
  Neighbour(const Neighbour&) = delete;
  Neighbour& operator=(const Neighbour&) = delete;

  bool ends() {
    close(std::exchange(done_, -1));
    int status = 0;
    waitpid(child_, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
  }

 private:
  pid_t child_ = -1;
  int done_ = -1;
};

// Rights do not bind the superuser, so the tests of them step down while they look.
class Unprivileged {
 public:
  Unprivileged() : root_(geteuid() == 0) {
    if (root_ && seteuid(65534) != 0) ADD_FAILURE() << "cannot step down";
  }
  ~Unprivileged() {
    if (root_ && seteuid(0) != 0) std::abort();
  }
  Unprivileged(const Unprivileged&) = delete;
  Unprivileged& operator=(const Unprivileged&) = delete;

 private:
  bool root_;
};

// A process that commits thing 5000 "late" and dies with the store open leaves its log behind.
inline void leaveLog(const Folder& folder) {
  const pid_t child = fork();
  if (child == 0) {
    auto store = openSmall(folder);
    commitThing(*store, 5000, "late");
    _exit(0);
  }
  waitpid(child, nullptr, 0);
}

}  // namespace tlm::test

#endif
