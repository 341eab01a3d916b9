#include "sqliteDb.h"

#include <cerrno>

namespace tlm::server {
namespace {

// SQLite takes some names for more than files; with a folder in front every name is one.
std::string plainName(const std::string& path) { return path.front() == '/' ? path : "./" + path; }

// The name by which SQLite relies on the file being written by nobody.
std::string unchangingName(const std::string& path) {
  std::string name = path.front() == '/' ? "file://" : "file:";
  for (const char c : plainName(path)) {
    switch (c) {
      case '%':
        name += "%25";
        break;
      case '?':
        name += "%3f";
        break;
      case '#':
        name += "%23";
        break;
      default:
        name += c;
    }
  }
  return name + "?immutable=1";
}

}  // namespace

StoreError reasonOf(int code, int systemCode) {
  if (systemCode == ENOSPC || systemCode == EDQUOT || systemCode == EFBIG) return StoreError::kDiskFull;
  switch (code & 0xff) {
    case SQLITE_OK:
      return StoreError::kNone;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return StoreError::kHeld;
    case SQLITE_FULL:
      return StoreError::kDiskFull;
    case SQLITE_READONLY:
    case SQLITE_PERM:
      return StoreError::kReadOnly;
    case SQLITE_CORRUPT:
      return StoreError::kDamaged;
    case SQLITE_NOTADB:
      return StoreError::kNoStore;
    case SQLITE_CANTOPEN:
      return systemCode == ENOENT ? StoreError::kNotThere : StoreError::kReadOnly;
    case SQLITE_IOERR:
      return code == SQLITE_IOERR_SHORT_READ ? StoreError::kDamaged : StoreError::kOther;
    default:
      return StoreError::kOther;
  }
}

bool Db::openNamed(const std::string& name, int flags, const char* system, const std::string& path, Failure* failure) {
  const int code = sqlite3_open_v2(name.c_str(), &db_, flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE, system);
  // Otherwise the name of a column that is missing would be taken for a text.
  if (code == SQLITE_OK && sqlite3_db_config(db_, SQLITE_DBCONFIG_DQS_DML, 0, nullptr) == SQLITE_OK) return true;
  fail("cannot open " + path, failure);
  close();
  return false;
}

bool Db::open(const std::string& path, int flags, Failure* failure) {
  return openNamed(plainName(path), flags, nullptr, path, failure);
}

bool Db::openToRead(const std::string& path, bool logged, Failure* failure) {
  // With a log, SQLite wants to share what it finds in it through a file beside it, unless it has the file for itself;
  // the system without locks lets it believe so. Without one, it would make an empty one.
  const bool opened =
      logged ? openNamed(plainName(path), SQLITE_OPEN_READONLY, "unix-none", path, failure)
             : openNamed(unchangingName(path), SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr, path, failure);
  return opened && sqlite3_db_config(db_, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr) == SQLITE_OK &&
         exec("PRAGMA locking_mode = EXCLUSIVE", failure);
}

void Db::close() { sqlite3_close(std::exchange(db_, nullptr)); }

void Db::closeUntouched() {
  if (db_) sqlite3_db_config(db_, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
  close();
}

bool Db::exec(const std::string& sql, Failure* failure) {
  if (sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK) return true;
  return fail(sql.substr(0, 80), failure);
}

bool Db::fail(std::string_view doing, Failure* failure) {
  const int code = db_ ? sqlite3_extended_errcode(db_) : SQLITE_NOMEM;
  failure->why = reasonOf(code, db_ ? sqlite3_system_errno(db_) : 0);
  failure->text = std::string(doing) + ": " + (db_ ? sqlite3_errmsg(db_) : "no memory");
  return false;
}

bool Db::integer(const std::string& sql, int64_t* value, Failure* failure) {
  Statement statement;
  if (!statement.prepare(*this, sql, failure)) return false;
  if (statement.step() != SQLITE_ROW) return fail(sql, failure);
  *value = sqlite3_column_int64(statement.get(), 0);
  return true;
}

bool Db::text(const std::string& sql, std::string* value, Failure* failure) {
  Statement statement;
  if (!statement.prepare(*this, sql, failure)) return false;
  if (statement.step() != SQLITE_ROW) return fail(sql, failure);
  const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), 0));
  value->assign(bytes ? bytes : "", static_cast<size_t>(sqlite3_column_bytes(statement.get(), 0)));
  return true;
}

bool Statement::prepare(Db& db, const std::string& sql, Failure* failure) {
  if (sqlite3_prepare_v3(db.get(), sql.c_str(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT, &statement_,
                         nullptr) == SQLITE_OK)
    return true;
  return db.fail(sql.substr(0, 80), failure);
}

bool Statement::run(Db& db, std::string_view doing, Failure* failure) {
  const bool done = step() == SQLITE_DONE;
  if (!done) db.fail(doing, failure);
  reset();
  return done;
}

Transaction::~Transaction() {
  if (open_ && !sqlite3_get_autocommit(db_.get())) sqlite3_exec(db_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
}

bool Transaction::commit(Failure* failure) {
  if (!db_.exec("COMMIT", failure)) return false;
  open_ = false;
  return true;
}

std::string quoted(std::string_view name) {
  std::string sql = "\"";
  for (const char c : name) {
    if (c == '"') sql += '"';
    sql += c;
  }
  return sql += '"';
}

}  // namespace tlm::server
