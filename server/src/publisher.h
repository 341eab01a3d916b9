// Hands events and values to the subscribers, in order and nothing twice.
#ifndef TLMSERVER_PUBLISHER_H
#define TLMSERVER_PUBLISHER_H

#include <TlmServer/Core.h>
#include <TlmServer/LiveValues.h>

#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <unordered_set>
#include <vector>

namespace tlm::server {

class Publisher {
 public:
  // A subscription on its way: the subscriber is told what it missed before it joins those who hear what happens.
  class Newcomer {
   public:
    Newcomer(Publisher& publisher, Subscriber* subscriber, const std::vector<int>& kinds);
    ~Newcomer();
    Newcomer(const Newcomer&) = delete;
    Newcomer& operator=(const Newcomer&) = delete;

    int64_t position() const;  // of the last event that the subscriber has seen, or -1

    // Nothing is locked while the subscriber hears them. False: it wants no more, or was unsubscribed.
    bool tell(const std::vector<wire::Event>& events);

    // Tells the last ones, up to `last`, and lets the subscriber join. False: it was unsubscribed. No event may be
    // published meanwhile: the caller holds the lock of the commits.
    bool join(const std::vector<wire::Event>& events, int64_t last);

   private:
    friend class Publisher;

    void hear(const std::vector<wire::Event>& events);

    Publisher& publisher_;
    Subscriber* const subscriber_;
    const std::unordered_set<int> kinds_;
    bool hearing_ = false;  // outside the lock
    bool gone_ = false;     // unsubscribed
  };

  void subscribeValues(Subscriber* subscriber, const std::vector<int>& locIds);
  void unsubscribe(Subscriber* subscriber);
  size_t subscribers() const;

  void publish(const std::vector<wire::Event>& events);
  void publish(std::span<const Shown> values);

 private:
  struct Subscription {
    std::unordered_set<int> kinds;
    std::unordered_set<int> locIds;
    int64_t position = -1;  // of the last event seen
  };

  static void deliver(Subscriber* subscriber, Subscription& subscription, const wire::Event& event);

  mutable std::mutex mutex_;
  std::condition_variable heard_;  // a newcomer
  std::map<Subscriber*, Subscription> subscriptions_;
  std::set<Newcomer*> newcomers_;
};

}  // namespace tlm::server

#endif
