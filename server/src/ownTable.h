// A table of the server itself in memory, in step with the store.
#ifndef TLMSERVER_OWNTABLE_H
#define TLMSERVER_OWNTABLE_H

#include <TlmMdx/CMDArray.h>
#include <TlmServer/Catalogue.h>
#include <TlmServer/Store.h>

#include <initializer_list>
#include <string>
#include <string_view>

namespace tlm::server {

// Not locked: whoever holds it guards it, and the store.
class OwnTable {
 public:
  struct Cell {
    const char* field;
    MDRVar value;
  };

  // The catalogue must have an own table of that name, and outlive this.
  OwnTable(const Catalogue& catalogue, std::string_view name);

  bool load(Store& store, std::string* error);

  const MDArray* rows() const { return rows_.array; }
  const MDRData* find(std::string_view key) const;

  // Writes a whole row: into the store first, and durable when it returns true.
  bool put(Store& store, const std::string& key, std::initializer_list<Cell> cells, std::string* error);
  // True also when there is no such row.
  bool erase(Store& store, const std::string& key, std::string* error);

  // Forgets a row whose removal was written with another change.
  void forget(const std::string& key);
  const TableDef& def() const { return def_; }

 private:
  static void fill(CMDArray* rows, MDRData* row, const std::string& key, std::initializer_list<Cell> cells);

  const TableDef& def_;
  CMDArray rows_;
};

}  // namespace tlm::server

#endif
