#include "passport/values.h"

#include <QByteArray>
#include <QLocale>

namespace tlm::passport {

namespace {

bool isText(int type) { return type == MDX_TEXT || type == MDX_MEMO; }

QVariant variantOf(const MDRVar& value) {
  if (value.type == MDX_NONE || value.isNull) return {};
  switch (value.type) {
    case MDX_BOOL:
      return value.flag != 0;
    case MDX_INT32:
      return qlonglong(value.i32);
    case MDX_INT64:
      return qlonglong(value.i64);
    case MDX_FLOAT:
      return double(value.f32);
    case MDX_DOUBLE:
      return double(value.f64);
    default:
      return decode(value);
  }
}

}  // namespace

QTextCodec* codePage() {
  static QTextCodec* const codec = QTextCodec::codecForName("Windows-1251");
  return codec;
}

QString decode(const MDRVar& value) {
  if (!isText(value.type) || value.isNull) return {};
  return codePage()->toUnicode(value.text.data, int(value.text.length));
}

QVariant readValue(const MDRField* field, const MDRData* record) {
  MDRVar value{};
  MDRGetVal(field, record, &value);
  return variantOf(value);
}

bool writeValue(const MDRField* field, MDRData* record, const QVariant& value) {
  if (!field) return false;
  MDRVar out{};
  QByteArray bytes;
  if (!value.isValid()) {
    out.type = field->type;
    out.isNull = 1;
  } else if (value.type() == QVariant::Bool) {
    out.type = MDX_BOOL;
    out.flag = value.toBool();
  } else if (value.type() == QVariant::String) {
    bytes = codePage()->fromUnicode(value.toString());
    out.type = MDX_TEXT;
    out.text.length = uint32_t(bytes.size());
    out.text.data = bytes.constData();
  } else if (value.type() == QVariant::Double) {
    out.type = MDX_DOUBLE;
    out.f64 = value.toDouble();
  } else {
    out.type = MDX_INT64;
    out.i64 = value.toLongLong();
  }
  return MDRSetVal(field, record, &out) >= 0;
}

QString readText(const MDArray* array, const MDRData* record, const char* field) {
  return readValue(MDRFldByName(array, field), record).toString();
}

MDRData* seekText(const MDArray* array, int key, const QString& text) {
  const QByteArray bytes = codePage()->fromUnicode(text);
  MDRVar value{};
  value.type = MDX_TEXT;
  value.text.length = uint32_t(bytes.size());
  value.text.data = bytes.constData();
  return key < MDAKeyCount(array) ? MDARecSeekV(array, key, &value, nullptr) : nullptr;
}

MDRData* seekNumber(const MDArray* array, int key, qint64 number) {
  MDRVar value{};
  value.type = MDX_INT64;
  value.i64 = number;
  return key < MDAKeyCount(array) ? MDARecSeekV(array, key, &value, nullptr) : nullptr;
}

QString plainText(const QVariant& value) {
  if (!value.isValid()) return {};
  if (value.type() == QVariant::Double) return QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest);
  return value.toString();
}

bool sameValue(const QVariant& a, const QVariant& b) {
  if (a.isValid() && b.isValid()) return a == b;
  const QVariant& only = a.isValid() ? a : b;
  if (!only.isValid()) return true;
  if (only.type() == QVariant::Bool) return !only.toBool();
  return only.type() == QVariant::String && only.toString().isEmpty();
}

}  // namespace tlm::passport
