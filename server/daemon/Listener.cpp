#include "Listener.h"

#include <TlmWireGrpc/convert.h>

#include <utility>
#include <vector>

namespace tlm::server {
namespace {

constexpr size_t kMostAsked = 32;  // subscriptions that are not in effect yet
constexpr int kMostKinds = 64;     // in a subscription
constexpr int kMostNumbers = 65'536;
// A client takes the line for dead when no delivery has come as a whole for some seconds: what travels together is
// small enough for a slow line.
constexpr size_t kDeliveryBytes = size_t{64} << 10;
constexpr size_t kBeside = 64;  // bytes that a message costs beside its texts

bool isTooLarge(const v1::Subscription& subscription) {
  return subscription.kinds_size() > kMostKinds || subscription.loc_ids_size() > kMostNumbers;
}

grpc::Status tooSlow() { return {grpc::StatusCode::RESOURCE_EXHAUSTED, "the client does not keep up with the events"}; }

std::vector<int> list(const google::protobuf::RepeatedField<int32_t>& numbers) {
  return {numbers.begin(), numbers.end()};
}

}  // namespace

Listener* Listener::open(ListenerHouse& house, grpc::CallbackServerContext* context) {
  auto* const listener = new Listener(house, context);
  listener->self_.reset(listener);
  listener->StartRead(&listener->incoming_);
  return listener;
}

Listener* Listener::refuse(ListenerHouse& house, const grpc::Status& why) {
  auto* const listener = new Listener(house, nullptr);
  listener->self_.reset(listener);
  listener->finish(why);
  return listener;
}

// ---- what the client says ----

void Listener::OnReadDone(bool ok) {
  if (!ok) return;  // it says no more, and may listen on
  if (isTooLarge(incoming_)) return finish({grpc::StatusCode::RESOURCE_EXHAUSTED, "too much in a subscription"});
  size_t pending = 0;
  {
    const std::lock_guard lock(mutex_);
    pending_.push_back(std::move(incoming_));
    pending = pending_.size();
    heard_ = true;  // no beat between the two: its position would pass over what is still to be caught up with
  }
  if (pending > kMostAsked) return finish({grpc::StatusCode::RESOURCE_EXHAUSTED, "too many subscriptions at once"});
  // Catching up reads the store and waits for the client, which no thread of gRPC should do.
  if (pending == 1 && !house_.later([self = self_] { self->subscribeAll(); }))
    return finish({grpc::StatusCode::UNAVAILABLE, "no thread is left for the subscription"});
  incoming_.Clear();
  StartRead(&incoming_);
}

void Listener::subscribeAll() {
  std::unique_lock lock(mutex_);
  while (!pending_.empty() && !finishing_) {
    const v1::Subscription subscription = pending_.front();
    plain_ = subscription.plain();
    lock.unlock();
    subscribe(subscription);
    lock.lock();
    pending_.pop_front();
  }
  if (!finishing_) return;
  lock.unlock();
  house_.core.unsubscribe(this);  // its end may have come before its subscription
}

// The answer stands behind all events up to its position. Where events are lost it stands before the later ones: their
// numbers may be of another store.
void Listener::subscribe(const v1::Subscription& subscription) {
  const std::vector<int> kinds = list(subscription.kinds());
  const bool same = subscription.store().empty() || subscription.store() == house_.core.identity();
  const bool fromNow = !subscription.has_after() || subscription.after() < 0;
  const bool joined = same && house_.core.subscribe(this, kinds, fromNow ? -1 : subscription.after());
  house_.core.subscribeValues(this, list(subscription.loc_ids()));  // in effect when the client hears so
  const int64_t position = house_.core.publishedSequence();
  answer(subscription, position, !joined);
  if (!joined && !house_.core.subscribe(this, kinds, position))
    finish({grpc::StatusCode::INTERNAL, "the log of events cannot be read"});
}

void Listener::answer(const v1::Subscription& subscription, int64_t position, bool lost) {
  put(kBeside, [&](v1::Delivery& delivery) {
    v1::Subscribed* const subscribed = delivery.mutable_subscribed();
    subscribed->set_serial(subscription.serial());
    subscribed->set_store(house_.core.identity());
    subscribed->set_position(position);
    subscribed->set_lost(lost);
    subscribed->set_beat_ms(static_cast<uint32_t>(house_.beatMs));
    subscribed->set_max_request_bytes(house_.maxRequestBytes);
  });
}

// ---- what is told to the client ----

void Listener::onEvent(const wire::Event& event) {
  put(kBeside + wire::sizeOf(event),
      [&](v1::Delivery& delivery) { wire::toMessage(event, plain_, delivery.add_events()); });
}

void Listener::onValue(const wire::ParamValue& value) {
  put(kBeside + value.value.size(), [&](v1::Delivery& delivery) { wire::toMessage(value, delivery.add_values()); });
}

// Half of the queue is left to what happens meanwhile.
bool Listener::wantsMore() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return finishing_ || waitingBytes_ <= house_.queueBytes / 2; });
  return !finishing_;
}

void Listener::beat(Clock::time_point now) {
  const int64_t position = house_.core.publishedSequence();
  std::unique_lock lock(mutex_);
  if (writing_ || !waiting_.empty() || now - lastSent_ < std::chrono::milliseconds(house_.beatMs) / 2) return;
  Waiting& beat = waiting_.emplace_back();
  if (heard_ && pending_.empty()) beat.message.set_position(position);
  pump(lock);
}

void Listener::endIfStuckSince(Clock::time_point time) {
  {
    const std::lock_guard lock(mutex_);
    if (!writing_ || lastSent_ >= time) return;
  }
  context_->TryCancel();
}

// What is larger than the whole queue still goes when it is alone: a client that comes back would meet it again.
void Listener::put(size_t bytes, const std::function<void(v1::Delivery&)>& fill) {
  std::unique_lock lock(mutex_);
  if (finishing_ || overflowed_) return;
  if (waitingBytes_ > 0 && waitingBytes_ + bytes > house_.queueBytes) {
    // What stands in the queue is still told, so that the client comes back further on.
    overflowed_ = true;
    finishing_ = true;
    last_ = tooSlow();
    changed_.notify_all();
    return pump(lock);
  }
  if (waiting_.empty() || waiting_.back().bytes + bytes > kDeliveryBytes || waiting_.back().message.has_subscribed())
    waiting_.emplace_back();
  waiting_.back().bytes += bytes;
  waitingBytes_ += bytes;
  fill(waiting_.back().message);
  pump(lock);
}

void Listener::pump(std::unique_lock<std::mutex>& lock) {
  if (writing_ || finished_) return;
  if (!waiting_.empty()) {
    writing_ = true;
    onItsWay_ = std::move(waiting_.front().message);
    waitingBytes_ -= waiting_.front().bytes;
    waiting_.pop_front();
    changed_.notify_all();
    lastSent_ = Clock::now();
    lock.unlock();
    StartWrite(&onItsWay_);
    return;
  }
  if (!finishing_) return;
  finished_ = true;
  lock.unlock();
  Finish(last_);
}

void Listener::OnWriteDone(bool ok) {
  std::unique_lock lock(mutex_);
  writing_ = false;
  if (!ok) {
    waiting_.clear();
    if (!std::exchange(finishing_, true)) last_ = grpc::Status::CANCELLED;
    changed_.notify_all();
  }
  pump(lock);
}

// ---- the end ----

void Listener::finish(const grpc::Status& status) {
  std::unique_lock lock(mutex_);
  if (!finishing_) last_ = status;
  finishing_ = true;
  waiting_.clear();
  changed_.notify_all();
  pump(lock);
}

void Listener::OnCancel() { finish(grpc::Status::CANCELLED); }

void Listener::OnDone() {
  house_.core.unsubscribe(this);
  house_.ended(this, last_.error_message());
  self_.reset();
}

}  // namespace tlm::server
