// Parameter texts of fields and tables: parts NAME=VALUE divided by ";", a value may stand in quotation marks.
#pragma once

#include <QString>
#include <QVector>

namespace tlm::passport {

struct Choice {
  qint64 value = 0;
  QString text;
};

// The value of a part without its quotation marks; names ignore case. Empty when there is no such part.
QString paramPart(const QString& param, const char* name);

// The entries of an enumeration "0=...,1=...". A piece that does not begin with a number and "=" belongs to
// the text before it, so that texts may hold commas.
QVector<Choice> parseChoices(const QString& text);

// The text of a value in such a list, or null text.
QString choiceText(const QVector<Choice>& choices, qint64 value);

}  // namespace tlm::passport
