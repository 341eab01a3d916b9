#include "ModelText.h"

#include <TlmMdx/CMDArray.h>
#include <TlmServer/CodePage.h>
#include <TlmServer/MemoryStore.h>
#include <TlmServer/Users.h>

#include <map>
#include <memory>
#include <sstream>
#include <vector>

namespace tlm::test {
namespace {

using server::Catalogue;
using server::TableDef;

struct Kind {
  const char* word;
  const char* className;
  const char* parentField;  // holds the key of the folder or unit around it
  bool numbered;
};

constexpr Kind kKinds[] = {
    {"folder", "RemoteUnitFolder", "ParentKey", false},
    {"unit", "RemoteUnit", "RemoteUnitFolderKey", false},
    {"analog", "Analog", "RemoteUnitKey", true},
    {"discrete", "Discrete", "RemoteUnitKey", true},
    {"accumulator", "Accumulator", "RemoteUnitKey", true},
    {"string", "StringMeasurement", "RemoteUnitKey", true},
    {"table", "", nullptr, false},
    {"user", "-", nullptr, false},
};

struct Line {
  size_t depth = 0;
  const Kind* kind = nullptr;
  std::string className;
  std::string name;
  int number = 0;
  std::vector<std::pair<std::string, std::string>> fields;
};

bool failed(std::string* error, const std::string& line, const char* why) {
  if (error) *error = std::string(why) + ": " + line;
  return false;
}

std::string trimmed(const std::string& text) {
  const size_t from = text.find_first_not_of(' ');
  return from == std::string::npos ? std::string() : text.substr(from, text.find_last_not_of(' ') - from + 1);
}

// The fields in braces at the end are cut off.
bool readBraces(std::string* text, Line* line) {
  const size_t open = text->find('{');
  if (open == std::string::npos) return true;
  const size_t close = text->find('}', open);
  if (close == std::string::npos) return false;
  std::istringstream parts(text->substr(open + 1, close - open - 1));
  for (std::string part; std::getline(parts, part, ';');) {
    const size_t equals = part.find('=');
    if (equals == std::string::npos) return false;
    line->fields.emplace_back(trimmed(part.substr(0, equals)), part.substr(equals + 1));
  }
  *text = trimmed(text->substr(0, open));
  return true;
}

bool readLine(const std::string& text, Line* line, std::string* error) {
  const size_t blanks = text.find_first_not_of(' ');
  if (blanks % 2 != 0) return failed(error, text, "odd indentation");
  line->depth = blanks / 2;
  std::string rest = text.substr(blanks);
  if (!readBraces(&rest, line)) return failed(error, text, "braces");
  std::istringstream words(rest);
  std::string word;
  words >> word;
  for (const Kind& kind : kKinds) {
    if (word == kind.word) line->kind = &kind;
  }
  if (!line->kind) return failed(error, text, "unknown kind");
  line->className = line->kind->className;
  if (line->className.empty()) words >> line->className;
  if (line->kind->numbered && !(words >> line->number)) return failed(error, text, "no number");
  std::getline(words, line->name);
  line->name = trimmed(line->name);
  return true;
}

// The arrays that are filled, by table.
class Rows {
 public:
  explicit Rows(const Catalogue& catalogue) : catalogue_(catalogue) {}

  bool add(const Line& line, const std::string& parentKey, int primary, std::string* error) {
    const auto chain = catalogue_.chain(line.className);
    if (chain.empty()) return failed(error, line.className, "no such class");
    records_.clear();
    for (const TableDef* table : chain) {
      CMDArray& array = arrayOf(*table);
      records_.emplace_back(&array, MDARecNew(array.array));
    }
    set("KeyLink", keyOf(line.name));
    set("ClassName", line.className);
    set(nameField(*chain.back(), chain.size() > 1), line.name);
    if (line.kind->parentField && !parentKey.empty()) set(line.kind->parentField, parentKey);
    setDefaults(line, primary);
    for (const auto& [field, value] : line.fields) {
      if (!set(field, value.rfind('@', 0) == 0 ? keyOf(value.substr(1)) : value))
        return failed(error, field, "no such field");
    }
    for (auto& [array, record] : records_) array->RecPost(record);
    return true;
  }

  bool write(server::Store& store, std::string* error) const {
    std::vector<std::pair<std::string, const MDArray*>> tables;
    for (const auto& [name, array] : arrays_) tables.emplace_back(name, array->array);
    return store.import(tables, error);
  }

 private:
  CMDArray& arrayOf(const TableDef& table) {
    auto& array = arrays_[table.name];
    if (!array) {
      array = std::make_unique<CMDArray>();
      Catalogue::makeStructure(table, array->array);
    }
    return *array;
  }

  static std::string nameField(const TableDef& table, bool isObject) {
    if (isObject) return "name_";
    const std::string_view named = server::paramValue(table.param, "DISPLAY");
    return named.empty() ? "name_" : std::string(named);
  }

  void setDefaults(const Line& line, int primary) {
    const bool unit = line.className == "RemoteUnit";
    if (unit) set("StateRtu", "1");
    if (unit) set("SrvGroup", "1");
    if (!line.kind->numbered) return;
    set("work_", "1");
    set("locId", std::to_string(line.number));
    if (primary != 0) set("primaryLocId", std::to_string(primary));
  }

  // Sets the key in each table of the chain, any other field in the first that has it.
  bool set(const std::string& name, const std::string& value) {
    bool found = false;
    for (auto& [array, record] : records_) {
      const MDRField* const field = MDRFldByName(array->array, name.c_str());
      if (!field) continue;
      write(field, record, value);
      if (name != "KeyLink") return true;
      found = true;
    }
    return found;
  }

  static void write(const MDRField* field, MDRData* record, const std::string& value) {
    const std::string text = server::toCodePage(value);
    MDRVar v{};
    v.type = field->type;
    v.isNull = value.empty();
    switch (field->type) {
      case MDX_TEXT:
      case MDX_MEMO:
        v.text.length = static_cast<uint32_t>(text.size());
        v.text.data = text.data();
        break;
      case MDX_DOUBLE:
      case MDX_FLOAT:
        v.type = MDX_DOUBLE;
        v.f64 = std::atof(value.c_str());
        break;
      default:
        v.type = MDX_INT64;
        v.i64 = std::atoll(value.c_str());
    }
    MDRSetVal(field, record, &v);
  }

  const Catalogue& catalogue_;
  std::map<std::string, std::unique_ptr<CMDArray>> arrays_;
  std::vector<std::pair<CMDArray*, MDRData*>> records_;  // of the object at hand
};

bool hashUsers(const std::vector<Line>& users, server::Store& store, std::string* error) {
  for (const Line& line : users) {
    server::User user{server::toCodePage(line.name)};
    std::string password;
    for (const auto& [field, value] : line.fields) {
      if (field == "control") user.control = value == "1";
      if (field == "values") user.values = value == "1";
      if (field == "password") password = value;
    }
    if (!server::addUser(store, Catalogue::builtIn(), user, password, error)) return false;
  }
  return true;
}

// A hash takes its tenth of a second, on purpose: the same users are hashed once in a run.
bool addUsers(const std::vector<Line>& users, server::Store& store, std::string* error) {
  if (users.empty()) return true;
  static std::map<std::string, std::unique_ptr<CMDArray>> hashed;
  std::string all;
  for (const Line& line : users) {
    all += line.name + '\n';
    for (const auto& [field, value] : line.fields) all += field + '=' + value + '\n';
  }
  std::unique_ptr<CMDArray>& rows = hashed[all];
  if (!rows) {
    const auto scratch = server::openMemoryStore(server::makeMemoryStoreData(Catalogue::builtIn()));
    auto read = std::make_unique<CMDArray>();
    Catalogue::makeStructure(*Catalogue::builtIn().storedTable("Users"), read->array);
    if (!hashUsers(users, *scratch, error) || !scratch->load("Users", read->array, error)) return false;
    rows = std::move(read);
  }
  return store.import({{"Users", rows->array}}, error);
}

}  // namespace

std::string keyOf(const std::string& name) { return server::keyOfName(name); }

bool writeModel(const std::string& text, server::Store& store, std::string* error) {
  Rows rows(Catalogue::builtIn());
  std::vector<Line> users;
  std::vector<Line> around;  // the lines that hold the one at hand
  std::istringstream lines(text);
  for (std::string row; std::getline(lines, row);) {
    if (trimmed(row).empty()) continue;
    Line line;
    if (!readLine(row, &line, error)) return false;
    if (std::string(line.kind->word) == "user") {
      users.push_back(std::move(line));
      continue;
    }
    if (line.depth > around.size()) return failed(error, row, "too deep");
    around.resize(line.depth);
    const Line* holder = around.empty() ? nullptr : &around.back();
    const int primary = holder ? holder->number : 0;
    while (holder && holder->kind->numbered) holder = holder == around.data() ? nullptr : holder - 1;
    if (!rows.add(line, holder ? keyOf(holder->name) : std::string(), primary, error)) return false;
    around.push_back(line);
  }
  return rows.write(store, error) && addUsers(users, store, error);
}

}  // namespace tlm::test
