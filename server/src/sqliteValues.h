// Values of records in and out of SQLite: texts are Windows-1251 on the one side and UTF-8 on the other.
#ifndef TLMSERVER_SQLITEVALUES_H
#define TLMSERVER_SQLITEVALUES_H

#include <TlmMdx/mdx.h>
#include <sqlite3.h>

#include <string>
#include <string_view>
#include <vector>

namespace tlm::server {

// Binds a text; `bytes` must outlive the run of the statement.
int bindText(sqlite3_stmt* statement, int parameter, std::string_view bytes);

// Binds every field of the record to the parameters from 1 on. The record must not change until the run is over.
int bindRecord(sqlite3_stmt* statement, const std::vector<const MDRField*>& fields, const MDRData* record);

// The text of a column in Windows-1251.
std::string columnText(sqlite3_stmt* statement, int column);

// Copies rows of a statement whose columns are all fields of one table into records of it.
class RowReader {
 public:
  RowReader(sqlite3_stmt* statement, std::vector<const MDRField*> fields);

  // False with what is wrong in *error: a value that the field cannot hold.
  bool read(MDRData* record, std::string* error);

 private:
  bool readValue(sqlite3_value* stored, const MDRField* field, MDRData* record);
  void textValue(sqlite3_value* stored, MDRVar* value);
  static bool numberValue(sqlite3_value* stored, int storedType, MDRVar* value);

  sqlite3_stmt* statement_;
  std::vector<const MDRField*> fields_;
  std::string buffer_;
};

}  // namespace tlm::server

#endif
