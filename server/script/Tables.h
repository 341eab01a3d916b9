// The tables of one run: model tables, which are only read, and tables that the script makes.
#ifndef TLMSERVER_SCRIPT_TABLES_H
#define TLMSERVER_SCRIPT_TABLES_H

#include "Meter.h"
#include "Program.h"

#include <TlmMdx/bulk.h>
#include <TlmMdx/cursor.h>
#include <TlmServer/Script.h>

#include <memory>
#include <vector>

namespace tlm::script {

struct ArrayDeleter {
  void operator()(MDArray* array) const { MDADestroy(array); }
};
using OwnedArray = std::unique_ptr<MDArray, ArrayDeleter>;

struct RunTable {
  MDArray* array = nullptr;
  std::string name;                     // empty for a table that the script made
  OwnedArray own;                       // null for a model table
  std::vector<const MDRField*> fields;  // of a table that the script made, by number
  size_t rowBytes = 0;                  // what a row of it takes at least
  bool hasRows = false;

  bool isModel() const { return !own; }
};

// Walks are numbered from 1; a record with this number came from none.
constexpr uint32_t kNoWalk = 0;

// A place of the script that reads or seeks by a key. For model tables, which do not change, it remembers
// where in the key's order it stands: the next record costs no search, and the value of the key's field
// comes out of the key without a look at the record.
class Walk {
 public:
  void bind(const RunTable& table, uint16_t number, int key);

  // The record at a position of the key's order, or null.
  MDRData* at(int64_t position) {
    if (position == position_ + 1 && cursor_.valid()) {
      ++position_;
      return record_ = cursor_.next() ? cursor_.record() : nullptr;
    }
    return place(position);
  }

  // Whether the walk stands on that record and its key tells that field: read it by keyValue().
  bool tells(const MDRData* record, const MDRField* field) const {
    return record_ == record && keyField_ == field && cursor_.form() != MDX_CURSOR_OTHER &&
           cursor_.form() != MDX_CURSOR_TEXT;
  }
  Value keyValue() const {
    if (cursor_.form() == MDX_CURSOR_INT) return Value::of(cursor_.integer());
    return cursor_.form() == MDX_CURSOR_DOUBLE ? Value::of(cursor_.number()) : Value();
  }

  // What a seek without a position finds. Seeks of a loop tend to go through a model table in its own order.
  MDRData* find(const MDRVar& value) {
    return changes_ ? MDARecSeekV(array_, key, &value, nullptr) : MDXRecSeekNear(array_, key, &value, &near_);
  }

  // A script that looks into one record of a loop looks into the later ones too: they are asked for ahead.
  void fetchAhead() const { cursor_.fetchAhead(); }

  uint16_t table = kUnknown;
  int key = -1;
  const MDRField* seekField = nullptr;  // of the key, when this is a place that seeks

 private:
  MDRData* place(int64_t position);

  MDArray* array_ = nullptr;
  bool changes_ = false;  // the table is one that the script makes
  int64_t position_ = -2;
  mdx::Cursor cursor_;
  MDRData* record_ = nullptr;
  const MDRField* keyField_ = nullptr;  // of a key of one number
  MDXNear near_{};
};

// A field that is named by a literal, with the table it was looked up in last.
struct FieldCache {
  uint16_t table = kUnknown;
  const MDRField* field = nullptr;
};

class Tables {
 public:
  // Resolves what the program names: tables, fields and keys of tables that are known. Fails on what is
  // not there.
  Tables(const Program& program, const server::TableSource& source, Meter* meter);

  RunTable& operator[](uint16_t number) { return tables_[number]; }

  Value modelTable(std::string_view name, Offset at);
  Value newTable(Offset at);
  void addField(uint16_t table, std::string_view name, int64_t type, int64_t size, Offset at);
  Value newRecord(uint16_t table, Offset at);
  OwnedArray release(uint16_t table) { return std::move(tables_[table].own); }

  const MDRField* field(uint16_t table, std::string_view name, Offset at) const;
  // Binds a place that reads, or one that seeks by a value. Fails when the table has no such key, or when
  // the key that is sought is not over one field.
  void bind(Walk* walk, uint16_t table, int64_t key, Offset at);
  void bindSeek(Walk* walk, uint16_t table, int64_t key, Offset at);

  std::vector<FieldCache> fields;  // by number of the field use
  std::vector<Walk> walks;         // by number of the key use, plus one; kNoWalk is bound to nothing

 private:
  void checkKey(uint16_t table, int64_t key, Offset at) const;
  Value open(MDArray* array, std::string_view name, Offset at);
  std::string describe(uint16_t table) const;

  const server::TableSource& source_;
  Meter& meter_;
  std::vector<RunTable> tables_;
};

}  // namespace tlm::script

#endif
