// A value while a script runs.
#ifndef TLMSERVER_SCRIPT_VALUE_H
#define TLMSERVER_SCRIPT_VALUE_H

#include <TlmMdx/mdx.h>

#include <cmath>
#include <cstdint>
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
struct Value {
  Kind kind = Kind::kNull;
  uint16_t table = 0;  // of a table, record or pair: its number among the run's tables
  uint32_t extra = 0;  // of a text its length, of a pair the position, of a record the walk it came from
  union {
    int64_t integer = 0;
    double fraction;
    const char* bytes;
    MDRData* record;
  };

  static Value of(int64_t integer) {
    Value value;
    value.kind = Kind::kInt;
    value.integer = integer;
    return value;
  }
  static Value of(double fraction) {
    Value value;
    if (std::isnan(fraction)) return value;  // what is no number is null
    value.kind = Kind::kDouble;
    value.fraction = fraction;
    return value;
  }
  static Value of(std::string_view text) {
    Value value;
    value.kind = Kind::kText;
    value.extra = static_cast<uint32_t>(text.size());
    value.bytes = text.data();
    return value;
  }

  bool isInt() const { return kind == Kind::kInt; }
  std::string_view text() const { return {bytes, extra}; }
};

static_assert(sizeof(Value) == 16);

// A value's kind as messages name it, such as "a text".
const char* describe(Kind kind);

}  // namespace tlm::script

#endif
