#include "replyDesk.h"

#include <chrono>
#include <utility>

namespace tlm {
namespace {

// Answers that wait for a caller who forgot them. Far more than any caller has open at once.
constexpr size_t kMostEntries = 4096;

}  // namespace

uint64_t ReplyDesk::enter(Sent sent) {
  std::unique_lock lock(mutex_);
  if (entries_.size() >= kMostEntries) evictOldest();
  const uint64_t id = nextId_++;
  Entry& entry = entries_.emplace_hint(entries_.end(), id, Entry{})->second;
  entry.sent = std::move(sent);
  const auto take = [&](Pointer pointer, int index) {
    if (!pointer) return;
    release(pointer);
    places_[pointer] = {id, index};
    ++entry.watchers;
  };
  for (size_t i = 0; i < entry.sent.singles.size(); ++i) take(entry.sent.singles[i], static_cast<int>(i));
  take(entry.sent.whole, kWhole);
  tellRefusals(lock);
  return id;
}

void ReplyDesk::unsent(uint64_t id) {
  std::unique_lock lock(mutex_);
  const auto entry = entries_.find(id);
  if (entry == entries_.end()) return;
  entry->second.lost = true;
  entry->second.why = "the request could not be sent";
  // Whoever waits for no answer is told by the call that sends. One who waits may take what he sees for a time-out.
  entry->second.sent.tells = entry->second.sent.tells && entry->second.sent.whole;
  close(entry);
  tellRefusals(lock);
}

void ReplyDesk::letGo(Pointer pointer) {
  std::unique_lock lock(mutex_);
  release(pointer);
  tellRefusals(lock);
}

std::optional<ReplyDesk::Collected> ReplyDesk::collect(Pointer pointer, int timeoutMs) {
  std::unique_lock lock(mutex_);
  const auto place = places_.find(pointer);
  if (place == places_.end()) return std::nullopt;
  const auto [id, index] = place->second;
  waitFor(id, timeoutMs, lock);
  const auto entry = entries_.find(id);
  std::optional<Collected> collected;
  if (entry->second.answer) {
    collected = cut(entry->second, index);
    if (entry->second.watchers == 0) entries_.erase(entry);
  } else if (index == kWhole || entry->second.lost) {
    close(entry);
  } else {
    release(pointer);
  }
  tellRefusals(lock);
  return collected;
}

uint64_t ReplyDesk::openId(Pointer pointer) const {
  const std::lock_guard lock(mutex_);
  const auto place = places_.find(pointer);
  return place == places_.end() || done(place->second.id) ? 0 : place->second.id;
}

bool ReplyDesk::done(uint64_t id) const {
  const Entry& entry = entries_.at(id);
  return entry.answer || entry.lost;
}

void ReplyDesk::waitFor(uint64_t id, int timeoutMs, std::unique_lock<std::mutex>& lock) {
  awaited_ = id;
  const auto ready = [&] { return done(id); };
  if (timeoutMs < 0)
    arrived_.wait(lock, [&] { return entries_.at(id).cutOff || ready(); });
  else
    arrived_.wait_for(lock, std::chrono::milliseconds(timeoutMs), ready);
  awaited_ = 0;
}

void ReplyDesk::arrive(uint64_t id, wire::BlockReply reply) {
  std::unique_lock lock(mutex_);
  const auto entry = entries_.find(id);
  if (entry == entries_.end()) return;
  entry->second.answer = std::move(reply);
  const bool awaited = awaited_ == id;
  if (entry->second.watchers == 0) close(entry);
  tellRefusals(lock);
  if (lock.owns_lock()) lock.unlock();
  if (awaited) arrived_.notify_one();
}

void ReplyDesk::lose(uint64_t id, const std::string& why) {
  std::unique_lock lock(mutex_);
  const auto entry = entries_.find(id);
  if (entry == entries_.end() || entry->second.answer) return;
  entry->second.lost = true;
  entry->second.why = why;
  if (entry->second.watchers == 0) close(entry);
  tellRefusals(lock);
  arrived_.notify_all();
}

// What is sent before the word comes that the line is back went over it already.
void ReplyDesk::lineIs(bool alive) {
  const std::lock_guard lock(mutex_);
  for (auto& [id, entry] : entries_) entry.cutOff = !alive;
  arrived_.notify_all();
}

std::vector<Refusal> ReplyDesk::takeRefusals() {
  const std::lock_guard lock(mutex_);
  return std::exchange(refusals_, {});
}

size_t ReplyDesk::underWay() const {
  const std::lock_guard lock(mutex_);
  return entries_.size();
}

void ReplyDesk::release(Pointer pointer) {
  const auto place = places_.find(pointer);
  if (place == places_.end()) return;
  const auto entry = entries_.find(place->second.id);
  places_.erase(place);
  if (--entry->second.watchers > 0) return;
  if (entry->second.answer || entry->second.lost) close(entry);
}

// Nobody collects this entry any more: its pointers are free, and what was refused is told. One without an
// answer stays until the answer comes.
void ReplyDesk::close(Entries::iterator entry) {
  const uint64_t id = entry->first;
  const Sent& sent = entry->second.sent;
  for (size_t i = 0; i < sent.singles.size(); ++i) free(sent.singles[i], id, static_cast<int>(i));
  free(sent.whole, id, kWhole);
  entry->second.watchers = 0;
  if (!entry->second.answer && !entry->second.lost) return;
  refuse(entry->second);
  entries_.erase(entry);
}

void ReplyDesk::evictOldest() {
  for (auto entry = entries_.begin(); entry != entries_.end(); ++entry) {
    if (!entry->second.answer && !entry->second.lost) continue;
    close(entry);
    return;
  }
}

// What a request of a block is answered with: its own reply where the block was carried out.
ReplyDesk::Collected ReplyDesk::cut(Entry& entry, int index) {
  Collected collected;
  wire::BlockReply& answer = *entry.answer;
  const uint64_t id = places_.at(index == kWhole ? entry.sent.whole : entry.sent.singles[index]).id;
  const auto take = [&](Pointer pointer, int i, wire::Reply reply) {
    if (!holds(pointer, id, i)) return;
    places_.erase(pointer);
    --entry.watchers;
    collected.replies.emplace_back(pointer, std::move(reply));
  };
  if (index != kWhole) {
    const bool own = answer.whole.status == wire::kOk && static_cast<size_t>(index) < answer.each.size();
    take(entry.sent.singles[index], index, own ? std::move(answer.each[index]) : answer.whole);
    return collected;
  }
  for (size_t i = 0; i < answer.each.size() && i < entry.sent.singles.size(); ++i) {
    take(entry.sent.singles[i], static_cast<int>(i), std::move(answer.each[i]));
  }
  take(entry.sent.whole, kWhole, std::move(answer.whole));
  for (size_t i = 0; i < entry.sent.singles.size(); ++i) free(entry.sent.singles[i], id, static_cast<int>(i));
  entry.watchers = 0;
  return collected;
}

void ReplyDesk::free(Pointer pointer, uint64_t id, int index) {
  if (holds(pointer, id, index)) places_.erase(pointer);
}

bool ReplyDesk::holds(Pointer pointer, uint64_t id, int index) const {
  const auto place = places_.find(pointer);
  return place != places_.end() && place->second.id == id && place->second.index == index;
}

void ReplyDesk::refuse(const Entry& entry) {
  if (!entry.sent.tells) return;
  const int32_t status = entry.lost ? static_cast<int32_t>(wire::kUnavailable) : entry.answer->whole.status;
  const auto textOf = [](const wire::Reply& reply) { return reply.payload.value_or(std::string()); };
  if (status != wire::kOk) {
    refusals_.push_back({status, entry.lost ? entry.why : textOf(entry.answer->whole)});
    untold_ = true;
    return;
  }
  for (const wire::Reply& reply : entry.answer->each) {
    if (reply.status == wire::kOk) continue;
    refusals_.push_back({reply.status, textOf(reply)});
    untold_ = true;
  }
}

void ReplyDesk::tellRefusals(std::unique_lock<std::mutex>& lock) {
  if (!std::exchange(untold_, false)) return;
  lock.unlock();
  refused_();
}

}  // namespace tlm
