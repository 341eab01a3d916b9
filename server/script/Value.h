// A value while a script runs.
#ifndef TLMSERVER_SCRIPT_VALUE_H
#define TLMSERVER_SCRIPT_VALUE_H

#include <TlmMdx/mdx.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace tlm::script {

// The numbers are what type() gives.
enum class Kind : uint8_t {
  kNull = 0,
  kInt = 1,
  kDouble = 2,
  kText = 3,
  kPair = 4,  // what a seek gives: a record or none, and its position
  kRecord = 8,
  kTable = 9,
};

// Texts, records and tables belong to somebody who outlives the run: a table, the script, the arguments
// or the run's own memory.
//
// The four small members fill eight bytes without a gap, and values are made whole, so that a value is
// written with two stores. (What is written piece by piece and read as a whole costs the processor a stop.)
struct Value {
  Kind kind = Kind::kNull;
  uint8_t unused = 0;
  uint16_t table = 0;  // of a table, record or pair: its number among the run's tables
  uint32_t extra = 0;  // of a text its length, of a pair the position, of a record the walk it came from
  union {
    int64_t integer = 0;
    double fraction;
    const char* bytes;
    MDRData* record;
  };

  constexpr Value() = default;
  static Value of(int64_t integer) { return Value(Kind::kInt, 0, 0, integer); }
  static Value of(double fraction) {
    return std::isnan(fraction) ? Value() : Value(Kind::kDouble, 0, 0, std::bit_cast<int64_t>(fraction));
  }
  static Value of(std::string_view text) {
    return Value(Kind::kText, 0, static_cast<uint32_t>(text.size()), reinterpret_cast<int64_t>(text.data()));
  }
  static Value ofTable(uint16_t table) { return Value(Kind::kTable, table, 0, 0); }
  static Value ofRecord(uint16_t table, uint32_t walk, MDRData* record) {
    return record ? Value(Kind::kRecord, table, walk, reinterpret_cast<int64_t>(record)) : Value();
  }
  static Value ofPair(uint16_t table, int position, MDRData* record) {
    return Value(Kind::kPair, table, static_cast<uint32_t>(position), reinterpret_cast<int64_t>(record));
  }

  bool isInt() const { return kind == Kind::kInt; }
  std::string_view text() const { return {bytes, extra}; }

 private:
  Value(Kind k, uint16_t t, uint32_t e, int64_t bits) : integer(bits) {
    const uint64_t head = static_cast<uint64_t>(k) | uint64_t{t} << 16 | uint64_t{e} << 32;
    std::memcpy(static_cast<void*>(this), &head, sizeof head);
  }
};

static_assert(sizeof(Value) == 16 && std::endian::native == std::endian::little);

// A value's kind as messages name it, such as "a text".
const char* describe(Kind kind);

}  // namespace tlm::script

#endif
