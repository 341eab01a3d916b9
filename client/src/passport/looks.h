// Fonts and colours that the sheet and its table tabs share.
#pragma once

#include <QColor>
#include <QFont>

namespace tlm::passport {

inline const QColor kEditedColor(0xb0, 0x3a, 0x00);
inline const QColor kLockedColor(0x70, 0x70, 0x70);

// Bold alone: family and size stay those of the view.
inline QFont boldFont() {
  QFont font;
  font.setBold(true);
  return font;
}

}  // namespace tlm::passport
