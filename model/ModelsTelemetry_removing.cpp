#include "ModelsTelemetry.h"

#include <algorithm>

bool MeasConfTreeModel::DelNode(const QModelIndex& index, QStringList* removed) {
  myConfNode* node = nodeFromIndex(index);
  if (!node) return false;
  bool gone = false;
  if (!node->children.empty()) gone = removeChildren(node, 0, static_cast<int>(node->children.size()), removed);
  myConfNode* owner = node->parent;
  if (!owner) return gone;
  const bool ownerHasNoRow = owner != rootNode && !owner->record;
  gone = removeChildren(owner, node->row(), 1, removed) || gone;
  if (ownerHasNoRow && owner->children.empty()) removeChildren(owner->parent, owner->row(), 1, removed);
  return gone;
}

bool MeasConfTreeModel::removeChildren(myConfNode* owner, int row, int count, QStringList* removed) {
  const QModelIndex parent = indexOf(owner);
  settleIndexes(owner, row, count);
  rowsGoing_ = true;
  beginRemoveRows(parent, row, row + count - 1);
  prepareRemoveRows(row, count, owner, removed);
  const bool done = removeRows(row, count, parent);
  endRemoveRows();
  rowsGoing_ = false;
  settleIndexes(nullptr, 0, 0);
  return done;
}

bool MeasConfTreeModel::prepareRemoveRows(int row, int count, myConfNode* parent, QStringList* removed) {
  const int present = parent ? static_cast<int>(parent->children.size()) : 0;
  if (row < 0 || row >= present) return false;
  for (int at = std::min(row + count, present) - 1; at >= row; --at) {
    myConfNode* child = parent->children[at];
    if (!child) return false;
    prepareRemoveRows(0, static_cast<int>(child->children.size()), child, removed);
    if (removed)
      removed->append(reader().text(*child, NodeField::Key) + QLatin1Char(',') +
                      reader().text(*child, NodeField::ClassName));
    takeNode(parent, at);
  }
  return true;
}

namespace {

// True if the node is one of `count` children of the owner from `row` on, or stands below one.
bool liesWithin(const myConfNode* node, const myConfNode* owner, int row, int count) {
  while (node && node->parent != owner) node = node->parent;
  return node && node->row() >= row && node->row() < row + count;
}

}  // namespace

// One sort's moves are kept one by one, so that they cost what they are; those of several at once are not.
void MeasConfTreeModel::noteMoves(const std::vector<myConfNode*>& before, const std::vector<myConfNode*>& after) {
  if (before == after) return;
  movesTold_ = movesTold_ && moves_.empty();
  for (size_t row = 0; movesTold_ && row < before.size(); ++row)
    if (before[row] != after[row]) moves_.emplace_back(before[row], static_cast<int>(row));
}

// Nodes go that may stand among the moves.
void MeasConfTreeModel::forgetMoves() {
  movesTold_ = movesTold_ && moves_.empty();
  moves_.clear();
}

void MeasConfTreeModel::settleIndexes() {
  if (!movesTold_) return settleIndexes(nullptr, 0, 0);
  for (const auto& [node, row] : moves_)
    for (int column = 0; column < columnCount(); ++column)
      changePersistentIndex(createIndex(row, column, node), createIndex(node->row(), column, node));
  moves_.clear();
}

// Qt looks for the indexes that a change concerns by row, and by a parent in column 0. A sort leaves the rows of
// persistent indexes behind, and the parent of an index in column 1 has column 1; each of these would keep an index
// of a node that is gone.
void MeasConfTreeModel::settleIndexes(const myConfNode* owner, int row, int count) {
  moves_.clear();
  movesTold_ = true;
  for (const QModelIndex& index : persistentIndexList()) {
    auto* node = static_cast<myConfNode*>(index.internalPointer());
    const bool goes = index.column() > 0 && count > 0 && liesWithin(node, owner, row, count);
    const QModelIndex settled = createIndex(node->row(), goes ? 0 : index.column(), node);
    if (settled != index) changePersistentIndex(index, settled);
  }
}
