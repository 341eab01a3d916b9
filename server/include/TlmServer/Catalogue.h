// What tables there are: read from one catalogue file, which is the only place that lists tables and fields.
#ifndef TLMSERVER_CATALOGUE_H
#define TLMSERVER_CATALOGUE_H

#include <TlmMdx/mdx.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tlm::server {

struct FieldDef {
  std::string name;      // Latin
  std::string title;     // Russian, UTF-8
  std::string declared;  // "TEXT", "GUID", "GUID_REF", "INTEGER", "DOUBLE", "BOOLEAN", "ENUM", "DATETIME", ...
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
};

class Catalogue {
 public:
  // The catalogue that is built into the program (the catalogue file of the tree, as a resource).
  static const Catalogue& builtIn();

  // Reads a catalogue text. Null with "line N: ..." in *error when it is wrong.
  static std::unique_ptr<Catalogue> parse(std::string_view text, std::string* error);

  const std::vector<TableDef>& tables() const { return tables_; }
  const TableDef* table(std::string_view name) const;  // case respected; null when unknown

  // The chain of a class in writing order, such as IdentifiedObject, Measurement, Analog.
  std::vector<const TableDef*> chain(std::string_view className) const;

  // Makes the fields and keys of a table in an empty array.
  static void makeStructure(const TableDef& table, MDArray* array);

 private:
  std::vector<TableDef> tables_;
};

}  // namespace tlm::server

#endif
