#include "sqliteStore.h"

#include <algorithm>

#include "sqliteSchema.h"
#include "sqliteValues.h"

namespace tlm::server {
namespace {

constexpr std::string_view kWritingRow = "cannot write a row of ";

bool say(const Failure& failure, std::string* error) {
  *error = failure.text;
  return false;
}

std::vector<const MDRField*> fieldsOf(const MDArray* array) {
  std::vector<const MDRField*> fields;
  fields.reserve(static_cast<size_t>(MDAFldCount(array)));
  for (int i = 0; i < MDAFldCount(array); ++i) fields.push_back(MDRFldByNum(array, i));
  return fields;
}

std::string selectSql(const std::string& table, const MDArray* array) {
  std::string sql = "SELECT ";
  for (int i = 0; i < MDAFldCount(array); ++i) sql += (i > 0 ? ", " : "") + quoted(MDAFldName(array, i));
  return sql + " FROM " + quoted(table);
}

wire::Event eventOf(sqlite3_stmt* row) {
  wire::Event event;
  event.sequence = sqlite3_column_int64(row, 0);
  event.kind = sqlite3_column_int(row, 1);
  event.time = sqlite3_column_double(row, 2);
  event.key = columnText(row, 3);
  event.param = columnText(row, 4);
  event.user = columnText(row, 5);
  if (sqlite3_column_type(row, 6) != SQLITE_NULL) {
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(row, 6));
    event.image.emplace(bytes ? bytes : "", static_cast<size_t>(sqlite3_column_bytes(row, 6)));
  }
  return event;
}

}  // namespace

// ---- rows ----

bool TableWriter::makeInsert(Failure* failure) {
  std::string names;
  std::string marks;
  for (const FieldDef& field : table_.fields) {
    names += (names.empty() ? "" : ", ") + quoted(field.name);
    marks += marks.empty() ? "?" : ", ?";
  }
  return insert_.prepare(db_, "INSERT INTO " + quoted(table_.name) + " (" + names + ") VALUES (" + marks + ")",
                         failure);
}

bool TableWriter::makeUpdate(Failure* failure) {
  std::string sets;
  for (const FieldDef& field : table_.fields) sets += (sets.empty() ? "" : ", ") + quoted(field.name) + " = ?";
  return update_.prepare(
      db_, "UPDATE " + quoted(table_.name) + " SET " + sets + " WHERE " + quoted(table_.fields[0].name) + " = ?",
      failure);
}

bool TableWriter::bind(Statement& statement, const MDRData* record, Failure* failure) {
  const MDArray* owner = record ? MDROwner(record) : nullptr;
  if (!owner || MDAFldCount(owner) != static_cast<int>(table_.fields.size())) {
    *failure = {StoreError::kOther, "a row that is none of " + table_.name};
    return false;
  }
  fields_.clear();
  for (int i = 0; i < MDAFldCount(owner); ++i) fields_.push_back(MDRFldByNum(owner, i));
  return bindRecord(statement.get(), fields_, record) == SQLITE_OK ||
         db_.fail(std::string(kWritingRow) + table_.name, failure);
}

bool TableWriter::insert(const MDRData* record, Failure* failure) {
  if (!insert_ && !makeInsert(failure)) return false;
  return bind(insert_, record, failure) && insert_.run(db_, std::string(kWritingRow) + table_.name, failure);
}

bool TableWriter::update(std::string_view key, const MDRData* record, Failure* failure) {
  if (!update_ && !makeUpdate(failure)) return false;
  if (!bind(update_, record, failure)) return false;
  bindText(update_.get(), static_cast<int>(table_.fields.size()) + 1, key);
  if (!update_.run(db_, std::string(kWritingRow) + table_.name, failure)) return false;
  return sqlite3_changes(db_.get()) > 0 || insert(record, failure);
}

bool TableWriter::erase(std::string_view key, Failure* failure) {
  const std::string sql = "DELETE FROM " + quoted(table_.name) + " WHERE " + quoted(table_.fields[0].name) + " = ?";
  if (!erase_ && !erase_.prepare(db_, sql, failure)) return false;
  bindText(erase_.get(), 1, key);
  return erase_.run(db_, "cannot remove a row of " + table_.name, failure);
}

TableWriter* SqliteStore::writer(const std::string& table, Failure* failure) {
  const auto found = writers_.find(table);
  if (found != writers_.end()) return &found->second;
  const TableDef* def = catalogue_.storedTable(table);
  if (!def) {
    *failure = {StoreError::kOther, "the store has no table " + table};
    return nullptr;
  }
  return &writers_.try_emplace(table, db_, *def).first->second;
}

bool SqliteStore::load(const std::string& table, MDArray* into, std::string* error) {
  Failure failure;
  if (!writer(table, &failure)) return say(failure, error);
  Statement rows;
  if (!rows.prepare(db_, selectSql(table, into), &failure)) {
    std::vector<std::string> lines;
    Failure other;
    if (tellMissing(db_, *catalogue_.storedTable(table), &lines, &other) && !lines.empty()) failure.text = lines[0];
    return say(failure, error);
  }
  RowReader reader(rows.get(), fieldsOf(into));
  int code = 0;
  while ((code = rows.step()) == SQLITE_ROW) {
    MDRData* record = MDARecNew(into);
    if (!record) return *error = "no memory for " + table, false;
    if (!reader.read(record, error)) return error->insert(0, table + ", "), false;
    MDARecPost(record, nullptr);
  }
  if (code == SQLITE_DONE) return true;
  db_.fail("cannot read " + table, &failure);
  return say(failure, error);
}

// ---- transactions ----

bool SqliteStore::writeChange(const StoredChange& change, Failure* failure) {
  TableWriter* to = writer(change.table, failure);
  if (!to) return false;
  switch (change.kind) {
    case MDX_REC_INSERT:
      return to->insert(change.record, failure);
    case MDX_REC_UPDATE:
      return to->update(change.key, change.record, failure);
    case MDX_REC_DELETE:
      return to->erase(change.key, failure);
    default:
      *failure = {StoreError::kOther, "a change of no kind for " + change.table};
      return false;
  }
}

bool SqliteStore::writeEvent(const wire::Event& event, Failure* failure) {
  constexpr const char* kSql = "INSERT INTO store_event VALUES (?, ?, ?, ?, ?, ?, ?)";
  if (!event_ && !event_.prepare(db_, kSql, failure)) return false;
  sqlite3_stmt* row = event_.get();
  sqlite3_bind_int64(row, 1, event.sequence);
  sqlite3_bind_int(row, 2, event.kind);
  sqlite3_bind_double(row, 3, event.time);
  bindText(row, 4, event.key);
  bindText(row, 5, event.param);
  bindText(row, 6, event.user);
  if (event.image) sqlite3_bind_blob64(row, 7, event.image->data(), event.image->size(), SQLITE_STATIC);
  return event_.run(db_, "cannot write an event", failure);
}

bool SqliteStore::writeBlock(const Commit& commit, int64_t sequence, Failure* failure) {
  if (commit.identity.empty()) return true;
  if (!block_ && !block_.prepare(db_, "INSERT INTO store_block VALUES (?, ?)", failure)) return false;
  bindText(block_.get(), 1, commit.identity);
  sqlite3_bind_int64(block_.get(), 2, sequence);
  return block_.run(db_, "cannot write the block " + commit.identity, failure);
}

bool SqliteStore::writeAll(const Commit& commit, int64_t sequence, Failure* failure) {
  for (const StoredChange& change : commit.changes)
    if (!writeChange(change, failure)) return false;
  for (const wire::Event& event : commit.events)
    if (!writeEvent(event, failure)) return false;
  return writeBlock(commit, sequence, failure);
}

bool SqliteStore::commit(const Commit& commit, std::string* error) {
  Failure failure;
  Transaction transaction(db_);
  int64_t sequence = last_;
  for (const wire::Event& event : commit.events) sequence = std::max(sequence, event.sequence);
  if (!transaction.begin(&failure) || !writeAll(commit, sequence, &failure) || !transaction.commit(&failure))
    return say(failure, error);
  last_ = sequence;
  return true;
}

bool SqliteStore::import(const NamedTables& tables, std::string* error) {
  Failure failure;
  Transaction transaction(db_);
  if (!transaction.begin(&failure)) return say(failure, error);
  for (const auto& [name, array] : tables) {
    TableWriter* to = writer(name, &failure);
    if (!to) return say(failure, error);
    // Rows in the order of key 0 are the order of arrival of the new table.
    for (int i = 0; i < MDARecCount(array); ++i)
      if (!to->insert(MDARec(array, 0, i), &failure)) return say(failure, error);
  }
  return transaction.commit(&failure) || say(failure, error);
}

// ---- the log of events ----

bool SqliteStore::readSequences(Failure* failure) {
  int64_t forgotten = 0;
  return db_.integer("SELECT sequence FROM store_forgotten", &forgotten, failure) &&
         db_.integer("SELECT ifnull(max(sequence), " + std::to_string(forgotten) + ") FROM store_event", &last_,
                     failure) &&
         db_.integer("SELECT ifnull(min(sequence), " + std::to_string(last_ + 1) + ") FROM store_event", &first_,
                     failure);
}

bool SqliteStore::readState(Failure* failure) {
  return db_.text("SELECT identity FROM store_identity", &identity_, failure) && readSequences(failure);
}

bool SqliteStore::events(int64_t after, int64_t upTo, const std::function<bool(wire::Event&&)>& each,
                         std::string* error) {
  Failure failure;
  Statement rows;
  constexpr const char* kSql =
      "SELECT sequence, kind, time, key, param, user, image FROM store_event WHERE sequence > ? AND sequence <= ? "
      "ORDER BY sequence";
  if (!rows.prepare(db_, kSql, &failure)) return say(failure, error);
  sqlite3_bind_int64(rows.get(), 1, after);
  sqlite3_bind_int64(rows.get(), 2, upTo);
  int code = 0;
  while ((code = rows.step()) == SQLITE_ROW) {
    if (!each(eventOf(rows.get()))) return true;
  }
  if (code == SQLITE_DONE) return true;
  db_.fail("cannot read the events", &failure);
  return say(failure, error);
}

bool SqliteStore::forgetEvents(int64_t upTo, std::string* error) {
  Failure failure;
  const std::string limit = std::to_string(std::min(upTo, last_));
  Transaction transaction(db_);
  if (transaction.begin(&failure) && db_.exec("DELETE FROM store_event WHERE sequence <= " + limit, &failure) &&
      db_.exec("DELETE FROM store_block WHERE sequence <= " + limit, &failure) &&
      db_.exec("UPDATE store_forgotten SET sequence = max(sequence, " + limit + ")", &failure) &&
      transaction.commit(&failure) && readSequences(&failure))
    return true;
  return say(failure, error);
}

bool SqliteStore::holdsBlock(const std::string& identity) {
  Failure failure;
  if (!holds_ && !holds_.prepare(db_, "SELECT 1 FROM store_block WHERE identity = ?", &failure)) return false;
  bindText(holds_.get(), 1, identity);
  const bool found = holds_.step() == SQLITE_ROW;
  holds_.reset();
  return found;
}

std::vector<std::string> SqliteStore::missing() {
  std::vector<std::string> lines;
  Failure failure;
  for (const TableDef* table : storedTables(catalogue_))
    if (!tellMissing(db_, *table, &lines, &failure)) lines.push_back(failure.text);
  return lines;
}

std::vector<std::string> SqliteStore::check() {
  std::vector<std::string> problems;
  Failure failure;
  Statement rows;
  if (!rows.prepare(db_, "PRAGMA integrity_check(100)", &failure)) return {failure.text};
  int code = 0;
  while ((code = rows.step()) == SQLITE_ROW) {
    std::string line = reinterpret_cast<const char*>(sqlite3_column_text(rows.get(), 0));
    if (line != "ok") problems.push_back(std::move(line));
  }
  if (code != SQLITE_DONE && problems.empty()) {
    db_.fail("the check was broken off", &failure);
    problems.push_back(failure.text);
  }
  return problems;
}

}  // namespace tlm::server
