#include "CTlmMeasConfig.h"
#include "Events.h"
#include "IndexFacts.h"
#include "RecordAccess.h"

#include <functional>

namespace {

// Walks the fields of an event's record with their values. A record type without marks carries all its fields.
void eachField(TEventNciParse& ev, const std::function<void(int number, bool carried, const MDRVar& value)>& visit) {
  for (int i = 0; i < ev.var.fieldCount; ++i) {
    const MDRField* field = MDRTypFldByNum(&ev.var, i);
    int carried = 1;
    MDRIsUser(field, &ev.rec, &carried);
    MDRVar value{};
    MDRGetVal(field, &ev.rec, &value);
    visit(i, carried != 0, value);
  }
}

// Posts a record of the array; null for a record of another.
MDRData* postOwn(CMDArray& array, MDRData* record) {
  if (MDROwner(record) != array.array) return nullptr;
  MDRData* posted = nullptr;
  array.code = MDARecPost(record, &posted);
  return posted;
}

// Opens a record for change if it is of the array.
MDRData* editOwn(const CMDArray& array, MDRData* record) {
  return record && MDROwner(record) == array.array ? MDARecEdit(record) : nullptr;
}

}  // namespace

MDRData* CTlmMeasConfig::changeRecord(CMDArray* array, MDRData* record, TEventNciParse& ev, CMDArray* structure,
                                      bool onlyCarried) {
  if (!array || !record) return record;
  eachField(ev, [&](int number, bool carried, const MDRVar& value) {
    if (carried || !onlyCarried) array->SetVal(record, fieldName(*structure, number).constData(), value);
  });
  return postOwn(*array, record);
}

// Feeds the passport's tab of that table as well: a shadow of the record, in which the carried fields are marked.
MDRData* CTlmMeasConfig::changeRecord(CMDArray* array, MDRData* record, TEventNciParse& ev, bool changed, QString table,
                                      QString key) {
  if (!array || !record) return record;
  const bool shadowed = !table.isEmpty() && !key.isEmpty();
  CMDArray rows;
  MDRData* shadow = nullptr;
  if (shadowed) {
    rows.code = MDACopy(rows.array, array->array, 0);
    shadow = MDARecNew(rows.array);
  }
  eachField(ev, [&](int number, bool carried, const MDRVar& value) {
    if (carried) {
      array->SetVal(record, number, value);
      if (shadow) rows.SetValF(shadow, number, value);
    } else if (shadow) {
      MDRVar present{};
      array->GetVal(record, number, present);
      if (present.type != MDX_NONE) rows.SetVal(shadow, number, present);
    }
  });
  if (shadow) {
    rows.RecPost(shadow);
    passport.UpdateTable(table, key, &rows, changed);
  }
  return postOwn(*array, record);
}

// The fields of "IdentifiedObject" live in the rows of the measurements and of the remote units.
void CTlmMeasConfig::changeComplexRecord(TEventNciParse& ev) {
  const QString key = moduleCodec->toUnicode(ev.key);
  for (CMDArray* array : {&measRecords, &tblRemoteUnit}) {
    MDRData* found = seekText(*array, 0, key, moduleCodec);
    if (!found) continue;
    changeRecord(array, editOwn(*array, found), ev, &strIdentifiedObject, true);
    return;
  }
}

bool CTlmMeasConfig::FieldIsChanged(TEventNciParse& ev, QString field, CMDArray* structure, MDRVar& value) {
  bool found = false;
  eachField(ev, [&](int number, bool carried, const MDRVar& carriedValue) {
    if (found || !carried) return;
    if (field.compare(QString::fromLatin1(fieldName(*structure, number)), Qt::CaseInsensitive) != 0) return;
    value = carriedValue;
    found = true;
  });
  return found;
}

QString CTlmMeasConfig::getRemoteUnitKey(TEventNciParse& ev, CMDArray* structure) {
  QString key;
  eachField(ev, [&](int number, bool, const MDRVar& value) {
    if (key.isEmpty() && qstricmp(fieldName(*structure, number).constData(), "remoteUnitKey") == 0)
      key = decodeVar(value, moduleCodec);
  });
  return key;
}

void CTlmMeasConfig::UpdatePassportMeas(TEventNciParse& ev) {
  const QString key = moduleCodec->toUnicode(ev.key);
  if (key == passport.currentKey) UpdateTlmPassportMeas(key, ev.table, true);
}

// Repaints the row and moves the passport to it, whatever is selected.
void CTlmMeasConfig::UpdateData(QString key) {
  const QModelIndex index = key.isEmpty() ? QModelIndex() : treeModel->findByKey(key);
  if (!index.isValid()) return;
  treeModel->UpdateData(index, index);
  UpdateTlmPassport(index);
}

// The joining of the two events of a new object follows with the adds by event.

MDRData* CTlmMeasConfig::AddRecAndNodeByNci(TEventNciParse& ev, CMDArray* array, CMDArray* structure) {
  MDRData* found = seekText(*array, 0, moduleCodec->toUnicode(ev.key), moduleCodec);
  MDRData* record = found ? editOwn(*array, found) : MDARecNew(array->array);
  return changeRecord(array, record, ev, structure, true);
}

void CTlmMeasConfig::DelRecAndNodeByNci(TEventNciParse&, CMDArray*, bool) {}

void CTlmMeasConfig::FillKeyLinkIncomplete(TEventNciParse&) {}

bool CTlmMeasConfig::AddKeyLinkIncomplete(QString, MDRData*, CMDArray*) { return false; }
