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

  QSize sizeHint() const override { return {720, 320}; }

 protected:
  void paintEvent(QPaintEvent* event) override;

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

  std::vector<Point> points_;
  bool steps_ = false;
  QString measure_;
};

}  // namespace tlm

#endif
