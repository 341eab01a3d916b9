#include <TlmServer/Core.h>
#include <TlmServer/FieldValues.h>
#include <TlmServer/ModelTables.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
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

FieldKind kindOf(std::string_view className) {
  if (className == "Discrete") return FieldKind::kDiscrete;
  if (className == "Accumulator") return FieldKind::kAccumulator;
  return className == "StringMeasurement" ? FieldKind::kString : FieldKind::kAnalog;
}

uint32_t longestText(const ModelTables& tables, std::string_view key) {
  const MDArray* const strings = tables.table("StringMeasurement");
  const MDRData* const row = seekKey(strings, key);
  const auto length = row ? intOf(strings, row, "maxLength") : std::nullopt;
  return length && *length > 0 && *length < int64_t{kMostFieldText} ? static_cast<uint32_t>(*length) : kMostFieldText;
}

FieldPlace findPlace(const ModelTables& tables, const FieldValue& value) {
  const MDArray* const measurements = tables.table("Measurement");
  const MDRData* const row = value.key.empty() ? findNumber(tables, value.locId) : seekKey(measurements, value.key);
  const auto locId = row ? intOf(measurements, row, "locId") : std::nullopt;
  if (!locId || *locId == 0) return {};
  FieldPlace place{static_cast<int32_t>(*locId), FieldKind::kOutOfWork, 0};
  if (intOf(measurements, row, "work_") == 0) return place;
  const std::string_view key = textOf(measurements, row, "KeyLink");
  const MDArray* const objects = tables.table("IdentifiedObject");
  const MDRData* const object = seekKey(objects, key);
  place.kind = kindOf(object ? textOf(objects, object, "ClassName") : std::string_view{});
  if (place.kind == FieldKind::kString) place.longest = longestText(tables, key);
  return place;
}

FieldPlaces::Name nameOf(const FieldValue& value) {
  FieldPlaces::Name name{};
  if (value.key.empty()) {
    name[0] = '#';  // and no key has zeros behind it
    std::memcpy(name.data() + 1, &value.locId, sizeof value.locId);
  } else {
    std::memcpy(name.data(), value.key.data(), name.size());
  }
  return name;
}

FieldPlace placeOf(const ModelTables& tables, const FieldValue& value, FieldPlaces* places) {
  if (!value.key.empty() && value.key.size() != std::tuple_size_v<FieldPlaces::Name>) return findPlace(tables, value);
  const FieldPlaces::Name name = nameOf(value);
  FieldPlaces::Slot& slot = places->slot(name);
  if (slot.version != tables.version() || slot.name != name) slot = {name, tables.version(), findPlace(tables, value)};
  return slot.place;
}

bool inRange(FieldKind kind, double number) {
  if (kind == FieldKind::kDiscrete) return number == 0 || number == 1;
  if (kind == FieldKind::kAccumulator) return number >= 0 && number <= kMostCount && number == std::floor(number);
  return std::isfinite(number);
}

Refused readMarks(const FieldValue& value, double now, LiveValue* live) {
  live->quality = static_cast<Quality>(value.quality);
  if (live->quality != Quality::kGood && live->quality != Quality::kOld && live->quality != Quality::kInvalid)
    return FieldRefusal::kQuality;
  live->time = value.timeMs == 0 ? now : kUnixStart + static_cast<double>(value.timeMs) / kMsPerDay;
  if (value.timeMs < 0 || live->time > now + static_cast<double>(kMostAheadMs) / kMsPerDay) return FieldRefusal::kTime;
  return std::nullopt;
}

Refused readNumber(const FieldValue& value, FieldKind kind, LiveValue* live) {
  std::optional<double> number;
  if (const auto* const plain = std::get_if<double>(&value.value)) number = *plain;
  if (const auto* const written = std::get_if<WrittenValue>(&value.value)) number = parseNumber(written->text);
  if (!number) return FieldRefusal::kKind;
  live->value = *number;
  return inRange(kind, *number) ? std::nullopt : Refused(FieldRefusal::kRange);
}

Refused readText(const FieldValue& value, uint32_t longest, LiveValue* live) {
  const auto* const written = std::get_if<WrittenValue>(&value.value);
  const auto* const text = written ? &written->text : std::get_if<std::string_view>(&value.value);
  if (!text) return FieldRefusal::kKind;
  if (text->size() > longest || holdsControls(*text)) return FieldRefusal::kText;
  live->value = std::string(*text);
  return std::nullopt;
}

// What the model has against it.
Refused read(const FieldValue& value, const FieldPlace& place, double now, FieldItem* item) {
  if (place.kind == FieldKind::kNone) return FieldRefusal::kUnknown;
  if (place.kind == FieldKind::kOutOfWork) return FieldRefusal::kOutOfWork;
  item->locId = place.locId;
  item->marks = std::holds_alternative<std::monostate>(value.value);
  if (const Refused why = readMarks(value, now, &item->value)) return why;
  if (item->marks) return value.quality == 0 ? Refused(FieldRefusal::kNoValue) : std::nullopt;
  return place.kind == FieldKind::kString ? readText(value, place.longest, &item->value)
                                          : readNumber(value, place.kind, &item->value);
}

Refused refusalOf(Taken taken) {
  if (taken == Taken::kNothing) return FieldRefusal::kNoValue;
  return taken == Taken::kTooLate ? Refused(FieldRefusal::kLate) : std::nullopt;
}

}  // namespace

FieldPlaces::Slot& FieldPlaces::slot(const Name& name) {
  if (slots_.empty()) slots_.resize(kSlots);
  return slots_[std::hash<std::string_view>{}({name.data(), name.size()}) % kSlots];
}

// The tables are held meanwhile: a measurement that is deleted takes its value with it, before or after.
FieldAnswer takeValues(Core& core, std::span<const FieldValue> values, double now, FieldPlaces* places) {
  FieldAnswer answer;
  std::vector<FieldItem> items;
  std::vector<size_t> from;  // of the items among the values
  items.reserve(values.size());
  from.reserve(values.size());
  LiveValues& live = core.live();
  core.read([&](const ModelTables& tables) {
    for (size_t i = 0; i < values.size(); ++i) {
      if (const Refused why = read(values[i], placeOf(tables, values[i], places), now, &items.emplace_back())) {
        answer.refused.push_back({i, *why});
        items.pop_back();
      } else {
        from.push_back(i);
      }
    }
    live.setAll(items);
  });
  for (size_t i = 0; i < items.size(); ++i) {
    const Refused why = refusalOf(items[i].taken);
    if (why) answer.refused.push_back({from[i], *why});
    if (!why) ++answer.taken;
    if (items[i].taken == Taken::kBeneath) ++answer.beneath;
  }
  std::sort(answer.refused.begin(), answer.refused.end(),
            [](const RefusedValue& a, const RefusedValue& b) { return a.index < b.index; });
  return answer;
}

}  // namespace tlm::server
