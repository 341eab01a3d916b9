// SQLite's handles as objects, and its errors as reasons.
#ifndef TLMSERVER_SQLITEDB_H
#define TLMSERVER_SQLITEDB_H

#include <TlmServer/SqliteStore.h>
#include <sqlite3.h>

#include <string>
#include <string_view>

namespace tlm::server {

// What went wrong, for the caller and for people.
struct Failure {
  StoreError why = StoreError::kNone;
  std::string text;
};

class Db {
 public:
  Db() = default;
  ~Db() { close(); }
  Db(const Db&) = delete;
  Db& operator=(const Db&) = delete;

  // The path is that of a file, whatever it looks like, and not empty.
  bool open(const std::string& path, int flags, Failure* failure);

  // Opens a file that nobody writes, and leaves it and its folder as they are: no locks, no files beside it, nothing
  // written back. `logged` tells whether a log stands beside the file; it is read then.
  bool openToRead(const std::string& path, bool logged, Failure* failure);
  void close();

  // Closes without writing the log back into the file, so that the file stays as it is.
  void closeUntouched();

  bool exec(const std::string& sql, Failure* failure);

  // The first column of the first row; false when there is no row.
  bool integer(const std::string& sql, int64_t* value, Failure* failure);
  bool text(const std::string& sql, std::string* value, Failure* failure);

  // Describes the last error of this connection. Returns false, for "return db.fail(...)".
  bool fail(std::string_view doing, Failure* failure);

  sqlite3* get() const { return db_; }
  explicit operator bool() const { return db_ != nullptr; }

 private:
  bool openNamed(const std::string& name, int flags, const char* system, const std::string& path, Failure* failure);

  sqlite3* db_ = nullptr;
};

class Statement {
 public:
  Statement() = default;
  ~Statement() { sqlite3_finalize(statement_); }
  Statement(Statement&& other) noexcept : statement_(std::exchange(other.statement_, nullptr)) {}
  Statement& operator=(Statement&& other) noexcept {
    std::swap(statement_, other.statement_);
    return *this;
  }

  bool prepare(Db& db, const std::string& sql, Failure* failure);

  int step() { return sqlite3_step(statement_); }

  // Runs a statement that gives no rows, and makes it ready for the next run.
  bool run(Db& db, std::string_view doing, Failure* failure);

  void reset() {
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
  }
  sqlite3_stmt* get() const { return statement_; }
  explicit operator bool() const { return statement_ != nullptr; }

 private:
  sqlite3_stmt* statement_ = nullptr;
};

// A transaction that is rolled back unless it was committed.
class Transaction {
 public:
  explicit Transaction(Db& db) : db_(db) {}
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  bool begin(Failure* failure) { return open_ = db_.exec("BEGIN IMMEDIATE", failure); }
  bool commit(Failure* failure);

 private:
  Db& db_;
  bool open_ = false;
};

// A name of a table or column as SQL writes it.
std::string quoted(std::string_view name);

// The reason behind a code of SQLite and the code of the operating system that came with it.
StoreError reasonOf(int code, int systemCode);

}  // namespace tlm::server

#endif
