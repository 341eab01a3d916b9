#include "CTlmMeasConfig.h"
#include "IndexFacts.h"
#include "RecordAccess.h"
#include "WorkWithData.h"
#include "ui_TlmMeasConfig.h"

namespace {

constexpr int kLocIdKey = 2;  // of measRecords

}  // namespace

// ---- rows that come --------------------------------------------------------------------------------------

// A row that stands already, such as one that was added here, is painted again.
void CTlmMeasConfig::AddNodeByEvent(QString key, QString className) {
  const QModelIndex present = rowOf(key);
  if (present.isValid()) {
    treeModel->UpdateData(present, present);
    return;
  }
  if (MDRData* folder = seekText(tblRemoteUnitFolder, 0, key, moduleCodec)) {
    const QString parentKey = fieldText(tblRemoteUnitFolder, folder, "ParentKey", moduleCodec);
    treeModel->AddExistNode(rowOf(parentKey), QString(), key, false);
  } else if (className == QLatin1String(kRemoteUnitClass)) {
    MDRData* unit = seekText(tblRemoteUnit, 0, key, moduleCodec);
    if (!unit) return;
    const QString folderKey = fieldText(tblRemoteUnit, unit, "RemoteUnitFolderKey", moduleCodec);
    treeModel->AddExistNode(rowOf(folderKey), className, key, false);
    forgetLoaded(key);  // its measurements are not in the tree, even if they were before the row went
  } else if (className == QLatin1String("Measurement")) {
    if (MDRData* record = seekText(measRecords, 0, key, moduleCodec)) addMeasurementNode(record, key);
  }
}

// A unit that is new is not in the list, whose thousands of keys are then left alone.
void CTlmMeasConfig::forgetLoaded(const QString& unitKey) {
  if (loadedUnits.contains(unitKey)) loadedRemoteUnits.removeAll(unitKey);
}

// Under its unit, once that is open; an aggregated one under its primary, wherever that stands.
void CTlmMeasConfig::addMeasurementNode(MDRData* record, const QString& key) {
  const QModelIndex unit = rowOf(fieldText(measRecords, record, "RemoteUnitKey", moduleCodec));
  if (!unit.isValid() || !nodeOf(unit)->isLoaded) return;
  const QString className = fieldText(measRecords, record, "ClassName", moduleCodec);
  if (className.isEmpty()) return;
  int primaryLocId = 0;
  if (!CheckAgregatedMeas(record, &measRecords, &tblArchGroup, &primaryLocId)) {
    treeModel->AddExistNode(unit, className, key, false);
    return;
  }
  const MDRVar number = intVar(primaryLocId);
  MDRData* primary = MDARecSeekV(measRecords.array, kLocIdKey, &number, nullptr);
  const QModelIndex main = primary ? rowOf(fieldText(measRecords, primary, "KeyLink", moduleCodec)) : QModelIndex();
  if (main.isValid()) treeModel->AddExistNode(main, className, key, true);
}

// ---- rows that go ----------------------------------------------------------------------------------------

// The focus outlives the row that had it.
void CTlmMeasConfig::DeleteNodeByEvent(QString key) {
  const QModelIndex index = rowOf(key);
  if (!index.isValid()) return;
  const QModelIndex current = ui->tV_MeasConfig->currentIndex();
  const bool hadFocus = current.isValid() && nodeOf(current) == nodeOf(index);
  const QString fallback = hadFocus ? keyAbove(index) : QString();
  treeModel->DelNode(index, nullptr);
  if (hadFocus) landSelection(fallback);
}

QString CTlmMeasConfig::keyAbove(const QModelIndex& index) const {
  QString key;
  for (QModelIndex above = index.parent(); above.isValid() && key.isEmpty(); above = above.parent()) key = keyOf(above);
  return key;
}

void CTlmMeasConfig::landSelection(const QString& fallbackKey) {
  const QModelIndex current = ui->tV_MeasConfig->currentIndex();
  selectCurrent(current.isValid() ? current : rowOf(fallbackKey));
}

// ---- rows that move --------------------------------------------------------------------------------------

bool CTlmMeasConfig::ChangeParent(MDRData* record, CMDArray& array, const char* field, QString oldParent,
                                  QString& newParent) {
  if (!record) return false;
  MDRVar link{};
  array.GetVal(record, field, link);
  if (hasValue(link)) newParent = decodeVar(link, moduleCodec);
  return oldParent != newParent;
}

// Without a new parent a measurement goes to the default unit, anything else to the top.
void CTlmMeasConfig::MoveByEvent(QString key, QString newParentKey, bool isMeasurement, bool ownMove) {
  QModelIndex target;
  if (!newParentKey.isEmpty())
    target = rowOf(newParentKey);
  else if (isMeasurement)
    target = treeModel->defaultUnit();
  if (!rowOf(key).isValid()) return;
  if (isMeasurement && !target.isValid()) return;
  AddMeasForRTU(target, QString(), false, QString());
  MoveNodeByEvent(rowOf(key), target, ownMove);
}

void CTlmMeasConfig::MoveNodeByEvent(QModelIndex source, QModelIndex target, bool ownMove) {
  treeModel->MoveNode(source, target, ownMove);
}

// A measurement that another client moved into a unit that is not open here is forgotten until it is opened; one
// that was moved from here opens it.
void CTlmMeasConfig::followMeasurement(MDRData* record, const QString& key, const QString& newUnit, bool ownMove) {
  if (newUnit.isEmpty()) {
    makeDefaultUnit();
    MoveByEvent(key, QString(), true, ownMove);
    return;
  }
  if (ownMove && !isUnitLoaded(newUnit)) AddMeasForRTU(rowOf(newUnit), newUnit, true, key);
  if (isUnitLoaded(newUnit)) {
    MoveByEvent(key, newUnit, true, ownMove);
    return;
  }
  const QModelIndex index = rowOf(key);
  if (index.isValid()) treeModel->DelNode(index, nullptr);  // an invalid one would mean the whole tree
  delOwn(measRecords, record);
}

void CTlmMeasConfig::makeDefaultUnit() {
  if (treeModel->defaultUnit().isValid()) return;
  treeModel->insertNodes(QModelIndex(), 0,
                         {new myConfNode(treeModel->GetRootNode(), defaultUnitText(), nullptr, nullptr)});
}

// What a search for a key finds; without a key nothing.
QModelIndex CTlmMeasConfig::rowOf(const QString& key) const {
  return key.isEmpty() ? QModelIndex() : treeModel->findByKey(key);
}
