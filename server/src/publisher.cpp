#include "publisher.h"

#include <utility>

namespace tlm::server {

Publisher::Newcomer::Newcomer(Publisher& publisher, Subscriber* subscriber, const std::vector<int>& kinds)
    : publisher_(publisher), subscriber_(subscriber), kinds_(kinds.begin(), kinds.end()) {
  const std::lock_guard lock(publisher_.mutex_);
  publisher_.newcomers_.insert(this);
}

Publisher::Newcomer::~Newcomer() {
  const std::lock_guard lock(publisher_.mutex_);
  publisher_.newcomers_.erase(this);
}

int64_t Publisher::Newcomer::position() const {
  const std::lock_guard lock(publisher_.mutex_);
  const auto known = publisher_.subscriptions_.find(subscriber_);
  return known == publisher_.subscriptions_.end() ? -1 : known->second.position;
}

void Publisher::Newcomer::hear(const std::vector<wire::Event>& events) {
  for (const wire::Event& event : events) {
    if (kinds_.count(event.kind)) subscriber_->onEvent(event);
  }
}

bool Publisher::Newcomer::tell(const std::vector<wire::Event>& events) {
  std::unique_lock lock(publisher_.mutex_);
  if (gone_) return false;
  hearing_ = true;
  lock.unlock();
  hear(events);
  const bool more = subscriber_->wantsMore();
  lock.lock();
  hearing_ = false;
  publisher_.heard_.notify_all();
  return more && !gone_;
}

bool Publisher::Newcomer::join(const std::vector<wire::Event>& events, int64_t last) {
  const std::lock_guard lock(publisher_.mutex_);
  if (gone_) return false;
  hear(events);
  Subscription& subscription = publisher_.subscriptions_[subscriber_];
  subscription.kinds = kinds_;
  subscription.position = last;
  return true;
}

void Publisher::subscribeValues(Subscriber* subscriber, const std::vector<int>& locIds) {
  const std::lock_guard lock(mutex_);
  subscriptions_[subscriber].locIds = {locIds.begin(), locIds.end()};
}

void Publisher::unsubscribe(Subscriber* subscriber) {
  std::unique_lock lock(mutex_);
  subscriptions_.erase(subscriber);
  for (Newcomer* newcomer : newcomers_) newcomer->gone_ = newcomer->gone_ || newcomer->subscriber_ == subscriber;
  heard_.wait(lock, [&] {
    for (const Newcomer* newcomer : newcomers_) {
      if (newcomer->subscriber_ == subscriber && newcomer->hearing_) return false;
    }
    return true;
  });
}

size_t Publisher::subscribers() const {
  const std::lock_guard lock(mutex_);
  return subscriptions_.size();
}

void Publisher::publish(const std::vector<wire::Event>& events) {
  const std::lock_guard lock(mutex_);
  for (const wire::Event& event : events) {
    for (auto& [subscriber, subscription] : subscriptions_) deliver(subscriber, subscription, event);
  }
}

// The text is made only where somebody hears it.
void Publisher::publish(std::span<const Shown> values) {
  const std::lock_guard lock(mutex_);
  if (std::all_of(subscriptions_.begin(), subscriptions_.end(), [](const auto& s) { return s.second.locIds.empty(); }))
    return;
  for (const auto& [locId, value] : values) {
    std::optional<wire::ParamValue> told;
    for (const auto& [subscriber, subscription] : subscriptions_) {
      if (subscription.locIds.count(locId) == 0) continue;
      if (!told) told = wire::ParamValue{locId, value->time, static_cast<int32_t>(value->quality), valueText(*value)};
      subscriber->onValue(*told);
    }
  }
}

void Publisher::deliver(Subscriber* subscriber, Subscription& subscription, const wire::Event& event) {
  if (subscription.kinds.empty()) return;  // who asks for no events has seen none, and may yet ask for them
  if (event.sequence != 0) {
    if (event.sequence <= subscription.position) return;
    subscription.position = event.sequence;
  }
  if (subscription.kinds.count(event.kind)) subscriber->onEvent(event);
}

}  // namespace tlm::server
