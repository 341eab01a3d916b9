// The store in one SQLite file: WAL, one connection, exclusive locking, full synchronisation.
//
// The file: a table for each table of the catalogue, with a column for each of its fields (texts in UTF-8),
// rows in order of arrival; "store_identity", "store_event" (the log of events), "store_block" (identities of
// committed blocks) and "store_forgotten" (the last event that is no longer kept) beside them. The SQLite
// header tells what it is: application id kStoreApplicationId, user version kStoreVersion.
#ifndef TLMSERVER_SQLITESTORE_H
#define TLMSERVER_SQLITESTORE_H

#include <TlmServer/Store.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tlm::server {

inline constexpr int kStoreApplicationId = 0x546C6D31;  // "Tlm1"
inline constexpr int kStoreVersion = 1;

// Why a store could not be made, opened, read or written.
enum class StoreError {
  kNone = 0,
  kNotThere,  // no file of that name
  kExists,    // a file of that name is there already
  kNoStore,   // a file of another kind
  kDamaged,   // cut short, or its contents are broken
  kNewer,     // written by a newer version of the program
  kReadOnly,  // the file or its folder cannot be read or written
  kHeld,      // another server, or another program, has it open
  kDiskFull,
  kOther
};

using NamedTables = std::vector<std::pair<std::string, const MDArray*>>;

// What is left to do on a store that has its rows. False with a message in *error: it is not made then.
using FinishStore = std::function<bool(Store& store, std::string* error)>;

// Makes a new store file with the schema of the catalogue and the rows of `tables`, runs `finish` on it where there
// is one, and opens it. The file stands under its name only when it is whole and on disk. Null with a message in
// *error (and the reason in *why, which may be null) when the file exists, also when somebody else was quicker to
// make it, its folder cannot be written, or the rows cannot be stored (no file is left then). While it is made, it
// stands beside `path` under a name of its own that ends with ".new".
std::unique_ptr<Store> createSqliteStore(const std::string& path, const Catalogue& catalogue, const NamedTables& tables,
                                         std::string* error, StoreError* why = nullptr, const FinishStore& finish = {});
std::unique_ptr<Store> createSqliteStore(const std::string& path, const Catalogue& catalogue, std::string* error);

// Opens a store file. Null with a message in *error (and the reason in *why), the file left as it was, when
// it is not there, is no store, is damaged or cut short, is of a newer version, cannot be written, or another
// server has it. A file of an older version is brought up to this one; tables and columns that the catalogue
// has and the file lacks are added. The catalogue must outlive the store.
//
// A file of up to 64 MB is checked whole. Damage inside a larger one is met when the rows concerned are read.
std::unique_ptr<Store> openSqliteStore(const std::string& path, const Catalogue& catalogue, std::string* error,
                                       StoreError* why = nullptr);

// Opens a store file to look at it: neither the file nor its folder is changed or has to be writable, what a server
// that ended without order left in the log is read, and nothing that is missing is added; loading a table that
// lacks something fails. No server can open the file meanwhile, and changes are refused. Null as openSqliteStore.
std::unique_ptr<Store> readSqliteStore(const std::string& path, const Catalogue& catalogue, std::string* error,
                                       StoreError* why = nullptr);

// Checks every page, index and row of an open store. One line for each problem; empty when it is sound.
std::vector<std::string> checkSqliteStore(Store& store);

// One line for each table and column that the catalogue has and an open store lacks.
std::vector<std::string> missingInSqliteStore(Store& store);

}  // namespace tlm::server

#endif
