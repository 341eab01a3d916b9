// A thread for work that others must not wait for.
#ifndef TLMDAEMON_WORKER_H
#define TLMDAEMON_WORKER_H

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace tlm::server {

// Does what it is given, one after another. Any thread.
class Worker {
 public:
  Worker() : thread_([this] { work(); }) {}
  ~Worker() { end(); }
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  void end() {  // when all is done; nothing is given to it afterwards
    {
      const std::lock_guard lock(mutex_);
      closed_ = true;
    }
    wake_.notify_all();
    if (thread_.joinable()) thread_.join();
  }
  void later(std::function<void()> job) {
    const std::lock_guard lock(mutex_);
    jobs_.push_back(std::move(job));
    wake_.notify_all();
  }

 private:
  void work() {
    std::unique_lock lock(mutex_);
    for (;;) {
      wake_.wait(lock, [this] { return closed_ || !jobs_.empty(); });
      if (jobs_.empty()) return;
      std::function<void()> job = std::move(jobs_.front());
      jobs_.pop_front();
      lock.unlock();
      job();
      job = nullptr;
      lock.lock();
    }
  }

  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> jobs_;
  bool closed_ = false;
  std::thread thread_;
};

}  // namespace tlm::server

#endif
