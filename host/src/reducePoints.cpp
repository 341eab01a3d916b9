#include "reducePoints.h"

#include <algorithm>
#include <array>

namespace tlm {
namespace {

using Points = std::vector<ChartPoint>;

constexpr size_t kQualities = 4;

// A few points of a column, each once, in their order.
class Chosen {
 public:
  void add(Points::const_iterator point) {
    size_t at = count_;
    while (at > 0 && points_[at - 1] > point) --at;
    if (at > 0 && points_[at - 1] == point) return;
    for (size_t i = count_++; i > at; --i) points_[i] = points_[i - 1];
    points_[at] = point;
  }
  void appendTo(Points* all) const {
    for (size_t i = 0; i < count_; ++i) all->push_back(*points_[i]);
  }

 private:
  std::array<Points::const_iterator, 4 + kQualities> points_;
  size_t count_ = 0;
};

// Takes a run of points that lie in one column.
void takeColumn(Points::const_iterator first, Points::const_iterator end, Points* all) {
  Chosen chosen;
  chosen.add(first);
  chosen.add(end - 1);
  auto low = first;
  auto high = first;
  std::array<bool, kQualities> seen{true};  // good ones are worth no mark
  for (auto point = first; point != end; ++point) {
    if (point->value < low->value) low = point;
    if (point->value > high->value) high = point;
    bool& known = seen[static_cast<size_t>(point->quality) % kQualities];
    if (!known) chosen.add(point);
    known = true;
  }
  chosen.add(low);
  chosen.add(high);
  chosen.appendTo(all);
}

}  // namespace

std::vector<ChartPoint> reducePoints(const std::vector<ChartPoint>& points, double from, double to, int columns) {
  if (points.empty() || columns < 1 || !(from < to)) return {};
  const auto before = [](const ChartPoint& point, double time) { return point.time < time; };
  const auto after = [](double time, const ChartPoint& point) { return time < point.time; };
  const auto first = std::lower_bound(points.begin(), points.end(), from, before);
  const auto end = std::upper_bound(first, points.end(), to, after);
  Points chosen;
  chosen.reserve(std::min(static_cast<size_t>(end - first), static_cast<size_t>(columns) * 7) + 2);
  if (first != points.begin()) chosen.push_back(*(first - 1));
  const double scale = columns / (to - from);
  for (auto start = first; start != end;) {
    const int column = static_cast<int>((start->time - from) * scale);
    auto stop = start;
    while (stop != end && static_cast<int>((stop->time - from) * scale) == column) ++stop;
    takeColumn(start, stop, &chosen);
    start = stop;
  }
  if (end != points.end()) chosen.push_back(*end);
  return chosen;
}

}  // namespace tlm
