// Watches, breaks and ends the writes that SQLite makes in this process.
#ifndef TLM_TEST_WRITES_H
#define TLM_TEST_WRITES_H

#include <functional>

namespace tlm::test {

// From now on the process is killed by SIGKILL at its `write`-th write to a file (1 is the next): before it, or,
// when `torn`, after half of its bytes. 0 ends it.
void killAtWrite(int write, bool torn);

// From now on every write to a file fails with this error of the operating system; 0 ends it.
void failWrites(int systemError);

// From now on no link is made, for this error of the operating system; 0 ends it.
void failLinks(int systemError);

// Runs `act` once, before the next sync of a file.
void beforeNextSync(std::function<void()> act);

struct Counts {
  int writes = 0;
  int syncs = 0;
  int unsynced = 0;  // writes since the last sync
};
Counts countsNow();

}  // namespace tlm::test

#endif
