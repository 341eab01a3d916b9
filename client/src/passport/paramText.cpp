#include "passport/paramText.h"

#include <QStringList>

namespace tlm::passport {

namespace {

// End of the part that begins at `from`: the next ";" outside quotation marks.
int partEnd(const QString& param, int from) {
  bool quoted = false;
  for (int i = from; i < param.size(); ++i) {
    if (param[i] == '"') quoted = !quoted;
    if (param[i] == ';' && !quoted) return i;
  }
  return param.size();
}

QString withoutQuotes(QString value) {
  if (value.startsWith('"')) value.remove(0, 1);
  if (value.endsWith('"')) value.chop(1);
  return value;
}

}  // namespace

QString paramPart(const QString& param, const char* name) {
  const QLatin1String wanted(name);
  for (int from = 0; from < param.size();) {
    const int end = partEnd(param, from);
    const int equal = param.indexOf('=', from);
    if (equal >= 0 && equal < end &&
        param.midRef(from, equal - from).trimmed().compare(wanted, Qt::CaseInsensitive) == 0)
      return withoutQuotes(param.mid(equal + 1, end - equal - 1).trimmed());
    from = end + 1;
  }
  return {};
}

QVector<Choice> parseChoices(const QString& text) {
  QVector<Choice> out;
  for (const QString& piece : text.split(',', Qt::SkipEmptyParts)) {
    const int equal = piece.indexOf('=');
    bool isNumber = false;
    const qint64 value = piece.left(qMax(equal, 0)).trimmed().toLongLong(&isNumber);
    if (isNumber)
      out.push_back({value, piece.mid(equal + 1).trimmed()});
    else if (!out.isEmpty())
      out.back().text += "," + piece;
  }
  return out;
}

QString choiceText(const QVector<Choice>& choices, qint64 value) {
  for (const Choice& choice : choices)
    if (choice.value == value) return choice.text;
  return {};
}

}  // namespace tlm::passport
