// What a run has used of its budget.
#ifndef TLMSERVER_SCRIPT_METER_H
#define TLMSERVER_SCRIPT_METER_H

#include "Failure.h"

#include <TlmServer/Core.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace tlm::script {

// Every function ends the run with kBudgetSpent when it takes more than there is.
class Meter {
 public:
  static constexpr int64_t kBytesPerStep = 64;  // of texts that are copied or compared

  explicit Meter(const server::ScriptBudget& budget)
      : budget_(budget), end_(Clock::now() + std::chrono::milliseconds(budget.milliseconds)), stepsLeft_(budget.steps) {
    grant();
  }

  void steps(int64_t count, Offset at) {
    fuel_ -= count;
    if (fuel_ < 0) refill(at);
  }

  void bytes(size_t count, Offset at) {
    bytes_ += count;
    if (bytes_ > budget_.bytes) spent(at, budget_.bytes, "bytes of memory");
  }

  void row(Offset at) {
    if (++rows_ > budget_.rows) spent(at, budget_.rows, "rows");
  }

  int64_t stepsTaken() const { return budget_.steps - stepsLeft_ - fuel_; }

 private:
  using Clock = std::chrono::steady_clock;

  // Steps are handed out in portions; the clock is looked at between them.
  static constexpr int64_t kPortion = 50'000;

  void grant() {
    fuel_ += std::min(stepsLeft_, kPortion);
    stepsLeft_ -= std::min(stepsLeft_, kPortion);
  }

  void refill(Offset at) {
    while (fuel_ < 0) {
      if (stepsLeft_ <= 0) spent(at, budget_.steps, "steps");
      grant();
    }
    if (Clock::now() > end_) spent(at, budget_.milliseconds, "milliseconds");
  }

  template <typename Number>
  [[noreturn]] static void spent(Offset at, Number allowed, const char* unit) {
    failBudget(at, "the script has used up its " + std::to_string(allowed) + " " + unit);
  }

  server::ScriptBudget budget_;
  Clock::time_point end_;
  int64_t stepsLeft_;
  int64_t fuel_ = 0;
  size_t bytes_ = 0;
  int rows_ = 0;
};

}  // namespace tlm::script

#endif
