// retro.draw: the chart of the retrospective with 100 000 points, zoomed and moved, against the same points reduced to
// the width and drawn by hand with QPainter: background, grid, labels and line in the same size, with the same pens. A
// step is one look closer or one move and the picture that follows.
#include <bench/bench.h>
#include <host/src/objectInfo.h>
#include <host/src/reducePoints.h>
#include <host/src/retroChart.h>

#include <QApplication>
#include <QPainter>

#include <cmath>
#include <stdexcept>
#include <utility>

namespace tlm::bench {
namespace {

constexpr int kPoints = 100'000;
constexpr int kSteps = 40;  // of one measurement: half of them look closer, half move
constexpr int kRounds = 9;
constexpr double kStart = 46'000;
constexpr double kStep = 1.0 / 86'400;
const QSize kSize(900, 500);

std::vector<ChartPoint> makePoints() {
  std::vector<ChartPoint> points;
  points.reserve(kPoints);
  for (int i = 0; i < kPoints; ++i) {
    const double noise = i * 7919 % 1000 / 1000.0 - 0.5;
    points.push_back({kStart + i * kStep, 110 + 5 * std::sin(i / 5000.0) + noise});
  }
  return points;
}

struct Times {
  double from;
  double to;
};

Times timesOf(int step) {
  constexpr double kAll = kPoints * kStep;
  const double span = kAll * std::pow(0.9, step / 2);
  const double from = kStart + (kAll - span) * (step % 2 == 0 ? 0.4 : 0.45);
  return {from, from + span};
}

class Chart : public RetroChart {
 public:
  void show(const Times& times) { showTimes(times.from, times.to); }
  int painted = 0;

 protected:
  void drawForeground(QPainter* painter, const QRectF& rect) override {
    ++painted;
    RetroChart::drawForeground(painter, rect);
  }
};

class ByHand : public QWidget {
 public:
  explicit ByHand(const std::vector<ChartPoint>& points) : points_(points) {}

  void show(const Times& times) {
    times_ = times;
    update();
  }
  int painted = 0;

 protected:
  void paintEvent(QPaintEvent*) override {
    ++painted;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(rect(), Qt::white);
    const QRectF area = QRectF(rect()).adjusted(50, 30, -18, -30);
    const Times times = times_;
    drawGrid(painter, area, times);
    painter.setClipRect(area);
    painter.setPen(QPen(QColor("#2f6db5"), 1.6, Qt::SolidLine, Qt::RoundCap));
    QPointF last;
    bool first = true;
    for (const ChartPoint& point : reducePoints(points_, times.from, times.to, static_cast<int>(area.width()))) {
      const QPointF next(area.left() + (point.time - times.from) / (times.to - times.from) * area.width(),
                         area.bottom() - (point.value - kLow) / (kHigh - kLow) * area.height());
      if (!std::exchange(first, false)) painter.drawLine(last, next);
      last = next;
    }
  }

 private:
  static constexpr double kLow = 104;
  static constexpr double kHigh = 116;
  static constexpr int kLines = 6;

  static void drawGrid(QPainter& painter, const QRectF& area, const Times& times) {
    const QPen line(QColor("#e4e9ef"));
    const QPen text(QColor("#3c4652"));
    for (int i = 0; i <= kLines; ++i) {
      const double y = area.bottom() - area.height() * i / kLines;
      const double x = area.left() + area.width() * i / kLines;
      painter.setPen(line);
      painter.drawLine(QPointF(area.left(), y), QPointF(area.right(), y));
      painter.drawLine(QPointF(x, area.top()), QPointF(x, area.bottom()));
      painter.setPen(text);
      painter.drawText(QRectF(0, y - 10, area.left() - 6, 20), Qt::AlignRight | Qt::AlignVCenter,
                       QString::number(kLow + (kHigh - kLow) * i / kLines));
      painter.drawText(QRectF(x - 50, area.bottom() + 6, 100, 20), Qt::AlignHCenter,
                       localTime(times.from + (times.to - times.from) * i / kLines).toString("hh:mm:ss"));
    }
  }

  const std::vector<ChartPoint>& points_;
  Times times_{kStart, kStart + 1};
};

// Milliseconds for one step: the look and all that follows from it, once.
template <typename Picture>
double drawAll(Picture& picture) {
  const int before = picture.painted;
  const double all = seconds([&] {
    for (int i = 0; i < kSteps; ++i) {
      picture.show(timesOf(i));
      QApplication::processEvents();
    }
  });
  if (picture.painted - before != kSteps) throw std::runtime_error("retro: not every step was painted once");
  return all / kSteps * 1e3;
}

std::vector<Result> retroDraw() {
  const std::vector<ChartPoint> points = makePoints();
  Chart chart;
  chart.setPoints(points, false, "кВ");
  ByHand hand(points);
  for (QWidget* const widget : {static_cast<QWidget*>(&chart), static_cast<QWidget*>(&hand)}) {
    widget->resize(kSize);
    widget->setVisible(true);
  }
  QApplication::processEvents();
  const auto [ours, bare] = inTurn(
      kRounds, [&] { return drawAll(chart); }, [&] { return drawAll(hand); });
  return {atMost("retro.draw", ours, bare, "ms", 1.5)};
}

}  // namespace

void addRetroBenches(Registry& registry);
void addRetroBenches(Registry& registry) { registry.add("retro.draw", retroDraw); }

}  // namespace tlm::bench
