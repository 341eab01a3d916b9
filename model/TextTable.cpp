#include "TextTable.h"

#include "RecordAccess.h"

#include <QTextCodec>

namespace {

constexpr unsigned kHashStart = 2166136261u;  // FNV-1a
constexpr unsigned mix(unsigned hash, ushort unit) { return (hash ^ unit) * 16777619u; }

// Keys are ASCII, where folding needs no table.
inline ushort fold(QChar c) {
  const ushort unit = c.unicode();
  if (unit < 128) return unit >= 'A' && unit <= 'Z' ? unit | 0x20 : unit;
  return c.toCaseFolded().unicode();
}

}  // namespace

void TextTable::use(QTextCodec* codec) {
  if (codec == codec_) return;
  codec_ = codec;
  if (!codec) return;
  for (int byte = 0; byte < 256; ++byte) {
    const char c = static_cast<char>(byte);
    const QString text = codec->toUnicode(&c, 1);
    chars_[byte] = text.isEmpty() ? QChar(QChar::ReplacementCharacter) : text.at(0);
    folded_[byte] = fold(chars_[byte]);
  }
}

QString TextTable::decode(const char* bytes, uint32_t length) const {
  if (!codec_ || length == 0) return QString();
  QString text(static_cast<int>(length), Qt::Uninitialized);
  QChar* out = text.data();
  for (uint32_t i = 0; i < length; ++i) out[i] = chars_[static_cast<uchar>(bytes[i])];
  return text;
}

QString TextTable::decode(const MDRVar& value) const {
  return isText(value) ? decode(value.text.data, value.text.length) : QString();
}

bool TextTable::equalsFolded(const MDRVar& value, const QString& text) const {
  if (!codec_ || !isText(value) || value.text.length != static_cast<uint32_t>(text.size())) return false;
  for (int i = 0; i < text.size(); ++i) {
    if (folded_[static_cast<uchar>(value.text.data[i])] != fold(text.at(i))) return false;
  }
  return true;
}

unsigned TextTable::foldedHash(const MDRVar& value) const {
  unsigned hash = kHashStart;
  if (codec_ && isText(value)) {
    for (uint32_t i = 0; i < value.text.length; ++i) hash = mix(hash, folded_[static_cast<uchar>(value.text.data[i])]);
  }
  return hash | (hash == 0);
}

unsigned TextTable::foldedHash(const QString& text) {
  unsigned hash = kHashStart;
  for (const QChar c : text) hash = mix(hash, fold(c));
  return hash | (hash == 0);
}
