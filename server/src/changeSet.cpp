#include "changeSet.h"

#include <TlmMdx/bulk.h>
#include <TlmServer/CodePage.h>

#include "records.h"
#include "values.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <set>
#include <unordered_set>

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

// What a field takes.
class FieldRule {
 public:
  explicit FieldRule(const FieldDef& def) : longest_(longestText(def)), isFolderLink_(isFolderLink(def)) {}

  // Writes one value of a change into the new row; an empty text, or what is wrong.
  std::string put(const MDRField* to, MDRData* row, MDRVar value) const {
    if (!isFinite(value)) return "не число";
    const bool isText = value.type == MDX_TEXT || value.type == MDX_MEMO;
    if (isText && !isNull(value) && longest_ > 0 && value.text.length > longest_)
      return "текст длиннее " + std::to_string(longest_) + " символов";
    if (isFolderLink_ && !isNull(value) && value.text.length == 0) value.isNull = 1;
    const int code = MDRSetVal(to, row, &value);
    return code < 0 ? fieldError(code) : std::string();
  }

 private:
  uint32_t longest_;
  bool isFolderLink_;
};

}  // namespace

// An unpacked update: the columns that it has, with their places in the table.
struct ChangeSet::Source {
  struct Column {
    const MDRField* from;
    const MDRField* to;
    const FieldDef* def;
    FieldRule rule;
    bool isKey;
  };

  Reply read(const TableDef& def, const std::string& body, const MDArray* target) {
    if (MDXArrayUnPackN(rows.array, body.data(), body.size(), 0) != 0)
      return Reply::failure(wire::kMalformed, "update of " + def.name + ": not a packed table");
    key = MDRFldByName(rows.array, "KeyLink");
    for (int i = 0; i < MDAFldCount(rows.array); ++i) {
      const MDRField* field = MDRFldByNum(rows.array, i);
      const int number = def.field(field->name);
      if (number < 0) return Reply::failure(wire::kUnknownField, def.name + " has no field " + field->name);
      const FieldDef& own = def.fields[static_cast<size_t>(number)];
      if (!sameFamily(field->type, own.type)) return refused(def.name + "." + field->name + ": тип поля не подходит");
      columns.push_back({field, MDRFldByNum(target, number), &own, FieldRule(own), number == 0});
    }
    return {};
  }

  CMDArray rows;
  const MDRField* key = nullptr;
  std::vector<Column> columns;
};

Reply ChangeSet::add(const std::string& table, const std::string& body) {
  const TableDef* def = tables_.catalogue().table(table);
  if (!def) return Reply::failure(wire::kUnknownTable, "no table " + table);
  if (Catalogue::describesItself(table)) return refused("таблица " + table + " только для чтения");
  Source source;
  Reply reply = source.read(*def, body, touch(*def).rows->array);
  const int count = MDARecCount(source.rows.array);
  for (int i = 0; i < count && reply.status == wire::kOk; ++i)
    reply = addRecord(*def, source, MDARec(source.rows.array, 0, i));
  return reply;
}

Reply ChangeSet::addRecord(const TableDef& def, const Source& source, const MDRData* record) {
  std::string key(textOf(valueOf(source.key, record)));
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
  MDArray* array = touch(def).rows->array;
  MDRData* row = MDARecNew(array);
  for (const Source::Column& column : source.columns) {
    const std::string wrong = column.rule.put(column.to, row, valueOf(column.from, record));
    if (!wrong.empty()) return refused(def.name, key, column.def->name + ": " + wrong);
  }
  for (int i = 0; i < MDAFldCount(array); ++i) MDRSetUser(MDRFldByNum(array, i), row, 1);
  plan(def, MDX_REC_INSERT, std::move(key), row);
  return {};
}

Reply ChangeSet::update(const TableDef& def, const Source& source, const MDRData* record, std::string key) {
  const MDRData* before = rowAfter(def, key);
  if (!before && def.name == "Calculations") return insert(def, source, record, std::move(key));
  MDRData* row = nullptr;
  for (const Source::Column& column : source.columns) {
    if (column.isKey || MDRIsUser(column.from, record, nullptr) != 1) continue;
    if (!before) return refused(def.name, key, "такой записи нет");
    if (!row) copyRow(before, row = MDARecNew(touch(def).rows->array));
    const std::string wrong = column.rule.put(column.to, row, valueOf(column.from, record));
    if (!wrong.empty()) return refused(def.name, key, column.def->name + ": " + wrong);
    MDRSetUser(column.to, row, 1);
  }
  if (row) plan(def, MDX_REC_UPDATE, std::move(key), row);
  return {};
}

void ChangeSet::remove(const TableDef& def, std::string key) {
  if (rowAfter(def, key)) plan(def, MDX_REC_DELETE, std::move(key), nullptr);
}

void ChangeSet::plan(const TableDef& def, int kind, std::string key, MDRData* row) {
  if (row) MDARecPost(row, nullptr);
  touch(def).latest[key] = row;
  changes_.push_back({&def, kind, std::move(key), row});
}

ChangeSet::Touched& ChangeSet::touch(const TableDef& def) {
  Touched& table = touched_[&def];
  if (!table.rows) {
    table.before = tables_.table(def.name);
    table.rows = std::make_unique<CMDArray>();
    Catalogue::makeFields(def, table.rows->array);
  }
  return table;
}

const ChangeSet::Touched* ChangeSet::touched(std::string_view table) const {
  const auto found = touched_.find(tables_.catalogue().table(table));
  return found == touched_.end() ? nullptr : &found->second;
}

const MDRData* ChangeSet::Touched::rowAfter(std::string_view key) const {
  const auto row = latest.find(key);
  return row == latest.end() ? seekKey(before, key) : row->second;
}

const MDRData* ChangeSet::rowAfter(const TableDef& def, std::string_view key) const {
  const auto table = touched_.find(&def);
  return table == touched_.end() ? seekKey(tables_.table(def.name), key) : table->second.rowAfter(key);
}

void ChangeSet::apply(const PlannedChange& change, MDArray* table) {
  MDRData* record = seekKey(table, change.key);
  if (!change.row) {
    MDARecDel(record);
    return;
  }
  record = record ? MDARecEdit(record) : MDARecNew(table);
  copyRow(change.row, record);
  MDARecPost(record, nullptr);
}

// New rows of one table that stand together go in together.
void ChangeSet::apply() const {
  std::vector<MDRData*> fresh;
  for (auto at = changes_.begin(); at != changes_.end();) {
    const auto first = at;
    MDArray* table = tables_.table(first->table->name);
    for (; at != changes_.end() && at->kind == MDX_REC_INSERT && at->table == first->table; ++at)
      fresh.push_back(at->row);
    if (at == first) apply(*at++, table);
    MDXRecsAdd(table, fresh.data(), static_cast<int>(fresh.size()), MDX_REC_NONE);
    fresh.clear();
  }
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
  const Touched* measurements = touched("Measurement");
  if (!measurements) return {};
  const MDRField* field = MDRFldByName(measurements->rows->array, "locId");
  std::unordered_set<int64_t> taken;
  for (const auto& [key, row] : measurements->latest) {
    if (!row) continue;
    const int64_t locId = intOf(valueOf(field, row)).value_or(0);
    Reply reply = checkNumber(key, locId, !taken.insert(locId).second);
    if (reply.status != wire::kOk) return reply;
  }
  return {};
}

// `twice`: the block gives the number to another one too.
Reply ChangeSet::checkNumber(const std::string& key, int64_t locId, bool twice) const {
  if (locId == 0) return refused("Measurement", key, "номер измерения не может быть равен 0");
  const std::string text = std::to_string(locId);
  if (locId < INT32_MIN || locId > INT32_MAX) return refused("Measurement", key, "номер " + text + " слишком велик");
  if (twice || numberTakenBefore(locId, key)) return refused("Measurement", key, "номер " + text + " уже занят");
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
  const Touched* measurements = touched("Measurement");
  if (!measurements) return freed;
  const MDRField* before = MDRFldByName(measurements->before, "locId");
  for (const auto& [key, row] : measurements->latest) {
    const auto locId = intOf(valueOf(before, seekKey(measurements->before, key)));
    if (locId) freed.push_back(static_cast<int32_t>(*locId));
  }
  if (freed.empty()) return freed;
  std::unordered_set<int64_t> used;
  for (const auto& [key, row] : measurements->latest) {
    if (row) used.insert(intOf(MDROwner(row), row, "locId").value_or(0));
  }
  std::erase_if(freed, [&used](int32_t locId) { return used.count(locId) > 0; });
  return freed;
}

// The tables that objects are put together from: one of IdentifiedObject, and those that build on it.
class ChangeSet::Family {
 public:
  explicit Family(const ChangeSet& changes) : catalogue_(changes.tables_.catalogue()) {
    for (const TableDef& def : catalogue_.tables()) {
      if (catalogue_.chain(def.name).front()->name != "IdentifiedObject") continue;
      const auto touched = changes.touched_.find(&def);
      const Touched* after = touched == changes.touched_.end() ? nullptr : &touched->second;
      members_.push_back({&def, changes.tables_.table(def.name), after});
    }
  }

  // In their order.
  std::vector<std::string_view> touchedKeys() const {
    std::vector<std::string_view> keys;
    for (const Member& member : members_) {
      if (!member.touched) continue;
      for (const auto& [key, row] : member.touched->latest) keys.push_back(key);
    }
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    return keys;
  }

  // An object has a row in each table of its class's chain, and in no other.
  Reply check(std::string_view key) {
    const std::vector<const TableDef*>* chain = &kNone;
    if (const MDRData* root = members_.front().rowAfter(key)) {
      const std::string_view name = textOf(MDROwner(root), root, "ClassName");
      chain = &chainOf(name);
      if (chain->empty()) return refused("IdentifiedObject", key, "нет класса \"" + fromCodePage(name) + "\"");
    }
    for (const Member& member : members_) {
      const bool wanted = std::find(chain->begin(), chain->end(), member.def) != chain->end();
      const bool there = member.rowAfter(key) != nullptr;
      if (wanted && !there) return refused(member.def->name, key, "у объекта нет записи в этой таблице");
      if (!wanted && there) return refused(member.def->name, key, "запись не принадлежит объекту");
    }
    return {};
  }

 private:
  using Chain = std::vector<const TableDef*>;
  struct Member {
    const TableDef* def;
    const MDArray* before;
    const Touched* touched;

    const MDRData* rowAfter(std::string_view key) const {
      return touched ? touched->rowAfter(key) : seekKey(before, key);
    }
  };

  // Empty for what is no class of an object.
  const Chain& chainOf(std::string_view name) {
    const auto known = chains_.find(name);
    if (known != chains_.end()) return known->second;
    const bool inner =
        std::any_of(members_.begin(), members_.end(), [&](const Member& member) { return member.def->parent == name; });
    Chain chain = inner ? Chain() : catalogue_.chain(name);
    if (!chain.empty() && chain.front() != members_.front().def) chain.clear();
    return chains_.emplace(name, std::move(chain)).first->second;
  }

  static inline const Chain kNone;
  const Catalogue& catalogue_;
  std::vector<Member> members_;
  std::map<std::string, Chain, std::less<>> chains_;  // by class
};

Reply ChangeSet::checkChains() const {
  Family family(*this);
  for (const std::string_view key : family.touchedKeys()) {
    Reply reply = family.check(key);
    if (reply.status != wire::kOk) return reply;
  }
  return {};
}

// What is put under a folder or unit that somebody has just deleted would be seen nowhere.
Reply ChangeSet::checkParents() const {
  for (const TreeLink& link : kTreeLinks) {
    const Touched* children = touched(link.table);
    if (!children) continue;
    const TableDef* parents = tables_.catalogue().table(link.parents);
    const MDRField* field = MDRFldByName(children->rows->array, link.field);
    for (const auto& [key, row] : children->latest) {
      const std::string_view parent = row ? textOf(valueOf(field, row)) : std::string_view();
      if (parent.empty()) continue;
      const MDRData* old = seekKey(children->before, key);
      const bool isNew = !old || textOf(children->before, old, link.field) != parent;
      if (isNew && !rowAfter(*parents, parent)) return refused(link.table, key, link.refusal);
    }
  }
  return {};
}

Reply ChangeSet::checkFolders() const {
  const Touched* folders = touched("RemoteUnitFolder");
  if (!folders) return {};
  for (const auto& [key, row] : folders->latest) {
    std::set<std::string> above;
    const MDRData* folder = row;
    for (std::string at = key; folder && above.insert(at).second; folder = folders->rowAfter(at)) {
      at = textOf(MDROwner(folder), folder, "ParentKey");
      if (at == key) return refused("RemoteUnitFolder", key, "папка не может лежать в самой себе");
      if (at.empty()) break;
    }
  }
  return {};
}

}  // namespace tlm::server
