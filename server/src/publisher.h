// Hands events and values to the subscribers, in order and nothing twice.
#ifndef TLMSERVER_PUBLISHER_H
#define TLMSERVER_PUBLISHER_H

#include <TlmServer/Core.h>

#include <functional>
#include <map>
#include <mutex>
#include <unordered_set>
#include <vector>

namespace tlm::server {

class Publisher {
 public:
  // Gives the kept events after a number, in order; false when they cannot be read.
  using CatchUp = std::function<bool(int64_t after, const std::function<void(wire::Event&&)>& each)>;

  // `last` is the number of the last event. False, and the subscription is as it was, when the catching up fails.
  // No event may be published meanwhile: the caller holds the lock of the commits.
  bool subscribe(Subscriber* subscriber, const std::vector<int>& kinds, int64_t after, int64_t last,
                 const CatchUp& catchUp);
  void subscribeValues(Subscriber* subscriber, const std::vector<int>& locIds);
  void unsubscribe(Subscriber* subscriber);

  void publish(const std::vector<wire::Event>& events);
  void publish(const wire::ParamValue& value);

 private:
  struct Subscription {
    std::unordered_set<int> kinds;
    std::unordered_set<int> locIds;
    int64_t position = -1;  // of the last event seen
  };

  static void deliver(Subscriber* subscriber, Subscription& subscription, const wire::Event& event);

  std::mutex mutex_;
  std::map<Subscriber*, Subscription> subscriptions_;
};

}  // namespace tlm::server

#endif
