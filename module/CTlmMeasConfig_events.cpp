#include "CTlmMeasConfig.h"
#include "Events.h"
#include "IndexFacts.h"
#include "RecordAccess.h"
#include "WorkWithData.h"

#include <memory>

namespace {

bool isTable(const QString& table, const char* name) {
  return table.compare(QLatin1String(name), Qt::CaseInsensitive) == 0;
}

bool isAnyOf(const QString& table, std::initializer_list<const char*> names) {
  for (const char* name : names)
    if (isTable(table, name)) return true;
  return false;
}

struct Receipt {
  int kind;
  const char* text;
  TMessageBoxIcon icon;
};

constexpr Receipt kReceipts[] = {
    {kEventTuDone, "Команда телеуправления выполнена успешно", kBoxInformation},
    {kEventTuRefused, "Команда телеуправления не выполнена", kBoxWarning},
    {kEventTuTimeout, "Команда телеуправления не выполнена по таймауту", kBoxWarning},
};

const Receipt* receiptOf(int kind) {
  for (const Receipt& receipt : kReceipts)
    if (receipt.kind == kind) return &receipt;
  return nullptr;
}

}  // namespace

int CTlmMeasConfig::MessageData(MDXCliParam* message) {
  if (!message || message->typeNumber != MDX_TYPE_EVENT) return 1;
  TEventNciParse ev(message, moduleCodec);
  switch (ev.kind) {
    case kEventDeleted:
      eventDeleted(ev);
      break;
    case kEventAdded:
      eventAdded(ev);
      break;
    case kEventChanged:
      eventChanged(ev);
      followPath();
      break;
    default:
      if (receiptOf(ev.kind)) showTuReceipt(message);
  }
  return 1;
}

void CTlmMeasConfig::eventDeleted(TEventNciParse& ev) {
  if (isTable(ev.table, "Measurement"))
    DelRecAndNodeByNci(ev, &measRecords, true);
  else if (isTable(ev.table, "RemoteUnit"))
    DelRecAndNodeByNci(ev, &tblRemoteUnit, true);
  else if (isTable(ev.table, "RemoteUnitFolder"))
    DelRecAndNodeByNci(ev, &tblRemoteUnitFolder, true);
  else if (isTable(ev.table, "Tables"))
    DelRecAndNodeByNci(ev, &tblTables, false);
  else if (isTable(ev.table, "Calculations"))  // the module's own row stays
    passport.DelRecTable(QStringLiteral("Calculations"), moduleCodec->toUnicode(ev.key));
  else
    reloadSelectList(ev.table);
}

void CTlmMeasConfig::eventAdded(TEventNciParse& ev) {
  const QString key = moduleCodec->toUnicode(ev.key);
  if (isTable(ev.table, "IdentifiedObject")) {
    FillKeyLinkIncomplete(ev);
  } else if (isTable(ev.table, "Measurement")) {
    addMeasurement(ev);
  } else if (isTable(ev.table, "RemoteUnit")) {
    MDRData* record = AddRecAndNodeByNci(ev, &tblRemoteUnit, &strRemoteUnit);
    if (AddKeyLinkIncomplete(key, record, &tblRemoteUnit)) AddNodeByEvent(key, ev.table);
  } else if (isTable(ev.table, "RemoteUnitFolder")) {
    AddRecAndNodeByNci(ev, &tblRemoteUnitFolder, &strRemoteUnitFolder);
    AddNodeByEvent(key, ev.table);
  } else if (isTable(ev.table, "Tables")) {
    AddRecAndNodeByNci(ev, &tblTables, &tblTables);
  } else if (isTable(ev.table, "Calculations")) {
    changeCalculation(ev, false);
  } else {
    reloadSelectList(ev.table);
  }
}

// A measurement that is new here is taken when its unit's measurements are in the tree; the unit reads it itself
// otherwise, when it is opened.
void CTlmMeasConfig::addMeasurement(TEventNciParse& ev) {
  const QString key = moduleCodec->toUnicode(ev.key);
  MDRData* record = MDARecEdit(seekText(measRecords, 0, key, moduleCodec));
  if (!record) {
    MDRVar unit{};
    MDRGetVal(MDRTypFldByNum(&ev.var, numfieldRTUKey), &ev.rec, &unit);
    const QString unitKey = decodeVar(unit, moduleCodec);
    if (unitKey.isEmpty()) return;
    if (!isUnitLoaded(unitKey)) {
      const int at = incompleteEntry(key);
      if (at >= 0) dropIncomplete(at);
      return;
    }
    record = MDARecNew(measRecords.array);
  }
  MDRData* posted = changeRecord(&measRecords, record, ev, &strMeasurement, true);
  if (AddKeyLinkIncomplete(key, posted, &measRecords)) AddNodeByEvent(key, ev.table);
}

bool CTlmMeasConfig::isUnitLoaded(const QString& unitKey) { return loadedUnits.contains(unitKey); }

void CTlmMeasConfig::eventChanged(TEventNciParse& ev) {
  if (isTable(ev.table, "IdentifiedObject")) {
    changeComplexRecord(ev);
    showChange(moduleCodec->toUnicode(ev.key), true);
  } else if (isTable(ev.table, "Measurement")) {
    changeMeasurement(ev);
  } else if (isAnyOf(ev.table, {"Analog", "Accumulator", "StringMeasurement"})) {
    UpdatePassportMeas(ev);
  } else if (isTable(ev.table, "Discrete")) {
    UpdatePassportMeas(ev);
    changeCheckTu(ev);
  } else if (isTable(ev.table, "RemoteUnit")) {
    changeParented(ev, tblRemoteUnit, strRemoteUnit, "RemoteUnitFolderKey");
  } else if (isTable(ev.table, "RemoteUnitFolder")) {
    changeParented(ev, tblRemoteUnitFolder, strRemoteUnitFolder, "ParentKey");
  } else if (isTable(ev.table, "Tables")) {
    changeInPlace(ev, tblTables);
  } else if (isTable(ev.table, "Calculations")) {
    changeCalculation(ev, true);
  } else {
    reloadSelectList(ev.table);
  }
}

// A change of a reference table reaches the selection list that is open on it.
void CTlmMeasConfig::reloadSelectList(const QString& table) {
  const QString(&args)[5] = selectValuesArgs;
  if (args[0].isEmpty() || args[0].compare(table, Qt::CaseInsensitive) != 0) return;
  passport.UpdateSelectValues(args[0], args[1], args[2], args[3], args[4]);
}

bool CTlmMeasConfig::takeOwnMove(const QString& key) { return ownMoves.removeAll(key) > 0; }

// The passport is shown before the merge, from the server's state of the object.
void CTlmMeasConfig::changeMeasurement(TEventNciParse& ev) {
  const QString key = moduleCodec->toUnicode(ev.key);
  MDRData* record = seekText(measRecords, 0, key, moduleCodec);
  if (!record) return;
  const QString oldUnit = fieldText(measRecords, record, "RemoteUnitKey", moduleCodec);
  record = MDARecEdit(record);
  UpdateData(key);
  MDRData* posted = changeRecord(&measRecords, record, ev, &strMeasurement, true);
  QString newUnit;
  const bool moved = ChangeParent(posted, measRecords, "remoteunitkey", oldUnit, newUnit);
  const bool own = takeOwnMove(key);
  if (moved)
    followMeasurement(posted, key, newUnit, own);
  else if (passport.currentKey == key)
    UpdateTlmPassportMeas(key, ev.table, false);
}

void CTlmMeasConfig::changeParented(TEventNciParse& ev, CMDArray& array, CMDArray& structure, const char* parentField) {
  const QString key = moduleCodec->toUnicode(ev.key);
  MDRData* record = seekText(array, 0, key, moduleCodec);
  if (!record) return;
  const QString oldParent = fieldText(array, record, parentField, moduleCodec);
  MDRData* posted = changeRecord(&array, MDARecEdit(record), ev, &structure, true);
  showChange(key, true);
  QString newParent;
  const bool moved = ChangeParent(posted, array, parentField, oldParent, newParent);
  const bool own = takeOwnMove(key);
  if (moved) MoveByEvent(key, newParent, false, own);
}

void CTlmMeasConfig::changeInPlace(TEventNciParse& ev, CMDArray& array) {
  MDRData* record = seekText(array, 0, moduleCodec->toUnicode(ev.key), moduleCodec);
  if (record) changeRecord(&array, MDARecEdit(record), ev, &array, true);
}

// An add makes the row when it is new; a change of a row that is not here does nothing.
void CTlmMeasConfig::changeCalculation(TEventNciParse& ev, bool changed) {
  const QString key = moduleCodec->toUnicode(ev.key);
  MDRData* record = seekText(tblCalculations, 0, key, moduleCodec);
  if (record)
    record = MDARecEdit(record);
  else if (!changed)
    record = MDARecNew(tblCalculations.array);
  changeRecord(&tblCalculations, record, ev, changed, QStringLiteral("Calculations"), key);
}

// The row and the node carry whether a discrete can be commanded.
void CTlmMeasConfig::changeCheckTu(TEventNciParse& ev) {
  const QString key = moduleCodec->toUnicode(ev.key);
  MDRData* record = seekText(measRecords, 0, key, moduleCodec);
  MDRVar value{};
  if (!record || !FieldIsChanged(ev, QStringLiteral("CheckTu"), &strDiscrete, value)) return;
  measRecords.SetVal(record, "CheckTu", value);
  if (myConfNode* node = nodeOf(treeModel->findByKey(key))) node->checkTu = hasValue(value) && value.flag;
}

void CTlmMeasConfig::showTuReceipt(MDXCliParam* message) {
  const TEventTuParse ev(message);
  const QString key = moduleCodec->toUnicode(TEventNciParse(message, moduleCodec).key);
  const int at = pendingTelecontrol.indexOf(ev.locId);
  if (at < 0) return;
  const Receipt& receipt = *receiptOf(ev.kind);
  if (ev.kind == kEventTuDone && passport.currentKey == key) {
    char* text = nullptr;
    GetValue(session(), key, text);
    const std::unique_ptr<char[]> value(text);
    passport.SetValue(key, value.get());
  }
  pendingTelecontrol.removeAt(at);
  showBox(QStringLiteral("Квитанция телеуправления"), QString::fromUtf8(receipt.text), receipt.icon, kBoxClose);
}
