// A plain list of the rows of a tree, kept by nothing but the model's notifications.
#ifndef TLMTEST_TREEMIRROR_H
#define TLMTEST_TREEMIRROR_H

#include <QAbstractItemModel>
#include <QHash>
#include <QObject>
#include <QStringList>

#include <memory>
#include <vector>

namespace tlm::test {

// Knows the rows by their internal pointers, which it never follows.
class TreeMirror : public QObject {
 public:
  explicit TreeMirror(QAbstractItemModel& model) : model_(model), root_(std::make_unique<Row>()) {
    read(*root_, QModelIndex());
    connect(&model, &QAbstractItemModel::rowsInserted, this, &TreeMirror::inserted);
    connect(&model, &QAbstractItemModel::rowsRemoved, this, &TreeMirror::removed);
    connect(&model, &QAbstractItemModel::rowsMoved, this, &TreeMirror::moved);
    connect(&model, &QAbstractItemModel::layoutChanged, this, [this] { reorder(*root_, QModelIndex()); });
  }

  // What the notifications got wrong; empty when they told all.
  QStringList faults() {
    compare(*root_, QModelIndex());
    return std::exchange(faults_, {});
  }
  int pairsWithoutRows() const { return pairsWithoutRows_; }

 private:
  struct Row {
    const void* node = nullptr;
    Row* parent = nullptr;
    std::vector<std::unique_ptr<Row>> children;
  };
  using Rows = std::vector<std::unique_ptr<Row>>;

  std::unique_ptr<Row> take(const QModelIndex& index, Row* parent) {
    auto row = std::make_unique<Row>();
    row->node = index.internalPointer();
    row->parent = parent;
    if (known_.contains(row->node)) faults_ += "a row was inserted that stands already";
    known_.insert(row->node, row.get());
    read(*row, index);
    return row;
  }
  void read(Row& row, const QModelIndex& index) {
    for (int i = 0; i < model_.rowCount(index); ++i) row.children.push_back(take(model_.index(i, 0, index), &row));
  }
  Row& rowOf(const QModelIndex& index) {
    if (!index.isValid()) return *root_;
    Row* row = known_.value(index.internalPointer());
    if (!row) faults_ += "a notification names a parent that was never inserted";
    return row ? *row : *root_;
  }
  bool within(const Row& row, int first, int last) {
    if (first >= 0 && first <= last && last < static_cast<int>(row.children.size())) return true;
    faults_ += QString("rows %1 to %2 of %3").arg(first).arg(last).arg(row.children.size());
    return false;
  }

  void inserted(const QModelIndex& parent, int first, int last) {
    Row& row = rowOf(parent);
    if (model_.rowCount(parent) == 0 && row.children.empty()) {  // a unit that was found empty
      ++pairsWithoutRows_;
      return;
    }
    if (first > static_cast<int>(row.children.size())) {
      faults_ += "rows were inserted past the end";
      return;
    }
    for (int i = first; i <= last; ++i)
      row.children.insert(row.children.begin() + i, take(model_.index(i, 0, parent), &row));
  }
  void removed(const QModelIndex& parent, int first, int last) {
    Row& row = rowOf(parent);
    if (!within(row, first, last)) return;
    for (int i = first; i <= last; ++i) forget(*row.children[i]);
    row.children.erase(row.children.begin() + first, row.children.begin() + last + 1);
  }
  void forget(Row& row) {
    known_.remove(row.node);
    for (const auto& child : row.children) forget(*child);
  }
  void moved(const QModelIndex& from, int first, int last, const QModelIndex& to, int at) {
    Row& source = rowOf(from);
    Row& target = rowOf(to);
    if (!within(source, first, last)) return;
    Rows rows;
    for (int i = first; i <= last; ++i) rows.push_back(std::move(source.children[i]));
    source.children.erase(source.children.begin() + first, source.children.begin() + last + 1);
    if (&source == &target && at > last) at -= last - first + 1;
    if (at > static_cast<int>(target.children.size())) {
      faults_ += "rows were moved past the end";
      at = static_cast<int>(target.children.size());
    }
    for (auto& row : rows) row->parent = &target;
    target.children.insert(target.children.begin() + at, std::make_move_iterator(rows.begin()),
                           std::make_move_iterator(rows.end()));
  }

  // A new layout may change the order of siblings and nothing else.
  void reorder(Row& row, const QModelIndex& index) {
    const int count = model_.rowCount(index);
    if (count != static_cast<int>(row.children.size())) {
      faults_ += "a new layout changed the number of rows";
      return;
    }
    QHash<const void*, int> places;
    for (int i = 0; i < count; ++i) places.insert(model_.index(i, 0, index).internalPointer(), i);
    Rows ordered(row.children.size());
    for (auto& child : row.children) {
      const int place = places.value(child->node, -1);
      if (place < 0 || ordered[place]) {
        faults_ += "a new layout changed the rows";
        return;
      }
      ordered[place] = std::move(child);
    }
    row.children = std::move(ordered);
    for (int i = 0; i < count; ++i) reorder(*row.children[i], model_.index(i, 0, index));
  }

  void compare(const Row& row, const QModelIndex& index) {
    const int count = model_.rowCount(index);
    if (count != static_cast<int>(row.children.size())) {
      faults_ += QString("%1: %2 rows were told, %3 are there")
                     .arg(index.data().toString())
                     .arg(row.children.size())
                     .arg(count);
      return;
    }
    for (int i = 0; i < count; ++i) {
      const QModelIndex child = model_.index(i, 0, index);
      if (row.children[i]->node != child.internalPointer())
        faults_ += QString("%1: row %2 is another one").arg(index.data().toString()).arg(i);
      compare(*row.children[i], child);
    }
  }

  QAbstractItemModel& model_;
  std::unique_ptr<Row> root_;
  QHash<const void*, Row*> known_;
  QStringList faults_;
  int pairsWithoutRows_ = 0;
};

}  // namespace tlm::test

#endif
