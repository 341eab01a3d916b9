// Points of a chart, and how many of them a picture can show.
#ifndef TLMHOST_REDUCEPOINTS_H
#define TLMHOST_REDUCEPOINTS_H

#include <TlmServer/LiveValues.h>

#include <vector>

namespace tlm {

struct ChartPoint {
  double time = 0;
  double value = 0;
  server::Quality quality = server::Quality::kGood;

  bool operator==(const ChartPoint&) const = default;
};

// What a line through the points (oldest first) needs to look the same when the time from `from` to `to` is drawn over
// so many columns of pixels: of each column the first point, the last, the lowest and the highest, and the first of
// each quality other than good, in the order of time; and the nearest point on either side, to which the line runs out
// of the picture. At most seven for a column.
std::vector<ChartPoint> reducePoints(const std::vector<ChartPoint>& points, double from, double to, int columns);

}  // namespace tlm

#endif
