#include "CTlmMeasConfig.h"
#include "IndexFacts.h"
#include "RecordAccess.h"
#include "WorkWithData.h"
#include "ui_TlmMeasConfig.h"

#include <QToolBar>

namespace {

// The key of the unit of the first record, empty without one.
QString unitOfFirstRecord(const CMDArray& records, QTextCodec* codec) {
  return fieldText(records, MDARec(records.array, 0, 0), "remoteunitkey", codec);
}

}  // namespace

void CTlmMeasConfig::FindClear() {
  foundIndexes.clear();
  foundPos = -1;
}

void CTlmMeasConfig::ExecActFind(QModelIndex ind) {
  if (ind.isValid()) toolBarFind->show();
}

void CTlmMeasConfig::ExecFindClose() { toolBarFind->hide(); }

void CTlmMeasConfig::ExecFindActGroup(QAction* action) { FindValue(action == actFindNext); }

void CTlmMeasConfig::onLeRetPressed() { FindValue(true); }

void CTlmMeasConfig::onLeFindEdited(QString) {
  findFromStart = true;
  FindClear();
}

// Opens the unit and its groups and looks again below it; without a hit the unit itself stays the result.
bool CTlmMeasConfig::FindKeyLink(QString text, QModelIndex& found) {
  QModelIndex hit = treeModel->findByKey(text);
  if (hit.isValid()) {
    found = hit;
    return true;
  }
  CMDArray records;
  if (!GetRecByKey(session(), text.toStdString(), &records)) return false;
  const QString rtuKey = unitOfFirstRecord(records, moduleCodec);
  if (rtuKey.isEmpty()) return false;
  hit = treeModel->findByKey(rtuKey);
  if (!hit.isValid()) return false;
  found = hit;
  if (!AddMeasForRTU(found, rtuKey, false, QString())) return false;
  QTreeView* tree = ui->tV_MeasConfig;
  tree->setExpanded(found, true);
  for (int row = 0; row < treeModel->rowCount(found); ++row) tree->setExpanded(treeModel->index(row, 0, found), true);
  hit = treeModel->findByKey(text);
  if (hit.isValid()) found = hit;
  return true;
}

void CTlmMeasConfig::OnSetFocusRow(QModelIndex id) {
  if (!id.isValid()) return;
  QTreeView* tree = ui->tV_MeasConfig;
  QModelIndex index = id;
  const QModelIndex above = id.parent();
  if (above.isValid()) {
    const QString key = keyOf(id);
    if (tree->isExpanded(above))
      treeModel->SortChildren(nodeOf(above), treeModel->sortColumn, treeModel->sortOrder, true);
    else
      tree->expand(above);
    const QModelIndex moved = key.isEmpty() ? QModelIndex() : treeModel->findByKey(key);
    if (moved.isValid()) index = moved;
  }
  tree->scrollTo(index, QAbstractItemView::EnsureVisible);
  if (QItemSelectionModel* selection = tree->selectionModel())
    selection->select(index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Current);
  else
    tree->clearSelection();
  tree->setCurrentIndex(index);
}

// The search itself is not offered yet.

bool CTlmMeasConfig::FindValue(bool) { return false; }

bool CTlmMeasConfig::FindName(QString, QModelIndex, QModelIndex&, bool) { return false; }

bool CTlmMeasConfig::FindLocId(QString, QModelIndex&) { return false; }
