// The SQLite store's class; its making and opening are in sqliteOpen.cpp.
#ifndef TLMSERVER_SQLITESTORE_IMPL_H
#define TLMSERVER_SQLITESTORE_IMPL_H

#include <TlmServer/Catalogue.h>

#include <map>

#include "sqliteDb.h"
#include "sqliteFile.h"

namespace tlm::server {

// Writes rows of one table; statements are made on first use.
class TableWriter {
 public:
  TableWriter(Db& db, const TableDef& table) : db_(db), table_(table) {}

  bool insert(const MDRData* record, Failure* failure);
  bool update(std::string_view key, const MDRData* record, Failure* failure);  // inserts what is not there
  bool erase(std::string_view key, Failure* failure);

 private:
  bool makeInsert(Failure* failure);
  bool makeUpdate(Failure* failure);
  bool bind(Statement& statement, const MDRData* record, Failure* failure);

  Db& db_;
  const TableDef& table_;
  Statement insert_;
  Statement update_;
  Statement erase_;
  std::vector<const MDRField*> fields_;  // of the record at hand
};

class SqliteStore final : public Store {
 public:
  SqliteStore(const Catalogue& catalogue) : catalogue_(catalogue) {}

  const std::string& identity() const override { return identity_; }
  bool load(const std::string& table, MDArray* into, std::string* error) override;
  bool commit(const Commit& commit, std::string* error) override;
  bool import(const NamedTables& tables, std::string* error) override;
  int64_t lastSequence() override { return last_; }
  int64_t firstSequence() override { return first_; }
  bool events(int64_t after, int64_t upTo, const std::function<bool(wire::Event&&)>& each, std::string* error) override;
  bool forgetEvents(int64_t upTo, std::string* error) override;
  bool holdsBlock(const std::string& identity) override;

  std::vector<std::string> check();
  std::vector<std::string> missing();

  // The parts of opening. Each leaves the reason of a failure behind.
  bool attach(const std::string& path, std::unique_ptr<FileHold> hold, Failure* failure);
  bool attachToRead(const std::string& path, std::unique_ptr<FileHold> hold, Failure* failure);
  bool readState(Failure* failure);
  Db& db() { return db_; }

 private:
  TableWriter* writer(const std::string& table, Failure* failure);
  bool writeChange(const StoredChange& change, Failure* failure);
  bool writeEvent(const wire::Event& event, Failure* failure);
  bool writeBlock(const Commit& commit, int64_t sequence, Failure* failure);
  bool writeAll(const Commit& commit, int64_t sequence, Failure* failure);
  bool readSequences(Failure* failure);

  const Catalogue& catalogue_;
  std::unique_ptr<FileHold> hold_;  // outlives the connection
  std::unique_ptr<ReadLock> lock_;  // of a store that is read only
  Db db_;
  std::string identity_;
  int64_t first_ = 1;
  int64_t last_ = 0;
  std::map<std::string, TableWriter, std::less<>> writers_;
  Statement begin_;
  Statement end_;
  Statement event_;
  Statement block_;
  Statement holds_;
};

}  // namespace tlm::server

#endif
