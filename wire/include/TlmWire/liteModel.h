// The model block of one object: what the reply to "LiteModel" carries in its text.
//
// A block holds the object's key and class and a list of named tables, each a packed array. In order:
//   1. the tables of the object's chain, such as "IdentifiedObject", "Measurement", "Analog", complete in
//      their fields and keys, each with the object's own row. "IdentifiedObject" and "Measurement" also hold
//      rows of objects that it refers to, of which only the key, class, name and number are filled;
//   2. one table for each reference table that the object refers to, with "KeyLink" and the column that
//      stands for a row (parameter "DISPLAY" of the table) and the rows referred to;
//   3. "Tables", "Fields" and "FieldsType": the rows that describe the tables of 1 (with their fields) and
//      the tables of 2 (the tables alone).
// A reference to a table without "DISPLAY", such as "RemoteUnit", is shown by the row of its parent table
// ("IdentifiedObject"); a field with the parameter "Meas" holds the number of a measurement, whose rows
// stand in "Measurement" (key 1 is "locId") and "IdentifiedObject".
//
// Bytes, little-endian: "TLM1", key, class, number of tables, and for each table its name and its packed
// array; texts and arrays with a 32-bit length before them.
#ifndef TLMWIRE_LITEMODEL_H
#define TLMWIRE_LITEMODEL_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tlm::wire {

struct LiteTable {
  std::string name;
  std::string packed;  // by MDXArrayPack
};

struct LiteModelBlock {
  std::string key;
  std::string className;
  std::vector<LiteTable> tables;
};

std::string writeLiteModel(const LiteModelBlock& block);

// Reads a block of foreign bytes; every length is checked. False when they are no whole block, `out` is
// left empty then. The packed arrays themselves are not looked at: unpack them by MDXArrayUnPackN.
bool readLiteModel(const void* bytes, size_t length, LiteModelBlock* out);

}  // namespace tlm::wire

#endif
