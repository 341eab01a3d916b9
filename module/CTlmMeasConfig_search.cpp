#include "CTlmMeasConfig.h"
#include "IndexFacts.h"
#include "NameWalk.h"
#include "RecordAccess.h"
#include "WorkWithData.h"
#include "ui_TlmMeasConfig.h"

#include <QGuiApplication>
#include <QLineEdit>
#include <QRadioButton>
#include <QTextCodec>
#include <QToolBar>

namespace {

// The key of the unit of the first record, empty without one.
QString unitOfFirstRecord(const CMDArray& records, QTextCodec* codec) {
  return fieldText(records, MDARec(records.array, 0, 0), "remoteunitkey", codec);
}

// The last row at the deepest level; invalid in an empty tree.
QModelIndex lastIndex(const MeasConfTreeModel& model) {
  QModelIndex last;
  const myConfNode* node = model.GetRootNode();
  while (node && !node->children.empty()) {
    const int row = static_cast<int>(node->children.size()) - 1;
    node = node->children.back();
    model.GetIndex(last, row, 0, const_cast<myConfNode*>(node));
  }
  return last;
}

// Shows that the window is busy for as long as it lives.
class WaitCursor {
 public:
  WaitCursor() { QGuiApplication::setOverrideCursor(Qt::WaitCursor); }
  ~WaitCursor() { QGuiApplication::restoreOverrideCursor(); }
  WaitCursor(const WaitCursor&) = delete;
  WaitCursor& operator=(const WaitCursor&) = delete;
};

}  // namespace

void CTlmMeasConfig::FindClear() {
  foundIndexes.clear();
  foundPlaces.clear();
  foundPos = -1;
}

void CTlmMeasConfig::ExecActFind(QModelIndex ind) {
  if (!ind.isValid()) return;
  toolBarFind->show();
  lE_Find->setFocus(Qt::ShortcutFocusReason);
  lE_Find->selectAll();
}

void CTlmMeasConfig::ExecFindClose() {
  toolBarFind->hide();
  ui->tV_MeasConfig->setFocus(Qt::OtherFocusReason);
}

void CTlmMeasConfig::ExecFindActGroup(QAction* action) { FindValue(action == actFindNext); }

void CTlmMeasConfig::onLeRetPressed() { FindValue(true); }

void CTlmMeasConfig::onLeFindEdited(QString) {
  findFromStart = true;
  FindClear();
}

bool CTlmMeasConfig::FindValue(bool forward) {
  const QString text = lE_Find->text();
  QModelIndex found;
  bool success = false;
  {
    const WaitCursor busy;
    if (radioButton_KeyLink->isChecked())
      success = FindKeyLink(text, found);
    else if (radioButton_LocID->isChecked())
      success = FindLocId(text, found);
    else if (radioButton_Name->isChecked())
      success = FindName(text, ui->tV_MeasConfig->currentIndex(), found, forward);
  }
  if (success)
    goTo(found);
  else
    showBox(QStringLiteral("Результат поиска"), QStringLiteral("Искомый элемент не найден"), kBoxError, kBoxOk);
  return success;
}

// Showing a row opens and sorts what it lies in, so it may stand elsewhere afterwards. The view opens rows by their
// first column alone, so that one is shown first. The row is selected alone: the view would let a Shift or Control key
// that is held with Enter widen the selection.
void CTlmMeasConfig::goTo(const QModelIndex& found) {
  const myConfNode* node = nodeOf(found);
  const int column = found.column();
  ui->tV_MeasConfig->scrollTo(found.siblingAtColumn(0), QAbstractItemView::EnsureVisible);
  const QModelIndex row = treeModel->indexOf(node).siblingAtColumn(column);
  ui->tV_MeasConfig->scrollTo(row, QAbstractItemView::EnsureVisible);
  ui->tV_MeasConfig->selectionModel()->setCurrentIndex(row, QItemSelectionModel::ClearAndSelect);
}

bool CTlmMeasConfig::FindName(QString text, QModelIndex start, QModelIndex& found, bool forward) {
  if (!treeModel->GetRootNode() || text.isEmpty()) return false;
  if (stepThroughHits(forward, found)) return true;
  FindClear();
  // No name can hold what its encoding lacks; the server would look for question marks instead.
  if (!moduleCodec->canEncode(text)) return false;
  if (walkForName(text, start.siblingAtColumn(0), found, forward)) return true;
  if (findFromStart) return false;
  // The text has been hit before, so it is looked for once round the tree.
  return walkForName(text, forward ? treeModel->index(0, 0) : lastIndex(*treeModel), found, forward);
}

// The hits were found at an earlier press, and the tree may have changed since. One that is gone is passed over.
bool CTlmMeasConfig::stepThroughHits(bool forward, QModelIndex& found) {
  if (foundPos == -1) return false;
  const int count = static_cast<int>(foundPlaces.size());
  for (int at = forward ? foundPos + 1 : foundPos - 1; at >= 0 && at < count; at += forward ? 1 : -1) {
    const QModelIndex hit = indexOfPlace(foundPlaces[size_t(at)]);
    if (!hit.isValid()) continue;
    foundPos = at;
    foundIndexes[at] = found = hit;
    return true;
  }
  return false;
}

bool CTlmMeasConfig::walkForName(const QString& text, const QModelIndex& start, QModelIndex& found, bool forward) {
  NameWalk walk(*this, text, forward);
  const QModelIndex hit = walk.next(walk.entered(start));
  foundIndexes = walk.hits;
  foundPos = walk.position;
  foundPlaces.clear();
  if (foundPos >= 0)
    for (const QModelIndex& place : qAsConst(foundIndexes)) foundPlaces.push_back(placeOf(place));
  if (!hit.isValid()) {
    FindClear();
    return false;
  }
  found = hit;
  findFromStart = false;
  return true;
}

// A group has no key of its own: it is known by its unit and its caption.
CTlmMeasConfig::FoundPlace CTlmMeasConfig::placeOf(const QModelIndex& index) const {
  const QString key = keyOf(index);
  return key.isEmpty() ? FoundPlace{keyOf(index.parent()), nodeOf(index)->text} : FoundPlace{key, QString()};
}

QModelIndex CTlmMeasConfig::indexOfPlace(const FoundPlace& place) const {
  const QModelIndex index = treeModel->findByKey(place.key);
  int row = 0;
  if (place.groupCaption.isEmpty() || !index.isValid()) return index;
  return treeModel->ExistFold(&nodeOf(index)->children, place.groupCaption, row) ? treeModel->index(row, 0, index)
                                                                                 : QModelIndex();
}

// Fetches the unit of the record and opens it with its groups.
bool CTlmMeasConfig::openUnitOf(const CMDArray& records, QModelIndex& unit) {
  const QString rtuKey = unitOfFirstRecord(records, moduleCodec);
  const QModelIndex hit = rtuKey.isEmpty() ? QModelIndex() : treeModel->findByKey(rtuKey);
  if (!hit.isValid()) return false;
  unit = hit;
  if (!AddMeasForRTU(unit, rtuKey, false, QString())) return false;
  QTreeView* tree = ui->tV_MeasConfig;
  tree->setExpanded(unit, true);
  for (int row = 0; row < treeModel->rowCount(unit); ++row) tree->setExpanded(treeModel->index(row, 0, unit), true);
  return true;
}

namespace {

// The server knows a key in its own case alone, and those it makes are in capitals.
bool recordInAnyCase(CTlmCliSes* session, const QString& key, CMDArray* record) {
  if (GetRecByKey(session, key.toStdString(), record)) return true;
  const QString capitals = key.toUpper();
  return capitals != key && GetRecByKey(session, capitals.toStdString(), record);
}

}  // namespace

bool CTlmMeasConfig::FindKeyLink(QString text, QModelIndex& found) {
  const QModelIndex held = treeModel->findByKey(text);
  if (held.isValid()) {
    found = held;
    return true;
  }
  CMDArray records;
  if (!recordInAnyCase(session(), text, &records) || !openUnitOf(records, found)) return false;
  // Without a hit the unit stays the result.
  const QModelIndex hit = treeModel->findByKey(text);
  if (hit.isValid()) found = hit;
  return true;
}

// The first row in display order whose number is shown as that text, in the number's column. The arrays tell at once
// that there is none, or one; the tree is only walked where several objects have the number.
QModelIndex CTlmMeasConfig::rowWithNumber(const QString& text) {
  constexpr int kNumberKey = 2;
  const int64_t number = text.toLongLong();
  if (QString::number(number) != text) return QModelIndex();
  MDRVar value{};
  value.type = MDX_INT64;
  value.i64 = number;
  int at = -1;
  const MDRData* record = MDARecSeekV(measRecords.array, kNumberKey, &value, &at);
  if (!record) return QModelIndex();
  MDRVar following{};
  if (const MDRData* behind = MDARec(measRecords.array, kNumberKey, at + 1))
    measRecords.GetVal(behind, "locId", following);
  const bool several = hasValue(following) && asInteger(following) == number;
  QModelIndex row;
  if (!several) row = treeModel->findByKey(fieldText(measRecords, record, "KeyLink", moduleCodec));
  for (QModelIndex i = treeModel->index(0, 0); several && i.isValid() && !row.isValid(); i = GetNextIndex(i))
    if (numberOf(i) == text) row = i;
  return row.siblingAtColumn(1);
}

bool CTlmMeasConfig::FindLocId(QString text, QModelIndex& found) {
  bool isNumber = false;
  const int number = text.toInt(&isNumber, 10);
  if (!isNumber) return false;
  const QModelIndex held = rowWithNumber(text);
  if (held.isValid()) {
    found = held;
    return true;
  }
  CMDArray records;
  if (!GetRecByKey(session(), QStringLiteral("#%1").arg(number).toStdString(), &records)) return false;
  if (!openUnitOf(records, found)) return false;
  const QModelIndex fetched = rowWithNumber(text);
  if (fetched.isValid()) {
    found = fetched;
    return true;
  }
  const QString key = fieldText(records, MDARec(records.array, 0, 0), "keylink", moduleCodec);
  if (key.isEmpty()) return true;
  found = treeModel->findByKey(key);
  return found.isValid();
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
  selectCurrent(index);
}

// Selects a row alone and makes it current, past the view: that would take a Control key that happens to be down for
// the wish to toggle. The selection tells of the row before it is the current one, so the path is set once more. Where
// an edit that may not be saved has put the selection back, all stays there.
void CTlmMeasConfig::selectCurrent(const QModelIndex& index) {
  QItemSelectionModel* selection = ui->tV_MeasConfig->selectionModel();
  if (!selection) return ui->tV_MeasConfig->clearSelection();
  selection->select(index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Current);
  if (!index.isValid() || !selection->isSelected(index)) return;
  selection->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
  ChangeToolBarCfg();
}
