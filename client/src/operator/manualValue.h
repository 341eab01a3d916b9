// What may be entered by hand for a measurement, by its kind.
#ifndef TLMCLIENT_OPERATOR_MANUALVALUE_H
#define TLMCLIENT_OPERATOR_MANUALVALUE_H

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <limits>

namespace tlm {

class Lines;

struct ManualRules {
  enum Kind { kNumber, kState, kCounter, kText };
  Kind kind = kNumber;
  bool allowed = true;
  QString unit;
  QStringList states;  // names of 0 and 1
  double low = -std::numeric_limits<double>::infinity();
  double high = std::numeric_limits<double>::infinity();
  int maxLength = 4096;
};

// Of the lines of "MeasParams".
ManualRules manualRules(const Lines& lines);

// "от 0 до 165"; empty when there is no limit.
QString limitsText(const ManualRules& rules);

// "Введено вручную: Петров, 21.11.2026 07:05:10"; empty when the value comes from its source.
QString whoText(const Lines& lines);

// A value of the server as it stands in the editor: with a decimal comma.
QString editText(const ManualRules& rules, const QString& value);

// The value for the server, or what is wrong with it in *problem. Both decimal marks are taken. The length of a text is
// the editor's.
QByteArray checkedValue(const ManualRules& rules, const QString& entered, QString* problem);

}  // namespace tlm

#endif
