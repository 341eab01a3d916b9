// The entrance for values from the field: what one says, and what becomes of it.
#ifndef TLMSERVER_FIELDVALUES_H
#define TLMSERVER_FIELDVALUES_H

#include <TlmServer/LiveValues.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <variant>
#include <vector>

namespace tlm::server {

class Core;

inline constexpr size_t kMostFieldText = 4096;   // bytes
inline constexpr int64_t kMostAheadMs = 60'000;  // that the clock of a collector may be ahead of the server's

// As people write it: a number or a text, as the kind of the measurement has it.
struct WrittenValue {
  std::string_view text;
};

// Texts in Windows-1251; they must live through the call.
struct FieldValue {
  std::string_view key;  // of the measurement; empty: `locId` names it
  int32_t locId = 0;
  // None: the last value from the field, with another quality.
  std::variant<std::monostate, double, std::string_view, WrittenValue> value;
  int32_t quality = 0;  // 0 good, 2 old, 3 invalid
  int64_t timeMs = 0;   // since 1.1.1970, UTC; 0: now
};

// The numbers are those of the public contract.
enum class FieldRefusal : int32_t {
  kUnknown = 1,    // no measurement has that key or number
  kOutOfWork = 2,  // the measurement is not in operation
  kKind = 3,       // a text for a number, or a number for a text
  kRange = 4,      // a state other than 0 and 1; a counter that is no whole number or is negative; not a finite number
  kText = 5,       // longer than the measurement has room for, or with control characters
  kQuality = 6,    // none of 0, 2, 3
  kTime = 7,       // before 1970, or more than a minute ahead
  kLate = 8,       // older than all that the full history holds
  kNoValue = 9,    // a quality alone, other than good, stands for the last value, and there is none; or no value at all
};

struct RefusedValue {
  size_t index;  // in the batch
  FieldRefusal why;
};

struct FieldAnswer {
  size_t taken = 0;
  size_t beneath = 0;                 // of those: kept beneath a value by hand
  std::vector<RefusedValue> refused;  // in their order
};

enum class FieldKind : uint8_t { kNone, kOutOfWork, kAnalog, kDiscrete, kAccumulator, kString };

// What values for a measurement have to keep to.
struct FieldPlace {
  int32_t locId = 0;
  FieldKind kind = FieldKind::kNone;  // kNone: there is no such measurement
  uint32_t longest = 0;               // of a text, bytes
};

// What whoever hands in values remembers of the measurements that he names, so that the model is asked about each only
// once as long as it stays as it is. One thread at a time.
class FieldPlaces {
 public:
  using Name = std::array<char, 32>;

  // Where the place of that name is kept, or is to be kept. It counts when the version is that of the tables.
  struct Slot {
    Name name{};
    uint64_t version = 0;
    FieldPlace place;
  };
  Slot& slot(const Name& name);

 private:
  static constexpr size_t kSlots = size_t{1} << 15;  // those that meet in one drive each other out
  std::vector<Slot> slots_;
};

// Takes the values in their order; what is wrong with one concerns no other. A measurement out of its scale is taken as
// it is: the scale says what can be shown, not what can be measured. `now` in days. Any thread.
FieldAnswer takeValues(Core& core, std::span<const FieldValue> values, double now, FieldPlaces* places);

}  // namespace tlm::server

#endif
