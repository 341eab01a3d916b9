#include <TlmServer/CodePage.h>
#include <TlmServer/ModelCheck.h>

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "values.h"

namespace tlm::server {
namespace {

class Check {
 public:
  Check(const ModelTables& tables, size_t limit) : tables_(tables), limit_(limit) {}

  ModelProblems run() {
    for (const TableDef& table : tables_.catalogue().tables()) {
      if (Catalogue::describesItself(table.name)) continue;
      checkKeys(table);
      if (!table.parent.empty()) checkChildRows(table);
      for (const FieldDef& field : table.fields) checkField(table, field);
    }
    checkObjects();
    checkNumbers();
    return std::move(problems_);
  }

 private:
  template <typename Each>
  void forRows(const TableDef& table, const Each& each) {
    const MDArray* array = tables_.table(table.name);
    for (int i = 0, n = MDARecCount(array); i < n; ++i) each(array, MDARec(array, 0, i));
  }

  void report(const TableDef& table, const MDArray* array, const MDRData* record, std::string_view what) {
    if (++problems_.count > limit_) return;
    std::string line = table.name + " " + fromCodePage(textOf(valueOf(MDRFldByNum(array, 0), record)));
    if (table.name == "Measurement")
      if (const auto number = intOf(array, record, "locId")) line += " (number " + std::to_string(*number) + ")";
    problems_.lines.push_back(line + ": " + std::string(what));
  }

  void checkKeys(const TableDef& table) {
    std::string before;
    bool first = true;
    forRows(table, [&](const MDArray* array, const MDRData* record) {
      const std::string_view key = textOf(valueOf(MDRFldByNum(array, 0), record));
      if (key.size() != kKeyLength || !isAscii(key)) report(table, array, record, "the key is not of 32 characters");
      if (!first && key == before) report(table, array, record, "the key stands twice");
      before = key;
      first = false;
    });
  }

  // A row of a child table needs the row of its parent table.
  void checkChildRows(const TableDef& table) {
    const MDArray* parent = tables_.table(table.parent);
    forRows(table, [&](const MDArray* array, const MDRData* record) {
      if (!seekKey(parent, textOf(valueOf(MDRFldByNum(array, 0), record))))
        report(table, array, record, "the row in " + table.parent + " is missing");
    });
  }

  // An object needs a row in each table of its class, and none in a class that it is not.
  void checkObjects() {
    const TableDef* root = tables_.catalogue().table("IdentifiedObject");
    if (!root) return;
    forRows(*root, [&](const MDArray* array, const MDRData* record) {
      const std::string name(textOf(array, record, "ClassName"));
      const auto chain = tables_.catalogue().chain(name);
      if (chain.size() < 2) return report(*root, array, record, "the class \"" + fromCodePage(name) + "\" is unknown");
      const std::string_view key = textOf(valueOf(MDRFldByNum(array, 0), record));
      for (const TableDef& table : tables_.catalogue().tables()) {
        if (tables_.catalogue().chain(table.name).front() != root || &table == root) continue;
        const bool wanted = std::find(chain.begin(), chain.end(), &table) != chain.end();
        const bool there = seekKey(tables_.table(table.name), key) != nullptr;
        if (wanted && !there) report(*root, array, record, "the row in " + table.name + " is missing");
        if (!wanted && there) report(*root, array, record, "a row in " + table.name + ", and the class is " + name);
      }
    });
  }

  void checkField(const TableDef& table, const FieldDef& field) {
    if (field.declared == "GUID_REF") checkLinks(table, field);
    if (!paramValue(field.param, "Meas").empty()) checkMeasurementLinks(table, field);
    if (!paramValue(field.param, "SrvGroups").empty()) checkGroupLinks(table, field);
  }

  void checkLinks(const TableDef& table, const FieldDef& field) {
    const std::string target(paramValue(field.param, "REF"));
    const MDArray* to = tables_.table(target);
    if (!to) return;
    forRows(table, [&](const MDArray* array, const MDRData* record) {
      const std::string_view key = textOf(array, record, field.name.c_str());
      if (!key.empty() && !seekKey(to, key))
        report(table, array, record, field.name + " points at no " + target + " (" + fromCodePage(key) + ")");
    });
    if (target == table.name) checkCycles(table, field);
  }

  void checkMeasurementLinks(const TableDef& table, const FieldDef& field) {
    const MDArray* to = tables_.table("Measurement");
    forRows(table, [&](const MDArray* array, const MDRData* record) {
      const auto number = intOf(array, record, field.name.c_str());
      if (!number || *number == 0) return;
      const MDRVar value = intVar(*number);
      if (!MDARecSeekV(to, 1, &value, nullptr))
        report(table, array, record, field.name + " points at no measurement (" + std::to_string(*number) + ")");
    });
  }

  void checkGroupLinks(const TableDef& table, const FieldDef& field) {
    const MDArray* to = tables_.table("ServerGroups");
    if (!to) return;
    forRows(table, [&](const MDArray* array, const MDRData* record) {
      const auto number = intOf(array, record, field.name.c_str());
      if (!number || *number == 0) return;
      const MDRVar value = intVar(*number);
      if (!MDARecSeekV(to, 1, &value, nullptr))
        report(table, array, record, field.name + " names no server group (" + std::to_string(*number) + ")");
    });
  }

  void checkNumbers() {
    const TableDef* table = tables_.catalogue().table("Measurement");
    if (!table) return;
    const MDArray* array = tables_.table(table->name);
    int64_t before = 0;
    for (int i = 0, n = MDARecCount(array); i < n; ++i) {
      const MDRData* record = MDARec(array, 1, i);
      const int64_t number = intOf(array, record, "locId").value_or(0);
      if (number == 0) report(*table, array, record, "no number");
      if (number != 0 && number == before) report(*table, array, record, "the number stands twice");
      before = number;
    }
  }

  // Follows each chain of parents once; a row met again on its own way up is on a cycle.
  void checkCycles(const TableDef& table, const FieldDef& field) {
    std::unordered_map<std::string, std::string> parents;
    forRows(table, [&](const MDArray* array, const MDRData* record) {
      parents.emplace(textOf(valueOf(MDRFldByNum(array, 0), record)), textOf(array, record, field.name.c_str()));
    });
    std::unordered_set<std::string> sound;
    forRows(table, [&](const MDArray* array, const MDRData* record) {
      std::unordered_set<std::string> way;
      const std::string start(textOf(valueOf(MDRFldByNum(array, 0), record)));
      std::string at = start;
      while (!at.empty() && sound.count(at) == 0 && way.insert(at).second) {
        const auto next = parents.find(at);
        at = next == parents.end() ? std::string() : next->second;
      }
      const bool cycle = !at.empty() && sound.count(at) == 0;
      if (cycle && at == start) report(table, array, record, field.name + " leads back to the row itself");
      if (!cycle) sound.insert(way.begin(), way.end());
    });
  }

  const ModelTables& tables_;
  size_t limit_;
  ModelProblems problems_;
};

}  // namespace

ModelProblems checkModel(const ModelTables& tables, size_t limit) { return Check(tables, limit).run(); }

}  // namespace tlm::server
