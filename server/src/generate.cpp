#include <TlmServer/CodePage.h>
#include <TlmServer/Generate.h>
#include <TlmServer/SampleModel.h>

#include <array>
#include <cstdio>
#include <initializer_list>
#include <string_view>
#include <vector>

#include "sampleCell.h"
#include "values.h"

namespace tlm::server {
namespace {

// A well mixed number from a seed and a position, the same on every machine.
uint64_t mixed(uint64_t seed, uint64_t position) {
  uint64_t z = seed * 0xD1342543DE82EF95ull + position * 0x9E3779B97F4A7C15ull;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
  return z ^ (z >> 31);
}

using Key = std::array<char, kKeyLength>;

std::string_view view(const Key& key) { return {key.data(), key.size()}; }

// Adds rows of one table; fields are looked up once.
class Rows {
 public:
  Rows(MDArray* array, std::initializer_list<const char*> columns) : array_(array) {
    for (const char* name : columns) fields_.push_back(MDRFldByName(array, name));
  }

  bool start() { return (record_ = MDARecNew(array_)) != nullptr; }
  void set(size_t column, const MDRVar& value) { MDRSetVal(fields_[column], record_, &value); }
  void text(size_t column, std::string_view value) { set(column, textVar(value)); }
  void number(size_t column, int64_t value) { set(column, intVar(value)); }
  void real(size_t column, double value) { set(column, doubleVar(value)); }
  void flag(size_t column, bool value) { set(column, boolVar(value)); }
  void post() { MDARecPost(record_, nullptr); }

 private:
  MDArray* array_;
  MDRData* record_ = nullptr;
  std::vector<const MDRField*> fields_;
};

// A kind of measurement: its class, its name with the number of the bay, and what goes with it.
struct Pattern {
  enum Class { kAnalog, kDiscrete, kAccumulator, kString } kind;
  const char* name;  // UTF-8
  const char* unit;
  double range;
};

constexpr const char* kClassNames[] = {"Analog", "Discrete", "Accumulator", "StringMeasurement"};
constexpr const char* kCategories[] = {"ТИ", "ТС", "ТИИ", "Диагностика"};
constexpr const char* kArchGroups[] = {"ТИ 10 с", "ТС", "ТИИ 30 мин", "Строки"};

constexpr Pattern kPatterns[] = {{Pattern::kAnalog, "P Ф-", "МВт", 10},
                                 {Pattern::kDiscrete, "Положение В-10 Ф-", nullptr, 0},
                                 {Pattern::kAnalog, "I Ф-", "А", 600},
                                 {Pattern::kDiscrete, "Положение ЛР Ф-", nullptr, 0},
                                 {Pattern::kAccumulator, "Счетчик Wp+ Ф-", "кВт·ч", 0},
                                 {Pattern::kAnalog, "Q Ф-", "Мвар", 5},
                                 {Pattern::kDiscrete, "МТЗ Ф-", nullptr, 0},
                                 {Pattern::kAnalog, "U Ф-", "кВ", 12},
                                 {Pattern::kDiscrete, "Земля в сети Ф-", nullptr, 0},
                                 {Pattern::kString, "Сообщение Ф-", nullptr, 0}};

constexpr const char* kUnitNames[] = {"ПС 110 кВ №", "ПС 35 кВ №", "РП-", "ТП-", "ПС 110 кВ Тяговая №"};
constexpr int kUnitsInFolder = 40;

class Generator {
 public:
  Generator(const GenerateOptions& options, const ModelTables& tables)
      : options_(options),
        objects_(tables.table("IdentifiedObject"), {"KeyLink", "ClassName", "name_"}),
        measurements_(tables.table("Measurement"),
                      {"KeyLink", "locId", "work_", "RemoteUnitKey", "MeasurementCategoryKey",
                       "MeasurementArchGroupKey", "UnitKey", "primaryLocId", "CheckArch", "ioAddress"}),
        details_{Rows(tables.table("Analog"), {"KeyLink", "scale_", "engMin", "engMax", "decimals", "highWarn"}),
                 Rows(tables.table("Discrete"), {"KeyLink", "CheckTu", "signalKind", "StateTextsKey"}),
                 Rows(tables.table("Accumulator"), {"KeyLink", "pulseWeight", "transformRatio", "rollover"}),
                 Rows(tables.table("StringMeasurement"), {"KeyLink", "maxLength"})},
        units_(tables.table("RemoteUnit"), {"KeyLink", "RemoteUnitFolderKey", "SrvGroup", "StateRtu", "prefName",
                                            "unitNumber", "protocol", "pollPeriod"}),
        folders_(tables.table("RemoteUnitFolder"), {"KeyLink", "caption", "ParentKey", "orderNo"}) {
    lookUpReferences();
  }

  bool run() { return addFolders() && addUnits() && addMeasurements(); }

 private:
  enum Space : uint64_t { kFolder = 1, kUnit = 2, kMeasurement = 3, kChoice = 4 };

  Key key(Space space, uint64_t number) const {
    Key made;
    char text[kKeyLength + 1];
    std::snprintf(text, sizeof text, "%016llX%016llX",
                  static_cast<unsigned long long>(mixed(options_.seed, number * 16 + space * 2)),
                  static_cast<unsigned long long>(mixed(options_.seed, number * 16 + space * 2 + 1)));
    std::copy_n(text, kKeyLength, made.begin());
    return made;
  }

  uint64_t choice(uint64_t number, uint64_t of) const { return mixed(options_.seed, number * 16 + kChoice * 2) % of; }

  void lookUpReferences() {
    for (size_t i = 0; i < 4; ++i) {
      categories_[i] = keyFor("MeasurementCategory", kCategories[i]);
      groups_[i] = keyFor("MeasurementArchGroup", kArchGroups[i]);
    }
    for (const Pattern& pattern : kPatterns) {
      names_.push_back(toCodePage(pattern.name));
      unitsOfMeasure_.push_back(pattern.unit ? keyFor("MeasurementUnit", pattern.unit) : std::string());
    }
    aggregated_ = keyFor("MeasurementArchGroup", "Среднее 30 мин");
    aggregatedSuffix_ = toCodePage("_среднее 30 мин");
    stateTexts_ = keyFor("StateTexts", "Выключатель");
  }

  int folderCount() const { return (options_.units + kUnitsInFolder - 1) / kUnitsInFolder; }

  // Every eighth folder stands at the top, the others under the last such one, some one level deeper.
  bool addFolders() {
    for (int i = 0; i < folderCount(); ++i) {
      if (!folders_.start()) return false;
      folders_.text(0, view(key(kFolder, static_cast<uint64_t>(i))));
      folders_.text(1, toCodePage((i % 8 == 0 ? "Предприятие " : "Участок ") + std::to_string(i + 1)));
      const int parent = i % 8 == 0 ? -1 : i % 8 > 5 ? i - 1 : i - i % 8;
      if (parent >= 0) folders_.text(2, view(key(kFolder, static_cast<uint64_t>(parent))));
      folders_.number(3, i + 1);
      folders_.post();
    }
    return true;
  }

  bool addUnits() {
    for (int i = 0; i < options_.units; ++i) {
      const auto number = static_cast<uint64_t>(i);
      const Key unit = key(kUnit, number);
      if (!addObject(view(unit), "RemoteUnit", toCodePage(kUnitNames[i % 5] + std::to_string(i + 1))) ||
          !units_.start())
        return false;
      units_.text(0, view(unit));
      if (i % 97 != 96) units_.text(1, view(key(kFolder, number / kUnitsInFolder)));
      units_.number(2, 1 + i % 2);
      units_.flag(3, i % 50 != 49);
      units_.flag(4, i % 5 == 3);
      units_.number(5, i % 65536);
      units_.number(6, 2);
      units_.number(7, 1000);
      units_.post();
    }
    return true;
  }

  bool addObject(std::string_view objectKey, std::string_view className, std::string_view name) {
    if (!objects_.start()) return false;
    objects_.text(0, objectKey);
    objects_.text(1, className);
    objects_.text(2, name);
    objects_.post();
    return true;
  }

  bool addMeasurements() {
    const int inUnits = options_.measurements - options_.withoutUnit;
    int64_t number = 0;
    int next = 0;
    for (int unit = 0; unit < options_.units; ++unit) {
      const int share = inUnits / options_.units + (unit < inUnits % options_.units ? 1 : 0);
      const Key unitKey = key(kUnit, static_cast<uint64_t>(unit));
      for (int i = 0; i < share; ++i, ++next)
        if (!addMeasurement(next, i, number = nextNumber(number, next), view(unitKey), true)) return false;
    }
    for (; next < options_.measurements; ++next)
      if (!addMeasurement(next, next - inUnits, number = nextNumber(number, next), {}, next % 2 == 0)) return false;
    return true;
  }

  int64_t nextNumber(int64_t number, int measurement) const {
    const bool hole = options_.holes && choice(static_cast<uint64_t>(measurement), 64) == 0;
    return number + (hole ? 2 + measurement % 3 : 1);
  }

  // `place` counts within the unit: ten patterns make a bay; in every tenth bay the third row is an average of
  // the first.
  bool addMeasurement(int index, int place, int64_t number, std::string_view unit, bool unitKnown) {
    const bool average = place % 100 == 92;
    const size_t which = average ? 0 : static_cast<size_t>(place) % std::size(kPatterns);
    const Pattern& pattern = kPatterns[which];
    const Key own = key(kMeasurement, static_cast<uint64_t>(index));
    std::string name = names_[which] + std::to_string(place / static_cast<int>(std::size(kPatterns)) + 1);
    if (average) name += aggregatedSuffix_;
    if (!addObject(view(own), kClassNames[pattern.kind], name) || !measurements_.start()) return false;
    measurements_.text(0, view(own));
    measurements_.number(1, number);
    measurements_.flag(2, choice(static_cast<uint64_t>(index), 100) != 1);
    if (unitKnown) measurements_.text(3, unit);
    measurements_.text(4, categories_[pattern.kind]);
    measurements_.text(5, average ? aggregated_ : groups_[pattern.kind]);
    if (pattern.unit) measurements_.text(6, unitsOfMeasure_[which]);
    if (average) measurements_.number(7, primary_);
    if (place % 100 == 90) primary_ = number;
    measurements_.flag(8, true);
    measurements_.number(9, place + 1);
    measurements_.post();
    return addDetails(pattern, view(own), place);
  }

  bool addDetails(const Pattern& pattern, std::string_view own, int place) {
    Rows& rows = details_[pattern.kind];
    if (!rows.start()) return false;
    rows.text(0, own);
    switch (pattern.kind) {
      case Pattern::kAnalog:
        rows.real(1, 1.0);
        rows.real(2, -pattern.range);
        rows.real(3, pattern.range);
        rows.number(4, 2);
        rows.real(5, pattern.range * 0.8);
        break;
      case Pattern::kDiscrete:
        rows.flag(1, place % 20 == 1);
        rows.number(2, place % 10 == 1 ? 0 : 3);
        rows.text(3, stateTexts_);
        break;
      case Pattern::kAccumulator:
        rows.real(1, 0.001);
        rows.real(2, 6000);
        rows.number(3, 99999999);
        break;
      case Pattern::kString:
        rows.number(1, 255);
        break;
    }
    rows.post();
    return true;
  }

  const GenerateOptions& options_;
  Rows objects_;
  Rows measurements_;
  std::array<Rows, 4> details_;
  Rows units_;
  Rows folders_;
  std::array<std::string, 4> categories_;
  std::array<std::string, 4> groups_;
  std::vector<std::string> names_;
  std::vector<std::string> unitsOfMeasure_;
  std::string aggregated_;
  std::string aggregatedSuffix_;
  std::string stateTexts_;
  int64_t primary_ = 0;
};

bool inRange(const GenerateOptions& options, std::string* error) {
  if (options.units < 1 || options.units > kMaxGenerated)
    *error = "the number of units must be from 1 to " + std::to_string(kMaxGenerated);
  else if (options.measurements < 0 || options.measurements > kMaxGenerated)
    *error = "the number of measurements must be from 0 to " + std::to_string(kMaxGenerated);
  else if (options.withoutUnit < 0 || options.withoutUnit > options.measurements)
    *error = "the number of measurements without a unit must be from 0 to that of all";
  else
    return true;
  return false;
}

}  // namespace

bool generateModel(const GenerateOptions& options, ModelTables* tables, std::string* error) {
  if (!inRange(options, error) || !loadBuiltInReferences(tables, error)) return false;
  if (Generator(options, *tables).run()) return true;
  *error = "no memory for a model of that size";
  return false;
}

}  // namespace tlm::server
