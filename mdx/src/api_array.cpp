// MDA*: tables, their structure, records by position and by key.

#include <algorithm>

#include "array.h"

using mdx::guarded;
using mdx::Key;

namespace {

// The text of a field that ends with a zero or fills its place.
std::string_view bounded(const char* text, size_t size) { return {text, strnlen(text, size)}; }

// What this thread read last of a few keys: loops over positions stay inside one leaf.
struct Remembered {
  uint64_t id = 0, version = 0;
  MDRData* const* records = nullptr;
  uint32_t first = 0, count = 0;
};
constexpr size_t kRemembered = 4;
thread_local Remembered remembered[kRemembered] __attribute__((tls_model("initial-exec")));

MDRData* recordAt(const Key& key, uint32_t position) {
  Remembered& last = remembered[key.id % kRemembered];
  if (last.id == key.id && last.version == key.version && position - last.first < last.count)
    return last.records[position - last.first];
  const mdx::Span span = key.at(position);
  if (!span.leaf) return nullptr;
  last = {key.id, key.version, span.records, position - static_cast<uint32_t>(span.index),
          static_cast<uint32_t>(span.count)};
  return span.records[span.index];
}

}  // namespace

int MDACreate(MDArray** out, int options) {
  if (!out || options != 0) return MDX_E_ARG;
  *out = new (std::nothrow) MDArray;
  return *out ? MDX_OK : MDX_E_MEMORY;
}

void MDADestroy(MDArray* array) { delete array; }

int MDAClearAll(MDArray* array) {
  if (!array) return MDX_E_ARG;
  array->clear();
  return MDX_OK;
}

int MDAFldAdd(MDArray* array, int count, const MDRFldDesc* description) {
  if (!array || !description || count != 1) return MDX_E_ARG;
  const auto name = bounded(description->name, sizeof description->name - 1);
  return guarded([&] { return array->addField(name, description->type, description->size); });
}

int MDAKeyAdd(MDArray* array, int count, const MDRKeyDesc* description) {
  if (!array || !description || count != 1) return MDX_E_ARG;
  const auto expression = bounded(description->expression, sizeof description->expression);
  return guarded([&] {
    const std::vector<MDRData*> records = array->recordsInArrivalOrder();
    const int number = array->addKey(expression, description->flags, description->kind);
    if (number >= 0) array->key(number)->build(records);
    return number;
  });
}

int MDAKeyDel(MDArray* array, int position) {
  if (!array) return MDX_E_ARG;
  return guarded([&] { return array->deleteKey(position); });
}

int MDARecSort(MDArray* array, int key) {
  if (!array) return MDX_E_ARG;
  if (!array->key(key)) return MDX_E_KEY;
  return guarded([&] {
    array->sortKey(*array->key(key));
    return MDX_OK;
  });
}

int MDARecCount(const MDArray* array) { return array ? array->count() : 0; }

MDRData* MDARec(const MDArray* array, int key, int position) {
  const Key* order = array ? array->key(key) : nullptr;
  return order && position >= 0 ? recordAt(*order, static_cast<uint32_t>(position)) : nullptr;
}

MDRData* MDARecSeekV(const MDArray* array, int key, const MDRVar* values, int* position) {
  if (position) *position = 0;
  const Key* order = array ? array->key(key) : nullptr;
  if (!order || !values) return nullptr;
  if (!position) return order->find(values);
  bool found;
  const mdx::Span span = order->seek(values, found);
  *position = static_cast<int>(span.position);
  return found ? span.records[span.index] : nullptr;
}

MDRData* MDARecNew(MDArray* array) {
  MDRData* record = nullptr;
  if (!array) return nullptr;
  guarded([&] {
    record = array->newRecord();
    return MDX_OK;
  });
  return record;
}

int MDARecPost(MDRData* record, MDRData** posted) {
  if (posted) *posted = nullptr;
  if (!record) return MDX_E_ARG;
  if (!record->array || record->state > mdx::kPosted) return MDX_E_STATE;
  const int code = guarded([&] {
    if (record->state == mdx::kNew) record->array->postRecord(record);
    return MDX_OK;
  });
  if (posted && code == MDX_OK) *posted = record;
  return code;
}

MDRData* MDARecEdit(MDRData* record) { return record; }

int MDARecDel(MDRData* record) {
  if (!record) return MDX_E_ARG;
  if (!record->array || record->state > mdx::kPosted) return MDX_E_STATE;
  return guarded([&] {
    record->array->deleteRecord(record);
    return MDX_OK;
  });
}

int MDAFldCount(const MDArray* array) { return array ? static_cast<int>(array->fields.size()) : 0; }

const char* MDAFldName(const MDArray* array, int number) {
  const MDRField* field = MDRFldByNum(array, number);
  return field ? field->name : nullptr;
}

int MDAKeyCount(const MDArray* array) { return array ? static_cast<int>(array->keys.size()) : 0; }

int MDAKeyRecCount(const MDArray* array, int key) {
  if (!array) return MDX_E_ARG;
  const Key* order = array->key(key);
  return order ? static_cast<int>(order->size()) : int{MDX_E_KEY};
}

const char* MDAKeyExpr(const MDArray* array, int key) {
  const Key* order = array ? array->key(key) : nullptr;
  return order ? order->expression.c_str() : nullptr;
}

uint32_t* MDAKeyFlags(MDArray* array, int key) {
  Key* order = array ? array->key(key) : nullptr;
  return order ? &order->flags : nullptr;
}

size_t MDAMemory(const MDArray* array) { return array ? array->memory() : 0; }
