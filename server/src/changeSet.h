// The updates of one block: read, checked against the model and against one another, ready to be written.
#ifndef TLMSERVER_CHANGESET_H
#define TLMSERVER_CHANGESET_H

#include <TlmMdx/CMDArray.h>
#include <TlmServer/ModelTables.h>
#include <TlmWire/messages.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tlm::server {

// One change of one row. The row is the whole new one, posted, with marks on the fields that the write carried;
// it belongs to the change set and is null for a delete.
struct PlannedChange {
  const TableDef* table;
  int kind;  // MDX_REC_INSERT, _UPDATE or _DELETE
  std::string key;
  MDRData* row;
};

// The tables must not change during the life of a change set.
class ChangeSet {
 public:
  explicit ChangeSet(const ModelTables& tables) : tables_(tables) {}

  // Reads one update (a packed array of records). Status kOk, or why the block is refused.
  wire::Reply add(const std::string& table, const std::string& body);

  // Looks at the model as it would be after all updates: numbers, chains, folders.
  wire::Reply check() const;

  // In the order of the tables and records of the block.
  const std::vector<PlannedChange>& changes() const { return changes_; }

  // Carries the changes out in the tables. The caller holds them for writing.
  void apply() const;

  // Packed record of a change, positionally the whole table, with its marks.
  static std::string image(const PlannedChange& change);

  // Numbers that measurements of the block had before it and that none has after it.
  std::vector<int32_t> freedNumbers() const;

 private:
  struct Hash {
    using is_transparent = void;
    size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
  };
  using Latest = std::unordered_map<std::string, MDRData*, Hash, std::equal_to<>>;  // null: deleted

  // A table as the block finds it, and what the block makes of it.
  struct Touched {
    const MDArray* before = nullptr;
    Latest latest;
    std::unique_ptr<CMDArray> rows;  // those that the block writes

    const MDRData* rowAfter(std::string_view key) const;
  };

  struct Source;
  wire::Reply addRecord(const TableDef& def, const Source& source, const MDRData* record);
  wire::Reply insert(const TableDef& def, const Source& source, const MDRData* record, std::string key);
  wire::Reply update(const TableDef& def, const Source& source, const MDRData* record, std::string key);
  void remove(const TableDef& def, std::string key);
  void plan(const TableDef& def, int kind, std::string key, MDRData* row);
  Touched& touch(const TableDef& def);
  static void apply(const PlannedChange& change, MDArray* table);
  const Touched* touched(std::string_view table) const;  // null when the block leaves it alone

  // The row as it would be after the block, or null.
  const MDRData* rowAfter(const TableDef& def, std::string_view key) const;

  wire::Reply checkNumbers() const;
  wire::Reply checkNumber(const std::string& key, int64_t locId, bool twice) const;
  bool numberTakenBefore(int64_t locId, const std::string& key) const;
  wire::Reply checkChains() const;
  class Family;
  wire::Reply checkFolders() const;
  wire::Reply checkParents() const;

  const ModelTables& tables_;
  std::vector<PlannedChange> changes_;
  std::unordered_map<const TableDef*, Touched> touched_;
};

}  // namespace tlm::server

#endif
