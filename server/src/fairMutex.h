// A shared mutex under which writers come to their turn: readers that arrive later wait for a waiting writer.
#ifndef TLMSERVER_FAIRMUTEX_H
#define TLMSERVER_FAIRMUTEX_H

#include <mutex>
#include <shared_mutex>

namespace tlm::server {

class FairMutex {
 public:
  void lock() {
    const std::lock_guard gate(gate_);
    mutex_.lock();
  }
  void unlock() { mutex_.unlock(); }
  void lock_shared() {
    const std::lock_guard gate(gate_);
    mutex_.lock_shared();
  }
  void unlock_shared() { mutex_.unlock_shared(); }

 private:
  std::mutex gate_;
  std::shared_mutex mutex_;
};

}  // namespace tlm::server

#endif
