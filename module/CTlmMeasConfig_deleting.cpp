#include "CTlmMeasConfig.h"
#include "ChangeSet.h"
#include "IndexFacts.h"
#include "RecordAccess.h"
#include "SaveTexts.h"
#include "ui_TlmMeasConfig.h"

#include <TlmClient/CTlmCliSes.h>

#include <QSet>

namespace {

constexpr char kQuestionTitle[] = "Подтверждение удаления";
constexpr char kAskSeveral[] = "Вы действительно хотите удалить выделенные элементы?";
constexpr char kAskFolder[] = "Вы действительно хотите удалить папку и все ее дочерние элементы?";
constexpr char kAskUnit[] = "Вы действительно хотите удалить устройство и все содержащиеся в нем сигналы?";
constexpr char kAskGroup[] = "Вы действительно хотите удалить все измерения группы?";
constexpr char kAskMeasurement[] = "Вы действительно хотите удалить измерение?";

// What to ask for one row; null for a row that is none of the known kinds.
const char* questionFor(const QModelIndex& row) {
  const myConfNode* node = nodeOf(row);
  if (!node) return nullptr;
  if (node->isFolder) return kAskFolder;
  if (!node->text.isEmpty()) return kAskGroup;
  if (isRemoteUnit(row)) return kAskUnit;
  return measClassByName(classOf(row), Qt::CaseInsensitive) ? kAskMeasurement : nullptr;
}

// The measurements of a unit that the tree never held, with the unit's own entry in the list of deletes.
struct UnopenedUnit {
  QString entry;
  QStringList measurements;
};

QList<UnopenedUnit> fetchUnopened(CTlmMeasConfig& module, const QList<QPersistentModelIndex>& rows) {
  QList<QModelIndex> visited;
  QList<QModelIndex> unloaded;
  for (const QPersistentModelIndex& row : rows)
    if (!visited.contains(row)) module.CheckChildRemouteUnit(row, visited, unloaded);
  QList<UnopenedUnit> units;
  for (const QModelIndex& unit : qAsConst(unloaded)) {
    const QString key = keyOf(unit);
    QStringList measurements;
    module.GetMeasurementsForRTU(key, &measurements, false, QString());
    units.append({key + QLatin1String(",RemoteUnit"), measurements});
  }
  return units;
}

// The measurements of the units that did go.
void appendUnopened(const QList<UnopenedUnit>& units, QStringList& deletes) {
  QSet<QString> gone;
  for (const QString& entry : qAsConst(deletes)) gone.insert(entry.toCaseFolded());
  for (const UnopenedUnit& unit : units)
    if (gone.contains(unit.entry.toCaseFolded())) deletes += unit.measurements;
}

}  // namespace

// ---- the command -----------------------------------------------------------------------------------------

void CTlmMeasConfig::ExecActDel() {
  const QModelIndexList rows = selectedRows();
  if (rows.isEmpty()) return;
  const char* question = rows.size() > 1 ? kAskSeveral : questionFor(rows.first());
  if (!question) return;
  showBox(tr(kQuestionTitle), tr(question), kBoxInformation, kBoxYesNo, SLOT(confirmDelGroup(QAbstractButton*)));
}

void CTlmMeasConfig::confirmDelGroup(QAbstractButton* clickedButton) {
  if (!popMessageBox) return;
  popMessageBox->close();
  if (!clickedButton || popMessageBox->ButtonRole(clickedButton) != 0) return;

  QList<QPersistentModelIndex> rows;  // a row goes with another one above it
  for (const QModelIndex& row : selectedRows()) rows.append(treeModel->indexOf(nodeOf(row)));
  const QString fallback = keyAbove(ui->tV_MeasConfig->currentIndex());
  const QList<UnopenedUnit> unopened = fetchUnopened(*this, rows);
  pendingDeletes.clear();
  groupDeletePending = false;
  {
    // The rows that Qt makes current one after the other are not to be shown: most of them will go as well.
    const QSignalBlocker blocker(ui->tV_MeasConfig->selectionModel());
    for (auto row = rows.crbegin(); row != rows.crend(); ++row)
      if (row->isValid() && treeModel->DelNode(*row, &pendingDeletes)) groupDeletePending = true;
  }
  appendUnopened(unopened, pendingDeletes);
  onActSave_Triggered();
  landSelection(fallback);
}

void CTlmMeasConfig::CheckChildRemouteUnit(QModelIndex index, QList<QModelIndex>& visited,
                                           QList<QModelIndex>& unloaded) {
  const myConfNode* node = index.isValid() ? nodeOf(index) : nullptr;
  if (!node) return;
  visited.append(index);
  if (node->isFolder) {
    for (int row = 0; row < treeModel->rowCount(index); ++row) {
      const QModelIndex child = treeModel->index(row, 0, index);
      if (!visited.contains(child)) CheckChildRemouteUnit(child, visited, unloaded);
    }
  } else if (!node->isLoaded && isRemoteUnit(index)) {
    unloaded.append(index);
  }
}

// ---- what is written -------------------------------------------------------------------------------------

// The tree follows when the events come.
void CTlmMeasConfig::DeleteAgregMeas(QList<MDRData*>& records, QString className) {
  if (records.isEmpty()) return;
  ChangeSet changes;
  for (const MDRData* record : qAsConst(records))
    if (record)
      PrepareDelRec(changes.tables, changes.arrays, fieldText(measRecords, record, 0, moduleCodec), className);
  if (CTlmCliSes* ses = session()) {
    ses->BlockBeg();
    queueChanges(ses, changes, moduleCodec);
    if (endBlock(false)) return;
  }
  showBox(tr(kCommitTitle), tr(kCommitFailed), kBoxError, kBoxOk);
}

// The key of the calculation of a measurement, which is found by its result's name; empty if there is none.
static QByteArray calculationKey(const CTlmMeasConfig& module, const QString& key) {
  MDRData* record = seekText(module.measRecords, 0, key, module.moduleCodec);
  int32_t locId = 0;
  if (!record || MDRGetAsInt32(MDRFldByName(module.measRecords.array, "locId"), record, &locId) < 0)
    return QByteArray();
  MDRData* calculation = seekText(module.tblCalculations, 1, QStringLiteral("RES%1").arg(locId), module.moduleCodec);
  return module.moduleCodec->fromUnicode(fieldText(module.tblCalculations, calculation, 0, module.moduleCodec));
}

void CTlmMeasConfig::PrepareDelRec(QStringList& tables, QList<CMDArray*>& arrays, QString key, QString className) {
  if (key.isEmpty()) return;
  const QByteArray bytes = moduleCodec->fromUnicode(key);
  const auto add = [&](const char* table, const CMDArray& structure, const QByteArray& recordKey) {
    addKeyRecord(tables, arrays, QString::fromLatin1(table), structure, recordKey, MDX_REC_DELETE);
  };
  add("IdentifiedObject", strIdentifiedObject, bytes);
  if (className.compare(QLatin1String(kRemoteUnitClass), Qt::CaseInsensitive) == 0) {
    add("RemoteUnit", strRemoteUnit, bytes);
    return;
  }
  add("Measurement", strMeasurement, bytes);
  const char* last = "Measurement";
  const QByteArray calculation = calculationKey(*this, key);
  if (!calculation.isEmpty()) add(last = "Calculations", tblCalculations, calculation);
  const CMDArray* const structures[] = {&strAnalog, &strDiscrete, &strAccumulator, &strStringMeasurement};
  if (const MeasClass* kind = measClassByName(className, Qt::CaseInsensitive))
    add(kind->className, *structures[kind - kMeasClasses], bytes);
  else  // callers know the four classes alone; another one gives its key twice to the table that was last
    add(last, strMeasurement, bytes);
}
