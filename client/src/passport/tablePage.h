// A tab of the passport for a table whose rows belong to the object, such as its calculations.
#pragma once

#include "passport/objectForm.h"

#include <QAbstractTableModel>
#include <QWidget>

#include <functional>

class QTableView;

namespace tlm::passport {

class SheetDelegate;

struct PageCell {
  QVariant value;
  QString text;
  bool edited = false;
};

struct PageRow {
  QString tableId;  // of the form's table
  std::vector<PageCell> cells;
};

class TablePageModel : public QAbstractTableModel {
  Q_OBJECT

 public:
  using EditHandler = std::function<bool(const PageRow& row, const FieldMeta& meta, const Edit& edit)>;

  using QAbstractTableModel::QAbstractTableModel;
  void setEditHandler(EditHandler handler) { handler_ = std::move(handler); }
  void setContent(std::vector<FieldMetaPtr> columns, std::vector<PageRow> rows);
  void setEditable(bool editable) { editable_ = editable; }
  const std::vector<PageRow>& rows() const { return rows_; }

  int rowCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : int(rows_.size()); }
  int columnCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : int(columns_.size()); }
  QVariant data(const QModelIndex& index, int role) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role) override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  bool sameCells(const std::vector<FieldMetaPtr>& columns, const std::vector<PageRow>& rows) const;

  std::vector<FieldMetaPtr> columns_;
  std::vector<PageRow> rows_;
  EditHandler handler_;
  bool editable_ = true;
};

class TablePage : public QWidget {
  Q_OBJECT

 public:
  TablePage(TablePageModel* model, SheetDelegate* delegate, const QFont& font);
  QTableView* view() const { return view_; }
  void fitColumns();

 private:
  QTableView* view_;
};

}  // namespace tlm::passport
