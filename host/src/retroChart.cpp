#include "retroChart.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

#include "objectInfo.h"

namespace tlm {
namespace {

constexpr double kSecond = 1.0 / 86'400;
constexpr double kShortest = 10 * kSecond;  // time that is shown at least
constexpr int kMostTimeTicks = 8;
constexpr int kMostValueTicks = 6;
constexpr int kMostMarks = 120;  // a dense line needs no dots

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

QColor markColour(server::Quality quality) {
  switch (quality) {
    case server::Quality::kGood:
      return QColor("#2f6db5");
    case server::Quality::kManual:
      return QColor("#7a3fa0");
    case server::Quality::kOld:
      return QColor("#b0863a");
    case server::Quality::kInvalid:
      break;
  }
  return QColor("#c62828");
}

}  // namespace

RetroChart::RetroChart(QWidget* parent) : QWidget(parent) {
  setMinimumSize(360, 180);
  setMouseTracking(true);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void RetroChart::setSeries(std::vector<server::LiveValue> values, bool steps, const QString& measure) {
  points_.clear();
  for (const server::LiveValue& value : values) {
    if (const double* const number = std::get_if<double>(&value.value); number && std::isfinite(*number)) {
      points_.push_back({value.time, *number, value.quality});
    }
  }
  steps_ = steps;
  measure_ = measure;
  update();
}

RetroChart::Frame RetroChart::frame() const {
  Frame frame;
  const auto byValue = [](const Point& a, const Point& b) { return a.value < b.value; };
  const auto [low, high] = std::minmax_element(points_.begin(), points_.end(), byValue);
  frame.values.low = low->value;
  frame.values.high = high->value;
  if (frame.values.high - frame.values.low < 1e-9 * std::max(1.0, std::abs(frame.values.high))) {
    frame.values.low -= 1;
    frame.values.high += 1;
  }
  frame.values.step = niceStep(frame.values.high - frame.values.low, kMostValueTicks);
  frame.values.low = std::floor(frame.values.low / frame.values.step) * frame.values.step;
  frame.values.high = std::ceil(frame.values.high / frame.values.step) * frame.values.step;
  frame.times.low = shownFrom();
  frame.times.high = std::max(shownTo(), frame.times.low + kShortest);
  frame.times.step = timeStep(frame.times.high - frame.times.low);
  const QFontMetrics metrics(font());
  const int left = std::max(metrics.horizontalAdvance(QString::number(frame.values.low)),
                            metrics.horizontalAdvance(QString::number(frame.values.high))) +
                   20;
  frame.area = QRectF(rect()).adjusted(left, metrics.height() + 12, -24, -metrics.height() - 14);
  return frame;
}

void RetroChart::drawGrid(QPainter& painter, const Frame& f) const {
  const QFontMetrics metrics(font());
  const QPen line(QColor("#dde3ea"));
  const QPen label(palette().color(QPalette::Text));
  const int valueSteps = int(std::lround((f.values.high - f.values.low) / f.values.step));
  for (int i = 0; i <= valueSteps; ++i) {
    const double value = f.values.low + i * f.values.step;
    painter.setPen(line);
    painter.drawLine(QPointF(f.area.left(), f.y(value)), QPointF(f.area.right(), f.y(value)));
    painter.setPen(label);
    const QString text = QString::number(std::abs(value) < f.values.step / 1000 ? 0 : value);
    painter.drawText(QRectF(0, f.y(value) - metrics.height() / 2.0, f.area.left() - 8, metrics.height()),
                     Qt::AlignRight | Qt::AlignVCenter, text);
  }
  const QString form = f.times.step < 60 * kSecond ? QString("hh:mm:ss") : QString("hh:mm");
  const auto lastTime = qint64(std::floor(f.times.high / f.times.step));
  for (auto i = qint64(std::ceil(f.times.low / f.times.step)); i <= lastTime; ++i) {
    const double time = double(i) * f.times.step;
    painter.setPen(line);
    painter.drawLine(QPointF(f.x(time), f.area.top()), QPointF(f.x(time), f.area.bottom()));
    painter.setPen(label);
    painter.drawText(QRectF(f.x(time) - 50, f.area.bottom() + 4, 100, metrics.height()), Qt::AlignCenter,
                     localTime(time).toString(form));
  }
  painter.setPen(QPen(QColor("#8793a1")));
  painter.drawRect(f.area);
  if (!measure_.isEmpty()) painter.drawText(QPointF(f.area.left(), f.area.top() - 6), measure_);
}

void RetroChart::drawLine(QPainter& painter, const Frame& f) const {
  QPainterPath path(QPointF(f.x(points_.front().time), f.y(points_.front().value)));
  for (size_t i = 1; i < points_.size(); ++i) {
    const double x = f.x(points_[i].time);
    if (steps_) path.lineTo(x, f.y(points_[i - 1].value));
    path.lineTo(x, f.y(points_[i].value));
  }
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(QColor("#2f6db5"), 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.drawPath(path);
}

void RetroChart::drawMarks(QPainter& painter, const Frame& f) const {
  painter.setPen(Qt::NoPen);
  const bool dense = points_.size() > kMostMarks;
  for (const Point& point : points_) {
    if (dense && point.quality == server::Quality::kGood) continue;
    painter.setBrush(markColour(point.quality));
    painter.drawEllipse(QPointF(f.x(point.time), f.y(point.value)), 2.6, 2.6);
  }
}

void RetroChart::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.fillRect(rect(), palette().color(QPalette::Base));
  if (points_.empty()) {
    painter.setPen(palette().color(QPalette::Disabled, QPalette::Text));
    painter.drawText(rect(), Qt::AlignCenter, QString("Нет числовых значений"));
    return;
  }
  const Frame f = frame();
  drawGrid(painter, f);
  painter.save();
  painter.setClipRect(f.area.adjusted(-3, -3, 3, 3));
  drawLine(painter, f);
  drawMarks(painter, f);
  painter.restore();
  drawCursor(painter, f);
}

// ---- looking closer ----

double RetroChart::shownFrom() const { return from_ != 0 || points_.empty() ? from_ : points_.front().time; }
double RetroChart::shownTo() const { return to_ != 0 || points_.empty() ? to_ : points_.back().time; }

// Not beyond what there is.
void RetroChart::showTimes(double from, double to) {
  if (points_.empty()) return;
  const double first = points_.front().time;
  const double last = std::max(points_.back().time, first + kShortest);
  const double span = std::clamp(to - from, kShortest, last - first);
  from_ = std::clamp(from, first, last - span);
  to_ = from_ + span;
  update();
}

void RetroChart::wheelEvent(QWheelEvent* event) {
  if (points_.empty()) return;
  constexpr double kStep = 0.8;
  const Frame f = frame();
  const double part = std::clamp((event->position().x() - f.area.left()) / f.area.width(), 0.0, 1.0);
  const double span = f.times.high - f.times.low;
  const double next = event->angleDelta().y() > 0 ? span * kStep : span / kStep;
  const double fixed = f.times.low + part * span;
  showTimes(fixed - part * next, fixed + (1 - part) * next);
  event->accept();
}

void RetroChart::mousePressEvent(QMouseEvent* event) { grabbed_ = event->x(); }

void RetroChart::mouseMoveEvent(QMouseEvent* event) {
  cursor_ = event->x();
  if ((event->buttons() & Qt::LeftButton) && !points_.empty()) {
    const Frame f = frame();
    const double by = (grabbed_ - event->x()) / f.area.width() * (f.times.high - f.times.low);
    showTimes(f.times.low + by, f.times.high + by);
    grabbed_ = event->x();
  }
  update();
}

void RetroChart::mouseDoubleClickEvent(QMouseEvent*) {
  from_ = to_ = 0;
  update();
}

void RetroChart::leaveEvent(QEvent*) {
  cursor_ = -1;
  update();
}

const RetroChart::Point* RetroChart::nearest(double time) const {
  const auto after = std::lower_bound(points_.begin(), points_.end(), time,
                                      [](const Point& point, double wanted) { return point.time < wanted; });
  if (after == points_.begin()) return &*after;
  const auto before = after - 1;
  return after == points_.end() || time - before->time <= after->time - time ? &*before : &*after;
}

QString RetroChart::underCursor() const {
  if (points_.empty() || cursor_ < 0) return {};
  const Frame f = frame();
  const double time = f.times.low + (cursor_ - f.area.left()) / f.area.width() * (f.times.high - f.times.low);
  const Point* const point = nearest(time);
  return QString("%1   %2 %3")
      .arg(localTime(point->time).toString("dd.MM.yyyy hh:mm:ss"), QString::number(point->value, 'g', 8), measure_)
      .trimmed();
}

void RetroChart::drawCursor(QPainter& painter, const Frame& f) const {
  if (cursor_ < f.area.left() || cursor_ > f.area.right()) return;
  const double time = f.times.low + (cursor_ - f.area.left()) / f.area.width() * (f.times.high - f.times.low);
  const Point* const point = nearest(time);
  const QPointF at(f.x(point->time), f.y(point->value));
  painter.setPen(QPen(QColor("#a85a00"), 1, Qt::DashLine));
  painter.drawLine(QPointF(at.x(), f.area.top()), QPointF(at.x(), f.area.bottom()));
  painter.setBrush(QColor("#a85a00"));
  painter.drawEllipse(at, 3.5, 3.5);
  const QString text = underCursor();
  const QFontMetrics metrics(font());
  QRectF label(at.x() + 8, f.area.top() + 4, metrics.horizontalAdvance(text) + 12, metrics.height() + 6);
  if (label.right() > f.area.right()) label.moveRight(at.x() - 8);
  painter.setPen(QColor("#b9c2cd"));
  painter.setBrush(palette().color(QPalette::ToolTipBase));
  painter.drawRect(label);
  painter.setPen(palette().color(QPalette::Text));
  painter.drawText(label, Qt::AlignCenter, text);
}

}  // namespace tlm
