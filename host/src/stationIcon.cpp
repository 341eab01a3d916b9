#include "stationIcon.h"

#include <QPainter>

namespace tlm {
namespace {

QPixmap draw(int side) {
  QPixmap pixmap(side, side);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.scale(side / 64.0, side / 64.0);
  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor("#2f6db5"));
  painter.drawRoundedRect(QRectF(2, 2, 60, 60), 12, 12);
  painter.setPen(QPen(Qt::white, 3.4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  static const QLineF kPylon[] = {{32, 9, 20, 55},  {32, 9, 44, 55},  {14, 22, 50, 22}, {18, 33, 46, 33},
                                  {28, 24, 42, 46}, {36, 24, 22, 46}, {14, 22, 14, 28}, {50, 22, 50, 28}};
  for (const QLineF& line : kPylon) painter.drawLine(line);
  return pixmap;
}

}  // namespace

QIcon stationIcon() {
  QIcon icon;
  for (const int side : {16, 24, 32, 48, 64, 128}) icon.addPixmap(draw(side));
  return icon;
}

}  // namespace tlm
