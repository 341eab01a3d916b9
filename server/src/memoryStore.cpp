#include <TlmServer/Catalogue.h>
#include <TlmServer/MemoryStore.h>

#include <algorithm>
#include <map>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "identity.h"
#include "records.h"
#include "values.h"

namespace tlm::server {
namespace {

// The rows of one table in the order of their arrival, and where each key's row is.
class StoredTable {
 public:
  explicit StoredTable(const TableDef& def) {
    if (MDACreate(&rows_, 0) >= 0) Catalogue::makeFields(def, rows_);
  }
  ~StoredTable() { MDADestroy(rows_); }
  StoredTable(const StoredTable&) = delete;
  StoredTable& operator=(const StoredTable&) = delete;

  const MDArray* rows() const { return rows_; }
  bool holds(const std::string& key) const { return records_.count(key) != 0; }
  bool takes(const MDRData* record) const {
    return record && MDROwner(record) && MDAFldCount(MDROwner(record)) == MDAFldCount(rows_);
  }

  void put(const std::string& key, const MDRData* row) {
    const auto [place, added] = records_.try_emplace(key, nullptr);
    MDRData* record = added ? MDARecNew(rows_) : MDARecEdit(place->second);
    copyRow(row, record);
    MDARecPost(record, nullptr);
    place->second = record;
  }

  void erase(const std::string& key) {
    const auto found = records_.find(key);
    if (found == records_.end()) return;
    MDARecDel(found->second);
    records_.erase(found);
  }

 private:
  MDArray* rows_ = nullptr;
  std::unordered_map<std::string, MDRData*> records_;
};

}  // namespace

struct MemoryStoreData {
  explicit MemoryStoreData(const Catalogue& catalogue) {
    for (const TableDef& def : catalogue.tables())
      if (!Catalogue::describesItself(def.name)) tables.try_emplace(def.name, def);
    for (const TableDef& def : catalogue.ownTables()) tables.try_emplace(def.name, def);
  }

  StoredTable* table(const std::string& name, std::string* error) {
    const auto found = tables.find(name);
    if (found != tables.end()) return &found->second;
    *error = "the store has no table " + name;
    return nullptr;
  }

  std::map<std::string, StoredTable> tables;
  std::string identity = newIdentity();
  std::map<int64_t, wire::Event> events;
  int64_t last = 0;
  std::unordered_map<std::string, int64_t> blocks;  // the number of the last event when each was committed
  std::string refusal;
};

namespace {

bool refuse(const std::string& text, std::string* error) {
  *error = text;
  return false;
}

std::string taken(const std::string& table, std::string_view key) {
  return "cannot write a row of " + table + ": it has the key " + std::string(key);
}

// What a block would do to the keys of the tables. Nothing is written before the whole block is known to be fit.
class Rehearsal {
 public:
  explicit Rehearsal(MemoryStoreData& data) : data_(data) {}

  bool change(const StoredChange& change, std::string* error) {
    StoredTable* table = data_.table(change.table, error);
    if (!table) return false;
    auto& held = held_[change.table];
    const auto known = held.find(change.key);
    const bool there = known == held.end() ? table->holds(change.key) : known->second;
    held[change.key] = change.kind != MDX_REC_DELETE;
    if (change.kind == MDX_REC_DELETE) return true;
    if (change.kind != MDX_REC_INSERT && change.kind != MDX_REC_UPDATE)
      return refuse("a change of no kind for " + change.table, error);
    if (!table->takes(change.record)) return refuse("a row that is none of " + change.table, error);
    if (there && change.kind == MDX_REC_INSERT) return refuse(taken(change.table, change.key), error);
    return true;
  }

 private:
  MemoryStoreData& data_;
  std::map<std::string, std::unordered_map<std::string, bool>> held_;
};

class MemoryStore : public Store {
 public:
  explicit MemoryStore(std::shared_ptr<MemoryStoreData> data) : data_(std::move(data)) {}

  const std::string& identity() const override { return data_->identity; }

  bool load(const std::string& table, MDArray* into, std::string* error) override {
    const StoredTable* from = data_->table(table, error);
    if (!from) return false;
    appendAll(from->rows(), into);
    return true;
  }

  bool commit(const Commit& commit, std::string* error) override {
    if (!data_->refusal.empty()) return refuse(data_->refusal, error);
    if (!fits(commit.changes, error) || !fits(commit.events, error)) return false;
    if (holdsBlock(commit.identity)) return refuse("cannot write the block " + commit.identity + " again", error);
    write(commit.changes);
    for (const wire::Event& event : commit.events) {
      data_->events.emplace(event.sequence, event);
      data_->last = std::max(data_->last, event.sequence);
    }
    if (!commit.identity.empty()) data_->blocks.emplace(commit.identity, data_->last);
    return true;
  }

  bool import(const std::vector<std::pair<std::string, const MDArray*>>& tables, std::string* error) override {
    std::map<std::string, std::unordered_set<std::string_view>> keys;
    for (const auto& [name, rows] : tables)
      if (!fits(name, rows, &keys[name], error)) return false;
    for (const auto& [name, rows] : tables) {
      StoredTable& table = data_->tables.at(name);
      eachRow(rows, [&table](std::string_view key, const MDRData* row) {
        table.put(std::string(key), row);
        return true;
      });
    }
    return true;
  }

  int64_t lastSequence() override { return data_->last; }
  int64_t firstSequence() override { return data_->events.empty() ? data_->last + 1 : data_->events.begin()->first; }

  bool events(int64_t after, int64_t upTo, const std::function<bool(wire::Event&&)>& each, std::string*) override {
    auto event = data_->events.upper_bound(after);
    while (event != data_->events.end() && event->first <= upTo && each(wire::Event(event->second))) ++event;
    return true;
  }

  bool forgetEvents(int64_t upTo, std::string*) override {
    data_->events.erase(data_->events.begin(), data_->events.upper_bound(upTo));
    std::erase_if(data_->blocks, [&](const auto& block) { return block.second <= upTo; });
    return true;
  }

  bool holdsBlock(const std::string& block) override { return data_->blocks.count(block) != 0; }

 private:
  // Calls `each` with key and row until it returns false; returns its last answer.
  template <typename Each>
  static bool eachRow(const MDArray* rows, Each each) {
    const MDRField* keyField = MDRFldByNum(rows, 0);
    for (int i = 0; i < MDARecCount(rows); ++i) {
      const MDRData* row = MDARec(rows, 0, i);
      if (!each(textOf(valueOf(keyField, row)), row)) return false;
    }
    return true;
  }

  bool fits(const std::string& name, const MDArray* rows, std::unordered_set<std::string_view>* keys,
            std::string* error) {
    const StoredTable* table = data_->table(name, error);
    return table && eachRow(rows, [&](std::string_view key, const MDRData* row) {
             if (!table->takes(row)) return refuse("a row that is none of " + name, error);
             return (keys->insert(key).second && !table->holds(std::string(key))) || refuse(taken(name, key), error);
           });
  }

  bool fits(const std::vector<StoredChange>& changes, std::string* error) {
    Rehearsal rehearsal(*data_);
    return std::all_of(changes.begin(), changes.end(),
                       [&](const StoredChange& change) { return rehearsal.change(change, error); });
  }

  bool fits(const std::vector<wire::Event>& events, std::string* error) {
    std::set<int64_t> numbers;
    for (const wire::Event& event : events)
      if (data_->events.count(event.sequence) || !numbers.insert(event.sequence).second)
        return refuse("cannot write an event: the number " + std::to_string(event.sequence) + " is taken", error);
    return true;
  }

  void write(const std::vector<StoredChange>& changes) {
    for (const StoredChange& change : changes) {
      StoredTable& table = data_->tables.find(change.table)->second;
      if (change.kind == MDX_REC_DELETE)
        table.erase(change.key);
      else
        table.put(change.key, change.record);
    }
  }

  std::shared_ptr<MemoryStoreData> data_;
};

}  // namespace

std::shared_ptr<MemoryStoreData> makeMemoryStoreData(const Catalogue& catalogue) {
  return std::make_shared<MemoryStoreData>(catalogue);
}

std::unique_ptr<Store> openMemoryStore(std::shared_ptr<MemoryStoreData> data) {
  return std::make_unique<MemoryStore>(std::move(data));
}

void failCommits(MemoryStoreData& data, const std::string& error) { data.refusal = error; }

}  // namespace tlm::server
