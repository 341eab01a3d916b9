// A chart of a measurement's values over time.
#ifndef TLMHOST_RETROCHART_H
#define TLMHOST_RETROCHART_H

#include <TlmServer/LiveValues.h>

#include <QWidget>

#include <vector>

namespace tlm {

// Numbers only: a series of texts gives an empty chart. Steps hold a value until the next one.
class RetroChart : public QWidget {
  Q_OBJECT

 public:
  explicit RetroChart(QWidget* parent = nullptr);

  void setSeries(std::vector<server::LiveValue> values, bool steps, const QString& measure);
  size_t points() const { return points_.size(); }  // that are drawn

  // What is shown of the time; all of it until the wheel or a drag changes that. A double click shows all again.
  double shownFrom() const;
  double shownTo() const;

  // The point that the cursor is nearest to, as "21.11.2026 07:05:10   118.5"; empty without one.
  QString underCursor() const;

  QSize sizeHint() const override { return {720, 320}; }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;

 private:
  struct Point {
    double time = 0;
    double value = 0;
    server::Quality quality = server::Quality::kGood;
  };
  struct Range {
    double low = 0;
    double high = 1;
    double step = 1;
  };
  // The plot area and how times and values map into it.
  struct Frame {
    QRectF area;
    Range times;
    Range values;
    double x(double time) const { return area.left() + (time - times.low) / (times.high - times.low) * area.width(); }
    double y(double value) const {
      return area.bottom() - (value - values.low) / (values.high - values.low) * area.height();
    }
  };

  Frame frame() const;
  void drawGrid(QPainter& painter, const Frame& frame) const;
  void drawLine(QPainter& painter, const Frame& frame) const;
  void drawMarks(QPainter& painter, const Frame& frame) const;
  void drawCursor(QPainter& painter, const Frame& frame) const;
  const Point* nearest(double time) const;
  void showTimes(double from, double to);

  std::vector<Point> points_;
  bool steps_ = false;
  QString measure_;
  double from_ = 0;  // the times shown; both 0: all
  double to_ = 0;
  double cursor_ = -1;  // x of the mouse, -1 outside
  int grabbed_ = 0;     // where a drag was last
};

}  // namespace tlm

#endif
