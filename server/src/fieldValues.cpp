#include <TlmServer/Core.h>
#include <TlmServer/FieldValues.h>
#include <TlmServer/ModelTables.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>

#include "objects.h"
#include "requests.h"
#include "values.h"

namespace tlm::server {
namespace {

constexpr double kMsPerDay = 86'400'000;
constexpr double kUnixStart = 25'569;                   // days
constexpr double kMostCount = 9'007'199'254'740'992.0;  // up to which a double holds every whole number

using Refused = std::optional<FieldRefusal>;

bool holdsControls(std::string_view text) {
  return std::any_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; });
}

// One batch, with the tables held for reading.
class Intake {
 public:
  Intake(const ModelTables& tables, LiveValues& live, double now)
      : live_(live),
        now_(now),
        tables_(tables),
        measurements_(tables.table("Measurement")),
        objects_(tables.table("IdentifiedObject")),
        strings_(tables.table("StringMeasurement")),
        locId_(MDRFldByName(measurements_, "locId")),
        key_(MDRFldByName(measurements_, "KeyLink")),
        work_(MDRFldByName(measurements_, "work_")),
        className_(MDRFldByName(objects_, "ClassName")) {}

  Refused take(const FieldValue& value, Taken* taken) const {
    const MDRData* const row = value.key.empty() ? findNumber(tables_, value.locId) : seekKey(measurements_, value.key);
    const auto locId = row ? intOf(valueOf(locId_, row)) : std::nullopt;
    if (!locId || *locId == 0) return FieldRefusal::kUnknown;
    if (intOf(valueOf(work_, row)) == 0) return FieldRefusal::kOutOfWork;
    LiveValue live;
    if (Refused why = readMarks(value, &live)) return why;
    const auto number = static_cast<int32_t>(*locId);
    if (std::holds_alternative<std::monostate>(value.value)) {
      if (live.quality == Quality::kGood) return FieldRefusal::kNoValue;
      *taken = live_.setQuality(number, live.quality, live.time);
    } else {
      if (Refused why = readValue(value, textOf(valueOf(key_, row)), &live)) return why;
      *taken = live_.set(number, std::move(live));
    }
    if (*taken == Taken::kNothing) return FieldRefusal::kNoValue;
    return *taken == Taken::kTooLate ? Refused(FieldRefusal::kLate) : std::nullopt;
  }

 private:
  Refused readMarks(const FieldValue& value, LiveValue* live) const {
    live->quality = static_cast<Quality>(value.quality);
    if (live->quality != Quality::kGood && live->quality != Quality::kOld && live->quality != Quality::kInvalid)
      return FieldRefusal::kQuality;
    live->time = value.timeMs == 0 ? now_ : kUnixStart + static_cast<double>(value.timeMs) / kMsPerDay;
    if (value.timeMs < 0 || live->time > now_ + static_cast<double>(kMostAheadMs) / kMsPerDay)
      return FieldRefusal::kTime;
    return std::nullopt;
  }

  Refused readValue(const FieldValue& value, std::string_view key, LiveValue* live) const {
    const MDRData* const object = seekKey(objects_, key);
    const std::string_view name = object ? textOf(valueOf(className_, object)) : std::string_view{};
    const auto* const written = std::get_if<WrittenValue>(&value.value);
    if (name == "StringMeasurement") {
      const auto* const text = written ? &written->text : std::get_if<std::string_view>(&value.value);
      return text ? readText(*text, key, live) : Refused(FieldRefusal::kKind);
    }
    const auto number = written                                       ? parseNumber(written->text)
                        : std::holds_alternative<double>(value.value) ? std::optional(std::get<double>(value.value))
                                                                      : std::nullopt;
    if (!number) return FieldRefusal::kKind;
    live->value = *number;
    return inRange(name, *number) ? std::nullopt : Refused(FieldRefusal::kRange);
  }

  static bool inRange(std::string_view className, double number) {
    if (className == "Discrete") return number == 0 || number == 1;
    if (className == "Accumulator") return number >= 0 && number <= kMostCount && number == std::floor(number);
    return std::isfinite(number);
  }

  Refused readText(std::string_view text, std::string_view key, LiveValue* live) const {
    const MDRData* const row = seekKey(strings_, key);
    const auto length = row ? intOf(strings_, row, "maxLength") : std::nullopt;
    const size_t most = length && *length > 0 ? std::min(static_cast<size_t>(*length), kMostFieldText) : kMostFieldText;
    if (text.size() > most || holdsControls(text)) return FieldRefusal::kText;
    live->value = std::string(text);
    return std::nullopt;
  }

  LiveValues& live_;
  const double now_;
  const ModelTables& tables_;
  const MDArray* const measurements_;
  const MDArray* const objects_;
  const MDArray* const strings_;
  const MDRField* const locId_;
  const MDRField* const key_;
  const MDRField* const work_;
  const MDRField* const className_;
};

}  // namespace

// The tables are held meanwhile: a measurement that is deleted takes its value with it, before or after.
FieldAnswer takeValues(Core& core, std::span<const FieldValue> values, double now) {
  FieldAnswer answer;
  LiveValues& live = core.live();
  core.read([&](const ModelTables& tables) {
    const Intake intake(tables, live, now);
    for (size_t i = 0; i < values.size(); ++i) {
      Taken taken = Taken::kShown;
      if (const Refused why = intake.take(values[i], &taken)) {
        answer.refused.push_back({i, *why});
        continue;
      }
      ++answer.taken;
      if (taken == Taken::kBeneath) ++answer.beneath;
    }
  });
  return answer;
}

}  // namespace tlm::server
