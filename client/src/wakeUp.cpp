#include "wakeUp.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <QtGlobal>

namespace tlm {

WakeUp::WakeUp(std::function<void()> call) : call_(std::move(call)), handle_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
  if (handle_ < 0) qFatal("no event descriptor is left");
  notifier_ = std::make_unique<QSocketNotifier>(handle_, QSocketNotifier::Read);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] { answer(); });
}

WakeUp::~WakeUp() {
  notifier_.reset();
  close(handle_);
}

void WakeUp::ring() {
  if (rung_.exchange(true)) return;
  // Fails only when the counter is full, and then the notifier is awake anyway.
  if (eventfd_write(handle_, 1) != 0) return;
}

void WakeUp::answer() {
  eventfd_t count = 0;
  if (eventfd_read(handle_, &count) != 0) return;  // somebody emptied it: nothing to do
  rung_.store(false);
  call_();
}

}  // namespace tlm
