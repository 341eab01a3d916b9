#include "SortKeeper.h"

#include "IndexFacts.h"
#include "ModelsTelemetry.h"

#include <QItemSelectionModel>
#include <QSignalBlocker>

#include <algorithm>

SortKeeper::SortKeeper(MeasConfTreeModel* model, QTreeView* view) : QObject(model), model_(model), view_(view) {
  connect(model, &QAbstractItemModel::layoutAboutToBeChanged, this, [this] { before(); });
  connect(model, &QAbstractItemModel::layoutChanged, this, [this] { after(); });
}

void SortKeeper::before() {
  if (depth_++ == 0) kept_ = selected();
  model_->settleIndexes();
}

void SortKeeper::after() {
  model_->settleIndexes();
  if (--depth_ == 0 && selected() != kept_) putBack();
}

std::vector<std::pair<myConfNode*, int>> SortKeeper::selected() const {
  std::vector<std::pair<myConfNode*, int>> all;
  if (view_->model() != model_) return all;
  const QModelIndexList indexes = view_->selectionModel()->selectedIndexes();
  all.reserve(size_t(indexes.size()));
  for (const QModelIndex& index : indexes) all.emplace_back(nodeOf(index), index.column());
  std::sort(all.begin(), all.end());
  return all;
}

// Without the selection's signals: the same objects are selected, so nothing is to be saved or shown anew.
void SortKeeper::putBack() const {
  QItemSelection selection;
  for (const auto& [node, column] : kept_) {
    const QModelIndex index = model_->indexOf(node).siblingAtColumn(column);
    selection.select(index, index);
  }
  const QSignalBlocker blocker(view_->selectionModel());
  view_->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
  view_->viewport()->update();
}
