#include "model.h"

#include <algorithm>
#include <cstdio>
#include <numeric>
#include <random>
#include <string_view>
#include <vector>

namespace tlm::bench {
namespace {

class Writer {
 public:
  explicit Writer(MDArray* table) : table_(table) {}
  void start() { record_ = MDARecNew(table_); }
  void text(const char* field, std::string_view value) {
    MDRVar var{};
    var.type = MDX_TEXT;
    var.text.length = static_cast<uint32_t>(value.size());
    var.text.data = value.data();
    MDRSetVal(MDRFldByName(table_, field), record_, &var);
  }
  void number(const char* field, int64_t value) {
    MDRVar var{};
    var.type = MDX_INT64;
    var.i64 = value;
    MDRSetVal(MDRFldByName(table_, field), record_, &var);
  }
  void post() { MDARecPost(record_, nullptr); }

 private:
  MDArray* table_;
  MDRData* record_ = nullptr;
};

// Scatters the objects over the key's order, as keys that are made at random do.
uint32_t scattered(uint32_t number) { return number * 2654435761u; }

void addMeasurement(Writer& measurement, Writer& object, Writer& discrete, int number) {
  const std::string key = keyOf('m', number);
  const bool isDiscrete = number % 2 == 0;
  measurement.start();
  measurement.text("KeyLink", key);
  measurement.number("locId", number);
  measurement.number("primaryLocId", 0);
  measurement.number("work_", 1);
  measurement.text("MeasurementCategoryKey", keyOf('c', number % 20));
  measurement.text("RemoteUnitKey", unitKey((number - 1) / kUnitSize));
  measurement.text("MeasurementArchGroupKey", keyOf('a', number % 50));
  measurement.post();
  object.start();
  object.text("KeyLink", key);
  object.text("ClassName", isDiscrete ? "Discrete" : "Analog");
  object.text("name_", "Measurement " + std::to_string(number));
  object.post();
  if (!isDiscrete) return;
  discrete.start();
  discrete.text("KeyLink", key);
  discrete.number("CheckTu", number % 4 == 0);
  discrete.post();
}

}  // namespace

std::string keyOf(char kind, int number) {
  char text[40];
  std::snprintf(text, sizeof text, "%c%08x%08x%015d", kind, scattered(static_cast<uint32_t>(number)),
                scattered(static_cast<uint32_t>(number) + 77), number);
  return std::string(text, 32);
}

std::string unitKey(int unit) { return keyOf('u', unit); }

const server::ModelTables& scriptModel() {
  static const server::ModelTables tables(server::Catalogue::builtIn());
  static const bool filled = [] {
    Writer measurement(tables.table("Measurement")), object(tables.table("IdentifiedObject")),
        discrete(tables.table("Discrete"));
    for (int number = 1; number <= kMeasurements; ++number) addMeasurement(measurement, object, discrete, number);
    return true;
  }();
  (void)filled;
  return tables;
}

}  // namespace tlm::bench
