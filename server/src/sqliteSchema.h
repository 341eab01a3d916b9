// The tables of a store file: made from the catalogue, brought up to date, looked over.
#ifndef TLMSERVER_SQLITESCHEMA_H
#define TLMSERVER_SQLITESCHEMA_H

#include <TlmServer/Catalogue.h>

#include <span>

#include "sqliteDb.h"

namespace tlm::server {

// One change of the file's form. Brings a file from version `from` to the next one; run in a transaction.
struct UpgradeStep {
  int from;
  const char* sql;
};

// The steps from each version that once shipped. The first version needs none.
std::span<const UpgradeStep> upgradeSteps();

// The tables that live in the store: all but those that describe the catalogue itself, and the server's own.
std::vector<const TableDef*> storedTables(const Catalogue& catalogue);

// Makes all tables in an empty file, without the indexes over keys (cheaper after the rows are in).
bool makeTables(Db& db, const Catalogue& catalogue, const std::string& identity, Failure* failure);
bool makeIndexes(Db& db, const Catalogue& catalogue, Failure* failure);

// Runs the steps that lead from the file's version to `target`, in one transaction.
bool upgrade(Db& db, std::span<const UpgradeStep> steps, int target, Failure* failure);

// Adds what the catalogue has and the file lacks, in one transaction; a file that lacks nothing is not written.
bool addMissing(Db& db, const Catalogue& catalogue, Failure* failure);

// Names what of one table the file lacks, one line for each.
bool tellMissing(Db& db, const TableDef& table, std::vector<std::string>* lines, Failure* failure);

}  // namespace tlm::server

#endif
