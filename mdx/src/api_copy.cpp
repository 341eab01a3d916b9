// MDACopy.

#include "array.h"

namespace {

enum Mode { kStructure = 0, kRows = 1, kRowsAndMarks = 3 };

// The fields are those of the source, so bodies have one shape. Only long texts need blocks of their own.
void copyRow(MDArray& to, const MDArray& from, const MDRData* source, bool withMarks,
             const std::vector<const MDRField*>& longTexts, std::vector<MDRData*>& rows) {
  MDRData* record = to.appendRecord();
  std::memcpy(record->body, source->body, to.bodySize);
  for (const MDRField* field : longTexts) std::memset(record->body + field->offset, 0, 8);
  for (const MDRField* field : longTexts) {
    if (!from.isNull(source, field->number))
      to.putText(record, *field, mdx::readText(field->type, field->size, source->body + field->offset));
  }
  record->typeNumber = source->typeNumber;
  if (withMarks)
    record->change = source->change;
  else
    std::memset(record->body + to.markOffset, 0, to.markOffset);
  rows.push_back(record);
}

void copyRows(MDArray& to, const MDArray& from, bool withMarks) {
  if (from.count() == 0) return;
  std::vector<const MDRField*> longTexts;
  for (const MDRField& field : to.fields) {
    if (field.type == MDX_MEMO) longTexts.push_back(&field);
  }
  std::vector<MDRData*> rows;
  rows.reserve(static_cast<size_t>(from.count()));
  const mdx::Key& order = *from.keys.front();
  for (mdx::Span span = order.at(0); span.leaf; span = order.after(span)) {
    for (int i = 0; i < span.count; ++i) copyRow(to, from, span.records[i], withMarks, longTexts, rows);
  }
  to.indexAll(rows);
}

void copyKeys(MDArray& to, const MDArray& from) {
  for (const auto& key : from.keys) {
    if (key->form() == mdx::Key::Form::arrival)
      to.addArrivalKey();
    else
      to.addKey(key->expression, key->flags, key->kind);
    to.keys.back()->flags = key->flags;
    to.keys.back()->takeOrderOf(*key);
  }
}

}  // namespace

int MDACopy(MDArray* destination, const MDArray* source, int mode) {
  if (!destination) return MDX_E_ARG;
  if (!source) return MDX_E_SOURCE;
  if (mode != kStructure && mode != kRows && mode != kRowsAndMarks) return MDX_E_ARG;
  if (destination == source) return MDX_OK;
  destination->reset();
  const int code = mdx::guarded([&] {
    destination->copyFields(*source);
    copyKeys(*destination, *source);
    if (mode != kStructure) copyRows(*destination, *source, mode == kRowsAndMarks);
    return MDX_OK;
  });
  if (code != MDX_OK) destination->reset();
  return code;
}
