// A chart of a measurement's values over time.
#ifndef TLMHOST_RETROCHART_H
#define TLMHOST_RETROCHART_H

#include <TlmServer/LiveValues.h>

#include <QtCharts/QChartView>

#include <functional>
#include <vector>

#include "reducePoints.h"

QT_CHARTS_BEGIN_NAMESPACE
class QValueAxis;
QT_CHARTS_END_NAMESPACE

namespace tlm {

// Numbers only: a series of texts gives an empty chart. Steps hold a value until the next one. Where a value is not to
// be trusted the line is thin and grey, and a mark tells why.
//
// Axes, grid and background are those of the chart; the line is drawn over them, from points reduced to the columns of
// pixels. A line series would do the same at twice the cost of a drawing by hand: it makes an outline of its path
// for clicks that nobody makes.
class RetroChart : public QtCharts::QChartView {
  Q_OBJECT

 public:
  explicit RetroChart(QWidget* parent = nullptr);

  void setSeries(std::vector<server::LiveValue> values, bool steps, const QString& measure);
  void setPoints(std::vector<ChartPoint> points, bool steps, const QString& measure);  // oldest first
  // How a value is written beside the cursor, its measure included; until told, with up to eight digits.
  void setValueText(std::function<QString(double)> write) { valueText_ = std::move(write); }
  size_t points() const { return points_.size(); }  // that there are
  const std::vector<ChartPoint>& drawn();           // of those

  // What is shown of the time; all of it until the wheel or a drag changes that. A double click shows all again.
  double shownFrom() const;
  double shownTo() const;
  void showTimes(double from, double to);  // as far as there is something
  void showAll();

  // The point that the cursor is nearest to, as "21.11.2026 07:05:10   118.5"; empty without one.
  QString underCursor() const;

  QSize sizeHint() const override { return {720, 420}; }

 protected:
  void drawForeground(QPainter* painter, const QRectF& rect) override;
  void resizeEvent(QResizeEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  bool viewportEvent(QEvent* event) override;

 private:
  QRectF area() const;
  double x(double time) const;
  double y(double value) const;
  double timeAt(double x) const;
  void fitAxes();
  void fitTimes();
  void drawTimes(QPainter& painter) const;
  void drawLine(QPainter& painter) const;
  void drawMarks(QPainter& painter) const;
  void drawLegend(QPainter& painter) const;
  void drawCursor(QPainter& painter) const;
  const ChartPoint* nearest(double time) const;

  QtCharts::QValueAxis* const times_;
  QtCharts::QValueAxis* const values_;
  std::vector<ChartPoint> points_;
  std::vector<ChartPoint> drawn_;
  bool stale_ = true;  // drawn_ is of other times, another width or other points
  bool steps_ = false;
  QString measure_;
  std::function<QString(double)> valueText_;
  double from_ = 0;  // the times shown; both 0: all
  double to_ = 0;
  double cursor_ = -1;  // x of the mouse, -1 outside
  int grabbed_ = 0;     // where a drag was last
};

}  // namespace tlm

#endif
