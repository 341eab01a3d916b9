// Current values of measurements and their recent history, by number.
#ifndef TLMSERVER_LIVEVALUES_H
#define TLMSERVER_LIVEVALUES_H

#include <TlmWire/messages.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

namespace tlm::server {

enum class Quality : int32_t { kGood = 0, kManual = 1, kOld = 2, kInvalid = 3 };

struct LiveValue {
  double time = 0;  // days since 30.12.1899 (UTC)
  Quality quality = Quality::kGood;
  std::variant<double, std::string> value;  // texts in Windows-1251

  bool operator==(const LiveValue&) const = default;
};

// The value as decimal number or text, Windows-1251. Not more than `decimals` places when that is not negative.
std::string valueText(const LiveValue& value, int decimals = -1);

// What became of a value from the field.
enum class Taken {
  kShown,    // it is the current one
  kBeneath,  // a value by hand stands over it
  kLate,     // a newer one came before: it took its place in the history, and the current value stays
  kTooLate,  // older than all of a full history: it has no place
  kNothing,  // a new quality of a value that is not there
};

// One value from the field among many.
struct FieldItem {
  int32_t locId = 0;
  bool marks = false;  // quality and time are of the last value from the field, which `value` becomes
  LiveValue value;
  Taken taken = Taken::kNothing;  // afterwards
};

// A current value that has changed.
struct Shown {
  int32_t locId;
  const LiveValue* value;
};

// May be used from any thread.
class LiveValues {
 public:
  using Listener = std::function<void(std::span<const Shown>)>;

  // Keeps at most `kept` values of each measurement, the newest ones.
  explicit LiveValues(size_t kept = 128) : kept_(kept) {}

  // Hears every change of a current value, in order, with the lock of the values held: it must not call
  // back. Set before the first value.
  void setListener(Listener listener) { listener_ = std::move(listener); }

  // A value from the field. While a manual value stands it is kept beneath that. The first one drops what was
  // simulated.
  Taken set(int32_t locId, LiveValue value);
  void setAll(std::span<FieldItem> items);  // in their order

  // The last value from the field with another quality, such as of a channel that fell silent.
  Taken setQuality(int32_t locId, Quality quality, double time);

  // A value that nobody measured. False, and nothing is changed, where values from the field have come.
  bool simulate(int32_t locId, LiveValue value);

  // Puts a manual value over those from the field until it is lifted. Its quality becomes kManual.
  void setManual(int32_t locId, LiveValue value, const std::string& user = {});

  // The last value from the field counts again, with the time of the lifting when there is none newer.
  // False when no manual value stands.
  bool liftManual(int32_t locId, double time);

  std::optional<LiveValue> current(int32_t locId) const;
  bool isManual(int32_t locId) const;

  // Who entered the manual value that stands, and when; nothing without one.
  struct Manual {
    std::string user;  // Windows-1251
    double time = 0;   // server time
  };
  std::optional<Manual> manual(int32_t locId) const;

  // What was current between two times, both included, oldest first.
  std::vector<LiveValue> history(int32_t locId, double from, double to) const;

  // Drops value and history of a number that is no longer in use.
  void forget(int32_t locId);

 private:
  struct Entry {
    std::optional<LiveValue> current;
    std::optional<LiveValue> beneath;  // of the field, while a manual value stands
    bool manual = false;
    std::string user;  // who entered it
    bool fed = false;
    double fedAt = 0;  // the newest time of a value from the field
    std::deque<LiveValue> history;
  };

  Taken take(FieldItem& item);
  Taken take(Entry& entry, const LiveValue& value) const;
  bool put(Entry& entry, const LiveValue& value) const;
  void show(Entry& entry, const LiveValue& value) const;
  void tell(int32_t locId, const LiveValue& value) const;
  bool remember(Entry& entry, const LiveValue& value) const;

  const size_t kept_;
  Listener listener_;
  mutable std::mutex mutex_;
  std::unordered_map<int32_t, Entry> entries_;
  std::vector<Shown> shown_;  // of the items at hand
};

}  // namespace tlm::server

#endif
