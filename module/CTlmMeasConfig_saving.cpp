#include "CTlmMeasConfig.h"
#include "ChangeSet.h"
#include "IndexFacts.h"
#include "RecordAccess.h"
#include "SaveTexts.h"
#include "ui_TlmMeasConfig.h"

#include <TlmClient/CTlmCliSes.h>

namespace {

const QString kCalculations = QStringLiteral("Calculations");
const QString kFolder = QStringLiteral("RemoteUnitFolder");

MDRVar firstValue(const CMDArray& array, const char* field) {
  MDRVar value{};
  if (const MDRData* record = MDARec(array.array, 0, 0)) array.GetVal(record, field, value);
  return value;
}

bool isFilled(const QString& table, const char* wanted, const CMDArray* array) {
  return table == QLatin1String(wanted) && array && MDARecCount(array->array) > 0;
}

bool asInt(const CMDArray& array, const char* field, int& out) {
  const MDRVar value = firstValue(array, field);
  if (!hasValue(value)) return false;
  int32_t number = 0;
  if (MDRGetAsInt32(MDRFldByName(array.array, field), MDARec(array.array, 0, 0), &number) < 0) return false;
  out = number;
  return true;
}

// Copies a record as the passport gave it. Null when there is no room for it.
MDRData* copyAsGiven(const CMDArray& input, const MDRData* record, CMDArray& output, int mark) {
  MDRData* copy = copyRecord(input, record, output, false);
  if (copy) MDRSetFlags(copy, mark);
  return copy;
}

// The passport's record of several objects carries the key of the first of them; an edit of that one object alone,
// made meanwhile, stands behind it. Null where the table holds single objects only.
const MDRData* recordOfAll(const CMDArray& input, const QString& firstKey, QTextCodec* codec) {
  for (int i = 0; i < MDARecCount(input.array); ++i)
    if (const MDRData* record = MDARec(input.array, 0, i); fieldText(input, record, 0, codec) == firstKey)
      return record;
  return nullptr;
}

// The record of the first object of the selection stands for all of them: a copy of it for each key, with the marks
// of the passport's own record. What is there besides are edits of single objects that were shown meanwhile.
void spreadOverObjects(const CMDArray& input, CMDArray& output, const QStringList& keys, int mark, QTextCodec* codec) {
  output.code = MDACopy(output.array, input.array, 0);
  const MDRData* pattern = recordOfAll(input, keys.first(), codec);
  for (const QString& key : keys) {
    MDRData* record = pattern ? copyAsGiven(input, pattern, output, mark) : nullptr;
    if (!record) break;
    const QByteArray bytes = codec->fromUnicode(key);
    output.SetVal(record, 0, textVar(bytes));
    output.RecPost(record);
  }
  for (int i = 0; i < MDARecCount(input.array); ++i) {
    const MDRData* given = MDARec(input.array, 0, i);
    if (given != pattern) output.RecPost(copyAsGiven(input, given, output, MDRGetFlags(given)));
  }
}

// The records as the passport gave them, with their marks.
void takeAsGiven(const CMDArray* input, CMDArray& output) {
  output.code = MDACopy(output.array, input ? input->array : nullptr, 3);
}

}  // namespace

void CTlmMeasConfig::Cancel() {
  SaveCancelEnable(false);
  passport.ClearChanges();
}

void CTlmMeasConfig::confirmSave(QAbstractButton* clickedButton) {
  if (popMessageBox) popMessageBox->close();
  if (!clickedButton || !popMessageBox) return;
  if (popMessageBox->ButtonRole(clickedButton) == 0)
    onActSave_Triggered();
  else
    onActCancel_Triggered();
}

void CTlmMeasConfig::onActSave_Triggered() {
  saveRefused = false;
  if (groupDeletePending && !pendingDeletes.isEmpty()) {
    commitDeletes();
    return;
  }
  ChangeSet inputs;
  passport.GetNewValuesFull(inputs.tables, inputs.arrays);
  const bool single = sheetKeys.size() < 2;
  ChangeSet changes;
  changes.tables = inputs.tables;
  for (const CMDArray* input : inputs.arrays) {
    changes.arrays.append(new CMDArray);
    if (single)
      takeAsGiven(input, *changes.arrays.last());
    else
      spreadOverObjects(*input, *changes.arrays.last(), sheetKeys,
                        newObjectInPassport ? MDX_REC_INSERT : MDX_REC_UPDATE, moduleCodec);
  }
  if (!checkedForSave(changes.tables, changes.arrays, single)) return;
  if (newObjectInPassport) {
    if (!commitInsert(changes.tables, changes.arrays)) return;
  } else if (passportEdited) {
    if (!commitUpdate(changes.tables, changes.arrays)) return;
  }
  SaveCancelEnable(false);
  AddDelEnable(true);
  passport.ClearChanges();
}

// ---- checks ----------------------------------------------------------------------------------------------

// False, with the box on the screen, at the first table that a check refuses.
bool CTlmMeasConfig::checkedForSave(const QStringList& tables, const QList<CMDArray*>& arrays, bool single) {
  for (int i = 0; i < tables.size(); ++i) {
    const QString text = refusal(tables[i], arrays[i], single);
    if (text.isEmpty()) continue;
    showBox(QString::fromUtf8(kRefusedTitle), text, kBoxError, kBoxOk);
    saveRefused = true;
    return false;
  }
  return true;
}

// Why one table of the change set may not be written; empty when it may.
QString CTlmMeasConfig::refusal(const QString& table, CMDArray* array, bool single) {
  if (single && CheckLocId(table, array, newObjectInPassport)) return QString::fromUtf8(kNumberTaken);
  if (single && CheckNullLocId(table, array)) return QString::fromUtf8(kNumberNull);
  if (!CheckSrvGroup(table, array)) return QString::fromUtf8(kNoServerGroup);
  if (!CheckArchGroup(table, array)) return QString::fromUtf8(kNoArchiveGroup);
  if (!CheckFillName(table, array)) return QString::fromUtf8(kNoName);
  return QString();
}

bool CTlmMeasConfig::CheckLocId(QString table, CMDArray* array, bool isNew) {
  if (!isFilled(table, "Measurement", array)) return false;
  int locId = 0;
  if (!asInt(*array, "locId", locId)) return false;
  if (!isNew && keepsNumber(*array, locId)) return false;
  bool busy = false;
  LocIdIsBusy(locId, busy);
  return busy;
}

// The number is that of the selected row, or the one that the record's own object has: an edit can wait while
// another object is shown.
bool CTlmMeasConfig::keepsNumber(const CMDArray& array, int locId) const {
  if (QString::number(locId) == currentRowName) return true;
  const QString key = fieldText(array, MDARec(array.array, 0, 0), 0, moduleCodec);
  const MDRData* row = key.isEmpty() ? nullptr : seekText(measRecords, 0, key, moduleCodec);
  int32_t held = 0;
  return row && MDRGetAsInt32(MDRFldByName(measRecords.array, "locId"), row, &held) >= 0 && held == locId;
}

bool CTlmMeasConfig::CheckNullLocId(QString table, CMDArray* array) {
  if (!isFilled(table, "Measurement", array)) return false;
  const MDRVar value = firstValue(*array, "locId");
  if (value.type == MDX_NONE) return false;
  if (value.isNull) return true;
  if (value.type == MDX_INT32) return value.i32 == 0;
  return value.type == MDX_INT64 && value.i64 == 0;
}

bool CTlmMeasConfig::CheckSrvGroup(QString table, CMDArray* array) {
  if (!isFilled(table, "RemoteUnit", array)) return true;
  int group = 0;
  return asInt(*array, "SrvGroup", group) && group >= 1;
}

bool CTlmMeasConfig::CheckArchGroup(QString table, CMDArray* array) {
  if (!isFilled(table, "Measurement", array)) return true;
  const MDRVar archived = firstValue(*array, "CheckArch");
  if (!hasValue(archived) || !archived.flag) return true;
  const MDRVar group = firstValue(*array, "MeasurementArchGroupKey");
  return group.type == MDX_TEXT && !group.isNull && group.text.length > 0;
}

bool CTlmMeasConfig::CheckFillName(QString table, CMDArray* array) {
  if (!isFilled(table, "IdentifiedObject", array)) return true;
  for (int i = 0; i < MDARecCount(array->array); ++i) {
    MDRVar name{};
    array->GetVal(MDARec(array->array, 0, i), "name_", name);
    if (!isText(name) || name.text.length == 0) return false;
  }
  return true;
}

// ---- commits ---------------------------------------------------------------------------------------------

// Queues the records of one table in the open block. An insert marks every field; an update carries the marks that
// are there, and notes the keys whose parent link goes along, so that the event is known as this client's own.
// The passport's own records tell more: beside a new object edits of others may wait, which stay updates, and a
// calculation that is not there yet is inserted.
void CTlmMeasConfig::queueRecords(const QString& table, CMDArray& source, bool insert, bool ofPassport) {
  CMDArray scratch;
  scratch.code = MDACopy(scratch.array, source.array, 0);
  for (int i = 0; i < MDARecCount(source.array); ++i) {
    const MDRData* given = MDARec(source.array, 0, i);
    const bool isNew = insert && !(ofPassport && MDRGetFlags(given) == MDX_REC_UPDATE);
    MDRData* record = copyRecord(source, given, scratch, isNew);
    if (!record) continue;
    const QString key = fieldText(source, given, 0, moduleCodec);
    const bool inserts =
        isNew || (ofPassport && table == kCalculations && !seekText(tblCalculations, 0, key, moduleCodec));
    MDRSetFlags(record, inserts ? MDX_REC_INSERT : MDX_REC_UPDATE);
    if (!isNew) noteOwnMoves(source, given, key);
    scratch.RecPost(record);
  }
  if (MDARecCount(scratch.array) > 0)
    session()->SqlUpdate(moduleCodec->fromUnicode(table).constData(), scratch.array, true, nullptr);
}

void CTlmMeasConfig::noteOwnMoves(const CMDArray& array, const MDRData* record, const QString& key) {
  if (key.isEmpty()) return;
  const int count = MDAFldCount(array.array);
  for (int field = 0; field < count; ++field)
    if (isMarked(array, record, field) &&
        fieldNamesKeyRefs.contains(QString::fromLatin1(fieldName(array, field)), Qt::CaseInsensitive))
      ownMoves.append(key);
}

// Sends the block. Waiting, only an answer that says so is a failure: one that does not come in time counts as
// success. Not waiting, it is enough that the block went out.
bool CTlmMeasConfig::endBlock(bool wait) {
  CTlmCliSes* ses = session();
  if (!wait) return ses->BlockEnd(true, nullptr);
  MDXCliParam* reply = nullptr;
  const ScopeGuard guard([&] {
    if (reply) ses->PrmFree(reply);
  });
  ses->BlockEnd(true, &reply);
  if (!ses->WaitResult(&reply, kCommitTimeoutMs)) return true;
  if (!reply) return false;
  int32_t status = 0;
  return MDRGetAsInt32(MDXParamFld(reply, MDX_REPLY_STATUS), reply, &status) >= 0 && status == 0;
}

bool CTlmMeasConfig::commitDeletes() {
  ChangeSet changes;
  for (const QString& entry : pendingDeletes) {
    const QStringList parts = entry.split(QLatin1Char(','));
    if (parts.size() < 2 || parts[0].isEmpty()) continue;
    if (parts[1].isEmpty())
      addKeyRecord(changes.tables, changes.arrays, kFolder, strRemoteUnitFolder, moduleCodec->fromUnicode(parts[0]),
                   MDX_REC_DELETE);
    else
      PrepareDelRec(changes.tables, changes.arrays, parts[0], parts[1]);
  }
  CTlmCliSes* ses = session();
  if (ses) {
    ses->BlockBeg();
    queueChanges(ses, changes, moduleCodec);
  }
  if (!ses || !endBlock(false)) {
    showBox(tr(kCommitTitle), tr(kCommitFailed), kBoxError, kBoxOk);
    onActCancel_Triggered();
    return false;
  }
  SaveCancelEnable(false);
  groupDeletePending = false;
  pendingDeletes.clear();
  passport.ClearChanges();
  return true;
}

bool CTlmMeasConfig::commitInsert(const QStringList& tables, const QList<CMDArray*>& arrays) {
  if (!sendRecords(tables, arrays, true, true, true)) {
    showBox(tr(kCommitTitle), tr(kCommitFailed), kBoxError, kBoxOk);
    onActCancel_Triggered();
    return false;
  }
  newObjectInPassport = false;
  const QModelIndex current = ui->tV_MeasConfig->currentIndex();
  if (current.isValid()) CheckEnabledAgregData(current);
  return true;
}

bool CTlmMeasConfig::commitUpdate(const QStringList& tables, const QList<CMDArray*>& arrays) {
  if (!sendRecords(tables, arrays, false, true, false)) {
    showBox(tr(kCommitTitle), tr(kUpdateFailed), kBoxError, kBoxOk);
    onActCancel_Triggered();
    return false;
  }
  passportEdited = false;
  return true;
}

bool CTlmMeasConfig::Save(QStringList& tables, QList<CMDArray*>& arrays, bool isNew) {
  const int movesBefore = ownMoves.size();
  if (sendRecords(tables, arrays, isNew, false, true)) return true;
  ownMoves.erase(ownMoves.begin() + movesBefore, ownMoves.end());  // no event will come for them
  showBox(tr(kCommitTitle), tr(kCommitFailed), kBoxError, kBoxOk);
  return false;
}

// One block with the records of all tables.
bool CTlmMeasConfig::sendRecords(const QStringList& tables, const QList<CMDArray*>& arrays, bool insert,
                                 bool ofPassport, bool wait) {
  CTlmCliSes* ses = session();
  if (!ses) return false;
  ses->BlockBeg();
  for (int i = 0; i < tables.size(); ++i) queueRecords(tables[i], *arrays[i], insert, ofPassport);
  return endBlock(wait);
}

// ---- cancel ----------------------------------------------------------------------------------------------

void CTlmMeasConfig::onActCancel_Triggered() {
  const QItemSelectionModel* selection = ui->tV_MeasConfig->selectionModel();
  const QItemSelection present = selection ? selection->selection() : QItemSelection();
  Cancel();
  if (newObjectInPassport) {
    newObjectInPassport = false;
    takeBackAdded();
  } else if (passportEdited) {
    passportEdited = false;
    OnTV_selectionChanged(present, present);
  }
}
