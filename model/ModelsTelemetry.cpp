#include "ModelsTelemetry.h"

#include "CTlmMeasConfig.h"

#include <algorithm>

MeasConfTreeModel::MeasConfTreeModel(CTlmMeasConfig* parent)
    : QAbstractItemModel(parent), module(parent), keys_(reader_) {}

MeasConfTreeModel::~MeasConfTreeModel() { delete rootNode; }

const RecordReader& MeasConfTreeModel::reader() const {
  reader_.use(codec);
  return reader_;
}

// ---- indexes --------------------------------------------------------------------------------------------

QModelIndex MeasConfTreeModel::index(int row, int column, const QModelIndex& parent) const {
  const myConfNode* node = nodeFromIndex(parent);
  if (!node || row < 0 || row >= static_cast<int>(node->children.size())) return QModelIndex();
  myConfNode* child = node->children[row];
  return child ? createIndex(row, column, child) : QModelIndex();
}

QModelIndex MeasConfTreeModel::parent(const QModelIndex& index) const {
  if (!index.isValid()) return QModelIndex();
  const myConfNode* node = nodeFromIndex(index);
  myConfNode* owner = node ? node->parent : nullptr;
  if (!owner || owner == rootNode) return QModelIndex();
  const int row = owner->row();
  return row < 0 ? QModelIndex() : createIndex(row, index.column(), owner);
}

int MeasConfTreeModel::rowCount(const QModelIndex& parent) const {
  if (parent.column() > 0) return 0;
  const myConfNode* node = nodeFromIndex(parent);
  return node ? static_cast<int>(node->children.size()) : 0;
}

int MeasConfTreeModel::columnCount(const QModelIndex&) const { return 2; }

bool MeasConfTreeModel::hasChildren(const QModelIndex& parent) const {
  const myConfNode* node = nodeFromIndex(parent);
  if (!node) return false;
  if (!node->isLoaded && isClass(reader().value(*node, NodeField::ClassName), kRemoteUnitClass)) return true;
  return !node->children.empty();
}

myConfNode* MeasConfTreeModel::nodeFromIndex(const QModelIndex& index) const {
  return index.isValid() ? static_cast<myConfNode*>(index.internalPointer()) : rootNode;
}

void MeasConfTreeModel::GetIndex(QModelIndex& out, int row, int column, myConfNode* node) const {
  out = createIndex(row, column, node);
}

QModelIndex MeasConfTreeModel::indexOf(const myConfNode* node) const {
  if (!node || node == rootNode) return QModelIndex();
  const int row = node->row();
  return row < 0 ? QModelIndex() : createIndex(row, 0, const_cast<myConfNode*>(node));
}

// ---- search ---------------------------------------------------------------------------------------------

namespace {

// The rows from the root down. In display order a node stands before another if its path does.
std::vector<int> pathOf(const myConfNode* node) {
  std::vector<int> path;
  for (; node && node->parent; node = node->parent) path.push_back(node->row());
  std::reverse(path.begin(), path.end());
  return path;
}

}  // namespace

QModelIndex MeasConfTreeModel::findByKey(const QString& key) const {
  reader();
  if (key.isEmpty()) {  // nodes without a key are not in the index
    const auto hits = match(index(0, 0), kKeyRole, key, 1, Qt::MatchFixedString | Qt::MatchWrap | Qt::MatchRecursive);
    return hits.value(0);
  }
  const myConfNode* first = nullptr;
  keys_.forEach(key, [&](const myConfNode* node) {
    if (!first || pathOf(node) < pathOf(first)) first = node;
  });
  return indexOf(first);
}

// ---- changes of the shape -------------------------------------------------------------------------------

void MeasConfTreeModel::setRootNode(myConfNode* root) {
  forgetMoves();
  if (rootNode == root) keys_.remove(root);  // the same tree again, perhaps with more in it
  keys_.clear();
  if (rootNode != root) {  // no reset tells whoever keeps an index of the old tree
    for (const QModelIndex& index : persistentIndexList()) changePersistentIndex(index, QModelIndex());
    delete rootNode;
  }
  rootNode = root;
  reader();
  keys_.add(root);
  defaultUnit_ = nullptr;
  for (size_t i = 0; root && i < root->children.size(); ++i) noteDefaultUnit(root->children[i]);
  resetInternalData();
}

bool MeasConfTreeModel::insertNodes(const QModelIndex& parent, int row, const std::vector<myConfNode*>& nodes) {
  myConfNode* owner = nodeFromIndex(parent);
  if (!owner || nodes.empty()) return false;
  const int count = static_cast<int>(nodes.size());
  BeginInsertRows(parent, row, row + count - 1);
  for (myConfNode* node : nodes) node->parent = owner;
  owner->children.insert(owner->children.begin() + row, nodes.begin(), nodes.end());
  const bool inserted = insertRows(row, count, parent);
  EndInsertRows();
  return inserted;
}

std::unique_ptr<myConfNode> MeasConfTreeModel::takeNode(myConfNode* parent, int row) {
  std::unique_ptr<myConfNode> node(parent->children[row]);
  forgetMoves();
  keys_.remove(node.get());
  if (node.get() == defaultUnit_) defaultUnit_ = nullptr;
  parent->children.erase(parent->children.begin() + row);
  return node;
}

void MeasConfTreeModel::BeginInsertRows(const QModelIndex& parent, int first, int last) {
  insertParent_ = nodeFromIndex(parent);
  insertFirst_ = first;
  insertLast_ = last;
  insertShifts_ = insertParent_ && first < static_cast<int>(insertParent_->children.size());
  settleIndexes();
  beginInsertRows(parent, first, last);
}

void MeasConfTreeModel::EndInsertRows() {
  reader();
  // The rows that were told may never have come: a unit that turned out empty tells of one.
  const int count = insertParent_ ? static_cast<int>(insertParent_->children.size()) : 0;
  for (int row = insertFirst_; row <= insertLast_ && row < count; ++row) {
    keys_.add(insertParent_->children[row]);
    noteDefaultUnit(insertParent_->children[row]);
  }
  insertParent_ = nullptr;
  endInsertRows();
  if (insertShifts_) settleIndexes(nullptr, 0, 0);
}

// One at most, and always at the top, so that no search by text is needed.
void MeasConfTreeModel::noteDefaultUnit(myConfNode* node) {
  if (node && node->parent == rootNode && !node->record && node->text == defaultUnitText()) defaultUnit_ = node;
}

bool MeasConfTreeModel::insertRows(int, int count, const QModelIndex&) { return count != 0; }

bool MeasConfTreeModel::removeRows(int, int count, const QModelIndex&) { return count != 0; }

bool MeasConfTreeModel::moveRows(const QModelIndex&, int, int, const QModelIndex&, int) { return true; }

bool MeasConfTreeModel::moveRow(const QModelIndex&, int, const QModelIndex&, int) { return true; }

// ---- order ----------------------------------------------------------------------------------------------

void MeasConfTreeModel::sort(int column, Qt::SortOrder order) {
  emit layoutAboutToBeChanged();
  sortOrder = order;
  sortColumn = column;
  sortBelow(rootNode, column, order, false);
  emit layoutChanged();
}

void MeasConfTreeModel::SortChildren(myConfNode* node, int column, Qt::SortOrder order, bool thisLevelOnly) {
  emit layoutAboutToBeChanged();
  sortBelow(node, column, order, thisLevelOnly);
  emit layoutChanged();
}

void MeasConfTreeModel::sortBelow(myConfNode* node, int column, Qt::SortOrder order, bool thisLevelOnly) {
  if (!node || node->children.empty()) return;
  const std::vector<myConfNode*> before = node->children;
  sortNodes(node->children, column, order, reader());
  noteMoves(before, node->children);
  if (thisLevelOnly) return;
  for (myConfNode* child : node->children) SortChildren(child, column, order, false);
}
