// Where a model lives between runs. Implementations: SQLite (SqliteStore.h).
#ifndef TLMSERVER_STORE_H
#define TLMSERVER_STORE_H

#include <TlmMdx/mdx.h>
#include <TlmWire/messages.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace tlm::server {

class Catalogue;

// The changes of one block, in order. The record pointers belong to the caller.
struct StoredChange {
  std::string table;
  int kind = 0;                     // MDX_REC_INSERT, _UPDATE or _DELETE
  std::string key;                  // field 0
  const MDRData* record = nullptr;  // the whole new row; null for a delete
};

struct Commit {
  std::string identity;  // of the block, or empty
  std::vector<StoredChange> changes;
  std::vector<wire::Event> events;  // with their sequence numbers
};

// All functions return false with a clear message in *error and leave the store as it was. Used by one
// thread at a time.
class Store {
 public:
  virtual ~Store() = default;

  virtual const std::string& identity() const = 0;

  // Fills an empty table with the rows of that name. Its fields are made from the catalogue; its keys are
  // made by the caller when the rows are in. Called once for each table that does not describe the catalogue.
  virtual bool load(const std::string& table, MDArray* into, std::string* error) = 0;

  // Writes the block's rows, its events and its identity in one transaction; durable when it returns true.
  virtual bool commit(const Commit& commit, std::string* error) = 0;

  // Rows of many tables at once, for a new store; one transaction.
  virtual bool import(const std::vector<std::pair<std::string, const MDArray*>>& tables, std::string* error) = 0;

  virtual int64_t lastSequence() = 0;   // 0 before the first event
  virtual int64_t firstSequence() = 0;  // of the oldest event kept, or lastSequence() + 1
  // The events later than `after` up to `upTo`, in order, until `each` gives false.
  virtual bool events(int64_t after, int64_t upTo, const std::function<bool(wire::Event&&)>& each,
                      std::string* error) = 0;
  virtual bool forgetEvents(int64_t upTo, std::string* error) = 0;

  // Whether a block of that identity was committed (a reply that was lost is asked for again).
  virtual bool holdsBlock(const std::string& identity) = 0;
};

}  // namespace tlm::server

#endif
