#include "retroChart.h"

#include <QGraphicsLayout>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <QtCharts/QLegend>
#include <QtCharts/QValueAxis>

#include <algorithm>
#include <array>
#include <cmath>

#include "objectInfo.h"

namespace tlm {
namespace {

using QtCharts::QChart;
using QtCharts::QValueAxis;
using server::Quality;

constexpr double kSecond = 1.0 / 86'400;
constexpr double kShortest = 10 * kSecond;  // time that is shown at least
constexpr int kMostTimeTicks = 8;
constexpr int kMostValueTicks = 6;
constexpr size_t kMostMarks = 120;  // a dense line needs no dots
constexpr int kTop = 30;            // of the plot area: the unit of measure and the legend stand above it
constexpr int kBottom = 10;         // below the times, which stand where the axis keeps room for labels
constexpr double kMark = 2.8;

const QColor kLine("#2f6db5");
const QColor kUntrusted("#98a2ae");
const QColor kGrid("#e4e9ef");
const QColor kFrame("#9aa5b1");
const QColor kText("#3c4652");
const QColor kCursor("#a85a00");

struct Mark {
  Quality quality;
  QColor colour;
};
const std::array<Mark, 4> kMarks = {{{Quality::kGood, kLine},
                                     {Quality::kManual, QColor("#7a3fa0")},
                                     {Quality::kOld, QColor("#c08a1e")},
                                     {Quality::kInvalid, QColor("#c62828")}}};

QColor markColour(Quality quality) {
  const auto found = std::find_if(kMarks.begin(), kMarks.end(), [&](const Mark& m) { return m.quality == quality; });
  return found == kMarks.end() ? kMarks.back().colour : found->colour;
}

bool trusted(const ChartPoint& point) { return point.quality == Quality::kGood || point.quality == Quality::kManual; }

// A step of 1, 2 or 5 times a power of ten that divides a span into at most `most` parts.
double niceStep(double span, int most) {
  const double raw = span / most;
  const double power = std::pow(10, std::floor(std::log10(raw)));
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (factor * power >= raw) return factor * power;
  }
  return 10 * power;
}

// A step of time that people count in.
double timeStep(double span) {
  for (const int seconds : {1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 14'400, 43'200, 86'400}) {
    if (span / (seconds * kSecond) <= kMostTimeTicks) return seconds * kSecond;
  }
  return span / kMostTimeTicks;
}

struct Range {
  double low;
  double high;
  double step;
  double anchor;  // of the steps
};

Range valueRange(double low, double high) {
  const double least = 1e-9 * std::max(1.0, std::abs(high));
  const double beyond = high - low < least ? 1 : 0;
  const double step = niceStep(high - low + 2 * beyond, kMostValueTicks);
  const double first = std::floor((low - beyond) / step) * step;
  return {first, std::ceil((high + beyond) / step) * step, step, first};
}

// States are whole numbers, and none of them lies on the frame.
Range stateRange(double low, double high) {
  constexpr double kBeyond = 0.15;
  const double first = std::min(low, 0.0);
  const double last = std::max(high, 1.0);
  return {first - kBeyond, last + kBeyond, std::max(1.0, niceStep(last - first, kMostValueTicks)), first};
}

QValueAxis* makeAxis(QChart* chart, Qt::Alignment side) {
  auto* const axis = new QValueAxis;
  axis->setTickType(QValueAxis::TicksDynamic);
  axis->setGridLineColor(kGrid);
  axis->setLinePen(QPen(kFrame));
  axis->setLabelsColor(kText);
  axis->setLabelFormat("%g");
  chart->addAxis(axis, side);
  return axis;
}

}  // namespace

RetroChart::RetroChart(QWidget* parent)
    : QChartView(parent), times_(makeAxis(chart(), Qt::AlignBottom)), values_(makeAxis(chart(), Qt::AlignLeft)) {
  times_->setLabelsVisible(false);  // the axis knows numbers only
  chart()->legend()->hide();
  chart()->setAnimationOptions(QChart::NoAnimation);
  chart()->setMargins(QMargins(6, kTop, 18, kBottom));
  chart()->layout()->setContentsMargins(0, 0, 0, 0);
  chart()->setBackgroundRoundness(0);
  chart()->setBackgroundBrush(Qt::white);
  chart()->setDropShadowEnabled(false);
  setFrameShape(QFrame::NoFrame);
  setRenderHint(QPainter::Antialiasing);
  setViewportUpdateMode(FullViewportUpdate);
  setMinimumSize(360, 220);
  viewport()->setMouseTracking(true);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
  fitAxes();
}

void RetroChart::setSeries(std::vector<server::LiveValue> values, bool steps, const QString& measure) {
  std::vector<ChartPoint> points;
  points.reserve(values.size());
  for (const server::LiveValue& value : values) {
    if (const double* const number = std::get_if<double>(&value.value); number && std::isfinite(*number))
      points.push_back({value.time, *number, value.quality});
  }
  setPoints(std::move(points), steps, measure);
}

void RetroChart::setPoints(std::vector<ChartPoint> points, bool steps, const QString& measure) {
  points_ = std::move(points);
  steps_ = steps;
  measure_ = measure;
  fitAxes();
}

// ---- axes ----

void RetroChart::fitAxes() {
  const bool there = !points_.empty();
  times_->setVisible(there);
  values_->setVisible(there);
  if (there) {
    const auto byValue = [](const ChartPoint& a, const ChartPoint& b) { return a.value < b.value; };
    const auto [low, high] = std::minmax_element(points_.begin(), points_.end(), byValue);
    const Range range = steps_ ? stateRange(low->value, high->value) : valueRange(low->value, high->value);
    values_->setTickInterval(range.step);
    values_->setTickAnchor(range.anchor);
    values_->setRange(range.low, range.high);
  }
  fitTimes();
}

void RetroChart::fitTimes() {
  stale_ = true;
  const double from = shownFrom();
  const double to = std::max(shownTo(), from + kShortest);
  times_->setTickInterval(timeStep(to - from));
  times_->setTickAnchor(std::floor(from));
  times_->setRange(from, to);
  viewport()->update();
}

QRectF RetroChart::area() const { return chart()->plotArea(); }

double RetroChart::x(double time) const {
  const QRectF plot = area();
  return plot.left() + (time - times_->min()) / (times_->max() - times_->min()) * plot.width();
}

double RetroChart::y(double value) const {
  const QRectF plot = area();
  return plot.bottom() - (value - values_->min()) / (values_->max() - values_->min()) * plot.height();
}

double RetroChart::timeAt(double position) const {
  const QRectF plot = area();
  return times_->min() + (position - plot.left()) / plot.width() * (times_->max() - times_->min());
}

// ---- drawing ----

const std::vector<ChartPoint>& RetroChart::drawn() {
  if (std::exchange(stale_, false))
    drawn_ = reducePoints(points_, times_->min(), times_->max(), std::max(1, static_cast<int>(area().width())));
  return drawn_;
}

void RetroChart::drawForeground(QPainter* painter, const QRectF&) {
  if (points_.empty()) {
    painter->setPen(palette().color(QPalette::Disabled, QPalette::Text));
    painter->drawText(viewport()->rect(), Qt::AlignCenter, QString("Нет числовых значений"));
    return;
  }
  drawn();
  drawTimes(*painter);
  painter->save();
  painter->setClipRect(area().adjusted(-kMark, -kMark, kMark, kMark));
  drawLine(*painter);
  drawMarks(*painter);
  painter->restore();
  drawLegend(*painter);
  drawCursor(*painter);
}

void RetroChart::drawTimes(QPainter& painter) const {
  constexpr int kWidth = 100;
  const double step = times_->tickInterval();
  const QString form = step < 60 * kSecond ? QString("hh:mm:ss") : QString("hh:mm");
  const QRectF plot = area();
  painter.setPen(kText);
  for (auto i = std::ceil((times_->min() - times_->tickAnchor()) / step);; ++i) {
    const double time = times_->tickAnchor() + i * step;
    if (time > times_->max()) break;
    painter.drawText(QRectF(x(time) - kWidth / 2.0, plot.bottom() + 6, kWidth, 24), Qt::AlignHCenter,
                     localTime(time).toString(form));
  }
}

// Segment by segment: one long path that covers itself again and again takes ten times as long.
void RetroChart::drawLine(QPainter& painter) const {
  const QPen good(kLine, 1.6, Qt::SolidLine, Qt::RoundCap);
  const QPen bad(kUntrusted, 1.2, Qt::SolidLine, Qt::RoundCap);
  bool last = false;
  QPointF from(x(drawn_.front().time), y(drawn_.front().value));
  for (size_t i = 1; i < drawn_.size(); ++i) {
    const QPointF to(x(drawn_[i].time), y(drawn_[i].value));
    const bool sure = trusted(drawn_[i - 1]) && (steps_ || trusted(drawn_[i]));
    if (i == 1 || sure != last) painter.setPen(sure ? good : bad);
    last = sure;
    const QPointF corner(to.x(), steps_ ? from.y() : to.y());
    if (steps_) painter.drawLine(from, corner);
    painter.drawLine(steps_ ? corner : from, to);
    from = to;
  }
}

void RetroChart::drawMarks(QPainter& painter) const {
  painter.setPen(Qt::NoPen);
  const bool dense = drawn_.size() > kMostMarks;
  for (const ChartPoint& point : drawn_) {
    if (dense && point.quality == Quality::kGood) continue;
    painter.setBrush(markColour(point.quality));
    painter.drawEllipse(QPointF(x(point.time), y(point.value)), kMark, kMark);
  }
}

// The unit of measure, and what the colours of the marks say that are there.
void RetroChart::drawLegend(QPainter& painter) const {
  const QFontMetrics metrics(font());
  const double line = area().top() - 10;
  painter.setPen(kText);
  painter.drawText(QPointF(area().left(), line), measure_);
  double right = area().right();
  for (auto mark = kMarks.rbegin(); mark != kMarks.rend() - 1; ++mark) {
    const bool there = std::any_of(drawn_.begin(), drawn_.end(),
                                   [&](const ChartPoint& point) { return point.quality == mark->quality; });
    if (!there) continue;
    const QString text = qualityText(mark->quality);
    right -= metrics.horizontalAdvance(text);
    painter.setPen(kText);
    painter.drawText(QPointF(right, line), text);
    painter.setPen(Qt::NoPen);
    painter.setBrush(mark->colour);
    painter.drawEllipse(QPointF(right - 9, line - metrics.ascent() / 2.0 + 1), kMark + 0.6, kMark + 0.6);
    right -= 30;
  }
}

void RetroChart::drawCursor(QPainter& painter) const {
  if (cursor_ < area().left() || cursor_ > area().right()) return;
  const ChartPoint* const point = nearest(timeAt(cursor_));
  const QPointF at(x(point->time), y(point->value));
  painter.setPen(QPen(kCursor, 1, Qt::DashLine));
  painter.drawLine(QPointF(at.x(), area().top()), QPointF(at.x(), area().bottom()));
  painter.setBrush(kCursor);
  painter.drawEllipse(at, 3.5, 3.5);
  const QString text = underCursor();
  const QFontMetrics metrics(font());
  QRectF label(at.x() + 10, area().top() + 6, metrics.horizontalAdvance(text) + 18, metrics.height() + 10);
  if (label.right() > area().right()) label.moveRight(at.x() - 10);
  painter.setPen(QColor("#b9c2cd"));
  painter.setBrush(palette().color(QPalette::ToolTipBase));
  painter.drawRoundedRect(label, 3, 3);
  painter.setPen(kText);
  painter.drawText(label, Qt::AlignCenter, text);
}

// ---- looking closer ----

double RetroChart::shownFrom() const { return from_ != 0 || points_.empty() ? from_ : points_.front().time; }
double RetroChart::shownTo() const { return to_ != 0 || points_.empty() ? to_ : points_.back().time; }

void RetroChart::showTimes(double from, double to) {
  if (points_.empty()) return;
  const double first = points_.front().time;
  const double last = std::max(points_.back().time, first + kShortest);
  const double span = std::clamp(to - from, kShortest, last - first);
  from_ = std::clamp(from, first, last - span);
  to_ = from_ + span;
  fitTimes();
}

void RetroChart::showAll() {
  from_ = to_ = 0;
  fitTimes();
}

void RetroChart::resizeEvent(QResizeEvent* event) {
  QChartView::resizeEvent(event);
  stale_ = true;
}

void RetroChart::wheelEvent(QWheelEvent* event) {
  event->accept();
  if (points_.empty()) return;
  constexpr double kStep = 0.8;
  const double fixed = timeAt(std::clamp(event->position().x(), area().left(), area().right()));
  const double times = event->angleDelta().y() > 0 ? kStep : 1 / kStep;
  showTimes(fixed - (fixed - times_->min()) * times, fixed + (times_->max() - fixed) * times);
}

void RetroChart::mousePressEvent(QMouseEvent* event) {
  grabbed_ = event->x();
  if (event->button() == Qt::LeftButton) viewport()->setCursor(Qt::ClosedHandCursor);
}

void RetroChart::mouseMoveEvent(QMouseEvent* event) {
  cursor_ = event->x();
  if ((event->buttons() & Qt::LeftButton) && !points_.empty()) {
    const double by = timeAt(grabbed_) - timeAt(event->x());
    showTimes(times_->min() + by, times_->max() + by);
    grabbed_ = event->x();
  }
  viewport()->update();
}

void RetroChart::mouseReleaseEvent(QMouseEvent*) { viewport()->unsetCursor(); }
void RetroChart::mouseDoubleClickEvent(QMouseEvent*) { showAll(); }

bool RetroChart::viewportEvent(QEvent* event) {
  if (event->type() == QEvent::Leave) {
    cursor_ = -1;
    viewport()->update();
  }
  return QChartView::viewportEvent(event);
}

const ChartPoint* RetroChart::nearest(double time) const {
  const auto after = std::lower_bound(points_.begin(), points_.end(), time,
                                      [](const ChartPoint& point, double wanted) { return point.time < wanted; });
  if (after == points_.begin()) return &*after;
  const auto before = after - 1;
  return after == points_.end() || time - before->time <= after->time - time ? &*before : &*after;
}

QString RetroChart::underCursor() const {
  if (points_.empty() || cursor_ < 0) return {};
  const ChartPoint* const point = nearest(timeAt(cursor_));
  const QString value = valueText_ ? valueText_(point->value)
                                   : QString("%1 %2").arg(QString::number(point->value, 'g', 8), measure_).trimmed();
  QString text = QString("%1   %2").arg(localTime(point->time).toString("dd.MM.yyyy hh:mm:ss"), value);
  if (point->quality != Quality::kGood) text += QString(" (%1)").arg(qualityText(point->quality));
  return text;
}

}  // namespace tlm
