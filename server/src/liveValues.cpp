#include <TlmServer/LiveValues.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <utility>

namespace tlm::server {
namespace {

std::string trimmedDecimals(std::string text) {
  if (text.find('.') == std::string::npos) return text;
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == '.') text.pop_back();
  return text == "-0" ? "0" : text;
}

}  // namespace

std::string valueText(const LiveValue& value, int decimals) {
  if (const auto* text = std::get_if<std::string>(&value.value)) return *text;
  const double number = std::get<double>(value.value);
  char buffer[352];
  if (decimals >= 0) {
    std::snprintf(buffer, sizeof buffer, "%.*f", std::min(decimals, 15), number);
    return trimmedDecimals(buffer);
  }
  constexpr double kExact = 1e15;  // whole numbers of counters keep all their digits
  const bool whole = std::abs(number) < kExact && number == std::floor(number);
  std::snprintf(buffer, sizeof buffer, whole ? "%.0f" : "%.10g", number);
  return whole && number == 0 ? "0" : buffer;
}

Taken LiveValues::set(int32_t locId, LiveValue value) {
  FieldItem item{locId, false, std::move(value)};
  setAll({&item, 1});
  return item.taken;
}

Taken LiveValues::setQuality(int32_t locId, Quality quality, double time) {
  FieldItem item{locId, true, {time, quality, 0.0}};
  setAll({&item, 1});
  return item.taken;
}

void LiveValues::setAll(std::span<FieldItem> items) {
  const std::lock_guard lock(mutex_);
  shown_.clear();
  for (FieldItem& item : items) {
    item.taken = take(item);
    if (item.taken == Taken::kShown) shown_.push_back({item.locId, &item.value});
  }
  if (listener_ && !shown_.empty()) listener_(shown_);
}

Taken LiveValues::take(FieldItem& item) {
  if (!item.marks) return take(entries_[item.locId], item.value);
  const auto found = entries_.find(item.locId);
  if (found == entries_.end() || !found->second.fed) return Taken::kNothing;
  Entry& entry = found->second;
  item.value.value = (entry.manual ? entry.beneath : entry.current)->value;
  return take(entry, item.value);
}

bool LiveValues::simulate(int32_t locId, LiveValue value) {
  const std::lock_guard lock(mutex_);
  Entry& entry = entries_[locId];
  if (entry.fed) return false;
  if (put(entry, value)) tell(locId, value);
  return true;
}

Taken LiveValues::take(Entry& entry, const LiveValue& value) const {
  if (!std::exchange(entry.fed, true)) {
    entry.history.clear();
    if (entry.manual) remember(entry, *entry.current);
  } else if (value.time < entry.fedAt) {
    const bool covered = entry.manual && value.time >= entry.current->time;
    return covered ? Taken::kBeneath : remember(entry, value) ? Taken::kLate : Taken::kTooLate;
  }
  entry.fedAt = value.time;
  return put(entry, value) ? Taken::kShown : Taken::kBeneath;
}

// True when it is seen.
bool LiveValues::put(Entry& entry, const LiveValue& value) const {
  if (entry.manual)
    entry.beneath = value;
  else
    show(entry, value);
  return !entry.manual;
}

void LiveValues::setManual(int32_t locId, LiveValue value, const std::string& user) {
  const std::lock_guard lock(mutex_);
  Entry& entry = entries_[locId];
  if (!entry.manual) entry.beneath = entry.current;
  entry.manual = true;
  entry.user = user;
  value.quality = Quality::kManual;
  show(entry, value);
  tell(locId, value);
}

bool LiveValues::liftManual(int32_t locId, double time) {
  const std::lock_guard lock(mutex_);
  const auto found = entries_.find(locId);
  if (found == entries_.end() || !found->second.manual) return false;
  Entry& entry = found->second;
  entry.manual = false;
  LiveValue back = entry.beneath.value_or(LiveValue{time, Quality::kInvalid, entry.current->value});
  back.time = std::max(back.time, time);
  entry.beneath.reset();
  show(entry, back);
  tell(locId, back);
  return true;
}

std::optional<LiveValue> LiveValues::current(int32_t locId) const {
  const std::lock_guard lock(mutex_);
  const auto found = entries_.find(locId);
  return found == entries_.end() ? std::nullopt : found->second.current;
}

bool LiveValues::isManual(int32_t locId) const {
  const std::lock_guard lock(mutex_);
  const auto found = entries_.find(locId);
  return found != entries_.end() && found->second.manual;
}

std::optional<LiveValues::Manual> LiveValues::manual(int32_t locId) const {
  const std::lock_guard lock(mutex_);
  const auto found = entries_.find(locId);
  if (found == entries_.end() || !found->second.manual) return std::nullopt;
  return Manual{found->second.user, found->second.current->time};
}

std::vector<LiveValue> LiveValues::history(int32_t locId, double from, double to) const {
  const std::lock_guard lock(mutex_);
  std::vector<LiveValue> chosen;
  const auto found = entries_.find(locId);
  if (found == entries_.end()) return chosen;
  std::copy_if(found->second.history.begin(), found->second.history.end(), std::back_inserter(chosen),
               [&](const LiveValue& value) { return value.time >= from && value.time <= to; });
  return chosen;
}

void LiveValues::forget(int32_t locId) {
  const std::lock_guard lock(mutex_);
  entries_.erase(locId);
}

void LiveValues::show(Entry& entry, const LiveValue& value) const {
  remember(entry, value);
  entry.current = value;
}

void LiveValues::tell(int32_t locId, const LiveValue& value) const {
  const Shown shown{locId, &value};
  if (listener_) listener_({&shown, 1});
}

// The history is in the order of the times. False when it is full of newer values.
bool LiveValues::remember(Entry& entry, const LiveValue& value) const {
  std::deque<LiveValue>& history = entry.history;
  auto at = history.end();
  while (at != history.begin() && std::prev(at)->time > value.time) --at;
  if (at == history.begin() && history.size() >= kept_) return false;
  history.insert(at, value);
  if (history.size() > kept_) history.pop_front();
  return true;
}

}  // namespace tlm::server
