// Calls a function on the GUI thread, from its event loop, after any thread has rung.
#ifndef TLMCLIENT_WAKEUP_H
#define TLMCLIENT_WAKEUP_H

#include <QSocketNotifier>

#include <atomic>
#include <functional>
#include <memory>

namespace tlm {

// Made and destroyed on the GUI thread; nobody rings any more when it goes. Rings that come before the call
// are one.
class WakeUp {
 public:
  explicit WakeUp(std::function<void()> call);
  ~WakeUp();
  WakeUp(const WakeUp&) = delete;
  WakeUp& operator=(const WakeUp&) = delete;

  void ring();  // any thread

 private:
  void answer();

  const std::function<void()> call_;
  int handle_ = -1;
  std::atomic<bool> rung_{false};
  std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace tlm

#endif
