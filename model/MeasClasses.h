// The measurement classes with the captions of their groups, and the default unit's text. Nodes are told apart
// by these texts, so they are data, not decoration.
#ifndef TLMMEAS_MEASCLASSES_H
#define TLMMEAS_MEASCLASSES_H

#include <QString>

struct MeasClass {
  const char* className;
  const char* caption;  // UTF-8
  const char* icon;
};

inline constexpr MeasClass kMeasClasses[] = {
    {"Analog", "Аналоговые измерения", ":/Analog"},
    {"Discrete", "Дискретные сигналы", ":/Discrete"},
    {"Accumulator", "Счетчики", ":/Accumulator"},
    {"StringMeasurement", "Строковые величины", ":/StringMeasurement"},
};

inline constexpr const char* kRemoteUnitClass = "RemoteUnit";

// The text of the unit that stands for "no unit".
const QString& defaultUnitText();

// The class of that name, or null.
const MeasClass* measClassByName(const QString& className, Qt::CaseSensitivity cs);

// True if the text is exactly one of the four captions.
bool isGroupCaption(const QString& text);

#endif
