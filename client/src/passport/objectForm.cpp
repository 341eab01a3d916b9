#include "passport/objectForm.h"

#include "passport/values.h"

#include <algorithm>

namespace tlm::passport {

namespace {

void copyFields(const MDRData* from, const MDArray* source, MDRData* to, const MDArray* destination) {
  for (int i = 0; i < MDAFldCount(destination); ++i) {
    const MDRField* field = MDRFldByNum(destination, i);
    MDRVar value{};
    if (MDRGetVal(MDRFldByName(source, field->name), from, &value) >= 0) MDRSetVal(field, to, &value);
  }
}

CMDArray* entryOf(const QString& name, const MDArray* structure, QStringList* tables, QList<CMDArray*>* arrays) {
  const int at = tables->indexOf(name);
  if (at >= 0) return (*arrays)[at];
  auto* array = new CMDArray;
  array->code = MDACopy(array->array, structure, 0);
  tables->append(name);
  arrays->append(array);
  return array;
}

}  // namespace

FormTable* ObjectForm::add(const QString& name, const MDArray* structure, const MDRData* record,
                           const QString& rowKey) {
  FormTable added;
  added.name = added.id = name;
  added.isNew = isNew;
  added.array = std::make_unique<CMDArray>();
  added.array->code = MDACopy(added.array->array, structure, 0);
  MDRData* row = MDAFldCount(added.array->array) > 0 ? MDARecNew(added.array->array) : nullptr;
  if (!row) return nullptr;
  if (record) copyFields(record, structure, row, added.array->array);
  writeValue(MDRFldByNum(added.array->array, 0), row, rowKey);
  added.array->RecPost(row);
  tables_.push_back(std::move(added));
  return &tables_.back();
}

FormTable* ObjectForm::addTable(const QString& name, const MDArray* structure, const MDRData* record) {
  return add(name, structure, record, key);
}

FormTable* ObjectForm::addPageRow(const QString& name, const MDArray* structure, const MDRData* record,
                                  const QString& rowKey) {
  FormTable* added = add(name, structure, record, rowKey);
  if (!added) return nullptr;
  added->id = name + "@" + rowKey;
  added->isPage = true;
  added->isNew = !record;
  return added;
}

void ObjectForm::dropPageRows(const QString& name) {
  tables_.erase(std::remove_if(tables_.begin(), tables_.end(),
                               [&](const FormTable& entry) { return entry.isPage && entry.name == name; }),
                tables_.end());
}

FormTable* ObjectForm::table(const QString& id) const {
  for (const FormTable& entry : tables_)
    if (entry.id.compare(id, Qt::CaseInsensitive) == 0) return const_cast<FormTable*>(&entry);
  return nullptr;
}

QVariant ObjectForm::value(const QString& tableId, const FieldMeta& meta) const {
  const FormTable* entry = table(tableId);
  return entry ? readValue(MDRFldByNum(entry->array->array, meta.number), entry->record()) : QVariant();
}

void ObjectForm::setEdit(const QString& tableId, const FieldMeta& meta, const Edit& edit, bool keepEqual) {
  const QString id = tableId + "." + meta.name;
  if (!keepEqual && sameValue(edit.value, value(tableId, meta)))
    edits_.remove(id);
  else
    edits_[id] = edit;
}

const Edit* ObjectForm::edit(const QString& id) const {
  const auto found = edits_.find(id);
  return found == edits_.end() ? nullptr : &*found;
}

void ObjectForm::acceptEdits() {
  for (const FormTable& entry : tables_)
    for (int i = 0; i < MDAFldCount(entry.array->array); ++i) {
      const MDRField* field = MDRFldByNum(entry.array->array, i);
      if (const Edit* held = edit(entry.id + "." + field->name)) writeValue(field, entry.record(), held->value);
    }
  for (FormTable& entry : tables_) entry.isNew = false;
  edits_.clear();
  isNew = false;
}

void ObjectForm::dropEdits(const QString& tableId) {
  for (auto held = edits_.begin(); held != edits_.end();)
    held = held.key().startsWith(tableId + ".") ? edits_.erase(held) : std::next(held);
}

bool ObjectForm::isEdited(const QString& tableId) const {
  for (auto held = edits_.begin(); held != edits_.end(); ++held)
    if (held.key().startsWith(tableId + ".")) return true;
  return false;
}

void ObjectForm::fillRecord(const FormTable& from, CMDArray* into) const {
  MDRData* record = MDARecNew(into->array);
  MDRSetFlags(record, from.isNew ? MDX_REC_INSERT : MDX_REC_UPDATE);
  copyFields(from.record(), from.array->array, record, into->array);
  for (int i = 0; i < MDAFldCount(into->array); ++i) {
    const MDRField* field = MDRFldByNum(into->array, i);
    const Edit* held = edit(from.id + "." + field->name);
    if (held) writeValue(field, record, held->value);
    if (held || (from.isNew && MDRIsNull(field, record, nullptr) == 0)) MDRSetUser(field, record, 1);
  }
  into->RecPost(record);
}

void ObjectForm::appendTo(QStringList* tables, QList<CMDArray*>* arrays) const {
  for (const FormTable& entry : tables_)
    if (!entry.isPage || isEdited(entry.id)) fillRecord(entry, entryOf(entry.name, entry.array->array, tables, arrays));
}

}  // namespace tlm::passport
