// The view of the sheet: looks, keys, and the place that is kept from object to object.
#pragma once

#include <QModelIndex>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QTreeView>

namespace tlm::passport {

class SheetDelegate;
class SheetModel;

class SheetView : public QObject {
  Q_OBJECT

 public:
  SheetView(SheetModel* model, SheetDelegate* delegate, QObject* parent);
  ~SheetView() override;

  void attach(QTreeView* view);
  QTreeView* view() const { return view_; }

  // Around a change of the rows: groups, current field and scroll position are kept.
  void keepPlace();
  void restorePlace();

  // Opens the editor of the field after or before the current one. False when there is none.
  bool moveOn(int step);

 protected:
  bool eventFilter(QObject* object, QEvent* event) override;

 private:
  void setUpLooks();
  bool isShortcut(QKeyEvent* event) const;
  bool handleKey(QKeyEvent* event);
  void copyValue();
  void editCurrent();
  bool stepField(int step);
  void onClicked(const QModelIndex& index);
  QModelIndex valueIndex() const;
  QString placeOf(const QModelIndex& index) const;
  QModelIndex indexOfPlace(const QString& place) const;

  SheetModel* model_;
  SheetDelegate* delegate_;
  QPointer<QTreeView> view_;
  QSet<QString> closed_;  // tables of closed groups
  QString top_;
  QString current_;
  int scroll_ = 0;
  bool restoring_ = false;
};

}  // namespace tlm::passport
