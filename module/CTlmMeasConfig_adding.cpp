#include "CTlmMeasConfig.h"
#include "IndexFacts.h"
#include "RecordAccess.h"
#include "ui_TlmMeasConfig.h"

namespace {

// What each action of the menu makes. A folder has no class; `unitKey` asks for the key of the unit that the
// current row stands in.
struct AddRow {
  QAction* CTlmMeasConfig::*action;
  const char* className;
  bool unitKey;
  bool atRoot;
};

constexpr AddRow kAddRows[] = {
    {&CTlmMeasConfig::actAddRootFolder, "", false, true},
    {&CTlmMeasConfig::actAddFolder, "", false, false},
    {&CTlmMeasConfig::actAddAnalog, "Analog", true, false},
    {&CTlmMeasConfig::actAddDiscrete, "Discrete", true, false},
    {&CTlmMeasConfig::actAddString, "StringMeasurement", true, false},
    {&CTlmMeasConfig::actAddAccumulator, "Accumulator", true, false},
    {&CTlmMeasConfig::actAddRTU, kRemoteUnitClass, false, false},
};

QModelIndex currentRow(const QTreeView* tree) {
  const QModelIndex index = tree->currentIndex();
  return index.sibling(index.row(), 0);
}

}  // namespace

// A unit's measurements are fetched before the first one is added, so that the new one joins the real group.
void CTlmMeasConfig::ExecAddActGroup(QAction* action) {
  const QModelIndex index = currentRow(ui->tV_MeasConfig);
  for (const AddRow& row : kAddRows) {
    if (this->*row.action != action) continue;
    QString unitKey;
    if (row.unitKey) {
      if (isRemoteUnit(index)) AddMeasForRTU(index, QString(), false, QString());
      unitKey = GetKeyLinkRTU(index);
    }
    ExecActAdd(QString::fromLatin1(row.className), unitKey, row.atRoot);
    return;
  }
}

// The object stands in the tree and in the module's arrays; the server hears of it when it is saved. What was
// pending is saved first, and stays beside the new one when it is refused.
void CTlmMeasConfig::ExecActAdd(QString ClassName, QString KeyLinkRTU, bool fl_root) {
  if (newObjectInPassport || passportEdited) onActSave_Triggered();
  const QModelIndex index = currentRow(ui->tV_MeasConfig);
  CheckEnabledAgregData(index);
  QString key;
  const auto seen = connect(treeModel, &MeasConfTreeModel::setFocusRow, this,
                            [&key](const QModelIndex& added) { key = keyOf(added); });
  const ScopeGuard guard([&] { disconnect(seen); });
  if (!treeModel->AddNode(index, ClassName, KeyLinkRTU, fl_root)) return;
  addedKey = key;
  newObjectInPassport = true;
  SaveCancelEnable(true);
  actAgregData->setEnabled(false);
}

// The new object leaves the tree, the arrays and the list of units, whatever is current. Aggregated measurements that
// came under it, because another client has given its number away meanwhile, go to their real primary.
void CTlmMeasConfig::takeBackAdded() {
  const QString key = addedKey;
  addedKey.clear();
  if (key.isEmpty()) return;
  const QModelIndex index = rowOf(key);
  const QString fallback = keyAbove(index);
  QStringList removed;
  if (index.isValid()) treeModel->DelNode(index, &removed);
  for (CMDArray* array : {&measRecords, &tblRemoteUnit, &tblRemoteUnitFolder})
    if (MDRData* record = seekText(*array, 0, key, moduleCodec)) delOwn(*array, record);
  forgetLoaded(key);
  for (const QString& entry : qAsConst(removed))
    if (!entry.startsWith(QLatin1Char(','))) AddNodeByEvent(entry.section(',', 0, 0), QStringLiteral("Measurement"));
  if (!removed.isEmpty()) landSelection(fallback);
}
