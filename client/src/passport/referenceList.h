// The list in which the rows of a referenced table are searched while typing.
#pragma once

#include "passport/referenceRows.h"

#include <QAbstractListModel>
#include <QLineEdit>
#include <QListView>
#include <QPointer>
#include <QSize>

#include <vector>

namespace tlm::passport {

// "(нет)" in row 0, then the rows that hold every word of the filter.
class ReferenceModel : public QAbstractListModel {
  Q_OBJECT

 public:
  using QAbstractListModel::QAbstractListModel;

  void setRows(ReferenceRowsPtr rows);
  void setFilter(const QString& typed);
  void setRowSize(const QSize& size) { rowSize_ = size; }
  int rowOf(const QString& key) const;  // -1 when it is not in sight
  QString key(int row) const;           // empty for "(нет)"
  QString text(int row) const;

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;

 private:
  void applyFilter();
  int source(int row) const;

  ReferenceRowsPtr rows_ = std::make_shared<const ReferenceRows>();
  QString filter_;
  QSize rowSize_;
  std::vector<int> seen_;  // used while a filter is set
};

// A line in which one types to search; the list opens below it and is filled when it opens.
class ReferenceEditor : public QLineEdit {
  Q_OBJECT

 public:
  explicit ReferenceEditor(QWidget* parent);
  ~ReferenceEditor() override;

  void setCurrent(const QString& key, const QString& text);
  bool isPicked() const { return picked_; }
  QString key() const { return key_; }
  QString pickedText() const { return text_; }

  bool isListOpen() const;
  void openList();
  void closeList();
  void setRows(ReferenceRowsPtr rows);  // keeps what was typed and the current row

  // Takes the list's current row if the list is open. False when something was typed that no row holds.
  bool takeCurrentRow();

  // Up, Down and the page keys move in the list, and open it. True when the key was used.
  bool handleKey(int key);

  QListView* list() const { return list_; }

 signals:
  void listOpened();
  void listClosed();
  void picked();

 protected:
  void mousePressEvent(QMouseEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  void makeList();
  void placeList();
  void showCurrent();
  void onTyped(const QString& typed);
  void pickRow(int row);

  QPointer<QListView> list_;
  ReferenceModel* model_;
  QString key_;
  QString text_;
  bool picked_ = false;
};

}  // namespace tlm::passport
