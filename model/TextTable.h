// Texts of a one-byte code page, decoded by a table of its 256 characters.
#ifndef TLMMEAS_TEXTTABLE_H
#define TLMMEAS_TEXTTABLE_H

#include <TlmMdx/mdx.h>

#include <QByteArray>
#include <QString>

#include <array>
#include <cstdint>

class QTextCodec;

// The same characters as the codec gives, without its cost for each call: a codec opens a converter every
// time, and a tree that is painted decodes some hundred texts.
class TextTable {
 public:
  // Takes the characters of a one-byte codec; nothing to do when it is the one at hand. Null: texts are empty.
  void use(QTextCodec* codec);

  QString decode(const char* bytes, uint32_t length) const;
  QByteArray encode(const QString& text) const;
  // A text value decoded; empty for any other value.
  QString decode(const MDRVar& value) const;

  // True if a text value equals the text without regard to case, as QString compares.
  bool equalsFolded(const MDRVar& value, const QString& text) const;

  // Equal for texts that are equal without regard to case. Never 0.
  unsigned foldedHash(const MDRVar& value) const;
  static unsigned foldedHash(const QString& text);

 private:
  uint64_t foldedWord(const char* bytes, uint32_t count) const;

  QTextCodec* codec_ = nullptr;
  std::array<QChar, 256> chars_{};
  std::array<ushort, 256> folded_{};
  std::array<char, 256> cyrillic_{};  // bytes of U+0400 to U+04FF; 0: none
};

// What the one-byte codec gives for bytes and for a text, without its cost for each call. A codec that holds ASCII,
// as all of them here do.
QString decodeText(const char* bytes, uint32_t length, QTextCodec* codec);
QByteArray encodeText(const QString& text, QTextCodec* codec);

#endif
