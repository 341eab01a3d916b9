// One value of a field as a variant: invalid for null, else a text, a 64-bit integer, a double or a boolean.
#pragma once

#include <TlmMdx/mdx.h>

#include <QString>
#include <QTextCodec>
#include <QVariant>

namespace tlm::passport {

QTextCodec* codePage();  // Windows-1251, looked up once

QString decode(const MDRVar& value);

QVariant readValue(const MDRField* field, const MDRData* record);

// False when the field cannot hold the value; nothing is written then.
bool writeValue(const MDRField* field, MDRData* record, const QVariant& value);

// The text of a text field, empty when it is null or missing.
QString readText(const MDArray* array, const MDRData* record, const char* field);

// The first record whose text key has that value, or null.
MDRData* seekText(const MDArray* array, int key, const QString& text);
MDRData* seekNumber(const MDArray* array, int key, qint64 number);

// The plain form: decimal numbers, "true" and "false", empty for null.
QString plainText(const QVariant& value);

// Null and false, and null and the empty text, look alike in the sheet and are one here.
bool sameValue(const QVariant& a, const QVariant& b);

}  // namespace tlm::passport
