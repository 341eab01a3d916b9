#include "DocumentGuard.h"

#include <algorithm>

namespace {

// Walks over the markup of a text, as the XML reader will take it.
class Walk {
 public:
  explicit Walk(const QString& text) : text_(text) {}

  bool passes() {
    for (int at = text_.indexOf('<'); at >= 0; at = text_.indexOf('<', at_)) {
      at_ = at;
      if (++parts_ > kMaxDocumentParts || !takeMarkup()) return false;
    }
    return true;
  }

 private:
  bool startsWith(const char* word) const { return QStringView(text_).mid(at_).startsWith(QLatin1String(word)); }

  // Goes behind the next `word`; false when it does not come.
  bool skipBehind(const char* word) {
    const QLatin1String end(word);
    const int found = text_.indexOf(end, at_);
    at_ = found + end.size();
    return found >= 0;
  }

  bool takeMarkup() {
    if (startsWith("<!--")) return at_ += 4, skipBehind("-->");
    if (startsWith("<![CDATA[")) return skipBehind("]]>");
    if (startsWith("<?")) return skipBehind("?>");
    if (startsWith("<!")) return takeDocumentType();
    if (startsWith("</")) return --depth_ >= 0 && skipBehind(">");
    return takeTag();
  }

  // A name alone: what could be declared behind it has no use here, and a quoted identifier may hold what looks like
  // the end of the type with other markup behind it.
  bool takeDocumentType() {
    if (!startsWith("<!DOCTYPE")) return false;
    const int from = at_;
    if (!skipBehind(">")) return false;
    const QStringView type = QStringView(text_).mid(from, at_ - from);
    return std::none_of(type.begin(), type.end(),
                        [](QChar letter) { return letter == u'[' || letter == u'"' || letter == u'\''; });
  }

  // A quoted value may hold what would end the tag.
  bool takeTag() {
    QChar quote;
    for (; at_ < text_.size(); ++at_) {
      const QChar letter = text_[at_];
      if (!quote.isNull()) {
        if (letter == quote) quote = QChar();
      } else if (letter == QLatin1Char('"') || letter == QLatin1Char('\'')) {
        quote = letter;
        if (++parts_ > kMaxDocumentParts) return false;
      } else if (letter == QLatin1Char('>')) {
        const bool empty = text_[at_ - 1] == QLatin1Char('/');
        ++at_;
        return empty || ++depth_ <= kMaxDocumentDepth;
      }
    }
    return false;
  }

  const QString& text_;
  int at_ = 0;
  int depth_ = 0;
  int parts_ = 0;
};

}  // namespace

bool isHarmlessDocument(const QString& xml) { return xml.size() <= kMaxDocumentChars && Walk(xml).passes(); }
