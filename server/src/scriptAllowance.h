// What the scripts of one block may use.
#ifndef TLMSERVER_SCRIPTALLOWANCE_H
#define TLMSERVER_SCRIPTALLOWANCE_H

#include <TlmServer/Core.h>

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace tlm::server {

// One budget for scripts that run one after another while the tables are held. Steps and time are gone when they are
// used; memory and rows a script gives back at its end, so that the next one has them whole.
class ScriptAllowance {
 public:
  using Duration = std::chrono::steady_clock::duration;

  explicit ScriptAllowance(const ScriptBudget& budget)
      : left_(budget), time_(std::chrono::milliseconds(budget.milliseconds)) {}

  const ScriptBudget& left() const { return left_; }
  bool spent() const { return spent_; }  // nothing is left for another script

  void take(int64_t steps, Duration time) {
    using Milliseconds = std::chrono::milliseconds;
    left_.steps -= std::min(steps, left_.steps);
    time_ -= std::min(time, time_);
    left_.milliseconds = static_cast<int>(std::chrono::ceil<Milliseconds>(time_).count());
    spent_ = left_.steps == 0 || time_ == Duration::zero();
  }

 private:
  ScriptBudget left_;
  Duration time_;
  bool spent_ = false;
};

}  // namespace tlm::server

#endif
