#include <TlmServer/Catalogue.h>
#include <TlmServer/CodePage.h>

#include "values.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>

namespace tlm::server {

extern const unsigned char catalogueText[];
extern const std::size_t catalogueTextSize;

namespace {

struct DeclaredType {
  const char* name;
  uint8_t type;
  uint8_t size;
};

constexpr DeclaredType kDeclared[] = {{"TEXT", MDX_MEMO, 0},          {"MEMO", MDX_MEMO, 0},
                                      {"GUID", MDX_TEXT, kKeyLength}, {"GUID_REF", MDX_TEXT, kKeyLength},
                                      {"INTEGER", MDX_INT32, 0},      {"INT64", MDX_INT64, 0},
                                      {"DOUBLE", MDX_DOUBLE, 0},      {"BOOLEAN", MDX_BOOL, 0},
                                      {"ENUM", MDX_INT32, 0},         {"DATETIME", MDX_DOUBLE, 0}};

constexpr size_t kMaxFields = 255;
constexpr size_t kMaxName = 63;

bool sameIgnoringCase(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](char x, char y) { return lower(x) == lower(y); });
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlank = " \t\r";
  const size_t begin = text.find_first_not_of(kBlank);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kBlank) - begin + 1);
}

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for (size_t at = 0;;) {
    const size_t end = text.find(separator, at);
    parts.push_back(trimmed(text.substr(at, end == std::string_view::npos ? end : end - at)));
    if (end == std::string_view::npos) return parts;
    at = end + 1;
  }
}

// Takes words, and titles in quotation marks, from the front of one line.
class Words {
 public:
  explicit Words(std::string_view line) : rest_(trimmed(line)) {}

  std::string_view word() {
    const size_t end = std::min(rest_.find_first_of(" \t"), rest_.size());
    return take(end, end);
  }

  std::optional<std::string_view> title() {
    if (rest_.empty() || rest_.front() != '"') return std::nullopt;
    const size_t end = rest_.find('"', 1);
    if (end == std::string_view::npos) return std::nullopt;
    rest_.remove_prefix(1);
    return take(end - 1, end);
  }

  std::string_view rest() const { return rest_; }

 private:
  std::string_view take(size_t length, size_t upTo) {
    const std::string_view taken = rest_.substr(0, length);
    rest_ = trimmed(rest_.substr(upTo));
    return taken;
  }

  std::string_view rest_;
};

// Reads a catalogue line by line; each function returns an empty text or what is wrong.
class Parser {
 public:
  explicit Parser(std::vector<TableDef>* tables) : tables_(*tables) {}

  std::string line(std::string_view text) {
    Words words(text);
    const std::string_view kind = words.word();
    if (kind.empty() || kind.front() == '#') return {};
    if (kind == "table" || kind == "own") return table(words, kind == "own");
    if (tables_.empty()) return "\"" + std::string(kind) + "\" before the first table";
    if (kind == "param") return tables_.back().param = std::string(words.rest()), std::string();
    if (kind == "keys") return keys(words);
    if (kind == "field") return field(words);
    return "unknown word \"" + std::string(kind) + "\"";
  }

  std::string finish() const {
    for (const TableDef& def : tables_) {
      if (std::string wrong = complete(def); !wrong.empty()) return "table " + def.name + ": " + wrong;
    }
    return {};
  }

 private:
  const TableDef* find(std::string_view name) const {
    for (const TableDef& def : tables_) {
      if (def.name == name) return &def;
    }
    return nullptr;
  }

  std::string table(Words& words, bool own) {
    TableDef def;
    def.own = own;
    def.name = words.word();
    if (def.name.empty() || def.name.size() > kMaxName) return "a table needs a name of at most 63 characters";
    if (find(def.name)) return "table " + def.name + " stands twice";
    const auto title = words.title();
    if (!title) return "the title in quotation marks is missing";
    def.title = *title;
    constexpr std::string_view kParent = "parent=";
    if (const std::string_view more = words.rest(); !more.empty()) {
      if (more.substr(0, kParent.size()) != kParent) return "expected parent=NAME";
      def.parent = more.substr(kParent.size());
      if (!find(def.parent)) return "the parent " + def.parent + " must stand before";
    }
    tables_.push_back(std::move(def));
    return {};
  }

  std::string keys(Words& words) {
    for (const std::string_view key : split(words.rest(), ',')) tables_.back().keys.emplace_back(key);
    return {};
  }

  std::string field(Words& words) {
    FieldDef def;
    def.name = words.word();
    if (def.name.empty() || def.name.size() > kMaxName) return "a field needs a name of at most 63 characters";
    if (tables_.back().field(def.name) >= 0) return "field " + def.name + " stands twice";
    if (tables_.back().fields.size() == kMaxFields) return "more than 255 fields";
    if (std::string wrong = type(words.word(), &def); !wrong.empty()) return wrong;
    const auto title = words.title();
    if (!title) return "the title in quotation marks is missing";
    def.title = *title;
    def.param = words.rest();
    tables_.back().fields.push_back(std::move(def));
    return {};
  }

  static std::string type(std::string_view text, FieldDef* def) {
    const size_t colon = text.find(':');
    def->declared = text.substr(0, colon);
    const auto* known = std::find_if(std::begin(kDeclared), std::end(kDeclared),
                                     [&](const DeclaredType& type) { return def->declared == type.name; });
    if (known == std::end(kDeclared)) return "unknown type \"" + def->declared + "\"";
    def->type = known->type;
    def->size = known->size;
    return colon == std::string_view::npos ? std::string() : stored(text.substr(colon + 1), def);
  }

  static std::string stored(std::string_view text, FieldDef* def) {
    static constexpr std::pair<std::string_view, uint8_t> kStored[] = {{"bool", MDX_BOOL},     {"int32", MDX_INT32},
                                                                       {"int64", MDX_INT64},   {"float", MDX_FLOAT},
                                                                       {"double", MDX_DOUBLE}, {"memo", MDX_MEMO}};
    def->size = 0;
    for (const auto& [name, number] : kStored) {
      if (text == name) return def->type = number, std::string();
    }
    const int size = std::atoi(std::string(text).c_str());
    if (size < 1 || size > 255) return "unknown stored type \"" + std::string(text) + "\"";
    def->type = MDX_TEXT;
    def->size = static_cast<uint8_t>(size);
    return {};
  }

  static std::string complete(const TableDef& def) {
    if (def.fields.empty() || def.fields[0].name != "KeyLink") return "field 0 must be KeyLink";
    if (def.fields[0].type != MDX_TEXT || def.fields[0].size != kKeyLength) return "KeyLink must be a GUID";
    if (def.keys.empty() || def.keys[0] != "KeyLink") return "key 0 must be KeyLink";
    for (const std::string& key : def.keys) {
      for (const std::string_view part : split(key, ';')) {
        if (def.field(part) < 0) return "key over the unknown field " + std::string(part);
      }
    }
    return {};
  }

  std::vector<TableDef>& tables_;
};

uint64_t hash(std::string_view text, uint64_t seed) {
  for (const char c : text) seed = (seed ^ static_cast<unsigned char>(c)) * 0x100000001b3ULL;
  seed ^= seed >> 32;
  return seed * 0x9E3779B97F4A7C15ULL;
}

// Adds one row whose fields are set by name.
class Row {
 public:
  explicit Row(MDArray* array) : array_(array), record_(MDARecNew(array)) {}
  ~Row() { MDARecPost(record_, nullptr); }
  Row(const Row&) = delete;
  Row& operator=(const Row&) = delete;

  Row& text(const char* field, std::string_view value) {
    const MDRVar v = textVar(value);
    return set(field, v);
  }
  Row& textOrNull(const char* field, std::string_view value) { return value.empty() ? *this : text(field, value); }
  Row& number(const char* field, int64_t value) { return set(field, intVar(value)); }

 private:
  Row& set(const char* field, const MDRVar& v) {
    MDRSetVal(MDRFldByName(array_, field), record_, &v);
    return *this;
  }

  MDArray* array_;
  MDRData* record_;
};

}  // namespace

std::string keyOfName(std::string_view text) {
  char key[kKeyLength + 1];
  std::snprintf(key, sizeof key, "%016llX%016llX", static_cast<unsigned long long>(hash(text, 0xcbf29ce484222325ULL)),
                static_cast<unsigned long long>(hash(text, 0x84222325cbf29ce4ULL)));
  return key;
}

int TableDef::field(std::string_view fieldName) const {
  for (size_t i = 0; i < fields.size(); ++i) {
    if (sameIgnoringCase(fields[i].name, fieldName)) return static_cast<int>(i);
  }
  return -1;
}

const Catalogue& Catalogue::builtIn() {
  static const std::unique_ptr<Catalogue> catalogue = [] {
    std::string error;
    auto parsed = parse({reinterpret_cast<const char*>(catalogueText), catalogueTextSize}, &error);
    if (!parsed) {
      std::fprintf(stderr, "built-in catalogue, %s\n", error.c_str());
      std::abort();
    }
    return parsed;
  }();
  return *catalogue;
}

std::unique_ptr<Catalogue> Catalogue::parse(std::string_view text, std::string* error) {
  auto catalogue = std::make_unique<Catalogue>();
  Parser parser(&catalogue->tables_);
  int number = 0;
  std::string wrong;
  for (const std::string_view line : split(text, '\n')) {
    ++number;
    if (wrong = parser.line(line); !wrong.empty()) break;
  }
  if (wrong.empty()) wrong = parser.finish();
  if (wrong.empty()) return catalogue->partOwn(), std::move(catalogue);
  *error = "line " + std::to_string(number) + ": " + wrong;
  return nullptr;
}

void Catalogue::partOwn() {
  const auto first =
      std::stable_partition(tables_.begin(), tables_.end(), [](const TableDef& def) { return !def.own; });
  ownTables_.assign(std::make_move_iterator(first), std::make_move_iterator(tables_.end()));
  tables_.erase(first, tables_.end());
}

const TableDef* Catalogue::table(std::string_view name) const {
  for (const TableDef& def : tables_) {
    if (def.name == name) return &def;
  }
  return nullptr;
}

const TableDef* Catalogue::storedTable(std::string_view name) const {
  for (const TableDef& def : ownTables_) {
    if (def.name == name) return &def;
  }
  return describesItself(name) ? nullptr : table(name);
}

std::vector<const TableDef*> Catalogue::chain(std::string_view className) const {
  std::vector<const TableDef*> chain;
  for (const TableDef* def = table(className); def; def = table(def->parent)) chain.insert(chain.begin(), def);
  return chain;
}

const std::vector<std::string>& Catalogue::declaredTypes() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> all;
    for (const DeclaredType& type : kDeclared) all.emplace_back(type.name);
    return all;
  }();
  return names;
}

bool Catalogue::describesItself(std::string_view table) {
  return table == "Tables" || table == "Fields" || table == "FieldsType";
}

void Catalogue::makeStructure(const TableDef& table, MDArray* array) {
  makeFields(table, array);
  makeKeys(table, array);
}

void Catalogue::makeFields(const TableDef& table, MDArray* array) {
  for (const FieldDef& field : table.fields) {
    MDRFldDesc desc{};
    field.name.copy(desc.name, sizeof desc.name - 1);
    desc.size = field.size;
    desc.type = field.type;
    MDAFldAdd(array, 1, &desc);
  }
}

void Catalogue::makeKeys(const TableDef& table, MDArray* array) {
  const int before = MDAKeyCount(array);
  for (const std::string& key : table.keys) {
    MDRKeyDesc desc{};
    key.copy(desc.expression, sizeof desc.expression);
    MDAKeyAdd(array, 1, &desc);
  }
  for (int i = 0; i < before; ++i) MDAKeyDel(array, 0);
}

void Catalogue::describe(std::string_view table, MDArray* array) const {
  if (table == "FieldsType") {
    for (const std::string& name : declaredTypes()) Row(array).text("KeyLink", typeKey(name)).text("nameLoc", name);
    return;
  }
  for (const TableDef& def : tables_) {
    if (table == "Tables") {
      Row(array)
          .text("KeyLink", tableKey(def.name))
          .text("nameLat", def.name)
          .text("nameLoc", toCodePage(def.title))
          .textOrNull("parent", def.parent.empty() ? std::string() : tableKey(def.parent))
          .textOrNull("param", toCodePage(def.param));
      continue;
    }
    for (size_t i = 0; i < def.fields.size(); ++i) {
      const FieldDef& field = def.fields[i];
      Row(array)
          .text("KeyLink", fieldKey(def.name, field.name))
          .text("TablesKey", tableKey(def.name))
          .text("nameLat", field.name)
          .text("nameLoc", toCodePage(field.title))
          .number("pos", static_cast<int64_t>(i))
          .text("FieldsTypeKey", typeKey(field.declared))
          .number("size_", field.size)
          .textOrNull("param", toCodePage(field.param));
    }
  }
}

std::string Catalogue::tableKey(std::string_view table) { return keyOfName("table " + std::string(table)); }

std::string Catalogue::fieldKey(std::string_view table, std::string_view field) {
  return keyOfName("field " + std::string(table) + "." + std::string(field));
}

std::string Catalogue::typeKey(std::string_view declared) { return keyOfName("type " + std::string(declared)); }

std::string_view paramValue(std::string_view param, std::string_view name) {
  for (const std::string_view part : split(param, ';')) {
    if (part.size() <= name.size() || part.substr(0, name.size()) != name || part[name.size()] != '=') continue;
    std::string_view value = part.substr(name.size() + 1);
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"') value = value.substr(1, value.size() - 2);
    return value;
  }
  return {};
}

}  // namespace tlm::server
