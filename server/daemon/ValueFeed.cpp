#include "ValueFeed.h"

#include <TlmServer/CodePage.h>
#include <TlmServer/Users.h>

#include <atomic>
#include <utility>

namespace tlm::server {
namespace {

using grpc::Status;
using grpc::StatusCode;

constexpr size_t kMostFeeds = 64;
constexpr int kMostValues = 4096;
constexpr size_t kLongestKey = 32;

Status statusOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::kGranted:
      return Status::OK;
    case Verdict::kWrong:
      return {StatusCode::UNAUTHENTICATED, "no such user, or another password"};
    case Verdict::kLocked:
      return {StatusCode::UNAUTHENTICATED, "too many wrong passwords: locked for a minute"};
    case Verdict::kNoRight:
      break;
  }
  return {StatusCode::PERMISSION_DENIED, "this user has no right to hand in values"};
}

FieldValue valueOf(const v1::FieldValue& message) {
  FieldValue value;
  if (message.measurement_case() == v1::FieldValue::kKey) value.key = message.key();
  if (message.measurement_case() == v1::FieldValue::kLocId) value.locId = message.loc_id();
  switch (message.value_case()) {
    case v1::FieldValue::kNumber:
      value.value = message.number();
      break;
    case v1::FieldValue::kText:
      value.value = std::string_view(message.text());
      break;
    case v1::FieldValue::kWritten:
      value.value = WrittenValue{message.written()};
      break;
    case v1::FieldValue::VALUE_NOT_SET:
      break;
  }
  value.quality = message.quality();
  value.timeMs = message.time_ms();
  return value;
}

}  // namespace

// ---- all of them ----

void ValueFeeds::settle() {
  {
    std::unique_lock lock(mutex_);
    empty_.wait(lock, [this] { return feeds_.empty(); });
  }
  { const std::lock_guard tending(tending_); }  // the last to end may be on its way out
  worker_.end();
}

ValueFeeds::Reactor* ValueFeeds::open(grpc::CallbackServerContext* context) {
  std::unique_lock lock(mutex_);
  auto* const feed = new ValueFeed(*this, context);
  const bool full = feeds_.size() >= kMostFeeds;
  const bool stopping = stopping_;
  feeds_.emplace(feed, context->peer());
  lock.unlock();
  if (stopping) feed->end({StatusCode::UNAVAILABLE, "the server is stopping"});
  if (full) feed->end({StatusCode::RESOURCE_EXHAUSTED, "too many streams of values"});
  return feed;
}

void ValueFeeds::endAll(const Status& why) {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  each([&](ValueFeed& feed) { feed.end(why); });
}

void ValueFeeds::endStuckSince(Clock::time_point time) {
  each([&](ValueFeed& feed) { feed.endIfStuckSince(time); });
}

void ValueFeeds::each(const std::function<void(ValueFeed&)>& visit) {
  const std::lock_guard tending(tending_);
  std::vector<ValueFeed*> all;
  {
    const std::lock_guard lock(mutex_);
    all.reserve(feeds_.size());
    for (const auto& [feed, peer] : feeds_) all.push_back(feed);
  }
  for (ValueFeed* const feed : all) visit(*feed);
}

void ValueFeeds::closed(ValueFeed* feed, const std::string& why) {
  const std::lock_guard tending(tending_);
  const std::lock_guard lock(mutex_);
  const auto known = feeds_.find(feed);
  log_.info("feed-closed", {{"peer", known->second}, {"why", why}});
  feeds_.erase(known);
  empty_.notify_all();
}

// ---- one ----

ValueFeed::ValueFeed(ValueFeeds& house, grpc::CallbackServerContext* context)
    : house_(house), context_(context), peer_(context->peer()) {
  self_.reset(this);
  StartRead(&batch_);
}

void ValueFeed::OnReadDone(bool ok) {
  if (!ok) return end(Status::OK);
  {
    const std::lock_guard lock(mutex_);
    heard_ = true;
  }
  if (batch_.values_size() > kMostValues)
    return end({StatusCode::RESOURCE_EXHAUSTED, "more than 4096 values in a batch"});
  if (admitted_) return take();
  house_.worker_.later([self = self_] { self->admit(); });
}

void ValueFeed::admit() {
  const std::string user = batch_.user().substr(0, kMostUserName + 1);
  const bool absurd = batch_.password().size() > kMostPassword;
  const Status status = statusOf(absurd ? Verdict::kWrong : house_.core_.admitValues(user, batch_.password()));
  if (!status.ok()) {
    house_.log_.warning("feed-refused",
                        {{"peer", peer_}, {"user", fromCodePage(user)}, {"why", status.error_message()}});
    return end(status);
  }
  admitted_ = true;
  house_.log_.info("feed-opened", {{"peer", peer_}, {"user", fromCodePage(user)}});
  take();
}

void ValueFeed::take() {
  values_.clear();
  values_.reserve(static_cast<size_t>(batch_.values_size()));
  for (const v1::FieldValue& value : batch_.values()) values_.push_back(valueOf(value));
  const FieldAnswer taken = takeValues(house_.core_, values_, systemTime(), &places_);
  answer_.Clear();
  answer_.set_taken(static_cast<uint32_t>(taken.taken));
  answer_.set_beneath(static_cast<uint32_t>(taken.beneath));
  for (const RefusedValue& refused : taken.refused) refuse(refused);
  write();
}

void ValueFeed::write() {
  {
    const std::lock_guard lock(mutex_);
    if (ended_) return;
    writing_ = true;
    since_ = ValueFeeds::Clock::now();
  }
  StartWrite(&answer_);
}

void ValueFeed::refuse(const RefusedValue& refused) {
  v1::RefusedValue* const message = answer_.add_refused();
  const FieldValue& value = values_[refused.index];
  message->set_index(static_cast<uint32_t>(refused.index));
  message->set_why(static_cast<int32_t>(refused.why));
  if (value.key.empty())
    message->set_loc_id(value.locId);
  else
    message->set_key(std::string(value.key.substr(0, kLongestKey)));
}

void ValueFeed::OnWriteDone(bool ok) {
  std::unique_lock lock(mutex_);
  writing_ = false;
  if (ended_) {
    lock.unlock();
    return Finish(last_);
  }
  lock.unlock();
  if (!ok) return end(Status::CANCELLED);
  batch_.Clear();
  StartRead(&batch_);
}

void ValueFeed::end(const Status& why) {
  {
    const std::lock_guard lock(mutex_);
    if (std::exchange(ended_, true)) return;
    last_ = why;
    if (writing_) return;
  }
  Finish(why);
}

void ValueFeed::endIfStuckSince(ValueFeeds::Clock::time_point time) {
  {
    const std::lock_guard lock(mutex_);
    if (since_ >= time || (heard_ && !writing_)) return;
    if (writing_) return context_->TryCancel();
  }
  end({StatusCode::DEADLINE_EXCEEDED, "no values came"});
}

void ValueFeed::OnDone() {
  house_.closed(this, last_.error_message());
  self_.reset();
}

}  // namespace tlm::server
