#include "Tables.h"

#include <algorithm>
#include <cstring>

namespace tlm::script {
namespace {

constexpr size_t kMostRunTables = 1000;
constexpr size_t kTableBytes = 4096;  // what an empty table takes, roughly
constexpr size_t kRecordBytes = 160;  // what a record takes beside its fields, with its place in the order

// Field names are given with a closing zero. One that does not fit is no field's name.
struct FieldName {
  explicit FieldName(std::string_view text) : fits(text.size() < sizeof zeroTerminated) {
    if (fits) std::memcpy(zeroTerminated, text.data(), text.size());
  }
  bool fits;
  char zeroTerminated[sizeof(MDRField::name)] = {};
};

const MDRField* findField(const MDArray* array, std::string_view name) {
  const FieldName copy(name);
  return copy.fits ? MDRFldByName(array, copy.zeroTerminated) : nullptr;
}

bool isColumnType(int64_t type) {
  return type == MDX_BOOL || type == MDX_INT32 || type == MDX_INT64 || type == MDX_DOUBLE || type == MDX_TEXT ||
         type == MDX_MEMO;
}

}  // namespace

// ---- walks ----------------------------------------------------------------------------------------

void Walk::bind(const RunTable& source, uint16_t number, int keyNumber) {
  table = number;
  key = keyNumber;
  array_ = source.array;
  changes_ = !source.isModel();
  position_ = -2;
  cursor_ = {};
  record_ = nullptr;
  near_ = {};
  const char* const expression = MDAKeyExpr(array_, key);
  keyField_ = expression && !changes_ ? findField(array_, expression) : nullptr;
}

MDRData* Walk::place(int64_t position) {
  if (position < 0 || position > INT32_MAX) return nullptr;
  if (changes_) return MDARec(array_, key, static_cast<int>(position));
  position_ = position;
  return record_ = cursor_.place(array_, key, static_cast<int>(position)) ? cursor_.record() : nullptr;
}

// ---- what the program names -----------------------------------------------------------------------

Tables::Tables(const Program& program, const server::TableSource& source, Meter* meter)
    : source_(source), meter_(*meter) {
  tables_.reserve(program.tables.size() + 2);
  for (const TableUse& use : program.tables) modelTable(use.name, use.at);
  fields.resize(program.fields.size());
  for (size_t i = 0; i < fields.size(); ++i) {
    const FieldUse& use = program.fields[i];
    if (use.table != kUnknown) fields[i] = {use.table, field(use.table, use.name, use.at)};
  }
  walks.resize(program.keys.size() + 1);
  for (size_t i = 0; i < program.keys.size(); ++i) {
    const KeyUse& use = program.keys[i];
    if (use.table == kUnknown || use.key == kUnknown) continue;
    use.seeks ? bindSeek(&walks[i + 1], use.table, use.key, use.at) : bind(&walks[i + 1], use.table, use.key, use.at);
  }
}

std::string Tables::describe(uint16_t table) const {
  return tables_[table].isModel() ? "table " + quoted(tables_[table].name) : "the new table";
}

const MDRField* Tables::field(uint16_t table, std::string_view name, Offset at) const {
  if (const MDRField* found = findField(tables_[table].array, name)) return found;
  fail(at, describe(table) + " has no field " + quoted(name));
}

void Tables::checkKey(uint16_t table, int64_t key, Offset at) const {
  const RunTable& run = tables_[table];
  const int count = MDAKeyCount(run.array);
  if (key >= 0 && key < count) return;
  if (key == 0 && !run.isModel()) return;  // the order of arrival, which stands with the first row
  fail(at, describe(table) + " has no key " + std::to_string(key));
}

void Tables::bind(Walk* walk, uint16_t table, int64_t key, Offset at) {
  checkKey(table, key, at);
  walk->bind(tables_[table], table, static_cast<int>(key));
}

void Tables::bindSeek(Walk* walk, uint16_t table, int64_t key, Offset at) {
  bind(walk, table, key, at);
  MDArray* const array = tables_[table].array;
  const char* const expression = MDAKeyExpr(array, static_cast<int>(key));
  walk->seekField = expression ? findField(array, expression) : nullptr;
  if (!walk->seekField) fail(at, "key " + std::to_string(key) + " of " + describe(table) + " is not over one field");
}

// ---- tables and records ---------------------------------------------------------------------------

Value Tables::open(MDArray* array, std::string_view name, Offset at) {
  if (tables_.size() == kMostRunTables) failBudget(at, "the script has used up its tables");
  RunTable& table = tables_.emplace_back();
  table.array = array;
  table.name = name;
  return Value::ofTable(static_cast<uint16_t>(tables_.size() - 1));
}

Value Tables::modelTable(std::string_view name, Offset at) {
  for (size_t i = 0; i < tables_.size(); ++i) {
    if (tables_[i].isModel() && tables_[i].name == name) return Value::ofTable(static_cast<uint16_t>(i));
  }
  constexpr size_t kLongestName = 255;  // more is nobody's name, and not worth a look
  MDArray* const array = name.size() <= kLongestName ? source_(name) : nullptr;
  if (!array) fail(at, "no model table " + quoted(name));
  return open(array, name, at);
}

Value Tables::newTable(Offset at) {
  meter_.bytes(kTableBytes, at);
  MDArray* array = nullptr;
  if (MDACreate(&array, 0) < 0) throw std::bad_alloc();
  OwnedArray owned(array);
  const Value value = open(array, {}, at);
  tables_[value.table].own = std::move(owned);
  return value;
}

void Tables::addField(uint16_t table, std::string_view name, int64_t type, int64_t size, Offset at) {
  RunTable& run = tables_[table];
  if (run.isModel()) fail(at, "the model tables are read only");
  if (run.hasRows) fail(at, "columns are added before the first record");
  const FieldName copy(name);
  if (name.empty() || !copy.fits) fail(at, quoted(name) + " is no name for a column");
  if (findField(run.array, name)) fail(at, "the table has a column " + quoted(name) + " already");
  if (!isColumnType(type)) fail(at, std::to_string(type) + " is no type of a column");
  if (type == MDX_TEXT ? size < 1 || size > UINT8_MAX : size != 0)
    fail(at, std::to_string(size) + " is no size for a column of that type");
  MDRFldDesc description{};
  std::memcpy(description.name, copy.zeroTerminated, sizeof description.name);
  description.type = static_cast<uint8_t>(type);
  description.size = static_cast<uint8_t>(size);
  if (MDAFldAdd(run.array, 1, &description) < 0) fail(at, "the table takes no more columns");
  run.rowBytes += 16 + static_cast<size_t>(size);
}

Value Tables::newRecord(uint16_t table, Offset at) {
  RunTable& run = tables_[table];
  if (run.isModel()) fail(at, "the model tables are read only");
  meter_.row(at);
  meter_.bytes(kRecordBytes + run.rowBytes, at);
  if (!run.hasRows) {
    run.hasRows = true;
    for (int i = 0; i < MDAFldCount(run.array); ++i) run.fields.push_back(MDRFldByNum(run.array, i));
  }
  MDRData* const record = MDARecNew(run.array);
  if (!record) throw std::bad_alloc();
  return Value::ofRecord(table, kNoWalk, record);
}

}  // namespace tlm::script
