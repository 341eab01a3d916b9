// Many records at once: a new table's rows arrive without a look at its keys, which are built by sorting at the end;
// those of another table are copied field by field, without a conversion where the fields are alike.

#include <TlmMdx/bulk.h>

#include <algorithm>

#include "array.h"

MDRData* MDArray::appendRecord() {
  MDRData* record = takeSlot(mdx::kPosted);
  mdx::sequenceRef(record) = ++lastSequence_;
  return record;
}

void MDArray::indexAll(const std::vector<MDRData*>& inArrivalOrder) {
  if (keys.empty() && !inArrivalOrder.empty()) addArrivalKey();
  for (auto& key : keys) key->build(inArrivalOrder);
}

std::vector<MDRData*> MDArray::recordsInArrivalOrder() const {
  std::vector<MDRData*> records;
  if (keys.empty()) return records;
  const mdx::Key& key = *keys.front();
  records.reserve(key.size());
  for (mdx::Span span = key.at(0); span.leaf; span = key.after(span))
    records.insert(records.end(), span.records, span.records + span.count);
  const auto earlier = [](const MDRData* a, const MDRData* b) { return mdx::sequenceOf(a) < mdx::sequenceOf(b); };
  if (!std::is_sorted(records.begin(), records.end(), earlier)) std::sort(records.begin(), records.end(), earlier);
  return records;
}

void MDArray::sortKey(mdx::Key& key) {
  const std::vector<MDRData*> records = recordsInArrivalOrder();
  key.takeFlags();
  key.build(records);
}

// ---- rows of another table

namespace {

// A field of the rows that come and the one of the same number here.
struct FieldPair {
  const MDRField* from;
  const MDRField* to;
  bool alike;
};

std::vector<FieldPair> fieldPairs(const MDArray& from, const MDArray& to) {
  std::vector<FieldPair> pairs;
  for (size_t i = 0; i < std::min(from.fields.size(), to.fields.size()); ++i) {
    const MDRField &source = from.fields[i], &target = to.fields[i];
    pairs.push_back({&source, &target, source.type == target.type && source.size == target.size});
  }
  return pairs;
}

// Takes over a value that is not null. The record holds null there.
void copyValue(MDArray& array, MDRData* record, const MDRData* row, const FieldPair& pair) {
  const unsigned char* place = row->body + pair.from->offset;
  if (!pair.alike) {
    MDRVar value;
    mdx::Staged staged;
    row->array->readValue(row, pair.from->number, value);
    if (array.stage(pair.to->number, value, staged) == MDX_OK) array.store(record, pair.to->number, staged);
    return;
  }
  if (pair.to->type == MDX_MEMO)
    array.putText(record, *pair.to, mdx::readText(pair.from->type, pair.from->size, place));
  else
    std::memcpy(record->body + pair.to->offset, place,
                pair.to->type == MDX_TEXT ? pair.to->size + size_t{1} : mdx::numberSize(pair.to->type));
  MDArray::setBit(record->body, pair.to->number, false);
}

int checkRows(const MDArray& array, MDRData* const* rows, int count) {
  for (int i = 0; i < count; ++i) {
    if (!rows[i]) return MDX_E_ARG;
    if (!rows[i]->array || rows[i]->state != mdx::kPosted) return MDX_E_STATE;
    if (rows[i]->array == &array || rows[i]->array != rows[0]->array) return MDX_E_FOREIGN;
  }
  return MDX_OK;
}

}  // namespace

int MDArray::addRows(MDRData* const* rows, int count, uint8_t change, bool unlessHeld) {
  const std::vector<FieldPair> pairs = fieldPairs(*rows[0]->array, *this);
  std::vector<MDRData*> added;
  added.reserve(static_cast<size_t>(count));
  try {
    for (int i = 0; i < count; ++i) {
      MDRData* record = newRecord();
      added.push_back(record);
      for (const FieldPair& pair : pairs) {
        if (!rows[i]->array->isNull(rows[i], pair.from->number)) copyValue(*this, record, rows[i], pair);
      }
      record->change = change;
      if (postRecord(record, unlessHeld)) continue;
      added.pop_back();
      deleteRecord(record);
    }
  } catch (...) {
    for (MDRData* record : added) deleteRecord(record);
    throw;
  }
  return static_cast<int>(added.size());
}

namespace {

int addAll(MDArray* array, MDRData* const* records, int count, int change, bool unlessHeld) {
  if (!array || count < 0 || (count > 0 && !records)) return MDX_E_ARG;
  if (change != MDX_REC_NONE && change != MDX_REC_INSERT && change != MDX_REC_UPDATE && change != MDX_REC_DELETE)
    return MDX_E_ARG;
  if (const int code = checkRows(*array, records, count)) return code;
  return mdx::guarded(
      [&] { return count > 0 ? array->addRows(records, count, static_cast<uint8_t>(change), unlessHeld) : 0; });
}

}  // namespace

int MDXRecsAdd(MDArray* array, MDRData* const* records, int count, int change) {
  return addAll(array, records, count, change, false);
}

int MDXRecsAddNew(MDArray* array, MDRData* const* records, int count, int change) {
  return addAll(array, records, count, change, true);
}

// ---- seeks

// The body may stand elsewhere, once fields came to a table with records: then nothing is won.
void MDXRecFetch(const MDRField* field, const MDRData* record) {
  if (!field || !record) return;
  const char* place = reinterpret_cast<const char*>(record) + mdx::kBodyOffset + field->offset;
  __builtin_prefetch(record);
  __builtin_prefetch(place);
  if (field->type == MDX_TEXT) __builtin_prefetch(place + field->size);  // its last byte holds its length
}

// Records lie in the order of their arrival, as a rule.
MDRData* MDArray::nextInMemory(const MDXNear& near) const {
  constexpr size_t kAhead = 6;
  const size_t step = slots_.slotSize();
  auto* at = reinterpret_cast<char*>(near.last) + step;
  if (!near.last || at + step > near.end) return nullptr;
  mdx::fetch(at + kAhead * step, 2 * mdx::kLine);
  auto* record = reinterpret_cast<MDRData*>(at);
  return record->state == mdx::kPosted && record->array == this ? record : nullptr;
}

MDRData* MDArray::findNear(const mdx::Key& key, const MDRVar& value, MDXNear& near) const {
  mdx::Words<4> words;
  if (!key.knowsExactly(value, words)) return key.find(&value);
  MDRData* next = nextInMemory(near);
  if (next && key.carries(next, words)) return near.last = next;
  MDRData* found = key.exactly(words);
  if (found) near = {found, slots_.endAround(found)};
  return found;
}

MDRData* MDXRecSeekNear(const MDArray* array, int key, const MDRVar* value, MDXNear* near) {
  const mdx::Key* order = array ? array->key(key) : nullptr;
  if (!order || !value || !near || order->parts().size() != 1) return nullptr;
  return array->findNear(*order, *value, *near);
}

int MDXRecsSeek(const MDArray* array, int key, const MDRVar* values, int count, MDRData** found) {
  if (!array || count < 0 || (count > 0 && (!values || !found))) return MDX_E_ARG;
  const mdx::Key* order = array->key(key);
  if (!order || order->parts().size() != 1) return MDX_E_KEY;
  order->seekMany(values, count, found);
  return MDX_OK;
}

int MDXKeyExact(MDArray* array, int key) {
  if (!array) return MDX_E_ARG;
  mdx::Key* order = array->key(key);
  if (!order) return MDX_E_KEY;
  return mdx::guarded([&] { return order->keepExact() ? MDX_OK : MDX_E_KEY; });
}
