#include "boxIcon.h"

#include <QPainter>
#include <QPainterPath>

namespace tlm {
namespace {

constexpr double kUnit = 32;  // icons are drawn on a field of 32 by 32

void disc(QPainter& painter, const QColor& colour) {
  painter.setPen(Qt::NoPen);
  painter.setBrush(colour);
  painter.drawEllipse(QRectF(1, 1, 30, 30));
}

void strokes(QPainter& painter, std::initializer_list<QLineF> lines) {
  painter.setPen(QPen(Qt::white, 3.6, Qt::SolidLine, Qt::RoundCap));
  for (const QLineF& line : lines) painter.drawLine(line);
}

void dot(QPainter& painter, double x, double y) {
  painter.setPen(Qt::NoPen);
  painter.setBrush(Qt::white);
  painter.drawEllipse(QPointF(x, y), 2.2, 2.2);
}

void drawError(QPainter& painter) {
  disc(painter, QColor("#c62828"));
  strokes(painter, {{11, 11, 21, 21}, {21, 11, 11, 21}});
}

void drawCritical(QPainter& painter) {
  QPainterPath octagon;
  octagon.addPolygon(QPolygonF({{10, 1}, {22, 1}, {31, 10}, {31, 22}, {22, 31}, {10, 31}, {1, 22}, {1, 10}}));
  painter.fillPath(octagon, QColor("#8e0f0f"));
  strokes(painter, {{16, 8, 16, 18}});
  dot(painter, 16, 24);
}

void drawWarning(QPainter& painter) {
  QPainterPath triangle;
  triangle.addPolygon(QPolygonF({{16, 2}, {31, 29}, {1, 29}}));
  painter.setPen(QPen(QColor("#e08a00"), 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.fillPath(triangle, QColor("#e08a00"));
  strokes(painter, {{16, 12, 16, 19}});
  dot(painter, 16, 25);
}

void drawInformation(QPainter& painter) {
  disc(painter, QColor("#2f6db5"));
  dot(painter, 16, 9);
  strokes(painter, {{16, 15, 16, 24}});
}

void drawQuestion(QPainter& painter) {
  disc(painter, QColor("#2f6db5"));
  QPainterPath hook(QPointF(11.5, 12.5));
  hook.cubicTo(11.5, 5, 21, 6, 20.5, 12);
  hook.cubicTo(20.3, 15, 16, 15, 16, 19);
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(Qt::white, 3.2, Qt::SolidLine, Qt::RoundCap));
  painter.drawPath(hook);
  dot(painter, 16, 25);
}

}  // namespace

QPixmap boxIcon(TMessageBoxIcon icon, bool question, int side, qreal ratio) {
  if (icon == kBoxNoIcon) return {};
  QPixmap pixmap(QSize(side, side) * ratio);
  pixmap.setDevicePixelRatio(ratio);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.scale(side / kUnit, side / kUnit);
  switch (icon) {
    case kBoxError:
      drawError(painter);
      break;
    case kBoxCritical:
      drawCritical(painter);
      break;
    case kBoxWarning:
      drawWarning(painter);
      break;
    default:
      question ? drawQuestion(painter) : drawInformation(painter);
  }
  return pixmap;
}

}  // namespace tlm
