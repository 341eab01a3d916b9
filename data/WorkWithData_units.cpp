#include "CTlmMeasConfig.h"
#include "IndexFacts.h"
#include "KeyWalk.h"
#include "MeasRows.h"
#include "WorkWithData.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace {

// Where the tree shows the object of a loose node; invalid where it does not.
QModelIndex shownAt(const CTlmMeasConfig& module, const myConfNode& node) {
  if (!node.record) return QModelIndex();
  const QString key = fieldText(*node.table, node.record, 0, module.moduleCodec);
  return key.isEmpty() ? QModelIndex() : module.treeModel->findByKey(key);
}

// Takes those out of the loose nodes below `owner` that the tree shows elsewhere, such as a measurement that is
// about to move here. What hung under such a node goes under the one in the tree.
void leaveOutShown(const CTlmMeasConfig& module, myConfNode* owner) {
  std::vector<std::unique_ptr<myConfNode>> shown;
  std::erase_if(owner->children, [&](myConfNode* child) {
    leaveOutShown(module, child);
    if (!shownAt(module, *child).isValid()) return false;
    shown.emplace_back(child);
    return true;
  });
  for (const std::unique_ptr<myConfNode>& node : shown) {
    const QModelIndex place = shownAt(module, *node);
    module.treeModel->insertNodes(place, module.treeModel->rowCount(place), std::exchange(node->children, {}));
  }
}

// Hangs groups under a unit. One whose caption stands there already gives its measurements to that one.
bool hangGroups(MeasConfTreeModel& model, const QModelIndex& unit, const QList<myConfNode*>& groups) {
  const std::vector<myConfNode*> present = model.nodeFromIndex(unit)->children;
  std::vector<myConfNode*> fresh;
  for (myConfNode* group : groups) {
    const auto same = std::find_if(present.begin(), present.end(),
                                   [&](const myConfNode* node) { return !node->record && node->text == group->text; });
    if (same == present.end()) {
      fresh.push_back(group);
      continue;
    }
    const std::unique_ptr<myConfNode> shell(group);
    model.insertNodes(model.indexOf(*same), static_cast<int>((*same)->children.size()),
                      std::exchange(shell->children, {}));
  }
  return fresh.empty() || model.insertNodes(unit, static_cast<int>(present.size()), fresh);
}

// A unit that turned out to be empty: the view asks again whether it has children.
bool tellNoRows(MeasConfTreeModel& model, const QModelIndex& unit) {
  model.BeginInsertRows(unit, 0, 0);
  const bool told = model.insertRows(0, 0, unit);
  model.EndInsertRows();
  return told;
}

}  // namespace

bool CTlmMeasConfig::AddMeasForRTU(QModelIndex unit, QString rtuKey, bool skipOne, QString skipKey) {
  myConfNode* node = unit.isValid() ? nodeOf(unit) : nullptr;
  if (!node) return false;
  if (node->isLoaded) return true;
  if (rtuKey.isEmpty()) rtuKey = unit.data(kKeyRole).toString();
  if (rtuKey.isEmpty()) return false;

  const QByteArray keyBytes = encodeText(rtuKey, moduleCodec);
  MDRVar key = textVar(keyBytes);
  const bool someHeld = MDARecSeekV(measRecords.array, 1, &key, nullptr) != nullptr;
  // One key has one row: what is held already is not taken again.
  const MergeRules rules{skipOne ? moduleCodec->fromUnicode(skipKey) : QByteArray(), true};
  fetchMeasurements(this, rtuKey, [&](MDArray* rows) { mergeMeasurements(measRecords, rows, rules); });

  QStringList groupClasses;
  QList<myConfNode*> groupNodes;
  GetMeasurements(key, node, this, &groupClasses, &groupNodes, skipOne, skipKey);
  if (someHeld) {
    for (myConfNode* group : qAsConst(groupNodes)) leaveOutShown(*this, group);
  }
  const bool inserted = groupNodes.isEmpty() ? tellNoRows(*treeModel, unit) : hangGroups(*treeModel, unit, groupNodes);
  node->isLoaded = true;
  loadedRemoteUnits.append(rtuKey);
  return inserted;
}

void CTlmMeasConfig::slotExpandedTVMeas(QModelIndex index) {
  myConfNode* node = index.isValid() ? nodeOf(index) : nullptr;
  if (!node) return;
  node->isExpanded = true;
  if (!node->isLoaded && isRemoteUnit(index)) AddMeasForRTU(index, QString(), false, QString());
  treeModel->SortChildren(node, treeModel->sortColumn, treeModel->sortOrder, true);
}

void CTlmMeasConfig::slotCollapsedTVMeas(QModelIndex index) {
  myConfNode* node = index.isValid() ? nodeOf(index) : nullptr;
  if (node) node->isExpanded = false;
}
