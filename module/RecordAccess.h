// Small helpers over the record interface: guards, values, texts of fields, seeks. Used by all of the module.
#ifndef TLMMEAS_RECORDACCESS_H
#define TLMMEAS_RECORDACCESS_H

#include <TlmMdx/CMDArray.h>
#include <TlmMdx/values.h>

#include <QByteArray>
#include <QString>
#include <QTextCodec>

#include <functional>
#include <utility>

#include "TextTable.h"

// Calls a function at the end of its scope, whichever way the scope is left.
class ScopeGuard {
 public:
  explicit ScopeGuard(std::function<void()> body) : body_(std::move(body)) {}
  ~ScopeGuard() {
    if (body_) body_();
  }
  ScopeGuard(const ScopeGuard&) = delete;
  ScopeGuard& operator=(const ScopeGuard&) = delete;

 private:
  std::function<void()> body_;
};

// Values for seeks and writes. A text value points at `bytes`, which must outlive it.
inline MDRVar textVar(const QByteArray& bytes) {
  return mdx::textVar({bytes.constData(), static_cast<size_t>(bytes.size())});
}
inline MDRVar nullTextVar() { return mdx::nullVar(MDX_TEXT); }
inline MDRVar intVar(int number) { return mdx::int32Var(number); }
inline MDRVar boolVar(bool flag) { return mdx::boolVar(flag); }

using mdx::hasValue;
inline bool isText(const MDRVar& value) { return hasValue(value) && mdx::hasTextType(value); }

// The text of a text value, decoded; empty for anything else.
inline QString decodeVar(const MDRVar& value, QTextCodec* codec) {
  return isText(value) ? decodeText(value.text.data, value.text.length, codec) : QString();
}

// The text of a field, by name or number; empty without a record, field or value.
inline QString fieldText(const CMDArray& table, const MDRData* record, const char* name, QTextCodec* codec) {
  MDRVar value{};
  if (record) table.GetVal(record, name, value);
  return decodeVar(value, codec);
}
inline QString fieldText(const CMDArray& table, const MDRData* record, int number, QTextCodec* codec) {
  MDRVar value{};
  if (record) table.GetVal(record, number, value);
  return decodeVar(value, codec);
}

// The first record with that text in key `keyNumber`, or null.
inline MDRData* seekText(const CMDArray& table, int keyNumber, const QString& text, QTextCodec* codec) {
  const QByteArray bytes = encodeText(text, codec);
  const MDRVar value = textVar(bytes);
  return MDARecSeekV(table.array, keyNumber, &value, nullptr);
}

// A field of an array by number, by its name in the array's structure; null past the end.
inline QByteArray fieldName(const CMDArray& table, int number) {
  const char* name = MDAFldName(table.array, number);
  return name ? QByteArray(name) : QByteArray();
}

#endif
