#include "publisher.h"

#include <algorithm>

namespace tlm::server {

bool Publisher::subscribe(Subscriber* subscriber, const std::vector<int>& kinds, int64_t after, int64_t last,
                          const CatchUp& catchUp) {
  const std::lock_guard lock(mutex_);
  const auto known = subscriptions_.find(subscriber);
  Subscription next = known == subscriptions_.end() ? Subscription{} : known->second;
  next.kinds = {kinds.begin(), kinds.end()};
  next.position = after < 0 ? last : std::max(after, next.position);
  const auto each = [&](wire::Event&& event) { deliver(subscriber, next, event); };
  if (next.position < last && !catchUp(next.position, each)) return false;
  next.position = last;
  subscriptions_[subscriber] = std::move(next);
  return true;
}

void Publisher::subscribeValues(Subscriber* subscriber, const std::vector<int>& locIds) {
  const std::lock_guard lock(mutex_);
  subscriptions_[subscriber].locIds = {locIds.begin(), locIds.end()};
}

void Publisher::unsubscribe(Subscriber* subscriber) {
  const std::lock_guard lock(mutex_);
  subscriptions_.erase(subscriber);
}

void Publisher::publish(const std::vector<wire::Event>& events) {
  const std::lock_guard lock(mutex_);
  for (const wire::Event& event : events) {
    for (auto& [subscriber, subscription] : subscriptions_) deliver(subscriber, subscription, event);
  }
}

void Publisher::publish(const wire::ParamValue& value) {
  const std::lock_guard lock(mutex_);
  for (const auto& [subscriber, subscription] : subscriptions_) {
    if (subscription.locIds.count(value.locId)) subscriber->onValue(value);
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
