#include "operators.h"

#include <TlmServer/Catalogue.h>

#include <algorithm>

#include "password.h"
#include "values.h"

namespace tlm::server {
namespace {

constexpr double kSecondsPerDay = 86400;
constexpr size_t kMostNames = 1000;  // whose tries are remembered; the longest silent one gives way

}  // namespace

Verdict Operators::check(Right right, const std::string& name, std::optional<std::string_view> password, double now) {
  const MDArray* rows = users_.rows();
  const MDRData* row = users_.find(keyOfName("user " + name));
  if (password) {
    const std::lock_guard oneAtATime(mutex_);  // tries that come together are counted before the next is looked at
    if (locked(name, now)) return Verdict::kLocked;
    const bool fits = passwordFits(std::string(row ? textOf(rows, row, "password") : std::string_view{}), *password);
    note(name, fits, now);
    if (!fits) return Verdict::kWrong;
  }
  if (!row) return Verdict::kNoRight;
  const char* const field = right == Right::kControl ? "control" : "values_";
  return intOf(rows, row, field) == 1 ? Verdict::kGranted : Verdict::kNoRight;
}

bool Operators::locked(const std::string& name, double now) const {
  const auto found = tries_.find(name);
  return found != tries_.end() && now < found->second.lockedUntil;
}

void Operators::note(const std::string& name, bool right, double now) {
  if (right) {
    tries_.erase(name);
    return;
  }
  if (tries_.size() >= kMostNames && tries_.count(name) == 0)
    tries_.erase(std::min_element(tries_.begin(), tries_.end(),
                                  [](const auto& a, const auto& b) { return a.second.last < b.second.last; }));
  Tries& tries = tries_[name];
  tries.last = now;
  if (++tries.wrong < kMostTries) return;
  tries.wrong = 0;
  tries.lockedUntil = now + kLockSeconds / kSecondsPerDay;
}

}  // namespace tlm::server
