#include "StringListModel.h"

#include "RecordAccess.h"

#include <algorithm>

namespace {

constexpr int kKeyRole = 12;

}  // namespace

StringListModel::StringListModel(QList<MDRData*> const& listed, CMDArray* groups, QObject* parent)
    : QAbstractListModel(parent), table(groups), codec(QTextCodec::codecForName("Windows-1251")), rows(listed) {}

int StringListModel::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : rows.size(); }

bool StringListModel::holds(const QModelIndex& index) const {
  return index.isValid() && index.row() >= 0 && index.row() < rows.size();
}

QString StringListModel::keyOf(const QModelIndex& index) const {
  return fieldText(*table, rows.at(index.row()), 0, codec);
}

QVariant StringListModel::data(const QModelIndex& index, int role) const {
  if (!holds(index)) return QVariant();
  switch (role) {
    case Qt::DisplayRole:
      return fieldText(*table, rows.at(index.row()), "description", codec);
    case Qt::CheckStateRole:
      return checkedKeys.contains(keyOf(index), Qt::CaseInsensitive) ? Qt::Checked : Qt::Unchecked;
    case kKeyRole:
      return keyOf(index);
    case Qt::UserRole:
      return QVariant::fromValue(static_cast<void*>(rows.at(index.row())));
    default:
      return QVariant();
  }
}

bool StringListModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  if (role != Qt::CheckStateRole || !holds(index)) return false;
  const QString key = keyOf(index);
  if (key.isEmpty()) return false;
  if (value.toBool())
    checkedKeys.append(key);
  else
    checkedKeys.erase(
        std::remove_if(checkedKeys.begin(), checkedKeys.end(),
                       [&key](const QString& each) { return each.compare(key, Qt::CaseInsensitive) == 0; }),
        checkedKeys.end());
  emit dataChanged(index, index);
  return true;
}

Qt::ItemFlags StringListModel::flags(const QModelIndex& index) const {
  return index.isValid() ? QAbstractListModel::flags(index) | Qt::ItemIsUserCheckable
                         : Qt::ItemFlags(Qt::ItemIsEnabled);
}

QVariant StringListModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (role != Qt::DisplayRole) return QVariant();
  return (orientation == Qt::Horizontal ? QStringLiteral("Column %1") : QStringLiteral("Row %1")).arg(section);
}
