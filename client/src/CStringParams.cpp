#include <TlmClient/CStringParams.h>

namespace {

// Reads one piece up to `stop` (or `end`), quoted or plain. `at` then stands on what ended it.
class Reader {
 public:
  Reader(const QString& text, QChar quote, QChar separator) : text_(text), quote_(quote), separator_(separator) {}

  bool atEnd() const { return at_ >= text_.size(); }
  bool at(QChar c) const { return !atEnd() && text_.at(at_) == c; }
  void step() { ++at_; }

  QString piece(bool isKey) {
    skipBlanks();
    if (at(quote_)) return quoted(isKey);
    const int from = at_;
    while (!ends(isKey)) ++at_;
    return text_.mid(from, at_ - from).trimmed();
  }

  void skipToSeparator() {
    while (!atEnd() && !at(separator_)) ++at_;
    step();
  }

 private:
  bool ends(bool isKey) const { return atEnd() || at(separator_) || (isKey && at('=')); }

  void skipBlanks() {
    while (!ends(true) && text_.at(at_).isSpace()) ++at_;
  }

  QString quoted(bool isKey) {
    QString result;
    for (step(); !atEnd(); step()) {
      if (at(quote_)) {
        step();
        if (!at(quote_)) break;
      }
      result += text_.at(at_);
    }
    while (!ends(isKey)) ++at_;  // nothing but blanks stands there in a text of ours
    return result;
  }

  const QString& text_;
  const QChar quote_;
  const QChar separator_;
  int at_ = 0;
};

bool needsQuotes(const QString& piece, QChar separator, QChar quote) {
  if (piece.isEmpty()) return false;
  return piece.contains(separator) || piece.contains('=') || piece.contains(quote) || piece.front().isSpace() ||
         piece.back().isSpace();
}

QString written(const QString& piece, QChar separator, QChar quote) {
  if (!needsQuotes(piece, separator, quote)) return piece;
  QString doubled = piece;
  return quote + doubled.replace(quote, QString(2, quote)) + quote;
}

}  // namespace

CStringParams::CStringParams() : quote('"') {}

void CStringParams::setParams(const QString& text, QChar separator) {
  keys_.clear();
  values_.clear();
  Reader reader(text, quote, separator);
  while (!reader.atEnd()) {
    const QString key = reader.piece(true);
    if (reader.at('=') && !key.isEmpty()) {
      reader.step();
      setValue(key, reader.piece(false));
    }
    reader.skipToSeparator();
  }
}

QString CStringParams::getParams(QChar separator) const {
  QString text;
  for (int i = 0; i < keys_.size(); ++i) {
    if (i > 0) text += separator;
    text += written(keys_.at(i), separator, quote) + '=' + written(values_.at(i), separator, quote);
  }
  return text;
}

void CStringParams::getKeys(QStringList& keys) const { keys = keys_; }

QString CStringParams::getValue(const QString& key, const QString& byDefault) const {
  const int at = keys_.indexOf(key);
  return at < 0 ? byDefault : values_.at(at);
}

void CStringParams::setValue(const QString& key, const QString& value) {
  const int at = keys_.indexOf(key);
  if (at >= 0) {
    values_[at] = value;
    return;
  }
  keys_.append(key);
  values_.append(value);
}
