// The model tables in memory, by name, with their numbered keys.
#ifndef TLMSERVER_MODELTABLES_H
#define TLMSERVER_MODELTABLES_H

#include <TlmServer/Catalogue.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

namespace tlm::server {

// Holds one array for each table of the catalogue, with its fields and numbered keys, no records but those
// of the three tables that describe the catalogue. Not locked: the core guards it.
class ModelTables {
 public:
  // Rows that come by the million cost less when the keys are made after them: kLater leaves the tables without
  // keys (rows in order of arrival) until makeKeys().
  enum class Keys { kNow, kLater };
  explicit ModelTables(const Catalogue& catalogue, Keys keys = Keys::kNow);
  ~ModelTables();
  ModelTables(const ModelTables&) = delete;
  ModelTables& operator=(const ModelTables&) = delete;

  MDArray* table(std::string_view name) const;  // null when unknown; case respected
  const Catalogue& catalogue() const { return catalogue_; }

  // Another number after each change of a row, from 1.
  uint64_t version() const { return version_; }
  void touch() { ++version_; }

  void makeKeys();  // once, after kLater

  // Of one table, with what makes the seeks of whole object keys cheap. Different tables may have it done at once.
  static void makeKeys(const TableDef& def, MDArray* array);

 private:
  struct Hash {
    using is_transparent = void;
    size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
  };

  const Catalogue& catalogue_;
  std::unordered_map<std::string, MDArray*, Hash, std::equal_to<>> tables_;
  uint64_t version_ = 1;
};

}  // namespace tlm::server

#endif
