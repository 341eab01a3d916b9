#include "writes.h"

#include <signal.h>
#include <sqlite3.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <initializer_list>
#include <utility>

namespace tlm::test {
namespace {

Counts counts;
int killAt = 0;
bool tearLast = false;
int failWith = 0;
int linksFailWith = 0;
std::function<void()> syncAct;

ssize_t plainWrite(int fd, const void* bytes, size_t length, off_t offset) {
  return static_cast<ssize_t>(syscall(SYS_pwrite64, fd, bytes, length, offset));
}

ssize_t watchedWrite(int fd, const void* bytes, size_t length, off_t offset) {
  ++counts.writes;
  ++counts.unsynced;
  if (killAt > 0 && counts.writes == killAt) {
    if (tearLast) plainWrite(fd, bytes, length / 2, offset);
    kill(getpid(), SIGKILL);
  }
  if (failWith != 0) return errno = failWith, -1;
  return plainWrite(fd, bytes, length, offset);
}

void install() {
  static const bool installed = [] {
    sqlite3_initialize();
    sqlite3_vfs* vfs = sqlite3_vfs_find(nullptr);
    for (const char* name : {"pwrite", "pwrite64"})
      vfs->xSetSystemCall(vfs, name, reinterpret_cast<sqlite3_syscall_ptr>(watchedWrite));
    return true;
  }();
  (void)installed;
}

}  // namespace

void killAtWrite(int write, bool torn) {
  install();
  counts = {};
  killAt = write;
  tearLast = torn;
}

void failWrites(int systemError) {
  install();
  failWith = systemError;
}

Counts countsNow() {
  install();
  return counts;
}

void failLinks(int systemError) { linksFailWith = systemError; }

int makeLink(const char* from, const char* to) {
  if (linksFailWith != 0) return errno = linksFailWith, -1;
  return static_cast<int>(syscall(SYS_link, from, to));
}

void beforeNextSync(std::function<void()> act) { syncAct = std::move(act); }

void noteSync() {
  if (const auto act = std::exchange(syncAct, nullptr)) act();
  ++counts.syncs;
  counts.unsynced = 0;
}

}  // namespace tlm::test

// Stand before those of the C library, so that the library's calls are seen.
extern "C" int fdatasync(int fd) {
  tlm::test::noteSync();
  return static_cast<int>(syscall(SYS_fdatasync, fd));
}
extern "C" int fsync(int fd) {
  tlm::test::noteSync();
  return static_cast<int>(syscall(SYS_fsync, fd));
}
extern "C" int link(const char* from, const char* to) { return tlm::test::makeLink(from, to); }
