#include "ownTable.h"

#include "values.h"

namespace tlm::server {

OwnTable::OwnTable(const Catalogue& catalogue, std::string_view name) : def_(*catalogue.storedTable(name)) {
  Catalogue::makeStructure(def_, rows_.array);
}

bool OwnTable::load(Store& store, std::string* error) { return store.load(def_.name, rows_.array, error); }

const MDRData* OwnTable::find(std::string_view key) const { return seekKey(rows_.array, key); }

void OwnTable::fill(CMDArray* rows, MDRData* row, const std::string& key, std::initializer_list<Cell> cells) {
  rows->SetVal(row, "KeyLink", textVar(key));
  for (const Cell& cell : cells) rows->SetVal(row, cell.field, cell.value);
}

bool OwnTable::put(Store& store, const std::string& key, std::initializer_list<Cell> cells, std::string* error) {
  CMDArray scratch;
  Catalogue::makeStructure(def_, scratch.array);
  MDRData* const row = MDARecNew(scratch.array);
  fill(&scratch, row, key, cells);
  MDRData* const old = seekKey(rows_.array, key);
  Commit commit;
  commit.changes.push_back({def_.name, old ? MDX_REC_UPDATE : MDX_REC_INSERT, key, scratch.RecPost(row)});
  if (!store.commit(commit, error)) return false;
  MDRData* const kept = old ? MDARecEdit(old) : MDARecNew(rows_.array);
  fill(&rows_, kept, key, cells);
  rows_.RecPost(kept);
  return true;
}

bool OwnTable::erase(Store& store, const std::string& key, std::string* error) {
  if (!find(key)) return true;
  Commit commit;
  commit.changes.push_back({def_.name, MDX_REC_DELETE, key, nullptr});
  if (!store.commit(commit, error)) return false;
  forget(key);
  return true;
}

void OwnTable::forget(const std::string& key) {
  if (MDRData* const row = seekKey(rows_.array, key)) MDARecDel(row);
}

}  // namespace tlm::server
