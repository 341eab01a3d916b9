// The small frame of the benches: named measurements, each a ratio of ours to a baseline of the same run.
#ifndef TLM_BENCH_H
#define TLM_BENCH_H

#include <algorithm>
#include <chrono>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace tlm::bench {

struct Result {
  std::string name;
  double ours = 0;
  double baseline = 0;
  std::string unit;  // of both figures
  double ratio = 0;  // ours / baseline
  std::string goal;  // such as "<= 1.5"
  bool meets = false;
};

// A result whose ratio has to stay at or below (atMost) or at or above (atLeast) a bound.
inline Result atMost(std::string name, double ours, double baseline, std::string unit, double bound) {
  const double ratio = baseline != 0 ? ours / baseline : 0;
  return {std::move(name), ours, baseline, std::move(unit), ratio, "<= " + std::to_string(bound), ratio <= bound};
}
inline Result atLeast(std::string name, double ours, double baseline, std::string unit, double bound) {
  const double ratio = baseline != 0 ? ours / baseline : 0;
  return {std::move(name), ours, baseline, std::move(unit), ratio, ">= " + std::to_string(bound), ratio >= bound};
}

using Bench = std::function<std::vector<Result>()>;

// Benches by name. One name may yield several results, named with a suffix ("keys.seek.int").
class Registry {
 public:
  void add(std::string name, Bench bench) { benches_.emplace_back(std::move(name), std::move(bench)); }
  const std::vector<std::pair<std::string, Bench>>& all() const { return benches_; }

 private:
  std::vector<std::pair<std::string, Bench>> benches_;
};

inline double median(std::vector<double> values) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

// Seconds that a call takes.
template <typename Work>
double seconds(Work&& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Medians of both sides over several rounds, taken in turn so that both meet the same machine.
template <typename Ours, typename Baseline>
std::pair<double, double> inTurn(int rounds, Ours&& ours, Baseline&& baseline) {
  std::vector<double> a;
  std::vector<double> b;
  for (int i = 0; i < rounds; ++i) {
    a.push_back(ours());
    b.push_back(baseline());
  }
  return {median(std::move(a)), median(std::move(b))};
}

// Keeps a value from being optimised away.
template <typename Value>
void keep(const Value& value) {
  asm volatile("" : : "r,m"(value) : "memory");
}

}  // namespace tlm::bench

#endif
