// Short forms for values and fields, shared by the server's sources.
#ifndef TLMSERVER_VALUES_H
#define TLMSERVER_VALUES_H

#include <TlmMdx/mdx.h>
#include <TlmMdx/values.h>

#include <cstring>
#include <optional>
#include <string>
#include <string_view>

namespace tlm::server {

using mdx::boolVar;
using mdx::doubleVar;
using mdx::nullVar;
using mdx::textVar;

inline MDRVar intVar(int64_t value) { return mdx::int64Var(value); }

inline bool isText(const MDRVar& v) { return mdx::hasTextType(v); }
inline bool isNull(const MDRVar& v) { return !mdx::hasValue(v); }

inline MDRVar valueOf(const MDRField* field, const MDRData* record) {
  MDRVar v{};
  MDRGetVal(field, record, &v);
  return v;
}

inline MDRVar valueOf(const MDArray* array, const MDRData* record, const char* field) {
  return valueOf(MDRFldByName(array, field), record);
}

// Empty for null and for values that are no text.
inline std::string_view textOf(const MDRVar& v) {
  return isNull(v) || !isText(v) ? std::string_view{} : std::string_view(v.text.data, v.text.length);
}

inline std::string_view textOf(const MDArray* array, const MDRData* record, const char* field) {
  return textOf(valueOf(array, record, field));
}

// The members of a packed value are copied before anything takes a reference to them.
inline std::optional<int64_t> intOf(const MDRVar& v) {
  if (isNull(v)) return std::nullopt;
  switch (v.type) {
    case MDX_BOOL:
      return int64_t{v.flag != 0};
    case MDX_INT32:
      return int64_t{v.i32};
    case MDX_INT64:
      return int64_t{v.i64};
    default:
      return std::nullopt;
  }
}

inline std::optional<int64_t> intOf(const MDArray* array, const MDRData* record, const char* field) {
  return intOf(valueOf(array, record, field));
}

inline void put(const MDArray* array, MDRData* record, int field, const MDRVar& value) {
  MDRSetVal(MDRFldByNum(array, field), record, &value);
}

inline MDRData* seekKey(const MDArray* array, std::string_view key, int* position = nullptr) {
  const MDRVar v = textVar(key);
  return MDARecSeekV(array, 0, &v, position);
}

}  // namespace tlm::server

#endif
