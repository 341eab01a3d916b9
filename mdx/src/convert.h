// Values of fields: conversion between types and the number codes that keys compare.
#ifndef TLMMDX_SRC_CONVERT_H
#define TLMMDX_SRC_CONVERT_H

#include <TlmMdx/mdx.h>

#include <cstdint>
#include <string_view>

namespace mdx {

inline bool isNumber(int type) { return type == MDX_BOOL || (type >= MDX_INT32 && type <= MDX_DOUBLE); }
inline bool isText(int type) { return type == MDX_TEXT || type == MDX_MEMO; }
inline bool isFieldType(int type) { return isNumber(type) || isText(type); }
// Bytes of a number inside a record and in packed form; 0 for texts.
int numberSize(int type);

// Unsigned codes in the order of the numbers.
inline uint64_t codeOfInt(int64_t value) { return static_cast<uint64_t>(value) ^ (uint64_t{1} << 63); }
inline int64_t intOfCode(uint64_t code) { return static_cast<int64_t>(code ^ (uint64_t{1} << 63)); }
uint64_t codeOfDouble(double value);  // both zeros are one, not-a-number is above all
double doubleOfCode(uint64_t code);

inline bool isNullValue(const MDRVar& value) { return value.type == MDX_NONE || value.isNull; }
inline std::string_view textOf(const MDRVar& value) {
  return {value.text.data, value.text.data ? value.text.length : 0};
}

// Writes the bytes of a number of type `type` to `out`. MDX_E_TYPE when the value does not fit.
int storeNumber(int type, const MDRVar& value, void* out);
// Reads such bytes.
void loadNumber(int type, const void* bytes, MDRVar& out);

// What MDRGetAsInt32 and MDRGetAsDouble give. The fraction is cut off; a text is parsed as a decimal.
int asInt32(const MDRVar& value, int32_t& out);
int asDouble(const MDRVar& value, double& out);

// A number looked for in a key of another number type: its place among that type's codes.
struct CodeBound {
  uint64_t code;
  bool exact;  // false: equal codes are above the value
};
CodeBound codeBound(int fieldType, const MDRVar& value);

}  // namespace mdx

#endif
