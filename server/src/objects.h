// How an object is spread over the tables, and how it is found.
#ifndef TLMSERVER_OBJECTS_H
#define TLMSERVER_OBJECTS_H

#include <TlmServer/ModelTables.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tlm::server {

// Keys of "Measurement" by number.
enum { kMeasKeyLink = 0, kMeasLocId = 1, kMeasPrimary = 2, kMeasUnit = 3 };

// One row of an object.
struct ObjectRow {
  const TableDef* def;
  const MDArray* array;
  const MDRData* record;
};

struct Object {
  std::string key;
  std::string className;        // that of "IdentifiedObject", else the name of the table that holds the key
  std::vector<ObjectRow> rows;  // in the order of the chain; empty when there is no such object

  explicit operator bool() const { return !rows.empty(); }
  const ObjectRow* row(std::string_view table) const;  // null when the object has none there
};

Object findObject(const ModelTables& tables, std::string_view key);

// The row of "Measurement" with that number, or null.
const MDRData* findNumber(const ModelTables& tables, int64_t locId);

// The table behind a reference, and the table and column that show one of its rows ("RemoteUnit" is shown
// by "name_" of "IdentifiedObject"). Nothing when the field refers to no table.
struct Reference {
  const TableDef* shownBy;
  std::string_view column;
};
std::optional<Reference> referenceOf(const Catalogue& catalogue, const FieldDef& field);

// The text that stands for the row behind a reference, Windows-1251; empty when there is none.
std::string_view referenceText(const ModelTables& tables, const FieldDef& field, std::string_view key);

// A field of an object by name, wherever in its chain it stands; type MDX_NONE when it has none.
MDRVar objectValue(const Object& object, const char* field);

// The text of an enumeration's value, such as "Да" of ENUM="0=Нет,1=Да"; empty when it has none.
std::string_view enumText(std::string_view param, int64_t value);

}  // namespace tlm::server

#endif
