// The queries of the configurator against the same work in C++ and in Lua.
#include "model.h"

#include <bench/bench.h>
#include <data/MeasScripts.h>

#include <TlmServer/Script.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace tlm::bench {
namespace {

using server::ModelTables;
using server::Script;

constexpr int kRounds = 7;
constexpr int kUnits = kMeasurements / kUnitSize;

std::string named(const char* text) {
  std::string script = text;
  return script.replace(script.find("%1"), 2, "0123456789ABCDEF0123456789ABCDEF");
}

// A wrong answer makes every figure worthless.
void require(bool right, const char* what) {
  if (right) return;
  std::fprintf(stderr, "script bench: %s\n", what);
  std::abort();
}

struct Var : CVar {
  Var() { CVarInit(this, 1); }
  ~Var() { CVarClear(this, 1); }
  Var(const Var&) = delete;
  Var& operator=(const Var&) = delete;
};

MDRVar textVar(const char* data, size_t length) {
  MDRVar var{};
  var.type = MDX_TEXT;
  var.text.length = static_cast<uint32_t>(length);
  var.text.data = data;
  return var;
}

// ---- the first hole -------------------------------------------------------------------------------

int64_t nativeHole(const ModelTables& tables) {
  const MDArray* const table = tables.table("Measurement");
  const MDRField* const field = MDRFldByName(table, "locId");
  const int count = MDARecCount(table);
  int64_t previous = 0;
  for (int i = 0; i < count; ++i) {
    MDRVar var;
    MDRGetVal(field, MDARec(table, 1, i), &var);
    if (var.isNull) return 0;
    if (i && var.i64 - previous > 1) return previous + 1;
    previous = var.i64;
  }
  return 0;
}

int64_t scriptHole(const Script& script, const ModelTables& tables) {
  Var result;
  const auto outcome = script.run(tables, nullptr, {}, &result);
  require(outcome.status == wire::kOk && result.type == CVAR_INT, outcome.error.c_str());
  return result.i64;
}

std::vector<Result> holeBench() {
  const ModelTables& tables = scriptModel();
  std::string error;
  const auto script = Script::compile(named(kScriptFreeLocId), &error);
  require(script != nullptr, error.c_str());
  require(nativeHole(tables) == 0 && scriptHole(*script, tables) == 0, "there is no hole");
  const auto ours = [&] { return seconds([&] { keep(scriptHole(*script, tables)); }) * 1e9 / kMeasurements; };
  const auto native = [&] { return seconds([&] { keep(nativeHole(tables)); }) * 1e9 / kMeasurements; };
  std::vector<Result> results;
  const auto [mine, theirs] = inTurn(kRounds, ours, native);
  results.push_back(atMost("script.hole", mine, theirs, "ns/row", 1.5));
#ifdef TLM_BENCH_LUA
  LuaHole lua(tables);
  require(lua.run() == 0, "Lua finds a hole");
  const auto inLua = [&] { return seconds([&] { keep(lua.run()); }) * 1e9 / kMeasurements; };
  const auto [luaTime, oursAgain] = inTurn(kRounds, inLua, ours);
  results.push_back(atLeast("script.hole.lua", luaTime, oursAgain, "ns/row", 5));
#endif
  return results;
}

// ---- the measurements of a unit -------------------------------------------------------------------

struct Column {
  const char* name;
  uint8_t type;
  uint8_t size;
};

constexpr Column kColumns[] = {{"KeyLink", MDX_TEXT, 32},       {"ClassName", MDX_MEMO, 0},
                               {"name_", MDX_MEMO, 0},          {"locId", MDX_INT64, 0},
                               {"work_", MDX_BOOL, 0},          {"MeasurementCategoryKey", MDX_TEXT, 32},
                               {"RemoteUnitKey", MDX_TEXT, 32}, {"MeasurementArchGroupKey", MDX_TEXT, 32},
                               {"primaryLocId", MDX_INT64, 0},  {"CheckTu", MDX_BOOL, 0}};

MDArray* measurementRows() {
  MDArray* rows = nullptr;
  MDACreate(&rows, 0);
  for (const Column& column : kColumns) {
    MDRFldDesc description{};
    std::strcpy(description.name, column.name);
    description.type = column.type;
    description.size = column.size;
    MDAFldAdd(rows, 1, &description);
  }
  return rows;
}

void copy(const MDRField* from, const MDRData* source, const MDRField* to, MDRData* target) {
  MDRVar var;
  MDRGetVal(from, source, &var);
  MDRSetVal(to, target, &var);
}

// What script 4 does, as a C++ programmer writes it: fields looked up once.
MDArray* nativeUnit(const ModelTables& tables, const std::string& unit) {
  MDArray* const objects = tables.table("IdentifiedObject");
  MDArray* const measurements = tables.table("Measurement");
  MDArray* const discretes = tables.table("Discrete");
  MDArray* const rows = measurementRows();
  const MDRField* to[std::size(kColumns)];
  const MDRField* from[std::size(kColumns)];
  for (int i = 0; i < static_cast<int>(std::size(kColumns)); ++i) {
    to[i] = MDRFldByNum(rows, i);
    from[i] = MDRFldByName(i == 1 || i == 2 ? objects : i == 9 ? discretes : measurements, kColumns[i].name);
  }
  const MDRVar sought = textVar(unit.data(), unit.size());
  int position = 0;
  if (!MDARecSeekV(measurements, 3, &sought, &position)) return rows;
  const int count = MDARecCount(measurements);
  for (; position < count; ++position) {
    const MDRData* const measurement = MDARec(measurements, 3, position);
    MDRVar var;
    MDRGetVal(from[6], measurement, &var);
    if (var.isNull || std::string_view(var.text.data, var.text.length) != unit) break;
    MDRVar key;
    MDRGetVal(from[0], measurement, &key);
    const MDRData* const object = MDARecSeekV(objects, 0, &key, nullptr);
    if (!object) continue;
    const MDRData* const discrete = MDARecSeekV(discretes, 0, &key, nullptr);
    MDRData* const row = MDARecNew(rows);
    for (const int i : {0, 3, 4, 5, 6, 7, 8}) copy(from[i], measurement, to[i], row);
    for (const int i : {1, 2}) copy(from[i], object, to[i], row);
    var = {};
    var.type = MDX_BOOL;
    if (discrete) MDRGetVal(from[9], discrete, &var);
    MDRSetVal(to[9], row, &var);
    MDARecPost(row, nullptr);
  }
  return rows;
}

int nativeUnitRows(const ModelTables& tables, int unit) {
  MDArray* const rows = nativeUnit(tables, unitKey(unit));
  const int count = MDARecCount(rows);
  MDADestroy(rows);
  return count;
}

int scriptUnitRows(const Script& script, const ModelTables& tables, int unit) {
  const std::string key = unitKey(unit);
  Var arguments, result;
  CVarSetArr(&arguments, 1);
  CVarSetStr(&arguments.items[0], key.data(), static_cast<int>(key.size()));
  const auto outcome = script.run(tables, &arguments, {}, &result);
  require(outcome.status == wire::kOk && result.type == CVAR_TABLE, outcome.error.c_str());
  return MDARecCount(*result.table);
}

std::vector<Result> unitBench() {
  const ModelTables& tables = scriptModel();
  const std::string text = named(kScriptUnitMeasurements);
  std::string error;
  const auto script = Script::compile(text, &error);
  require(script != nullptr, error.c_str());
  require(nativeUnitRows(tables, 3) == kUnitSize && scriptUnitRows(*script, tables, 3) == kUnitSize, "wrong rows");
  // Units far apart, so that neither side finds its records in the cache.
  constexpr int kPerRound = 50;
  int unit = 0;
  const auto next = [&unit] { return unit = (unit + 617) % kUnits; };
  const auto ours = [&] {
    return seconds([&] {
             for (int i = 0; i < kPerRound; ++i) keep(scriptUnitRows(*script, tables, next()));
           }) *
           1e6 / kPerRound;
  };
  const auto native = [&] {
    return seconds([&] {
             for (int i = 0; i < kPerRound; ++i) keep(nativeUnitRows(tables, next()));
           }) *
           1e6 / kPerRound;
  };
  const auto [mine, theirs] = inTurn(kRounds, ours, native);
  return {atMost("script.unit", mine, theirs, "us/unit", 3)};
}

// ---- compiling ------------------------------------------------------------------------------------

// Against a bound in microseconds: nothing else compiles this language.
std::vector<Result> compileBench() {
  const std::string text = named(kScriptUnitMeasurements);
  constexpr int kPerRound = 2000;
  std::vector<double> times;
  for (int round = 0; round < kRounds; ++round)
    times.push_back(seconds([&] {
                      std::string error;
                      for (int i = 0; i < kPerRound; ++i) keep(Script::compile(text, &error));
                    }) *
                    1e6 / kPerRound);
  return {atMost("script.compile", median(std::move(times)), 30, "us", 1)};
}

}  // namespace

void addScriptBenches(Registry& registry) {
  registry.add("script.hole", holeBench);
  registry.add("script.unit", unitBench);
  registry.add("script.compile", compileBench);
}

}  // namespace tlm::bench
