// Values made in one line, and the questions that every reader of a value asks first.
#ifndef TLMMDX_VALUES_H
#define TLMMDX_VALUES_H

#include <TlmMdx/mdx.h>

#include <string_view>

namespace mdx {

inline MDRVar emptyVar(uint8_t type) {
  MDRVar value{};
  value.type = type;
  return value;
}
inline MDRVar nullVar(uint8_t type) {
  MDRVar value = emptyVar(type);
  value.isNull = 1;
  return value;
}
inline MDRVar boolVar(bool flag) {
  MDRVar value = emptyVar(MDX_BOOL);
  value.flag = flag ? 1 : 0;
  return value;
}
inline MDRVar int32Var(int32_t number) {
  MDRVar value = emptyVar(MDX_INT32);
  value.i32 = number;
  return value;
}
inline MDRVar int64Var(int64_t number) {
  MDRVar value = emptyVar(MDX_INT64);
  value.i64 = number;
  return value;
}
inline MDRVar floatVar(float number) {
  MDRVar value = emptyVar(MDX_FLOAT);
  value.f32 = number;
  return value;
}
inline MDRVar doubleVar(double number) {
  MDRVar value = emptyVar(MDX_DOUBLE);
  value.f64 = number;
  return value;
}
// Points at `bytes`, which must outlive the value.
inline MDRVar textVar(std::string_view bytes, uint8_t type = MDX_TEXT) {
  MDRVar value = emptyVar(type);
  value.text.length = static_cast<uint32_t>(bytes.size());
  value.text.data = bytes.data();
  return value;
}

// True when a value was read: the field exists and is not null.
inline bool hasValue(const MDRVar& value) { return value.type != MDX_NONE && !value.isNull; }
// True for a text or a null of a text type.
inline bool hasTextType(const MDRVar& value) { return value.type == MDX_TEXT || value.type == MDX_MEMO; }

}  // namespace mdx

#endif
