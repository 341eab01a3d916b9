#include "changeSet.h"

#include <TlmServer/CodePage.h>

#include "records.h"
#include "values.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace tlm::server {
namespace {

using wire::Reply;

// The links that make the tree.
struct TreeLink {
  const char* table;
  const char* field;
  const char* parents;
  const char* refusal;
};
constexpr TreeLink kTreeLinks[] = {
    {"RemoteUnitFolder", "ParentKey", "RemoteUnitFolder", "папки, в которую она входит, больше нет"},
    {"RemoteUnit", "RemoteUnitFolderKey", "RemoteUnitFolder", "папки, в которую оно входит, больше нет"},
    {"Measurement", "RemoteUnitKey", "RemoteUnit", "устройства, в которое оно входит, больше нет"},
};

// The text goes to the engineer whose write was refused.
Reply refused(const std::string& utf8, int32_t status = wire::kRefused) {
  return Reply::failure(status, toCodePage(utf8));
}

Reply refused(std::string_view table, std::string_view key, const std::string& why) {
  return refused(std::string(table) + ", " + fromCodePage(key) + ": " + why);
}

bool isKey(std::string_view key) {
  return key.size() == kKeyLength &&
         std::all_of(key.begin(), key.end(), [](char c) { return c > ' ' && c < 0x7F && c != ','; });
}

bool sameFamily(uint8_t a, uint8_t b) { return (a == MDX_TEXT || a == MDX_MEMO) == (b == MDX_TEXT || b == MDX_MEMO); }

// The link of a root folder, or of a unit in no folder, is null and not empty.
bool isFolderLink(const FieldDef& field) { return paramValue(field.param, "REF") == "RemoteUnitFolder"; }

bool isFinite(const MDRVar& v) {
  if (isNull(v)) return true;
  if (v.type == MDX_DOUBLE) return std::isfinite(v.f64);
  return v.type != MDX_FLOAT || std::isfinite(v.f32);
}

std::string fieldError(int code) {
  if (code == MDX_E_SIZE) return "текст длиннее поля";
  if (code == MDX_E_TYPE) return "значение не подходит по типу";
  return "значение нельзя записать";
}

// The most characters of a text field; each is a byte in the code page. 0 without a limit.
uint32_t longestText(const FieldDef& def) {
  const std::string_view limit = paramValue(def.param, "LEN");
  uint32_t length = 0;
  std::from_chars(limit.data(), limit.data() + limit.size(), length);
  return length;
}

// Writes one value of a change into the new row; an empty text, or what is wrong.
std::string setField(const FieldDef& def, const MDRField* to, MDRData* row, MDRVar value) {
  if (!isFinite(value)) return "не число";
  const bool isText = value.type == MDX_TEXT || value.type == MDX_MEMO;
  if (const uint32_t limit = isText && !isNull(value) ? longestText(def) : 0; limit > 0 && value.text.length > limit)
    return "текст длиннее " + std::to_string(limit) + " символов";
  if (isFolderLink(def) && !isNull(value) && value.text.length == 0) value.isNull = 1;
  const int code = MDRSetVal(to, row, &value);
  return code < 0 ? fieldError(code) : std::string();
}

}  // namespace

// An unpacked update with the number, in the table, of each of its fields.
struct ChangeSet::Source {
  CMDArray rows;
  std::vector<int> numbers;

  Reply read(const TableDef& def, const std::string& body) {
    if (MDXArrayUnPackN(rows.array, body.data(), body.size(), 0) != 0)
      return Reply::failure(wire::kMalformed, "update of " + def.name + ": not a packed table");
    for (int i = 0; i < MDAFldCount(rows.array); ++i) {
      const MDRField* field = MDRFldByNum(rows.array, i);
      const int number = def.field(field->name);
      if (number < 0) return Reply::failure(wire::kUnknownField, def.name + " has no field " + field->name);
      if (!sameFamily(field->type, def.fields[static_cast<size_t>(number)].type))
        return refused(def.name + "." + field->name + ": тип поля не подходит");
      numbers.push_back(number);
    }
    return {};
  }

  std::string key(const MDRData* record) const {
    return std::string(textOf(valueOf(MDRFldByName(rows.array, "KeyLink"), record)));
  }
};

Reply ChangeSet::add(const std::string& table, const std::string& body) {
  const TableDef* def = tables_.catalogue().table(table);
  if (!def) return Reply::failure(wire::kUnknownTable, "no table " + table);
  if (Catalogue::describesItself(table)) return refused("таблица " + table + " только для чтения");
  Source source;
  Reply reply = source.read(*def, body);
  const int count = MDARecCount(source.rows.array);
  for (int i = 0; i < count && reply.status == wire::kOk; ++i)
    reply = addRecord(*def, source, MDARec(source.rows.array, 0, i));
  return reply;
}

Reply ChangeSet::addRecord(const TableDef& def, const Source& source, const MDRData* record) {
  std::string key = source.key(record);
  if (!isKey(key)) return refused(def.name, key, "ключ должен состоять из 32 символов");
  switch (MDRGetFlags(record)) {
    case MDX_REC_INSERT:
      return insert(def, source, record, std::move(key));
    case MDX_REC_UPDATE:
      return update(def, source, record, std::move(key));
    case MDX_REC_DELETE:
      return remove(def, std::move(key)), Reply{};
    default:
      return refused(def.name, key, "не указан вид изменения");
  }
}

Reply ChangeSet::insert(const TableDef& def, const Source& source, const MDRData* record, std::string key) {
  if (rowAfter(def, key)) return refused(def.name, key, "такая запись уже есть");
  MDArray* array = scratch(def);
  MDRData* row = MDARecNew(array);
  for (size_t i = 0; i < source.numbers.size(); ++i) {
    const auto number = static_cast<size_t>(source.numbers[i]);
    const MDRVar value = valueOf(MDRFldByNum(source.rows.array, static_cast<int>(i)), record);
    const std::string wrong = setField(def.fields[number], MDRFldByNum(array, source.numbers[i]), row, value);
    if (!wrong.empty()) return refused(def.name, key, def.fields[number].name + ": " + wrong);
  }
  for (int i = 0; i < MDAFldCount(array); ++i) MDRSetUser(MDRFldByNum(array, i), row, 1);
  plan(def, MDX_REC_INSERT, std::move(key), row);
  return {};
}

Reply ChangeSet::update(const TableDef& def, const Source& source, const MDRData* record, std::string key) {
  const MDRData* before = rowAfter(def, key);
  if (!before && def.name == "Calculations") return insert(def, source, record, std::move(key));
  MDArray* array = scratch(def);
  MDRData* row = nullptr;
  for (size_t i = 0; i < source.numbers.size(); ++i) {
    const MDRField* from = MDRFldByNum(source.rows.array, static_cast<int>(i));
    const int number = source.numbers[i];
    if (number == 0 || MDRIsUser(from, record, nullptr) != 1) continue;
    if (!before) return refused(def.name, key, "такой записи нет");
    if (!row) copyRow(before, row = MDARecNew(array));
    const FieldDef& field = def.fields[static_cast<size_t>(number)];
    const std::string wrong = setField(field, MDRFldByNum(array, number), row, valueOf(from, record));
    if (!wrong.empty()) return refused(def.name, key, field.name + ": " + wrong);
    MDRSetUser(MDRFldByNum(array, number), row, 1);
  }
  if (row) plan(def, MDX_REC_UPDATE, std::move(key), row);
  return {};
}

void ChangeSet::remove(const TableDef& def, std::string key) {
  if (rowAfter(def, key)) plan(def, MDX_REC_DELETE, std::move(key), nullptr);
}

void ChangeSet::plan(const TableDef& def, int kind, std::string key, MDRData* row) {
  latest_[&def][key] = row;
  changes_.push_back({&def, kind, std::move(key), row});
}

MDArray* ChangeSet::scratch(const TableDef& def) {
  auto& array = scratch_[&def];
  if (!array) {
    array = std::make_unique<CMDArray>();
    Catalogue::makeFields(def, array->array);
  }
  return array->array;
}

const MDRData* ChangeSet::rowAfter(const TableDef& def, std::string_view key) const {
  if (const auto table = latest_.find(&def); table != latest_.end()) {
    const auto row = table->second.find(std::string(key));
    if (row != table->second.end()) return row->second;
  }
  return seekKey(tables_.table(def.name), key);
}

std::string ChangeSet::image(const PlannedChange& change) {
  if (!change.row || MDRRecPack(MDROwner(change.row), change.row, 1, 1) < 0) return {};
  return {reinterpret_cast<const char*>(change.row->packed), change.row->packedLength};
}

Reply ChangeSet::check() const {
  for (const auto step :
       {&ChangeSet::checkNumbers, &ChangeSet::checkChains, &ChangeSet::checkParents, &ChangeSet::checkFolders}) {
    Reply reply = (this->*step)();
    if (reply.status != wire::kOk) return reply;
  }
  return {};
}

Reply ChangeSet::checkNumbers() const {
  const auto touched = latest_.find(tables_.catalogue().table("Measurement"));
  if (touched == latest_.end()) return {};
  std::unordered_map<int64_t, std::string> taken;
  for (const auto& [key, row] : touched->second) {
    if (!row) continue;
    Reply reply = checkNumber(key, row, &taken);
    if (reply.status != wire::kOk) return reply;
  }
  return {};
}

Reply ChangeSet::checkNumber(const std::string& key, const MDRData* row,
                             std::unordered_map<int64_t, std::string>* taken) const {
  const int64_t locId = intOf(MDROwner(row), row, "locId").value_or(0);
  if (locId == 0) return refused("Measurement", key, "номер измерения не может быть равен 0");
  const std::string text = std::to_string(locId);
  if (locId < INT32_MIN || locId > INT32_MAX) return refused("Measurement", key, "номер " + text + " слишком велик");
  if (!taken->emplace(locId, key).second || numberTakenBefore(locId, key))
    return refused("Measurement", key, "номер " + text + " уже занят");
  return {};
}

// Whether another measurement, one that the block leaves its number, has it already.
bool ChangeSet::numberTakenBefore(int64_t locId, const std::string& key) const {
  const MDArray* measurements = tables_.table("Measurement");
  const TableDef* def = tables_.catalogue().table("Measurement");
  const MDRVar number = intVar(locId);
  const MDRData* holder = MDARecSeekV(measurements, 1, &number, nullptr);
  if (!holder) return false;
  const std::string_view holderKey = textOf(measurements, holder, "KeyLink");
  if (holderKey == key) return false;
  const MDRData* after = rowAfter(*def, holderKey);
  return after && intOf(MDROwner(after), after, "locId") == locId;
}

std::vector<int32_t> ChangeSet::freedNumbers() const {
  std::vector<int32_t> freed;
  const TableDef* def = tables_.catalogue().table("Measurement");
  const auto touched = latest_.find(def);
  if (touched == latest_.end()) return freed;
  std::set<int64_t> used;
  for (const auto& [key, row] : touched->second) {
    if (row) used.insert(intOf(MDROwner(row), row, "locId").value_or(0));
  }
  const MDArray* before = tables_.table("Measurement");
  for (const auto& [key, row] : touched->second) {
    const auto locId = intOf(before, seekKey(before, key), "locId");
    if (locId && !used.count(*locId)) freed.push_back(static_cast<int32_t>(*locId));
  }
  return freed;
}

Reply ChangeSet::checkChains() const {
  std::vector<const TableDef*> family;
  std::set<std::string_view> touched;
  for (const TableDef& def : tables_.catalogue().tables()) {
    if (tables_.catalogue().chain(def.name).front()->name != "IdentifiedObject") continue;
    family.push_back(&def);
    const auto latest = latest_.find(&def);
    if (latest == latest_.end()) continue;
    for (const auto& [key, row] : latest->second) touched.insert(key);
  }
  for (const std::string_view key : touched) {
    Reply reply = checkChain(key, family);
    if (reply.status != wire::kOk) return reply;
  }
  return {};
}

Reply ChangeSet::checkChain(std::string_view key, const std::vector<const TableDef*>& family) const {
  std::vector<const TableDef*> chain;
  if (const MDRData* root = rowAfter(*family.front(), key)) {
    const std::string_view name = textOf(MDROwner(root), root, "ClassName");
    const bool inner = std::any_of(family.begin(), family.end(), [&](const auto* def) { return def->parent == name; });
    if (!inner) chain = tables_.catalogue().chain(name);
    if (chain.empty() || chain.front() != family.front())
      return refused("IdentifiedObject", key, "нет класса \"" + fromCodePage(name) + "\"");
  }
  for (const TableDef* def : family) {
    const bool wanted = std::find(chain.begin(), chain.end(), def) != chain.end();
    const bool there = rowAfter(*def, key) != nullptr;
    if (wanted && !there) return refused(def->name, key, "у объекта нет записи в этой таблице");
    if (!wanted && there) return refused(def->name, key, "запись не принадлежит объекту");
  }
  return {};
}

// What is put under a folder or unit that somebody has just deleted would be seen nowhere.
Reply ChangeSet::checkParents() const {
  for (const TreeLink& link : kTreeLinks) {
    const TableDef* def = tables_.catalogue().table(link.table);
    const TableDef* parents = tables_.catalogue().table(link.parents);
    const auto touched = latest_.find(def);
    if (touched == latest_.end()) continue;
    const MDArray* before = tables_.table(def->name);
    for (const auto& [key, row] : touched->second) {
      const std::string_view parent = row ? textOf(MDROwner(row), row, link.field) : std::string_view();
      const MDRData* old = seekKey(before, key);
      const bool isNew = !parent.empty() && (!old || textOf(before, old, link.field) != parent);
      if (isNew && !rowAfter(*parents, parent)) return refused(def->name, key, link.refusal);
    }
  }
  return {};
}

Reply ChangeSet::checkFolders() const {
  const TableDef* def = tables_.catalogue().table("RemoteUnitFolder");
  const auto touched = latest_.find(def);
  if (touched == latest_.end()) return {};
  for (const auto& [key, row] : touched->second) {
    std::set<std::string> above;
    const MDRData* folder = row;
    for (std::string at = key; folder && above.insert(at).second; folder = rowAfter(*def, at)) {
      at = textOf(MDROwner(folder), folder, "ParentKey");
      if (at == key) return refused(def->name, key, "папка не может лежать в самой себе");
      if (at.empty()) break;
    }
  }
  return {};
}

}  // namespace tlm::server
