#include <TlmServer/LiveValues.h>

#include <algorithm>
#include <cstdio>

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
  std::snprintf(buffer, sizeof buffer, "%.10g", number);
  return buffer;
}

void LiveValues::set(int32_t locId, LiveValue value) {
  const std::lock_guard lock(mutex_);
  Entry& entry = entries_[locId];
  if (entry.manual) {
    entry.beneath = std::move(value);
  } else {
    show(locId, entry, std::move(value));
  }
}

void LiveValues::setManual(int32_t locId, LiveValue value, const std::string& user) {
  const std::lock_guard lock(mutex_);
  Entry& entry = entries_[locId];
  if (!entry.manual) entry.beneath = entry.current;
  entry.manual = true;
  entry.user = user;
  value.quality = Quality::kManual;
  show(locId, entry, std::move(value));
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
  show(locId, entry, std::move(back));
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

void LiveValues::show(int32_t locId, Entry& entry, LiveValue value) {
  entry.history.push_back(value);
  if (entry.history.size() > kept_) entry.history.pop_front();
  entry.current = std::move(value);
  if (!listener_) return;
  const LiveValue& now = *entry.current;
  listener_({locId, now.time, static_cast<int32_t>(now.quality), valueText(now)});
}

}  // namespace tlm::server
