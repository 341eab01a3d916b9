// The server's end of one session's stream.
#ifndef TLMDAEMON_LISTENER_H
#define TLMDAEMON_LISTENER_H

#include <TlmServer/Core.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include <grpcpp/grpcpp.h>
#include <tlm/v1/model.pb.h>

namespace tlm::server {

// What the streams of one server share.
struct ListenerHouse {
  Core& core;
  const size_t queueBytes;
  const int beatMs;
  const size_t maxRequestBytes;
  std::function<bool(std::function<void()>)> later;  // runs work on a thread that may wait; false: none is left
  std::function<void(class Listener*, const std::string&)> ended;  // called once, the reason behind it
};

// Lives until gRPC is done with it and no work for it is left; made by open, and never deleted by hand.
//
// Events come on the thread that commits, with the publication lock held; they are put into messages, and one
// message at a time is on its way. What comes meanwhile is put together. What the client missed comes as fast as it
// takes it.
class Listener : public grpc::ServerBidiReactor<v1::Subscription, v1::Delivery>, private Subscriber {
 public:
  using Clock = std::chrono::steady_clock;

  static Listener* open(ListenerHouse& house, grpc::CallbackServerContext* context);
  // One that only says why it cannot be.
  static Listener* refuse(ListenerHouse& house, const grpc::Status& why);

  void finish(const grpc::Status& status);  // after the message on its way; any thread
  void beat(Clock::time_point now);         // says that the server is there

  // Ends the stream of a client that has not taken the message on its way since then: it would keep the whole queue.
  // Not after `ended` has returned.
  void endIfStuckSince(Clock::time_point time);

  // When the stream was opened, as long as no subscription has come.
  bool silentSince(Clock::time_point time) const { return !heard_ && opened_ < time; }

 private:
  Listener(ListenerHouse& house, grpc::CallbackServerContext* context)
      : house_(house), context_(context), opened_(Clock::now()), lastSent_(opened_) {}

  void OnReadDone(bool ok) override;
  void OnWriteDone(bool ok) override;
  void OnCancel() override;
  void OnDone() override;

  void onEvent(const wire::Event& event) override;
  void onValue(const wire::ParamValue& value) override;
  bool wantsMore() override;

  void subscribeAll();
  void subscribe(const v1::Subscription& subscription);
  void answer(const v1::Subscription& subscription, int64_t position, bool lost);

  // Puts something of about that size into the last waiting message, or a new one.
  void put(size_t bytes, const std::function<void(v1::Delivery&)>& fill);
  void pump(std::unique_lock<std::mutex>& lock);

  ListenerHouse& house_;
  grpc::CallbackServerContext* const context_;  // null: one that was refused
  const Clock::time_point opened_;
  std::shared_ptr<Listener> self_;  // until gRPC is done with it
  std::atomic<bool> heard_{false};
  v1::Subscription incoming_;

  std::mutex mutex_;
  std::condition_variable changed_;       // there is room, or the end is near
  std::deque<v1::Subscription> pending_;  // not in effect yet: events may be missing that are published already
  struct Waiting {
    v1::Delivery message;
    size_t bytes = 0;
  };
  std::deque<Waiting> waiting_;
  size_t waitingBytes_ = 0;
  v1::Delivery onItsWay_;
  Clock::time_point lastSent_;
  bool writing_ = false;
  bool plain_ = false;
  bool overflowed_ = false;
  bool finishing_ = false;
  bool finished_ = false;
  grpc::Status last_;
};

}  // namespace tlm::server

#endif
