// Walks over the rows of a table that share a key value.
#ifndef TLMMEAS_KEYWALK_H
#define TLMMEAS_KEYWALK_H

#include "RecordAccess.h"

#include <TlmMdx/CMDArray.h>

#include <cstring>

// A value as a key to seek: that of field number 0 of a row.
inline MDRVar keyOf(const CMDArray& table, const MDRData* record) {
  MDRVar key{};
  table.GetVal(record, 0, key);
  return key;
}

// True if both are the same text, byte by byte.
inline bool sameText(const MDRVar& a, const MDRVar& b) {
  return isText(a) && isText(b) && a.text.length == b.text.length &&
         (a.text.length == 0 || std::memcmp(a.text.data, b.text.data, a.text.length) == 0);
}

// How a walk by a null key takes rows whose field holds an empty text.
enum class EmptyTexts { LikeNull, End };

inline bool matchesKey(const MDRVar& field, const MDRVar& key, EmptyTexts empty) {
  if (hasValue(key)) return sameText(field, key);
  if (!hasValue(field)) return true;
  return empty == EmptyTexts::LikeNull && isText(field) && field.text.length == 0;
}

// Calls `each(record)` for the rows that match `value` in key `keyNumber`, which is over the one field
// `fieldName`, in that key's order. A null value, or one of type 0, seeks rows without a value. `each` must not
// change the table.
template <typename Each>
void walkKey(const CMDArray& table, int keyNumber, const char* fieldName, const MDRVar& value, EmptyTexts empty,
             Each each) {
  const MDRField* field = MDRFldByName(table.array, fieldName);
  int position = 0;
  MDARecSeekV(table.array, keyNumber, &value, &position);
  const int count = MDARecCount(table.array);
  for (; position < count; ++position) {
    MDRData* record = MDARec(table.array, keyNumber, position);
    MDRVar found{};
    MDRGetVal(field, record, &found);
    if (!record || !matchesKey(found, value, empty)) return;
    each(record);
  }
}

#endif
