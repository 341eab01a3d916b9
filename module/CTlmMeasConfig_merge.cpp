#include "CTlmMeasConfig.h"
#include "Events.h"
#include "IndexFacts.h"
#include "RecordAccess.h"

#include <QCoreApplication>

#include <functional>

namespace {

constexpr qint64 kPaintEachMs = 4;

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
void CTlmMeasConfig::UpdateData(QString key) { showChange(key, false); }

void CTlmMeasConfig::showChange(const QString& key, bool isMerged) {
  const QModelIndex index = key.isEmpty() ? QModelIndex() : treeModel->findByKey(key);
  if (!index.isValid()) return;
  treeModel->UpdateData(index, index);
  if (isMerged) paintChange();
  UpdateTlmPassport(index);
}

// A changed row is seen before the sheet is filled, which takes two answers of the server. Of many changes that come
// close together most are painted with the next one.
void CTlmMeasConfig::paintChange() {
  if (painted.isValid() && !painted.hasExpired(kPaintEachMs)) return;
  painted.start();
  QCoreApplication::sendPostedEvents(window(), QEvent::UpdateRequest);
}

MDRData* CTlmMeasConfig::AddRecAndNodeByNci(TEventNciParse& ev, CMDArray* array, CMDArray* structure) {
  MDRData* found = seekText(*array, 0, moduleCodec->toUnicode(ev.key), moduleCodec);
  MDRData* record = found ? editOwn(*array, found) : MDARecNew(array->array);
  return changeRecord(array, record, ev, structure, true);
}

// Without a row the tree is left alone, even where it shows a node of that key.
void CTlmMeasConfig::DelRecAndNodeByNci(TEventNciParse& ev, CMDArray* array, bool withNode) {
  const QString key = moduleCodec->toUnicode(ev.key);
  MDRData* record = seekText(*array, 0, key, moduleCodec);
  if (!record) return;
  if (withNode) DeleteNodeByEvent(key);
  delOwn(*array, record);
}

void CTlmMeasConfig::delOwn(CMDArray& array, MDRData* record) {
  array.code = record && MDROwner(record) == array.array ? MDARecDel(record) : MDX_E_FOREIGN;
}

// ---- the two events of a new object ----------------------------------------------------------------------

namespace {

// The classes whose objects are announced by two events.
bool isJoined(const QString& className) {
  return className.compare(QLatin1String(kRemoteUnitClass), Qt::CaseInsensitive) == 0 ||
         measClassByName(className, Qt::CaseInsensitive);
}

bool isEntryOf(const QString& info, const QString& key) { return info.startsWith(key + QLatin1Char(',')); }

void writeText(CMDArray& array, MDRData* record, const char* field, const QByteArray& text) {
  if (record) array.SetVal(record, field, textVar(text));
}

}  // namespace

// The first event: class and name wait until the object's own table announces the key.
void CTlmMeasConfig::FillKeyLinkIncomplete(TEventNciParse& ev) {
  QString className;
  QString name;
  bool waits = true;
  eachField(ev, [&](int number, bool, const MDRVar& value) {
    const QByteArray field = fieldName(strIdentifiedObject, number);
    if (qstricmp(field.constData(), "ClassName") == 0) {
      className = decodeVar(value, moduleCodec);
      waits = waits && isJoined(className);
    } else if (field == "name_") {
      name = decodeVar(value, moduleCodec);
    }
  });
  if (!waits) return;
  const QString key = moduleCodec->toUnicode(ev.key);
  keyLinkIncomplete.append(key);
  keyLinkIncompleteInfo.append(key + QLatin1Char(',') + className + QLatin1Char(',') + name);
}

// The second event: the row gets its class and name. A name with a comma in it is not understood.
bool CTlmMeasConfig::AddKeyLinkIncomplete(QString key, MDRData* record, CMDArray* array) {
  const int at = incompleteEntry(key);
  if (at < 0) return false;
  const QStringList parts = keyLinkIncompleteInfo[at].split(QLatin1Char(','));
  const bool complete = parts.size() == 3;
  if (complete) {
    MDRData* row = editOwn(*array, record);
    writeText(*array, row, "ClassName", moduleCodec->fromUnicode(parts[1]));
    writeText(*array, row, "name_", moduleCodec->fromUnicode(parts[2]));
    array->RecPost(row);
  }
  dropIncomplete(at);
  return complete;
}

// The place of a key's entry in the two lists; -1 when there is none, or the lists disagree.
int CTlmMeasConfig::incompleteEntry(const QString& key) const {
  if (!keyLinkIncomplete.contains(key)) return -1;
  int at = 0;
  while (keyLinkIncomplete[at].compare(key, Qt::CaseInsensitive) != 0) ++at;
  return isEntryOf(keyLinkIncompleteInfo.value(at), key) ? at : -1;
}

void CTlmMeasConfig::dropIncomplete(int at) {
  keyLinkIncomplete.removeAt(at);
  keyLinkIncompleteInfo.removeAt(at);
}
