// The head of an operator's panel: which measurement it is, and its value now.
#ifndef TLMCLIENT_OPERATOR_MEASCARD_H
#define TLMCLIENT_OPERATOR_MEASCARD_H

#include <QWidget>

#include "exchange.h"

class QLabel;

namespace tlm {

inline constexpr int kButtonWidth = 96;  // of the panels' buttons, at least

// GUI thread only.
class MeasCard : public QWidget {
  Q_OBJECT

 public:
  explicit MeasCard(QWidget* parent);

  // Takes the lines of "MeasParams": all of them, or the value alone.
  void setParams(const Lines& lines);
  void setValue(const Lines& lines);
  void setSilent();  // the server is not heard

 private:
  QLabel* name_;
  QLabel* place_;
  QLabel* value_;
  QLabel* since_;
};

// A label of the width of its panel, for one line or several.
QLabel* wideLabel(QWidget* parent, const char* objectName);

// Puts a text into such a label. A word that is longer than the label is broken: no end of a name is cut off.
void showText(QLabel* label, const QString& text);

// A line that tells what is wrong (red) or how things stand.
void showNotice(QLabel* label, const QString& text, bool bad);

}  // namespace tlm

#endif
