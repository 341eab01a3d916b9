// MDR*: fields of one record.

#include "image.h"

using namespace mdx;

namespace {

// Whether a field belongs to the table of an own record.
int ownNumber(const MDRField* field, const MDRData* record) { return record->array->numberOf(field); }

// A value of an own or a bound record. A code, or 0.
int read(const MDRField* field, const MDRData* record, MDRVar& out) {
  if (!field || !record) return MDX_E_FIELD;
  if (record->array) {
    const int number = ownNumber(field, record);
    if (number < 0) return MDX_E_FIELD;
    record->array->readValue(record, number, out);
    return MDX_OK;
  }
  const BoundType* type = boundType(record);
  if (!type) return MDX_E_STATE;
  const ImageField* value = type->find(field);
  if (!value) return MDX_E_FIELD;
  readImageValue(*value, out);
  return MDX_OK;
}

}  // namespace

const MDRField* MDRFldByName(const MDArray* array, const char* name) {
  if (!array || !name) return nullptr;
  const int number = array->findField(name);
  return number < 0 ? nullptr : &array->fields[static_cast<size_t>(number)];
}

const MDRField* MDRFldByNum(const MDArray* array, int number) {
  if (!array || number < 0 || static_cast<size_t>(number) >= array->fields.size()) return nullptr;
  return &array->fields[static_cast<size_t>(number)];
}

int MDRGetVal(const MDRField* field, const MDRData* record, MDRVar* out) {
  if (!out) return MDX_E_ARG;
  const int code = read(field, record, *out);
  if (code != MDX_OK) out->type = MDX_NONE;
  return code;
}

int MDRSetVal(const MDRField* field, MDRData* record, const MDRVar* value) {
  if (!field || !record) return MDX_E_FIELD;
  if (!value) return MDX_E_ARG;
  if (!record->array) return MDX_E_STATE;
  const int number = ownNumber(field, record);
  if (number < 0) return MDX_E_FIELD;
  Staged staged;
  if (const int code = record->array->stage(number, *value, staged)) return code;
  return guarded([&] {
    record->array->setValue(record, number, staged);
    return MDX_OK;
  });
}

int MDRGetTextPtr(const MDRField* field, const MDRData* record, char** out) {
  if (!out) return MDX_E_ARG;
  *out = nullptr;
  MDRVar value;
  if (const int code = read(field, record, value)) return code;
  if (!isText(value.type)) return MDX_E_TYPE;
  if (!value.isNull) *out = const_cast<char*>(value.text.data);
  return MDX_OK;
}

int MDRGetTextRef(const MDRField* field, const MDRData* record, int* length, void** data) {
  if (length) *length = 0;
  if (data) *data = nullptr;
  if (!length || !data) return MDX_E_ARG;
  MDRVar value;
  if (const int code = read(field, record, value)) return code;
  if (!isText(value.type)) return MDX_E_TYPE;
  if (value.isNull) return MDX_OK;
  *length = static_cast<int>(value.text.length);
  *data = const_cast<char*>(value.text.data);
  return MDX_OK;
}

int MDRGetAsInt32(const MDRField* field, const MDRData* record, int32_t* out) {
  if (!out) return MDX_E_ARG;
  *out = 0;
  MDRVar value;
  if (const int code = read(field, record, value)) return code;
  int32_t number;
  const int code = asInt32(value, number);
  *out = number;
  return code;
}

int MDRGetAsDouble(const MDRField* field, const MDRData* record, double* out) {
  if (!out) return MDX_E_ARG;
  *out = 0;
  MDRVar value;
  if (const int code = read(field, record, value)) return code;
  return asDouble(value, *out);
}

int MDRIsNull(const MDRField* field, const MDRData* record, int* flag) {
  MDRVar value;
  if (const int code = read(field, record, value)) return code;
  if (flag) *flag = value.isNull != 0;
  return value.isNull != 0;
}

int MDRIsUser(const MDRField* field, const MDRData* record, int* flag) {
  MDRVar value;
  if (const int code = read(field, record, value)) return code;
  const BoundType* type = boundType(record);
  if (type && !type->image.hasMarks) return 0;
  const bool marked = type ? type->find(field)->isMarked : record->array->isMarked(record, ownNumber(field, record));
  if (flag) *flag = marked;
  return marked;
}

int MDRSetUser(const MDRField* field, MDRData* record, int on) {
  if (!field || !record) return MDX_E_FIELD;
  if (!record->array) return MDX_E_STATE;
  const int number = ownNumber(field, record);
  if (number < 0) return MDX_E_FIELD;
  record->array->setMark(record, number, on != 0);
  return MDX_OK;
}

int MDRSetFlags(MDRData* record, int flags) {
  if (!record) return MDX_E_ARG;
  if (flags != MDX_REC_NONE && flags != MDX_REC_INSERT && flags != MDX_REC_UPDATE && flags != MDX_REC_DELETE)
    return MDX_E_ARG;
  record->change = static_cast<uint8_t>(flags);
  return MDX_OK;
}

int MDRGetFlags(const MDRData* record) { return record ? record->change : int{MDX_E_ARG}; }

MDArray* MDROwner(const MDRData* record) { return record ? record->array : nullptr; }
