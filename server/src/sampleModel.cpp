#include <TlmServer/CodePage.h>
#include <TlmServer/SampleModel.h>
#include <TlmServer/Users.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <unordered_set>

#include "sampleCell.h"
#include "sqliteSchema.h"
#include "values.h"

namespace tlm::server {

extern "C" const char tlmSampleText[];
extern "C" const char tlmSampleTextEnd[];

namespace {

// Where a row stands, for messages.
struct Place {
  const std::string* file = nullptr;
  int line = 0;
};

std::string said(const Place& place, std::string_view what) {
  return *place.file + ":" + std::to_string(place.line) + ": " + std::string(what);
}

// A column of a class: a field of one of the tables of its chain.
struct Target {
  size_t table = 0;  // in the chain
  const FieldDef* field = nullptr;
  int number = -1;  // of the field
};

// A class with its chain and what has been looked up of it.
struct Class {
  std::vector<const TableDef*> chain;
  std::vector<MDArray*> arrays;
  std::string space;
  std::map<std::string, Target, std::less<>> columns;

  const Target* column(std::string_view name) {
    const auto known = columns.find(name);
    if (known != columns.end()) return &known->second;
    for (size_t i = 0; i < chain.size(); ++i) {
      const int number = chain[i]->field(name);
      if (number < 0) continue;
      const Target target{i, &chain[i]->fields[static_cast<size_t>(number)], number};
      return &columns.emplace(name, target).first->second;
    }
    return nullptr;
  }
};

using Cells = std::vector<std::pair<std::string, std::string_view>>;  // column and cell, empty cells left out

std::string_view find(const Cells& cells, std::string_view column) {
  const auto found = std::find_if(cells.begin(), cells.end(), [&](const auto& cell) { return cell.first == column; });
  return found == cells.end() ? std::string_view() : found->second;
}

constexpr std::string_view kDeviceKind = "device";  // a file that tells how the simulated device behaves: no rows

class Reader {
 public:
  explicit Reader(ModelTables* tables) : tables_(*tables) {}

  // Profiles are read first, whatever file they stand in.
  bool read(const std::vector<ModelFile>& files) {
    for (const bool profiles : {true, false})
      for (const ModelFile& file : files)
        if (!readFile(file, profiles)) return false;
    return checkReferences();
  }

  const std::string& error() const { return error_; }

 private:
  struct Reference {
    std::string key;
    std::string text;
    Place place;
  };

  bool fail(std::string_view what) {
    error_ = said(place_, what);
    return false;
  }

  bool readFile(const ModelFile& file, bool wantProfiles) {
    place_ = {&file.name, 0};
    std::string_view kind;
    std::vector<std::string_view> columns;
    std::string_view rest = file.text;
    while (!rest.empty()) {
      const size_t end = std::min(rest.find('\n'), rest.size());
      std::string_view line = rest.substr(0, end);
      rest.remove_prefix(std::min(end + 1, rest.size()));
      ++place_.line;
      if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
      if (line.empty() || line.front() == '#') continue;
      if (kind.empty()) {
        kind = line;
        if (kind == kDeviceKind || (kind == "profiles") != wantProfiles) return true;
      } else if (columns.empty()) {
        columns = cellsOf(line);
      } else if (!readLine(kind, columns, line)) {
        return false;
      }
    }
    return !kind.empty() || !wantProfiles || fail("the file says nothing");
  }

  bool readLine(std::string_view kind, const std::vector<std::string_view>& columns, std::string_view line) {
    const auto values = cellsOf(line);
    if (values.size() > columns.size()) return fail("more cells than columns");
    Cells cells;
    for (size_t i = 0; i < values.size(); ++i)
      if (!values[i].empty()) cells.emplace_back(columns[i], values[i]);
    constexpr std::string_view kTable = "table ";
    if (kind == "profiles") return addProfile(cells);
    if (kind == "measurements") return addRow(find(cells, "ClassName"), cells);
    if (kind.substr(0, kTable.size()) == kTable) return addRow(kind.substr(kTable.size()), cells);
    return fail("\"" + std::string(kind) + "\" is no kind of rows");
  }

  bool addProfile(const Cells& cells) {
    const std::string name(find(cells, "profile"));
    if (name.empty()) return fail("a profile without a name");
    if (!profiles_.emplace(name, cells).second) return fail("the profile " + name + " stands twice");
    return true;
  }

  Class* classOf(std::string_view name) {
    const auto known = classes_.find(name);
    if (known != classes_.end()) return &known->second;
    Class made;
    made.chain = tables_.catalogue().chain(name);
    if (made.chain.empty() || Catalogue::describesItself(name)) {
      fail("unknown class \"" + std::string(name) + "\"");
      return nullptr;
    }
    for (const TableDef* table : made.chain) made.arrays.push_back(tables_.table(table->name));
    made.space = nameSpace(tables_.catalogue(), name);
    return &classes_.emplace(name, std::move(made)).first->second;
  }

  // The rows of one object, one in each table of its chain.
  bool addRow(std::string_view className, const Cells& cells) {
    Class* kind = classOf(className);
    std::string key;
    if (!kind || !makeKey(*kind, cells, &key)) return false;
    std::vector<MDRData*> records;
    for (MDArray* array : kind->arrays) {
      records.push_back(MDARecNew(array));
      put(array, records.back(), 0, textVar(key));
    }
    if (const Target* target = kind->column("ClassName"))
      put(kind->arrays[target->table], records[target->table], target->number, textVar(className));
    if (!putProfile(*kind, cells, records) || !putCells(*kind, cells, cells, records)) {
      for (MDRData* record : records) MDARecDel(record);
      return false;
    }
    for (MDRData* record : records) MDARecPost(record, nullptr);
    return true;
  }

  bool makeKey(const Class& kind, const Cells& cells, std::string* key) {
    std::string_view name = find(cells, "KeyLink");
    if (name.empty()) name = find(cells, "locId");
    if (name.empty()) return fail("a row without a key");
    *key = keyFor(kind.space, name);
    if (!keys_.insert(*key).second) return fail("the key \"" + std::string(name) + "\" stands twice");
    const std::string_view number = find(cells, "locId");
    if (!number.empty() && !numbers_.emplace(number).second)
      return fail("the number " + std::string(number) + " stands twice");
    return true;
  }

  bool putProfile(Class& kind, const Cells& row, const std::vector<MDRData*>& records) {
    const std::string_view name = find(row, "profile");
    if (name.empty()) return true;
    const auto profile = profiles_.find(name);
    if (profile == profiles_.end()) return fail("unknown profile \"" + std::string(name) + "\"");
    return putCells(kind, profile->second, row, records);
  }

  bool putCells(Class& kind, const Cells& cells, const Cells& row, const std::vector<MDRData*>& records) {
    for (const auto& [column, cell] : cells) {
      if (column == "profile" || column == "KeyLink" || column == "ClassName") continue;
      const Target* target = kind.column(column);
      if (!target) return fail("the class has no field \"" + column + "\"");
      if (!putCell(*target->field, cell, row)) return false;
      if (MDRSetVal(MDRFldByNum(kind.arrays[target->table], target->number), records[target->table], &value_) < 0)
        return fail(column + " cannot hold \"" + std::string(cell) + "\"");
    }
    return true;
  }

  // Leaves the value of the cell in value_.
  bool putCell(const FieldDef& field, std::string_view cell, const Cells& row) {
    if (field.declared == "GUID_REF") return putReference(field, cell, row);
    if (field.type == MDX_TEXT || field.type == MDX_MEMO) return putText(cell);
    const bool date = field.declared == "DATETIME";
    if (date || field.type == MDX_DOUBLE || field.type == MDX_FLOAT) {
      const auto number = date ? dateNumber(cell) : realNumber(cell);
      if (number) value_ = doubleVar(*number);
      return number || fail(field.name + ": \"" + std::string(cell) + (date ? "\" is no date" : "\" is no number"));
    }
    const auto number = wholeNumber(cell);
    const bool fits = number && (field.type != MDX_BOOL || *number == 0 || *number == 1);
    if (fits) value_ = field.type == MDX_BOOL ? boolVar(*number != 0) : intVar(*number);
    return fits || fail(field.name + ": \"" + std::string(cell) + "\" is no number that it can hold");
  }

  bool putText(std::string_view cell) {
    const auto text = cellText(cell);
    if (!text) return fail("an unknown escape in \"" + std::string(cell) + "\"");
    bool lossless = true;
    text_ = toCodePage(*text, &lossless);
    value_ = textVar(text_);
    return lossless || fail("\"" + *text + "\" has characters that Windows-1251 lacks");
  }

  bool putReference(const FieldDef& field, std::string_view cell, const Cells& row) {
    text_.clear();
    value_ = textVar(text_);
    if (cell == "\"\"") return true;
    std::string name(cell);
    if (name.front() == '~') name.replace(0, 1, find(row, "RemoteUnitKey"));
    std::string table(paramValue(field.param, "REF"));
    if (table == tables_.catalogue().tables().front().name) return fail(field.name + " cannot be set");
    if (const size_t colon = name.find(':'); table == "IdentifiedObject") {
      if (colon == std::string::npos) return fail(field.name + " needs a class before the name");
      table = name.substr(0, colon);
      name.erase(0, colon + 1);
    }
    text_ = keyFor(nameSpace(tables_.catalogue(), table), name);
    value_ = textVar(text_);
    references_.push_back({text_, table + " \"" + name + "\"", place_});
    return true;
  }

  bool checkReferences() {
    for (const Reference& reference : references_) {
      if (keys_.count(reference.key)) continue;
      error_ = said(reference.place, "there is no " + reference.text);
      return false;
    }
    return true;
  }

  ModelTables& tables_;
  Place place_;
  std::string error_;
  std::string text_;  // of value_
  MDRVar value_{};
  std::map<std::string, Class, std::less<>> classes_;
  std::map<std::string, Cells, std::less<>> profiles_;
  std::unordered_set<std::string> keys_;
  std::set<std::string, std::less<>> numbers_;
  std::vector<Reference> references_;
};

// The built-in text is all files one after another, each behind a line "@file NAME".
std::vector<ModelFile> splitFiles(std::string_view text) {
  constexpr std::string_view kMark = "@file ";
  std::vector<ModelFile> files;
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n') + 1, text.size());
    const std::string_view line = text.substr(0, end);
    if (line.substr(0, kMark.size()) == kMark)
      files.push_back({std::string(line.substr(kMark.size(), line.size() - kMark.size() - 1)), {}});
    else if (!files.empty())
      files.back().text += line;
    text.remove_prefix(end);
  }
  return files;
}

std::vector<ModelFile> builtInFiles() {
  return splitFiles({tlmSampleText, static_cast<size_t>(tlmSampleTextEnd - tlmSampleText)});
}

bool filesUnder(const std::string& folder, std::vector<ModelFile>* files, std::string* error) {
  namespace fs = std::filesystem;
  std::error_code code;
  for (fs::recursive_directory_iterator it(folder, code), end; !code && it != end; it.increment(code)) {
    if (it->path().extension() != ".tsv") continue;
    std::ifstream in(it->path(), std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(in), {}};
    if (!in) return *error = it->path().string() + ": cannot be read", false;
    files->push_back({fs::relative(it->path(), folder, code).string(), std::move(text)});
  }
  if (code) return *error = folder + ": " + code.message(), false;
  if (files->empty()) return *error = folder + ": no .tsv files", false;
  std::sort(files->begin(), files->end(), [](const auto& a, const auto& b) { return a.name < b.name; });
  return true;
}

}  // namespace

bool readModelFiles(const std::vector<ModelFile>& files, ModelTables* tables, std::string* error) {
  Reader reader(tables);
  if (reader.read(files)) return true;
  *error = reader.error();
  return false;
}

bool loadSample(const std::string& folder, ModelTables* tables, std::string* error) {
  std::vector<ModelFile> files;
  return filesUnder(folder, &files, error) && readModelFiles(files, tables, error);
}

bool loadBuiltInSample(ModelTables* tables, std::string* error) {
  return readModelFiles(builtInFiles(), tables, error);
}

DeviceHabits sampleHabits() {
  DeviceHabits habits;
  for (const ModelFile& file : builtInFiles()) {
    std::istringstream lines(file.text);
    bool isDevice = false;
    for (std::string line; std::getline(lines, line);) {
      if (line.empty() || line.front() == '#') continue;
      if (!isDevice && line != kDeviceKind) break;
      isDevice = true;
      const size_t tab = line.find('\t');
      const std::string word = tab == std::string::npos ? std::string() : line.substr(tab + 1);
      if (word == "refuses") habits[std::atoi(line.c_str())] = DeviceHabit::kRefuses;
      if (word == "silent") habits[std::atoi(line.c_str())] = DeviceHabit::kSilent;
    }
  }
  return habits;
}

bool loadBuiltInReferences(ModelTables* tables, std::string* error) {
  constexpr std::string_view kReferences[] = {
      "Archives.tsv",   "BaseVoltage.tsv",         "EventClass.tsv",  "MeasurementUnit.tsv", "MeasurementArchGroup.tsv",
      "StateTexts.tsv", "MeasurementCategory.tsv", "ServerGroups.tsv"};
  std::vector<ModelFile> files = builtInFiles();
  std::erase_if(files, [&](const ModelFile& file) {
    return std::find(std::begin(kReferences), std::end(kReferences), file.name) == std::end(kReferences);
  });
  return readModelFiles(files, tables, error);
}

NamedTables tablesToStore(const ModelTables& tables) {
  NamedTables named;
  for (const TableDef* table : storedTables(tables.catalogue()))
    if (!table->own) named.emplace_back(table->name, tables.table(table->name));
  return named;
}

std::unique_ptr<Store> createSampleStore(const std::string& path, const Catalogue& catalogue, std::string* error,
                                         StoreError* why) {
  ModelTables tables(catalogue, ModelTables::Keys::kLater);
  if (!loadBuiltInSample(&tables, error)) {
    if (why) *why = StoreError::kOther;
    return nullptr;
  }
  return createSqliteStore(path, catalogue, tablesToStore(tables), error, why,
                           [&](Store& store, std::string* what) { return addSampleUser(store, catalogue, what); });
}

std::unique_ptr<Store> openOrCreateSampleStore(const std::string& path, const Catalogue& catalogue, bool* made,
                                               std::string* error, StoreError* why) {
  StoreError reason = StoreError::kNone;
  *made = false;
  auto store = openSqliteStore(path, catalogue, error, &reason);
  if (reason == StoreError::kNotThere) {
    store = createSampleStore(path, catalogue, error, &reason);
    *made = store != nullptr;
  }
  if (reason == StoreError::kExists) store = openSqliteStore(path, catalogue, error, &reason);
  if (why) *why = reason;
  return store;
}

bool addSampleUser(Store& store, const Catalogue& catalogue, std::string* error) {
  return addUser(store, catalogue, {toCodePage("Оператор"), true}, "оператор", error);
}

}  // namespace tlm::server
