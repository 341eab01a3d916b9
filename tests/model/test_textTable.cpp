// Texts of the code page, decoded and encoded without the codec's cost for each call.
#include <TextTable.h>
#include <gtest/gtest.h>

#include <QTextCodec>

namespace {

QTextCodec* codec() { return QTextCodec::codecForName("Windows-1251"); }

QByteArray everyByte() {
  QByteArray bytes;
  for (int byte = 1; byte < 256; ++byte) bytes.append(static_cast<char>(byte));
  return bytes;
}

}  // namespace

TEST(Texts, EveryByteIsDecodedAsByTheCodec) {
  const QByteArray bytes = everyByte();
  EXPECT_EQ(decodeText(bytes.constData(), static_cast<uint32_t>(bytes.size()), codec()), codec()->toUnicode(bytes));
  EXPECT_EQ(decodeText(bytes.constData(), 0, codec()), QString());
}

TEST(Texts, AreEncodedAsByTheCodec) {
  const QString texts[] = {QString(), "ASCII 0..9",   "Ёлка, ґанок, Ђ", "№ 5 — «ТП»",
                           "日本",    "Привет, 日本", QString(QChar(0))};
  for (const QString& text : texts)
    EXPECT_EQ(encodeText(text, codec()), codec()->fromUnicode(text)) << qPrintable(text);
  for (const QChar c : codec()->toUnicode(everyByte()))
    EXPECT_EQ(encodeText(QString(c), codec()), codec()->fromUnicode(QString(c))) << c.unicode();
}

TEST(Texts, OfACodecThatChangesAreThoseOfTheOther) {
  QTextCodec* const other = QTextCodec::codecForName("KOI8-R");
  const QString text = QStringLiteral("Подстанция");
  EXPECT_NE(encodeText(text, other), encodeText(text, codec()));
  const QByteArray bytes = encodeText(text, other);
  EXPECT_EQ(decodeText(bytes.constData(), static_cast<uint32_t>(bytes.size()), other), text);
}
