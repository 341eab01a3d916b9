#include "ModelsTelemetry.h"

void MeasConfTreeModel::MoveNode(const QModelIndex& source, const QModelIndex& target, bool keepFocus) {
  MoveNode(source, data(source, kKeyRole).toString(), data(source, kClassRole).toString(), target, keepFocus);
}

void MeasConfTreeModel::MoveNode(QModelIndex source, QString, QString className, const QModelIndex& target,
                                 bool keepFocus) {
  myConfNode* node = source.isValid() ? nodeFromIndex(source) : nullptr;
  myConfNode* owner = nodeFromIndex(target);
  if (!node || node->isAggregated || !owner) return;
  if (const MeasClass* kind = measClassByName(className, Qt::CaseInsensitive)) {
    const bool isUnit = isClass(reader().value(*owner, NodeField::ClassName), kRemoteUnitClass);
    if (!isUnit && owner->text != defaultUnitText()) return;
    owner = groupOfUnit(owner, QString::fromUtf8(kind->caption));
  }
  // A row with a record, the default unit and the root stay when they are left empty.
  const myConfNode* left = node->parent;
  const bool isGroup = left != rootNode && !left->record && left->text != defaultUnitText();
  const QPersistentModelIndex group = isGroup ? indexOf(left) : QModelIndex();
  if (!moveToEnd(node, owner)) return;
  if (keepFocus)
    emit setFocusRow(indexOf(node));
  else
    SortChildren(owner, sortColumn, sortOrder, true);
  if (!group.isValid()) return;
  left = static_cast<myConfNode*>(group.internalPointer());
  if (left->children.empty()) removeChildren(left->parent, left->row(), 1, nullptr);
}

// Hangs a node behind the last child of an owner. False where that would put it below itself.
bool MeasConfTreeModel::moveToEnd(myConfNode* node, myConfNode* owner) {
  myConfNode* left = node->parent;
  const int row = node->row();
  const int end = static_cast<int>(owner->children.size());
  if (left == owner && row == end - 1) return true;
  settleIndexes();
  if (!beginMoveRows(indexOf(left), row, row, indexOf(owner), end)) return false;
  node->parent = owner;
  owner->children.push_back(node);
  left->children.erase(left->children.begin() + row);
  moveRows(indexOf(left), row, 1, indexOf(owner), end);
  endMoveRows();
  settleIndexes(nullptr, 0, 0);
  return true;
}
