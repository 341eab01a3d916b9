#include "passport/tablePage.h"

#include "passport/looks.h"
#include "passport/sheetDelegate.h"
#include "passport/sheetModel.h"

#include <QHeaderView>
#include <QTableView>
#include <QVBoxLayout>

namespace tlm::passport {

namespace {

constexpr int kWidestColumn = 260;

QVariant lookOf(const PageCell& cell, int role) {
  if (!cell.edited) return {};
  return role == Qt::ForegroundRole ? QVariant(kEditedColor) : QVariant(boldFont());
}

}  // namespace

bool TablePageModel::sameCells(const std::vector<FieldMetaPtr>& columns, const std::vector<PageRow>& rows) const {
  if (columns != columns_ || rows.size() != rows_.size()) return false;
  for (size_t i = 0; i < rows.size(); ++i)
    if (rows[i].tableId != rows_[i].tableId) return false;
  return true;
}

void TablePageModel::setContent(std::vector<FieldMetaPtr> columns, std::vector<PageRow> rows) {
  const bool same = sameCells(columns, rows);
  if (!same) beginResetModel();
  columns_ = std::move(columns);
  rows_ = std::move(rows);
  if (!same) endResetModel();
  if (same && !rows_.empty()) emit dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1));
}

QVariant TablePageModel::data(const QModelIndex& at, int role) const {
  if (!at.isValid()) return {};
  const PageCell& cell = rows_[size_t(at.row())].cells[size_t(at.column())];
  const FieldMetaPtr& meta = columns_[size_t(at.column())];
  const bool isFlag = meta->kind == FieldKind::kFlag;
  switch (role) {
    case Qt::DisplayRole:
      return isFlag ? QString() : cell.text;
    case Qt::ToolTipRole:
    case SheetModel::kTypedRole:
      return cell.text;
    case Qt::EditRole:
      return cell.value;
    case Qt::CheckStateRole:
      return isFlag ? QVariant(cell.value.toBool() ? Qt::Checked : Qt::Unchecked) : QVariant();
    case Qt::FontRole:
    case Qt::ForegroundRole:
      return lookOf(cell, role);
    case SheetModel::kMetaRole:
      return QVariant::fromValue(static_cast<void*>(const_cast<FieldMeta*>(meta.get())));
    default:
      return {};
  }
}

bool TablePageModel::setData(const QModelIndex& at, const QVariant& value, int role) {
  if (!at.isValid() || !handler_) return false;
  Edit edit;
  if (role == Qt::CheckStateRole)
    edit.value = value.toInt() == Qt::Checked;
  else if (role == Qt::EditRole && value.canConvert<Edit>())
    edit = value.value<Edit>();
  else
    return false;
  return handler_(rows_[size_t(at.row())], *columns_[size_t(at.column())], edit);
}

Qt::ItemFlags TablePageModel::flags(const QModelIndex& at) const {
  if (!at.isValid()) return Qt::NoItemFlags;
  const Qt::ItemFlags out = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
  const FieldMeta& meta = *columns_[size_t(at.column())];
  if (!editable_ || meta.readOnly) return out;
  return out | (meta.kind == FieldKind::kFlag ? Qt::ItemIsUserCheckable : Qt::ItemIsEditable);
}

QVariant TablePageModel::headerData(int number, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal) return QAbstractTableModel::headerData(number, orientation, role);
  if (role == Qt::TextAlignmentRole) return int(Qt::AlignLeft | Qt::AlignVCenter);
  if (role != Qt::DisplayRole) return {};
  const FieldMeta& meta = *columns_[size_t(number)];
  return meta.unit.isEmpty() ? meta.title : meta.title + ", " + meta.unit;
}

TablePage::TablePage(TablePageModel* model, SheetDelegate* delegate, const QFont& font) : view_(new QTableView(this)) {
  setFont(font);
  view_->setFont(font);
  view_->horizontalHeader()->setFont(font);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(view_);
  view_->setModel(model);
  view_->setItemDelegate(delegate);
  view_->setSelectionMode(QAbstractItemView::SingleSelection);
  view_->verticalHeader()->hide();
  view_->verticalHeader()->setDefaultSectionSize(qMax(20, view_->fontMetrics().height() + 8));
  view_->horizontalHeader()->setStretchLastSection(true);
  view_->setEditTriggers(QAbstractItemView::EditKeyPressed | QAbstractItemView::AnyKeyPressed |
                         QAbstractItemView::SelectedClicked | QAbstractItemView::DoubleClicked);
}

void TablePage::fitColumns() {
  view_->resizeColumnsToContents();
  for (int i = 0; i < view_->model()->columnCount(); ++i)
    if (view_->columnWidth(i) > kWidestColumn) view_->setColumnWidth(i, kWidestColumn);
}

}  // namespace tlm::passport
