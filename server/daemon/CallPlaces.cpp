#include "CallPlaces.h"

#include <algorithm>
#include <tuple>
#include <utility>
#include <vector>

namespace tlm::server {
namespace {

constexpr int kShortSilence = 4;  // this part of the patience

}  // namespace

CallPlaces::Place::Place(CallPlaces& house, grpc::ServerContext* context, size_t bytes)
    : house_(house), context_(context) {
  const auto now = Clock::now();
  const auto pieces = static_cast<int>((bytes + wire::kPieceBytes - 1) / wire::kPieceBytes);
  std::string gone;
  {
    const std::lock_guard lock(house_.mutex_);
    given_ = house_.makeRoom(now, &gone);
    if (given_) house_.transfers_[context_] = {now, now + pieces * house_.patience_, false};
  }
  if (!gone.empty()) house_.log_.warning("call-gave-way", {{"peer", gone}});
}

CallPlaces::Place::~Place() {
  const std::lock_guard lock(house_.mutex_);
  if (given_) house_.transfers_.erase(context_);
  if (!carriesOut_) return;
  --house_.carriedOut_;
  house_.freed_.notify_one();
}

void CallPlaces::Place::goesOn() const {
  const auto now = Clock::now();
  const std::lock_guard lock(house_.mutex_);
  const auto transfer = house_.transfers_.find(context_);
  if (transfer == house_.transfers_.end()) return;
  transfer->second.until = now + house_.patience_;
  transfer->second.goesOn = true;
}

// It keeps its place on the way while it waits: what has come takes memory.
bool CallPlaces::Place::carriesOut(std::chrono::milliseconds wait) {
  std::unique_lock lock(house_.mutex_);
  const auto transfer = house_.transfers_.find(context_);
  if (transfer != house_.transfers_.end()) transfer->second = {transfer->second.begun, Clock::time_point::max(), true};
  carriesOut_ = house_.freed_.wait_for(lock, wait, [this] { return house_.carriedOut_ < house_.most_; });
  if (carriesOut_) ++house_.carriedOut_;
  house_.transfers_.erase(context_);
  return carriesOut_;
}

// With the lock held. Tells who has gone.
bool CallPlaces::makeRoom(Clock::time_point now, std::string* gone) {
  if (transfers_.size() < static_cast<size_t>(most_)) return true;
  const auto oldest = std::min_element(transfers_.begin(), transfers_.end(), [](const auto& one, const auto& other) {
    return std::tie(one.second.goesOn, one.second.begun) < std::tie(other.second.goesOn, other.second.begun);
  });
  if (oldest->second.goesOn || now - oldest->second.begun < patience_ / kShortSilence) return false;
  *gone = oldest->first->peer();
  oldest->first->TryCancel();
  transfers_.erase(oldest);
  return true;
}

void CallPlaces::endStuck(Clock::time_point now) {
  std::vector<std::string> gone;
  {
    const std::lock_guard lock(mutex_);
    for (auto& [context, transfer] : transfers_) {
      if (transfer.until >= now) continue;
      gone.push_back(context->peer());
      context->TryCancel();
      transfer.until = Clock::time_point::max();  // once
    }
  }
  for (const std::string& peer : gone) log_.warning("call-given-up", {{"peer", peer}});
}

}  // namespace tlm::server
