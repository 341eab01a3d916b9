#include "sqliteValues.h"

#include <TlmServer/CodePage.h>

#include <cmath>
#include <limits>

namespace tlm::server {
namespace {

// SQLite stores a NaN as null, so it goes in as this text.
constexpr std::string_view kNaN = "NaN";

int bindNumber(sqlite3_stmt* statement, int parameter, double number) {
  if (!std::isnan(number)) return sqlite3_bind_double(statement, parameter, number);
  return sqlite3_bind_text(statement, parameter, kNaN.data(), static_cast<int>(kNaN.size()), SQLITE_STATIC);
}

int bindValue(sqlite3_stmt* statement, int parameter, const MDRVar& value) {
  if (value.type == MDX_NONE || value.isNull) return sqlite3_bind_null(statement, parameter);
  switch (value.type) {
    case MDX_BOOL: return sqlite3_bind_int(statement, parameter, value.flag ? 1 : 0);
    case MDX_INT32: return sqlite3_bind_int(statement, parameter, value.i32);
    case MDX_INT64: return sqlite3_bind_int64(statement, parameter, value.i64);
    case MDX_FLOAT: return bindNumber(statement, parameter, static_cast<double>(value.f32));
    case MDX_DOUBLE: return bindNumber(statement, parameter, value.f64);
    default: return bindText(statement, parameter, {value.text.data, value.text.length});
  }
}

std::string_view columnBytes(sqlite3_stmt* statement, int column) {
  const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
  return bytes ? std::string_view(bytes, static_cast<size_t>(sqlite3_column_bytes(statement, column)))
               : std::string_view();
}

}  // namespace

int bindText(sqlite3_stmt* statement, int parameter, std::string_view bytes) {
  if (bytes.empty()) return sqlite3_bind_text(statement, parameter, "", 0, SQLITE_STATIC);
  if (isAscii(bytes))
    return sqlite3_bind_text(statement, parameter, bytes.data(), static_cast<int>(bytes.size()), SQLITE_STATIC);
  const std::string utf8 = fromCodePage(bytes);
  return sqlite3_bind_text(statement, parameter, utf8.data(), static_cast<int>(utf8.size()), SQLITE_TRANSIENT);
}

int bindRecord(sqlite3_stmt* statement, const std::vector<const MDRField*>& fields, const MDRData* record) {
  for (size_t i = 0; i < fields.size(); ++i) {
    MDRVar value{};
    MDRGetVal(fields[i], record, &value);
    if (const int code = bindValue(statement, static_cast<int>(i) + 1, value); code != SQLITE_OK) return code;
  }
  return SQLITE_OK;
}

std::string columnText(sqlite3_stmt* statement, int column) { return toCodePage(columnBytes(statement, column)); }

RowReader::RowReader(sqlite3_stmt* statement, std::vector<const MDRField*> fields)
    : statement_(statement), fields_(std::move(fields)) {}

bool RowReader::read(MDRData* record, std::string* error) {
  for (size_t i = 0; i < fields_.size(); ++i) {
    if (readColumn(static_cast<int>(i), record)) continue;
    *error = "row " + std::string(columnBytes(statement_, 0)) + ": " + fields_[i]->name + " cannot hold \"" +
             std::string(columnBytes(statement_, static_cast<int>(i))) + "\"";
    return false;
  }
  return true;
}

bool RowReader::readColumn(int column, MDRData* record) {
  const int stored = sqlite3_column_type(statement_, column);
  if (stored == SQLITE_NULL) return true;  // a new record's fields are null
  const MDRField* field = fields_[static_cast<size_t>(column)];
  MDRVar value{};
  value.type = field->type;
  const bool isText = field->type == MDX_TEXT || field->type == MDX_MEMO;
  if (!(isText ? textValue(column, &value) : numberValue(column, &value))) return false;
  return MDRSetVal(field, record, &value) >= 0;
}

bool RowReader::textValue(int column, MDRVar* value) {
  const std::string_view bytes = columnBytes(statement_, column);
  value->text.data = bytes.data();
  value->text.length = static_cast<uint32_t>(bytes.size());
  if (isAscii(bytes)) return true;
  if (buffer_.size() < bytes.size()) buffer_.resize(bytes.size());
  value->text.length = static_cast<uint32_t>(toCodePage(bytes, buffer_.data()));
  value->text.data = buffer_.data();
  return true;
}

bool RowReader::numberValue(int column, MDRVar* value) const {
  const int stored = sqlite3_column_type(statement_, column);
  if (value->type == MDX_FLOAT || value->type == MDX_DOUBLE) {
    const bool number = stored == SQLITE_FLOAT || stored == SQLITE_INTEGER;
    if (!number && columnBytes(statement_, column) != kNaN) return false;
    const double read =
        number ? sqlite3_column_double(statement_, column) : std::numeric_limits<double>::quiet_NaN();
    if (value->type == MDX_DOUBLE)
      value->f64 = read;
    else
      value->f32 = static_cast<float>(read);
    return true;
  }
  if (stored != SQLITE_INTEGER) return false;
  value->type = MDX_INT64;  // the record converts it, and refuses what does not fit
  value->i64 = sqlite3_column_int64(statement_, column);
  return true;
}

}  // namespace tlm::server
