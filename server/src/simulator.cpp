#include <TlmServer/CodePage.h>
#include <TlmServer/Core.h>
#include <TlmServer/ModelTables.h>
#include <TlmServer/Simulator.h>

#include "objects.h"
#include "simulatedDevice.h"
#include "values.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tlm::server {
namespace {

constexpr double kSecondsPerDay = 86400;
constexpr double kOldOf = 1.0 / 2000;  // share of the values that arrive old

// A number in [0, 1) that depends on all three arguments.
double noise(uint64_t seed, int64_t a, int64_t b) {
  uint64_t x = seed ^ (static_cast<uint64_t>(a) * 0x9E3779B97F4A7C15ULL) ^ (static_cast<uint64_t>(b) << 17);
  x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ULL;
  x = (x ^ (x >> 27)) * 0x94D049BB133111EBULL;
  x ^= x >> 31;
  return static_cast<double>(x >> 11) / 9007199254740992.0;
}

double numberOf(const MDArray* array, const MDRData* record, const char* field, double otherwise) {
  double number = 0;
  return record && MDRGetAsDouble(MDRFldByName(array, field), record, &number) >= 0 ? number : otherwise;
}

struct Range {
  double low;
  double high;
};

// What a value moves in: around its warning limits, which it crosses now and then, or else the whole scale.
Range rangeOf(const MDArray* analogs, const MDRData* analog) {
  constexpr double kBeyond = 0.4;  // of the distance between the limits, on each side; half the range is used
  const Range scale{numberOf(analogs, analog, "engMin", 0), numberOf(analogs, analog, "engMax", 100)};
  const Range warn{numberOf(analogs, analog, "lowWarn", scale.low), numberOf(analogs, analog, "highWarn", scale.high)};
  const bool watched =
      numberOf(analogs, analog, "lowWarnOn", 0) != 0 && numberOf(analogs, analog, "highWarnOn", 0) != 0;
  if (!watched || warn.low >= warn.high) return scale;
  const double beyond = (warn.high - warn.low) * kBeyond;
  return {std::max(scale.low, warn.low - beyond), std::min(scale.high, warn.high + beyond)};
}

}  // namespace

Simulator::Simulator(Core& core, uint64_t seed, size_t limit, DeviceHabits habits)
    : core_(core), seed_(seed), limit_(limit), device_(std::make_shared<SimulatedDevice>(core, std::move(habits))) {
  core_.setDevice(device_);
}

Simulator::~Simulator() { core_.setDevice(nullptr); }

size_t Simulator::tick(double now) {
  if (seen_ != core_.lastSequence()) look();
  size_t count = 0;
  for (const Point& point : points_) count += core_.live().simulate(point.locId, valueOf(point, now)) ? 1 : 0;
  return count;
}

void Simulator::look() {
  points_.clear();
  seen_ = core_.lastSequence();
  core_.read([this](const ModelTables& tables) {
    const MDArray* measurements = tables.table("Measurement");
    const MDArray* objects = tables.table("IdentifiedObject");
    const MDArray* analogs = tables.table("Analog");
    const int count = MDARecCount(measurements);
    for (int i = 0; i < count && points_.size() < limit_; ++i) {
      const MDRData* row = MDARec(measurements, kMeasLocId, i);
      const auto locId = intOf(measurements, row, "locId");
      if (!locId || intOf(measurements, row, "work_") != 1) continue;
      const std::string_view key = textOf(measurements, row, "KeyLink");
      const std::string_view name = textOf(objects, seekKey(objects, key), "ClassName");
      Point point{static_cast<int32_t>(*locId), Kind::kAnalog, 50, 50};
      if (name == "Analog") {
        const MDRData* analog = seekKey(analogs, key);
        const Range range = rangeOf(analogs, analog);
        point.middle = (range.low + range.high) / 2;
        point.swing = (range.high - range.low) / 2;
      } else {
        point.kind = name == "Discrete" ? Kind::kDiscrete : name == "Accumulator" ? Kind::kAccumulator : Kind::kString;
        point.middle = 1000 + 9000 * noise(seed_, *locId, 1);
      }
      points_.push_back(point);
    }
  });
}

LiveValue Simulator::valueOf(const Point& point, double now) const {
  const double seconds = now * kSecondsPerDay;
  const double phase = noise(seed_, point.locId, 2);
  LiveValue value{now, Quality::kGood, 0.0};
  if (noise(seed_, point.locId, static_cast<int64_t>(seconds / 10)) < kOldOf) value.quality = Quality::kOld;
  switch (point.kind) {
    case Kind::kAnalog: {
      const double turns = seconds / (600 + 3000 * phase) + phase;
      const double slow = std::sin(2 * std::numbers::pi * turns);
      const double quick = noise(seed_, point.locId, static_cast<int64_t>(seconds)) - 0.5;
      value.value = point.middle + point.swing * (0.55 * slow + 0.05 * quick);
      break;
    }
    case Kind::kDiscrete: {
      if (const auto state = device_->stateOf(point.locId)) {
        value.value = *state;
        break;
      }
      const auto period = static_cast<int64_t>(seconds / (120 + 1800 * phase));
      value.value = noise(seed_, point.locId, period) < 0.7 ? 1.0 : 0.0;
      break;
    }
    case Kind::kAccumulator:
      value.value = std::floor(std::fmod(now, 36525) * point.middle);
      break;
    case Kind::kString: {
      static constexpr const char* kTexts[] = {"норма", "проверка", "резерв", "без изменений"};
      value.value =
          toCodePage(kTexts[static_cast<size_t>(noise(seed_, point.locId, static_cast<int64_t>(seconds / 300)) * 4)]);
      break;
    }
  }
  return value;
}

}  // namespace tlm::server
