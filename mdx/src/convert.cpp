#include "convert.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace mdx {
namespace {

bool isFloating(int type) { return type == MDX_FLOAT || type == MDX_DOUBLE; }
double floatingOf(const MDRVar& value) { return value.type == MDX_FLOAT ? double{value.f32} : value.f64; }

int64_t integerOf(const MDRVar& value) {
  if (value.type == MDX_BOOL) return value.flag != 0;
  return value.type == MDX_INT32 ? value.i32 : value.i64;
}

// 2^63 is a double, the largest 64-bit integer is not.
bool fitsInt64(double value) { return value >= -0x1p63 && value < 0x1p63; }

template <class T>
int put(void* out, T value) {
  std::memcpy(out, &value, sizeof value);
  return MDX_OK;
}

int storeInteger(int type, int64_t value, void* out) {
  if (type == MDX_INT64) return put(out, value);
  if (value < INT32_MIN || value > INT32_MAX) return MDX_E_TYPE;
  return put(out, static_cast<int32_t>(value));
}

int storeWhole(int type, double value, void* out) {
  if (!fitsInt64(value) || value != std::trunc(value)) return MDX_E_TYPE;
  return storeInteger(type, static_cast<int64_t>(value), out);
}

int storeFloat(double value, void* out) {
  if (std::isfinite(value) && std::abs(value) > double{std::numeric_limits<float>::max()}) return MDX_E_TYPE;
  return put(out, static_cast<float>(value));
}

int storeBool(const MDRVar& value, void* out) {
  if (!isFloating(value.type)) return put(out, static_cast<uint8_t>(integerOf(value) != 0));
  const double number = floatingOf(value);
  return std::isnan(number) ? int{MDX_E_TYPE} : put(out, static_cast<uint8_t>(number != 0));
}

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  text = text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
  if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
  return text;
}

template <class T>
bool parse(std::string_view text, T& out) {
  text = trimmed(text);
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), out);
  return error == std::errc() && end == text.data() + text.size();
}

int narrow(double value, int32_t& out) {
  value = std::trunc(value);
  if (!(value >= INT32_MIN && value <= INT32_MAX)) return MDX_E_TYPE;
  out = static_cast<int32_t>(value);
  return MDX_OK;
}

CodeBound boundInInts(const MDRVar& value) {
  if (!isFloating(value.type)) return {codeOfInt(integerOf(value)), true};
  const double number = std::ceil(floatingOf(value));
  if (std::isnan(number) || number >= 0x1p63) return {UINT64_MAX, false};
  if (number < -0x1p63) return {0, false};
  return {codeOfInt(static_cast<int64_t>(number)), number == floatingOf(value)};
}

CodeBound boundInDoubles(const MDRVar& value) {
  if (isFloating(value.type)) return {codeOfDouble(floatingOf(value)), true};
  const int64_t number = integerOf(value);
  const double near = static_cast<double>(number);
  if (!fitsInt64(near) || static_cast<int64_t>(near) > number) return {codeOfDouble(near), false};
  if (static_cast<int64_t>(near) == number) return {codeOfDouble(near), true};
  return {codeOfDouble(std::nextafter(near, HUGE_VAL)), false};
}

}  // namespace

int numberSize(int type) {
  switch (type) {
    case MDX_BOOL:
      return 1;
    case MDX_INT32:
    case MDX_FLOAT:
      return 4;
    case MDX_INT64:
    case MDX_DOUBLE:
      return 8;
    default:
      return 0;
  }
}

uint64_t codeOfDouble(double value) {
  if (std::isnan(value)) return UINT64_MAX;
  const auto bits = std::bit_cast<uint64_t>(value + 0.0);  // -0.0 becomes 0.0
  return bits >> 63 ? ~bits : bits | (uint64_t{1} << 63);
}

double doubleOfCode(uint64_t code) { return std::bit_cast<double>(code >> 63 ? code & ~(uint64_t{1} << 63) : ~code); }

int storeNumber(int type, const MDRVar& value, void* out) {
  if (!isNumber(value.type)) return MDX_E_TYPE;
  const bool floating = isFloating(value.type);
  switch (type) {
    case MDX_BOOL:
      return storeBool(value, out);
    case MDX_INT32:
    case MDX_INT64:
      return floating ? storeWhole(type, floatingOf(value), out) : storeInteger(type, integerOf(value), out);
    case MDX_FLOAT:
      if (value.type == MDX_FLOAT) return put(out, +value.f32);
      return storeFloat(floating ? floatingOf(value) : static_cast<double>(integerOf(value)), out);
    default:
      return put(out, floating ? floatingOf(value) : static_cast<double>(integerOf(value)));
  }
}

void loadNumber(int type, const void* bytes, MDRVar& out) {
  out.i64 = 0;
  std::memcpy(&out.i64, bytes, static_cast<size_t>(numberSize(type)));
}

int asInt32(const MDRVar& value, int32_t& out) {
  out = 0;
  if (isNullValue(value)) return MDX_E_TYPE;
  if (isFloating(value.type)) return narrow(floatingOf(value), out);
  if (isNumber(value.type)) return storeInteger(MDX_INT32, integerOf(value), &out);
  int64_t whole;
  if (parse(textOf(value), whole)) return storeInteger(MDX_INT32, whole, &out);
  double number;
  return parse(textOf(value), number) ? narrow(number, out) : int{MDX_E_TYPE};
}

int asDouble(const MDRVar& value, double& out) {
  out = 0;
  if (isNullValue(value)) return MDX_E_TYPE;
  if (isNumber(value.type)) {
    out = isFloating(value.type) ? floatingOf(value) : static_cast<double>(integerOf(value));
    return MDX_OK;
  }
  double number;
  if (!parse(textOf(value), number)) return MDX_E_TYPE;
  out = number;
  return MDX_OK;
}

CodeBound codeBound(int fieldType, const MDRVar& value) {
  return isFloating(fieldType) ? boundInDoubles(value) : boundInInts(value);
}

}  // namespace mdx
