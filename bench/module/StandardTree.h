// The same rows in Qt's own model: what the benches compare with.
#ifndef TLMBENCH_STANDARDTREE_H
#define TLMBENCH_STANDARDTREE_H

#include <QStandardItemModel>
#include <QTreeView>

namespace tlm::bench {

enum class Copy { kTexts, kTextsIconsColours };

// Puts copies of the rows below `from`, with all below them, under `to`.
void copyRows(const QModelIndex& from, QStandardItem* to, Copy what);

// A view with the settings and the size of another.
std::unique_ptr<QTreeView> viewLike(const QTreeView& view);

}  // namespace tlm::bench

#endif
