#include "sqliteSchema.h"

#include <algorithm>
#include <set>

namespace tlm::server {
namespace {

constexpr const char* kOwnTables =
    "CREATE TABLE store_identity (identity TEXT NOT NULL);"
    "CREATE TABLE store_event (sequence INTEGER PRIMARY KEY, kind INTEGER NOT NULL, time REAL NOT NULL,"
    " key TEXT NOT NULL, param TEXT NOT NULL, user TEXT NOT NULL, image BLOB);"
    "CREATE TABLE store_block (identity TEXT PRIMARY KEY NOT NULL, sequence INTEGER NOT NULL) WITHOUT ROWID;"
    "CREATE TABLE store_forgotten (sequence INTEGER NOT NULL);"
    "INSERT INTO store_forgotten VALUES (0);";

const char* columnType(uint8_t type) {
  switch (type) {
    case MDX_BOOL:
    case MDX_INT32:
    case MDX_INT64:
      return "INTEGER";
    case MDX_FLOAT:
    case MDX_DOUBLE:
      return "REAL";
    default:
      return "TEXT";
  }
}

std::string tableSql(const TableDef& table) {
  std::string sql = "CREATE TABLE " + quoted(table.name) + " (";
  for (size_t i = 0; i < table.fields.size(); ++i) {
    if (i > 0) sql += ", ";
    sql += quoted(table.fields[i].name) + " " + columnType(table.fields[i].type);
    if (i == 0) sql += " NOT NULL";
  }
  return sql + ")";
}

std::string indexSql(const TableDef& table) {
  return "CREATE UNIQUE INDEX " + quoted("key_" + table.name) + " ON " + quoted(table.name) + " (" +
         quoted(table.fields[0].name) + ")";
}

std::string lowered(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return text;
}

// Names of columns are compared as SQLite does, without regard to case.
bool columnsOf(Db& db, const std::string& table, std::set<std::string>* columns, Failure* failure) {
  Statement statement;
  if (!statement.prepare(db, "PRAGMA table_info(" + quoted(table) + ")", failure)) return false;
  int code = 0;
  while ((code = statement.step()) == SQLITE_ROW)
    columns->insert(lowered(reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), 1))));
  return code == SQLITE_DONE || db.fail("read the columns of " + table, failure);
}

// What a table of the file lacks: all of it, or some columns.
struct Missing {
  bool table = false;
  std::vector<const FieldDef*> fields;
};

bool findMissing(Db& db, const TableDef& table, Missing* missing, Failure* failure) {
  std::set<std::string> columns;
  if (!columnsOf(db, table.name, &columns, failure)) return false;
  missing->table = columns.empty();
  for (const FieldDef& field : table.fields)
    if (!missing->table && columns.count(lowered(field.name)) == 0) missing->fields.push_back(&field);
  return true;
}

bool missingSql(Db& db, const TableDef& table, std::vector<std::string>* sql, Failure* failure) {
  Missing missing;
  if (!findMissing(db, table, &missing, failure)) return false;
  if (missing.table) {
    sql->push_back(tableSql(table));
    sql->push_back(indexSql(table));
  }
  for (const FieldDef* field : missing.fields)
    sql->push_back("ALTER TABLE " + quoted(table.name) + " ADD COLUMN " + quoted(field->name) + " " +
                   columnType(field->type));
  return true;
}

bool runAll(Db& db, const std::vector<std::string>& statements, Failure* failure) {
  Transaction transaction(db);
  if (!transaction.begin(failure)) return false;
  for (const std::string& sql : statements)
    if (!db.exec(sql, failure)) return false;
  return transaction.commit(failure);
}

std::string setVersion(int version) { return "PRAGMA user_version = " + std::to_string(version); }

}  // namespace

std::span<const UpgradeStep> upgradeSteps() { return {}; }

std::vector<const TableDef*> storedTables(const Catalogue& catalogue) {
  std::vector<const TableDef*> tables;
  for (const TableDef& table : catalogue.tables())
    if (!Catalogue::describesItself(table.name)) tables.push_back(&table);
  for (const TableDef& table : catalogue.ownTables()) tables.push_back(&table);
  return tables;
}

bool makeTables(Db& db, const Catalogue& catalogue, const std::string& identity, Failure* failure) {
  std::vector<std::string> sql = {"PRAGMA application_id = " + std::to_string(kStoreApplicationId),
                                  setVersion(kStoreVersion), kOwnTables,
                                  "INSERT INTO store_identity VALUES ('" + identity + "')"};
  for (const TableDef* table : storedTables(catalogue)) sql.push_back(tableSql(*table));
  return runAll(db, sql, failure);
}

bool makeIndexes(Db& db, const Catalogue& catalogue, Failure* failure) {
  std::vector<std::string> sql;
  for (const TableDef* table : storedTables(catalogue)) sql.push_back(indexSql(*table));
  return runAll(db, sql, failure);
}

bool upgrade(Db& db, std::span<const UpgradeStep> steps, int target, Failure* failure) {
  int64_t version = 0;
  if (!db.integer("PRAGMA user_version", &version, failure)) return false;
  if (version == target) return true;
  if (version > target) {
    *failure = {StoreError::kNewer, "the store is of version " + std::to_string(version)};
    return false;
  }
  std::vector<std::string> sql;
  for (; version < target; ++version) {
    const auto step = std::find_if(steps.begin(), steps.end(), [&](const UpgradeStep& s) { return s.from == version; });
    if (step == steps.end()) {
      *failure = {StoreError::kOther, "no way up from version " + std::to_string(version) + " of the store"};
      return false;
    }
    sql.push_back(step->sql);
  }
  sql.push_back(setVersion(target));
  return runAll(db, sql, failure);
}

bool addMissing(Db& db, const Catalogue& catalogue, Failure* failure) {
  std::vector<std::string> sql;
  for (const TableDef* table : storedTables(catalogue))
    if (!missingSql(db, *table, &sql, failure)) return false;
  return sql.empty() || runAll(db, sql, failure);
}

bool tellMissing(Db& db, const TableDef& table, std::vector<std::string>* lines, Failure* failure) {
  Missing missing;
  if (!findMissing(db, table, &missing, failure)) return false;
  if (missing.table) lines->push_back("the table " + table.name + " is missing");
  for (const FieldDef* field : missing.fields)
    lines->push_back("the column " + field->name + " of " + table.name + " is missing");
  return true;
}

}  // namespace tlm::server
