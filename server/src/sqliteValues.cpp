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
    case MDX_BOOL:
      return sqlite3_bind_int(statement, parameter, value.flag ? 1 : 0);
    case MDX_INT32:
      return sqlite3_bind_int(statement, parameter, value.i32);
    case MDX_INT64:
      return sqlite3_bind_int64(statement, parameter, value.i64);
    case MDX_FLOAT:
      return bindNumber(statement, parameter, static_cast<double>(value.f32));
    case MDX_DOUBLE:
      return bindNumber(statement, parameter, value.f64);
    default:
      return bindText(statement, parameter, {value.text.data, value.text.length});
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
    // One look-up for each column; the connection is used by one thread at a time, which this form needs.
    sqlite3_value* stored = sqlite3_column_value(statement_, static_cast<int>(i));
    if (readValue(stored, fields_[i], record)) continue;
    *error = "row " + std::string(columnBytes(statement_, 0)) + ": " + fields_[i]->name + " cannot hold \"" +
             std::string(columnBytes(statement_, static_cast<int>(i))) + "\"";
    return false;
  }
  return true;
}

bool RowReader::readValue(sqlite3_value* stored, const MDRField* field, MDRData* record) {
  const int storedType = sqlite3_value_type(stored);
  if (storedType == SQLITE_NULL) return true;  // a new record's fields are null
  MDRVar value{};
  value.type = field->type;
  if (field->type == MDX_TEXT || field->type == MDX_MEMO)
    textValue(stored, &value);
  else if (!numberValue(stored, storedType, &value))
    return false;
  return MDRSetVal(field, record, &value) >= 0;
}

void RowReader::textValue(sqlite3_value* stored, MDRVar* value) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(stored));
  const std::string_view bytes(text ? text : "", static_cast<size_t>(sqlite3_value_bytes(stored)));
  value->text.data = bytes.data();
  value->text.length = static_cast<uint32_t>(bytes.size());
  if (isAscii(bytes)) return;
  if (buffer_.size() < bytes.size()) buffer_.resize(bytes.size());
  value->text.length = static_cast<uint32_t>(toCodePage(bytes, buffer_.data()));
  value->text.data = buffer_.data();
}

bool RowReader::numberValue(sqlite3_value* stored, int storedType, MDRVar* value) {
  if (value->type != MDX_FLOAT && value->type != MDX_DOUBLE) {
    if (storedType != SQLITE_INTEGER) return false;
    value->type = MDX_INT64;  // the record converts it, and refuses what does not fit
    value->i64 = sqlite3_value_int64(stored);
    return true;
  }
  const bool number = storedType == SQLITE_FLOAT || storedType == SQLITE_INTEGER;
  if (!number && reinterpret_cast<const char*>(sqlite3_value_text(stored)) != kNaN) return false;
  const double read = number ? sqlite3_value_double(stored) : std::numeric_limits<double>::quiet_NaN();
  if (value->type == MDX_DOUBLE)
    value->f64 = read;
  else
    value->f32 = static_cast<float>(read);
  return true;
}

}  // namespace tlm::server
