#include "CTlmMeasConfig.h"
#include "IndexFacts.h"

namespace {

QModelIndex firstChild(const QModelIndex& index) { return index.model()->index(0, 0, index); }

// The next row behind an ancestor; invalid behind the last one.
QModelIndex nextOfAncestor(QModelIndex index) {
  for (index = index.parent(); index.isValid(); index = index.parent()) {
    const QModelIndex next = index.sibling(index.row() + 1, 0);
    if (next.isValid()) return next;
  }
  return QModelIndex();
}

// The row before one, at the deepest: the parent of a first row.
QModelIndex previousRow(const QModelIndex& index) {
  if (index.row() < 1) return index.parent();
  QModelIndex previous = index.sibling(index.row() - 1, 0);
  while (previous.isValid() && firstChild(previous).isValid()) {
    const int last = static_cast<int>(nodeOf(previous)->children.size()) - 1;
    previous = previous.model()->index(last, 0, previous);
  }
  return previous;
}

// The unit or folder that an index is or lies in; invalid in the default unit.
QModelIndex unitLevel(QModelIndex index) {
  while (index.isValid() && !isRemoteUnit(index) && !nodeOf(index)->isFolder) index = index.parent();
  return index;
}

}  // namespace

QModelIndex CTlmMeasConfig::GetNextIndex(QModelIndex index) {
  if (!index.isValid()) return QModelIndex();
  const QModelIndex child = firstChild(index);
  if (child.isValid()) return child;
  const QModelIndex next = index.sibling(index.row() + 1, 0);
  return next.isValid() ? next : nextOfAncestor(index);
}

QModelIndex CTlmMeasConfig::GetPrevIndex(QModelIndex index) {
  return index.isValid() ? previousRow(index) : QModelIndex();
}

QModelIndex CTlmMeasConfig::GetNextRTUIndex(QModelIndex index) {
  index = unitLevel(index);
  if (!index.isValid()) return QModelIndex();
  const QModelIndex next = index.sibling(index.row() + 1, 0);
  return next.isValid() ? next : nextOfAncestor(index);
}

QModelIndex CTlmMeasConfig::GetPrevRTUIndex(QModelIndex index) {
  index = unitLevel(index);
  return index.isValid() ? previousRow(index) : QModelIndex();
}

bool CTlmMeasConfig::GetIndexParent(QModelIndex index, QModelIndex& parent) {
  if (!index.isValid()) return false;
  parent = index.parent();
  if (parent.isValid() && isGroupCaption(nodeOf(parent)->text)) parent = parent.parent();
  return true;
}

QString CTlmMeasConfig::GetKeyLinkByModelIndex(QModelIndex index) {
  return index.isValid() ? index.data(kKeyRole).toString() : QString();
}

QString CTlmMeasConfig::GetKeyLinkRTU(QModelIndex index) {
  if (!index.isValid()) return QString();
  if (isRemoteUnit(index)) return GetKeyLinkByModelIndex(index);
  const QModelIndex parent = index.parent();
  if (isGroupCaption(nodeOf(index)->text)) return isRemoteUnit(parent) ? GetKeyLinkByModelIndex(parent) : QString();
  if (!measClassByName(index.data(kClassRole).toString(), Qt::CaseInsensitive)) return QString();
  return GetKeyLinkByModelIndex(parent.parent());
}
