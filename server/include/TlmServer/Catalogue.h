// What tables there are: read from one catalogue file, which is the only place that lists tables and fields.
#ifndef TLMSERVER_CATALOGUE_H
#define TLMSERVER_CATALOGUE_H

#include <TlmMdx/mdx.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tlm::server {

inline constexpr size_t kKeyLength = 32;  // characters of an object's key

struct FieldDef {
  std::string name;      // Latin
  std::string title;     // Russian, UTF-8
  std::string declared;  // one of declaredTypes()
  std::string param;     // parameter text: enumerations, "Meas", "SrvGroups", reference table (UTF-8)
  uint8_t type = 0;      // MDX_*
  uint8_t size = 0;
};

struct TableDef {
  std::string name;    // Latin
  std::string title;   // Russian, UTF-8
  std::string parent;  // name of the parent table of the chain, or empty
  std::string param;
  std::vector<FieldDef> fields;   // field 0 is "KeyLink"
  std::vector<std::string> keys;  // key expressions by number; 0 is "KeyLink"
  bool own = false;               // of the server itself, see Catalogue::ownTables

  int field(std::string_view fieldName) const;  // number of a field, case ignored (ASCII); -1 when unknown
};

class Catalogue {
 public:
  // The catalogue that is built into the program (the catalogue file of the tree, as a resource).
  static const Catalogue& builtIn();

  // Reads a catalogue text. Null with "line N: ..." in *error when it is wrong.
  static std::unique_ptr<Catalogue> parse(std::string_view text, std::string* error);

  const std::vector<TableDef>& tables() const { return tables_; }
  const TableDef* table(std::string_view name) const;  // case respected; null when unknown

  // Tables of the server itself, such as its users: stored like the others, but tables() does not list them, so that
  // no request, script, change set or event reaches them.
  const std::vector<TableDef>& ownTables() const { return ownTables_; }

  // A table that lives in a store: any but those that describe the catalogue. Null for others.
  const TableDef* storedTable(std::string_view name) const;

  // The chain of a class in writing order, such as IdentifiedObject, Measurement, Analog. Empty when unknown.
  std::vector<const TableDef*> chain(std::string_view className) const;

  // The names of the declared types, in the order of their rows.
  static const std::vector<std::string>& declaredTypes();

  // Whether the table describes the catalogue itself ("Tables", "Fields", "FieldsType"): its rows are made
  // from the catalogue by describe() and are never stored or changed.
  static bool describesItself(std::string_view table);

  // Makes the fields and keys of a table in an empty array; or one of the two. Keys that are made when the
  // rows are in cost less; the default key that such an array has by then is taken away.
  static void makeStructure(const TableDef& table, MDArray* array);
  static void makeFields(const TableDef& table, MDArray* array);
  static void makeKeys(const TableDef& table, MDArray* array);

  // Adds to an empty "Tables", "Fields" or "FieldsType" its rows. Their keys depend on the names alone.
  void describe(std::string_view table, MDArray* array) const;

  // The key of the row of a table, field or declared type: 32 characters, the same at every start.
  static std::string tableKey(std::string_view table);
  static std::string fieldKey(std::string_view table, std::string_view field);
  static std::string typeKey(std::string_view declared);

 private:
  void partOwn();

  std::vector<TableDef> tables_;
  std::vector<TableDef> ownTables_;
};

// One value of a parameter text, such as "RemoteUnit" for "REF" in "REF=RemoteUnit;READONLY=1". Quotation
// marks around it are taken off. Empty when absent. Names are compared with case, at the start of a part.
std::string_view paramValue(std::string_view param, std::string_view name);

// A key of 32 characters made from a text; the same text gives the same key everywhere.
std::string keyOfName(std::string_view text);

}  // namespace tlm::server

#endif
