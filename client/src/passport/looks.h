// Fonts and colours that the sheet and its table tabs share.
#pragma once

#include <QColor>
#include <QFont>
#include <QIcon>
#include <QPainter>
#include <QPixmap>
#include <QWidget>

namespace tlm::passport {

inline const QColor kEditedColor(0xb0, 0x3a, 0x00);
inline const QColor kLockedColor(0x70, 0x70, 0x70);
inline const QColor kMixedColor(0x80, 0x80, 0x80);
inline const QColor kMixedPattern(0xdd, 0xdd, 0xdd);

// Bold alone: family and size stay those of the view.
inline QFont boldFont() {
  QFont font;
  font.setBold(true);
  return font;
}

// The arrow of an editor that opens something, drawn so that it needs no image.
inline QIcon arrowIcon(const QWidget* widget) {
  QPixmap pixmap(16, 16);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(widget->palette().color(QPalette::Text));
  painter.drawPolygon(QPolygonF({{4, 6}, {12, 6}, {8, 11}}));
  return QIcon(pixmap);
}

}  // namespace tlm::passport
