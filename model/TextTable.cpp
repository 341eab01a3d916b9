#include "TextTable.h"

#include "RecordAccess.h"

#include <QTextCodec>

#include <algorithm>
#include <cstring>

namespace {

// Texts are hashed and compared four units at a time: a look-up by key does both for 32 characters.
constexpr uint32_t kUnitsInWord = 4;
constexpr uchar kCyrillicRow = 0x04;
constexpr uint64_t eachUnit(uint64_t bits) { return bits * 0x0001000100010001u; }

constexpr uint64_t mix(uint64_t hash, uint64_t word) {
  hash = (hash ^ word) * 0x9E3779B97F4A7C15u;
  return hash ^ hash >> 32;
}

constexpr unsigned hashOf(uint64_t mixed) {
  const auto hash = static_cast<unsigned>(mixed);
  return hash | (hash == 0);
}

inline ushort fold(QChar c) {
  const ushort unit = c.unicode();
  if (unit < 128) return unit >= 'A' && unit <= 'Z' ? unit | 0x20 : unit;
  return c.toCaseFolded().unicode();
}

// The small letters of four ASCII units: bit 7 of a sum tells whether the unit reaches the bound.
constexpr uint64_t foldAscii(uint64_t word) {
  const uint64_t fromA = word + eachUnit(0x80 - 'A');
  const uint64_t aboveZ = word + eachUnit(0x80 - 'Z' - 1);
  return word | (fromA & ~aboveZ & eachUnit(0x80)) >> 2;
}

// Up to four units of a text, folded; zeros fill the rest.
uint64_t foldedUnits(const QChar* text, uint32_t count) {
  uint64_t word = 0;
  std::memcpy(&word, text, std::min(count, kUnitsInWord) * sizeof(QChar));
  if ((word & eachUnit(0xFF80)) == 0) return foldAscii(word);
  std::array<ushort, kUnitsInWord> units{};
  for (uint32_t i = 0; i < std::min(count, kUnitsInWord); ++i) units[i] = fold(text[i]);
  std::memcpy(&word, units.data(), sizeof word);
  return word;
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
  cyrillic_ = {};
  for (int byte = 0x80; byte < 256; ++byte)
    if (chars_[byte].row() == kCyrillicRow) cyrillic_[chars_[byte].cell()] = static_cast<char>(byte);
}

QByteArray TextTable::encode(const QString& text) const {
  if (!codec_) return QByteArray();
  QByteArray bytes(text.size(), Qt::Uninitialized);
  char* out = bytes.data();
  for (const QChar c : text) {
    const char byte = c.row() == kCyrillicRow ? cyrillic_[c.cell()] : c.unicode() < 0x80 ? c.toLatin1() : '\0';
    if (byte == 0 && !c.isNull()) return codec_->fromUnicode(text);
    *out++ = byte;
  }
  return bytes;
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

// The same word as that of the decoded text.
uint64_t TextTable::foldedWord(const char* bytes, uint32_t count) const {
  std::array<ushort, kUnitsInWord> units{};
  for (uint32_t i = 0; i < std::min(count, kUnitsInWord); ++i) units[i] = folded_[static_cast<uchar>(bytes[i])];
  uint64_t word = 0;
  std::memcpy(&word, units.data(), sizeof word);
  return word;
}

bool TextTable::equalsFolded(const MDRVar& value, const QString& text) const {
  const auto length = static_cast<uint32_t>(text.size());
  if (!codec_ || !isText(value) || value.text.length != length) return false;
  for (uint32_t at = 0; at < length; at += kUnitsInWord) {
    if (foldedWord(value.text.data + at, length - at) != foldedUnits(text.constData() + at, length - at)) return false;
  }
  return true;
}

unsigned TextTable::foldedHash(const MDRVar& value) const {
  const uint32_t length = codec_ && isText(value) ? value.text.length : 0;
  uint64_t hash = length;
  for (uint32_t at = 0; at < length; at += kUnitsInWord)
    hash = mix(hash, foldedWord(value.text.data + at, length - at));
  return hashOf(hash);
}

unsigned TextTable::foldedHash(const QString& text) {
  const auto length = static_cast<uint32_t>(text.size());
  uint64_t hash = length;
  for (uint32_t at = 0; at < length; at += kUnitsInWord)
    hash = mix(hash, foldedUnits(text.constData() + at, length - at));
  return hashOf(hash);
}

namespace {

const TextTable& tableOf(QTextCodec* codec) {
  thread_local TextTable table;
  table.use(codec);
  return table;
}

}  // namespace

QString decodeText(const char* bytes, uint32_t length, QTextCodec* codec) {
  return tableOf(codec).decode(bytes, length);
}

QByteArray encodeText(const QString& text, QTextCodec* codec) { return tableOf(codec).encode(text); }
