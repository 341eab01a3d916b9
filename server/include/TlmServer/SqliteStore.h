// The store in one SQLite file: WAL, one connection, exclusive locking, full synchronisation.
#ifndef TLMSERVER_SQLITESTORE_H
#define TLMSERVER_SQLITESTORE_H

#include <TlmServer/Store.h>

#include <memory>

namespace tlm::server {

// Makes a new store file with the schema of the catalogue and no rows. Null with a message in *error when
// the file exists, its folder cannot be written, or the schema cannot be made (no file is left then).
std::unique_ptr<Store> createSqliteStore(const std::string& path, const Catalogue& catalogue, std::string* error);

// Opens a store file. Null with a message in *error, the file left as it was, when it is not there, is no
// store, is damaged or cut short, is of a newer version, cannot be written, or another server has it.
std::unique_ptr<Store> openSqliteStore(const std::string& path, const Catalogue& catalogue, std::string* error);

}  // namespace tlm::server

#endif
