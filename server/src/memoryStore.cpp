#include <TlmServer/Catalogue.h>
#include <TlmServer/MemoryStore.h>
#include <TlmServer/ModelTables.h>

#include "records.h"
#include "values.h"

#include <unordered_set>

namespace tlm::server {

struct MemoryStoreData {
  explicit MemoryStoreData(const Catalogue& catalogue) : tables(catalogue) {}

  ModelTables tables;
  std::string identity = "0123456789ABCDEF0123456789ABCDEF";
  std::vector<wire::Event> events;
  int64_t last = 0;
  std::unordered_set<std::string> blocks;
  std::string refusal;
};

namespace {

class MemoryStore : public Store {
 public:
  explicit MemoryStore(std::shared_ptr<MemoryStoreData> data) : data_(std::move(data)) {}

  const std::string& identity() const override { return data_->identity; }

  bool load(const std::string& table, MDArray* into, std::string* error) override {
    const MDArray* from = data_->tables.table(table);
    if (!from) return *error = "no table " + table, false;
    appendAll(from, into);
    return true;
  }

  bool commit(const Commit& commit, std::string* error) override {
    if (!data_->refusal.empty()) return *error = data_->refusal, false;
    for (const StoredChange& change : commit.changes) write(change);
    for (const wire::Event& event : commit.events) {
      data_->events.push_back(event);
      data_->last = event.sequence;
    }
    if (!commit.identity.empty()) data_->blocks.insert(commit.identity);
    return true;
  }

  bool import(const std::vector<std::pair<std::string, const MDArray*>>& tables, std::string* error) override {
    for (const auto& [name, rows] : tables) {
      MDArray* into = data_->tables.table(name);
      if (!into) return *error = "no table " + name, false;
      appendAll(rows, into);
    }
    return true;
  }

  int64_t lastSequence() override { return data_->last; }
  int64_t firstSequence() override { return data_->events.empty() ? data_->last + 1 : data_->events.front().sequence; }

  bool events(int64_t after, const std::function<void(wire::Event&&)>& each, std::string*) override {
    for (const wire::Event& event : data_->events) {
      if (event.sequence > after) each(wire::Event(event));
    }
    return true;
  }

  bool forgetEvents(int64_t upTo, std::string*) override {
    std::erase_if(data_->events, [&](const wire::Event& event) { return event.sequence <= upTo; });
    return true;
  }

  bool holdsBlock(const std::string& block) override { return data_->blocks.count(block) != 0; }

 private:
  void write(const StoredChange& change) {
    MDArray* array = data_->tables.table(change.table);
    MDRData* record = seekKey(array, change.key);
    if (change.kind == MDX_REC_DELETE) {
      if (record) MDARecDel(record);
      return;
    }
    record = record ? MDARecEdit(record) : MDARecNew(array);
    copyRow(change.record, record);
    MDARecPost(record, nullptr);
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
