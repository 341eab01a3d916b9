#include "ScriptModel.h"

#include <charconv>

namespace script_test {
namespace {

MDRVar varOf(const Cell& cell) {
  MDRVar var{};
  if (const auto* integer = std::get_if<int64_t>(&cell)) {
    var.type = MDX_INT64;
    var.i64 = *integer;
  } else if (const auto* fraction = std::get_if<double>(&cell)) {
    var.type = MDX_DOUBLE;
    var.f64 = *fraction;
  } else if (const auto* text = std::get_if<std::string>(&cell)) {
    var.type = MDX_TEXT;
    var.text.length = static_cast<uint32_t>(text->size());
    var.text.data = text->data();
  } else {
    var.type = MDX_TEXT;
    var.isNull = 1;
  }
  return var;
}

Cell cellOf(const MDRVar& var) {
  if (var.isNull || var.type == MDX_NONE) return {};
  switch (var.type) {
    case MDX_BOOL:
      return int64_t{var.flag};
    case MDX_INT32:
      return int64_t{var.i32};
    case MDX_INT64:
      return int64_t{var.i64};
    case MDX_DOUBLE:
      return double{var.f64};
    default:
      return std::string(var.text.data, var.text.length);
  }
}

Row rowOf(const MDArray* table, const MDRData* record) {
  Row row;
  for (int i = 0; i < MDAFldCount(table); ++i) {
    MDRVar var{};
    MDRGetVal(MDRFldByNum(table, i), record, &var);
    row.push_back(cellOf(var));
  }
  return row;
}

void setArguments(CVar* list, const Row& arguments) {
  CVarSetArr(list, static_cast<int>(arguments.size()));
  for (size_t i = 0; i < arguments.size(); ++i) {
    CVar* const item = &list->items[i];
    if (const auto* integer = std::get_if<int64_t>(&arguments[i])) CVarSetInt(item, *integer);
    if (const auto* fraction = std::get_if<double>(&arguments[i])) CVarSetDouble(item, *fraction);
    if (const auto* text = std::get_if<std::string>(&arguments[i]))
      CVarSetStr(item, text->data(), static_cast<int>(text->size()));
  }
}

void readResult(const CVar& result, Answer* answer) {
  switch (result.type) {
    case CVAR_INT:
      answer->scalar = int64_t{result.i64};
      break;
    case CVAR_DOUBLE:
      answer->scalar = double{result.f64};
      break;
    case CVAR_TEXT:
      answer->scalar = std::string(result.text, result.length);
      break;
    case CVAR_TABLE: {
      const MDArray* const table = *result.table;
      answer->isTable = true;
      for (int i = 0; i < MDAFldCount(table); ++i) answer->columns.push_back(MDAFldName(table, i));
      for (int i = 0; i < MDARecCount(table); ++i) answer->rows.push_back(rowOf(table, MDARec(table, 0, i)));
      break;
    }
    default:
      break;
  }
}

}  // namespace

std::string toText(const Cell& cell) {
  if (const auto* integer = std::get_if<int64_t>(&cell)) return std::to_string(*integer);
  if (const auto* text = std::get_if<std::string>(&cell)) return "\"" + *text + "\"";
  const auto* fraction = std::get_if<double>(&cell);
  if (!fraction) return "null";
  char buffer[40];
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, *fraction).ptr;
  std::string text(buffer, end);
  return text.find_first_of(".e") == std::string::npos ? text + ".0" : text;
}

std::string toText(const Row& row) {
  std::string text;
  for (const Cell& cell : row) text += (text.empty() ? "" : ", ") + toText(cell);
  return text;
}

std::vector<std::string> Answer::texts() const {
  std::vector<std::string> texts;
  for (const Row& row : rows) texts.push_back(toText(row));
  return texts;
}

ScriptModel::ScriptModel() : tables_(tlm::server::Catalogue::builtIn()) {}

MDRData* ScriptModel::addRow(const char* table) { return MDARecNew(tables_.table(table)); }

void ScriptModel::set(MDRData* record, const char* field, const Cell& value) {
  const MDRVar var = varOf(value);
  if (MDRSetVal(MDRFldByName(MDROwner(record), field), record, &var) < 0) throw std::runtime_error(field);
}

ScriptModel& ScriptModel::measurement(const std::string& key, Cell number, Cell unit) {
  MDRData* const record = addRow("Measurement");
  set(record, "KeyLink", key);
  set(record, "locId", number);
  set(record, "RemoteUnitKey", unit);
  set(record, "work_", int64_t{1});
  set(record, "MeasurementCategoryKey", "cat " + key);
  set(record, "MeasurementArchGroupKey", {});
  set(record, "primaryLocId", int64_t{7});
  MDARecPost(record, nullptr);
  return *this;
}

ScriptModel& ScriptModel::object(const std::string& key, const std::string& className, Cell name) {
  MDRData* const record = addRow("IdentifiedObject");
  set(record, "KeyLink", key);
  set(record, "ClassName", className);
  set(record, "name_", name);
  MDARecPost(record, nullptr);
  return *this;
}

ScriptModel& ScriptModel::discrete(const std::string& key, Cell telecontrol) {
  MDRData* const record = addRow("Discrete");
  set(record, "KeyLink", key);
  set(record, "CheckTu", telecontrol);
  MDARecPost(record, nullptr);
  return *this;
}

ScriptModel& ScriptModel::whole(const std::string& key, Cell number, Cell unit) {
  return measurement(key, number, unit).object(key, "Analog", "name " + key);
}

ScriptModel& ScriptModel::numbers(const std::vector<int64_t>& numbers) {
  for (const int64_t number : numbers) measurement("m" + std::to_string(number), number);
  return *this;
}

Answer run(const tlm::server::ModelTables& tables, std::string text, const Row& arguments,
           const tlm::server::ScriptBudget& budget) {
  if (const size_t name = text.find("%1"); name != std::string::npos) text.replace(name, 2, "_test");
  Answer answer;
  const auto script = tlm::server::Script::compile(text, &answer.error);
  if (!script) {
    answer.status = tlm::wire::kScriptError;
    return answer;
  }
  CVar list, result;
  CVarInit(&list, 1);
  CVarInit(&result, 1);
  setArguments(&list, arguments);
  const auto outcome = script->run(tables, &list, budget, &result);
  answer.status = outcome.status;
  answer.error = outcome.error;
  readResult(result, &answer);
  CVarClear(&result, 1);
  CVarClear(&list, 1);
  return answer;
}

}  // namespace script_test
