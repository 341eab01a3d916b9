// Model tables with a few rows, and scripts run on them.
#ifndef TESTS_SERVER_SCRIPT_SCRIPTMODEL_H
#define TESTS_SERVER_SCRIPT_SCRIPTMODEL_H

#include <TlmServer/Script.h>

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace script_test {

// A value of a field, an argument or a result. A null is std::monostate.
using Cell = std::variant<std::monostate, int64_t, double, std::string>;
using Row = std::vector<Cell>;

// As cases and messages write it: null, 3, 2.5, "text".
std::string toText(const Cell& cell);
std::string toText(const Row& row);  // cells joined by ", "

struct Answer {
  int32_t status = 0;
  std::string error;
  Cell scalar;
  bool isTable = false;
  std::vector<std::string> columns;
  std::vector<Row> rows;  // in the order of key 0

  std::vector<std::string> texts() const;  // of the rows
};

class ScriptModel {
 public:
  ScriptModel();

  // Rows of "Measurement", "IdentifiedObject" and "Discrete". An integer 0 is written, a monostate is null.
  ScriptModel& measurement(const std::string& key, Cell number, Cell unit = {});
  ScriptModel& object(const std::string& key, const std::string& className, Cell name);
  ScriptModel& discrete(const std::string& key, Cell telecontrol);

  // A measurement with its object, named "name <key>".
  ScriptModel& whole(const std::string& key, Cell number, Cell unit);

  ScriptModel& numbers(const std::vector<int64_t>& numbers);  // measurements "m<number>" without objects

  void set(MDRData* record, const char* field, const Cell& value);
  MDRData* addRow(const char* table);

  const tlm::server::ModelTables& tables() const { return tables_; }

 private:
  tlm::server::ModelTables tables_;
};

// Compiles and runs; a text that does not compile gives the status of a script error.
Answer run(const tlm::server::ModelTables& tables, std::string text, const Row& arguments = {},
           const tlm::server::ScriptBudget& budget = {});
inline Answer run(const ScriptModel& model, std::string text, const Row& arguments = {},
                  const tlm::server::ScriptBudget& budget = {}) {
  return run(model.tables(), std::move(text), arguments, budget);
}

}  // namespace script_test

#endif
