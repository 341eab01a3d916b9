#include "MeasClasses.h"

#include <algorithm>
#include <iterator>

const QString& defaultUnitText() {
  static const QString text = QStringLiteral("(Устройство по умолчанию)");
  return text;
}

const MeasClass* measClassByName(const QString& className, Qt::CaseSensitivity cs) {
  const auto found = std::find_if(std::begin(kMeasClasses), std::end(kMeasClasses), [&](const MeasClass& row) {
    return className.compare(QLatin1String(row.className), cs) == 0;
  });
  return found == std::end(kMeasClasses) ? nullptr : found;
}

bool isGroupCaption(const QString& text) {
  if (text.isEmpty()) return false;
  return std::any_of(std::begin(kMeasClasses), std::end(kMeasClasses),
                     [&](const MeasClass& row) { return text == QString::fromUtf8(row.caption); });
}
