// The tree view and its header.
#ifndef TLMMEAS_TREEVIEWS_H
#define TLMMEAS_TREEVIEWS_H

#include <QHeaderView>
#include <QTreeView>

class QMimeData;

// A tree view that tells the keyboard modifiers of each release of the left button.
class KeysModifQTreeViewMeas : public QTreeView {
  Q_OBJECT

 public:
  using QTreeView::QTreeView;

 signals:
  void keysModif(Qt::KeyboardModifiers modifiers);

 protected:
  void mouseReleaseEvent(QMouseEvent* event) override;
};

// A header that takes drops of measurement documents: they go to the top level.
class DropHeaderView : public QHeaderView {
  Q_OBJECT

 public:
  DropHeaderView(Qt::Orientation orientation, QWidget* parent, QObject* model);

 signals:
  // For listeners; the header itself hands a drop to the model.
  void signDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column, const QModelIndex& parent);

 protected:
  void dropEvent(QDropEvent* event) override;

 private:
  QObject* model_;
};

#endif
