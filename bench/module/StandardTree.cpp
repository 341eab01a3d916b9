#include "StandardTree.h"

#include <QHeaderView>

#include <memory>

namespace tlm::bench {

namespace {

QStandardItem* copyOf(const QModelIndex& index, Copy what) {
  auto* item = new QStandardItem(index.data().toString());
  if (what == Copy::kTexts) return item;
  const QVariant icon = index.data(Qt::DecorationRole);
  if (icon.isValid()) item->setData(icon, Qt::DecorationRole);
  item->setData(index.data(Qt::ForegroundRole), Qt::ForegroundRole);
  return item;
}

}  // namespace

void copyRows(const QModelIndex& from, QStandardItem* to, Copy what) {
  const QAbstractItemModel* model = from.model();
  const int count = model->rowCount(from);
  for (int row = 0; row < count; ++row) {
    const QModelIndex index = model->index(row, 0, from);
    QStandardItem* item = copyOf(index, what);
    to->appendRow({item, copyOf(model->index(row, 1, from), what)});
    copyRows(index, item, what);
  }
}

std::unique_ptr<QTreeView> viewLike(const QTreeView& view) {
  auto copy = std::make_unique<QTreeView>();
  copy->setFont(view.font());
  copy->setAlternatingRowColors(view.alternatingRowColors());
  copy->setUniformRowHeights(view.uniformRowHeights());
  copy->setIconSize(view.iconSize());
  copy->setStyleSheet(view.styleSheet());
  copy->setSelectionMode(view.selectionMode());
  copy->setSelectionBehavior(view.selectionBehavior());
  copy->header()->setDefaultSectionSize(view.header()->defaultSectionSize());
  copy->resize(view.size());
  copy->show();
  return copy;
}

}  // namespace tlm::bench
