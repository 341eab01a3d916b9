#include "passport/objectForm.h"

#include "passport/values.h"

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

FormTable* ObjectForm::addTable(const QString& name, const MDArray* structure, const MDRData* record) {
  FormTable added;
  added.name = name;
  added.array = std::make_unique<CMDArray>();
  added.array->code = MDACopy(added.array->array, structure, 0);
  MDRData* row = MDARecNew(added.array->array);
  if (!row) return nullptr;
  if (record) copyFields(record, structure, row, added.array->array);
  writeValue(MDRFldByNum(added.array->array, 0), row, key);
  added.array->RecPost(row);
  tables_.push_back(std::move(added));
  return &tables_.back();
}

FormTable* ObjectForm::table(const QString& name) const {
  for (const FormTable& entry : tables_)
    if (entry.name.compare(name, Qt::CaseInsensitive) == 0) return const_cast<FormTable*>(&entry);
  return nullptr;
}

QVariant ObjectForm::value(const FieldMeta& meta) const {
  const FormTable* entry = table(meta.table);
  return entry ? readValue(MDRFldByNum(entry->array->array, meta.number), entry->record()) : QVariant();
}

void ObjectForm::setEdit(const FieldMeta& meta, const Edit& edit, bool keepEqual) {
  if (!keepEqual && sameValue(edit.value, value(meta)))
    edits_.remove(meta.id);
  else
    edits_[meta.id] = edit;
}

const Edit* ObjectForm::edit(const QString& id) const {
  const auto found = edits_.find(id);
  return found == edits_.end() ? nullptr : &*found;
}

void ObjectForm::acceptEdits() {
  for (const FormTable& entry : tables_)
    for (int i = 0; i < MDAFldCount(entry.array->array); ++i) {
      const MDRField* field = MDRFldByNum(entry.array->array, i);
      if (const Edit* held = edit(entry.name + "." + field->name)) writeValue(field, entry.record(), held->value);
    }
  edits_.clear();
  isNew = false;
}

bool ObjectForm::isEdited(const QString& name) const {
  for (auto held = edits_.begin(); held != edits_.end(); ++held)
    if (held.key().startsWith(name + ".")) return true;
  return false;
}

void ObjectForm::fillRecord(const FormTable& from, CMDArray* into) const {
  MDRData* record = MDARecNew(into->array);
  MDRSetFlags(record, isNew ? MDX_REC_INSERT : MDX_REC_UPDATE);
  copyFields(from.record(), from.array->array, record, into->array);
  for (int i = 0; i < MDAFldCount(into->array); ++i) {
    const MDRField* field = MDRFldByNum(into->array, i);
    const Edit* held = edit(from.name + "." + field->name);
    if (held) writeValue(field, record, held->value);
    if (held || (isNew && MDRIsNull(field, record, nullptr) == 0)) MDRSetUser(field, record, 1);
  }
  into->RecPost(record);
}

void ObjectForm::appendTo(QStringList* tables, QList<CMDArray*>* arrays) const {
  for (const FormTable& entry : tables_)
    if (!entry.isPage || isEdited(entry.name))
      fillRecord(entry, entryOf(entry.name, entry.array->array, tables, arrays));
}

}  // namespace tlm::passport
