#include "CTlmMeasConfig.h"
#include "ModelsTelemetry.h"
#include "RecordAccess.h"

#include <QColor>
#include <QIcon>

#include <algorithm>

namespace {

// Made once: a variant that holds a colour is an object on the heap.
const QVariant& black() {
  static const QVariant colour = QColor(0, 0, 0);
  return colour;
}
const QVariant& outOfWorkGrey() {
  static const QVariant colour = QColor(125, 125, 125);
  return colour;
}
const QVariant& cutGrey() {
  static const QVariant colour = QColor(175, 175, 175);
  return colour;
}

constexpr const char* kUnitIcon = QT_TRANSLATE_NOOP("MeasConfTreeModel", ":/RTU_meas");
constexpr const char* kFolderIcon = QT_TRANSLATE_NOOP("MeasConfTreeModel", ":/ClosedFolder");
constexpr const char* kAggregatedIcon = QT_TRANSLATE_NOOP("MeasConfTreeModel", ":/AgregData");

// The path of the icon of a row's class, or null.
const char* classIcon(const MDRVar& className) {
  if (isClass(className, kRemoteUnitClass)) return kUnitIcon;
  const auto found = std::find_if(std::begin(kMeasClasses), std::end(kMeasClasses),
                                  [&](const MeasClass& row) { return isClass(className, row.className); });
  return found == std::end(kMeasClasses) ? nullptr : found->icon;
}

const char* iconPath(const myConfNode& node, const RecordReader& reader) {
  if (node.text == defaultUnitText()) return kUnitIcon;
  if (node.isFolder) return kFolderIcon;
  if (node.isAggregated) return kAggregatedIcon;
  if (node.record) return classIcon(reader.value(node, NodeField::ClassName));
  return node.text.isEmpty() ? nullptr : kFolderIcon;
}

}  // namespace

QVariant MeasConfTreeModel::data(const QModelIndex& index, int role) const {
  const myConfNode* node = index.isValid() ? nodeFromIndex(index) : nullptr;
  if (!node) return QVariant();
  switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
      return displayText(*node, index.column());
    case Qt::DecorationRole:
      return index.column() == 0 ? decoration(*node) : QVariant();
    case Qt::ForegroundRole:
      return foreground(*node);
    case kClassRole:
      return reader().text(*node, NodeField::ClassName);
    case kKeyRole:
      return reader().text(*node, NodeField::Key);
    case Qt::UserRole:
      return QVariant::fromValue<void*>(index.internalPointer());
    default:
      return QVariant();
  }
}

QVariant MeasConfTreeModel::displayText(const myConfNode& node, int column) const {
  if (column == 0) return reader().name(node);
  if (column != 1) return QVariant();
  const MDRVar number = reader().value(node, NodeField::LocId);
  return hasValue(number) ? QString::number(asInteger(number)) : QString();
}

QVariant MeasConfTreeModel::decoration(const myConfNode& node) const {
  const char* path = iconPath(node, reader());
  return path ? icon(path) : QVariant();
}

QVariant MeasConfTreeModel::icon(const char* path) const {
  const auto known = std::find_if(icons_.begin(), icons_.end(), [&](const auto& entry) { return entry.first == path; });
  if (known != icons_.end()) return known->second;
  QIcon icon(tr(path));
  icon.addFile(tr(path), QSize(), QIcon::Selected);  // not tinted on a selected row
  icons_.emplace_back(path, QVariant::fromValue(icon));
  return icons_.back().second;
}

QVariant MeasConfTreeModel::foreground(const myConfNode& node) const {
  if (!node.record) return black();
  if (!cutKeys.isEmpty() && cutKeys.contains(reader().text(node, NodeField::Key))) return cutGrey();
  MDRVar works = reader().value(node, NodeField::Work);
  if (!hasValue(works)) works = reader().value(node, NodeField::StateRtu);
  return hasValue(works) && asInteger(works) == 0 ? outOfWorkGrey() : black();
}

bool MeasConfTreeModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  myConfNode* node = nodeFromIndex(index);
  if (role != Qt::EditRole || !node || index.column() != 0) return false;
  node->text = value.toString();
  emit dataChanged(index, index);
  return true;
}

QVariant MeasConfTreeModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return QVariant();
  if (section == 0) return tr("Наименование");
  if (section == 1) return tr("Номер");
  return QVariant();
}

Qt::ItemFlags MeasConfTreeModel::flags(const QModelIndex& index) const {
  if (!index.isValid()) return takesDrop(index) ? Qt::ItemIsDropEnabled : Qt::NoItemFlags;
  const myConfNode* node = nodeFromIndex(index);
  if (!node) return Qt::NoItemFlags;
  Qt::ItemFlags flags = Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemIsEnabled;
  if (!node->isAggregated && takesDrop(index)) flags |= Qt::ItemIsDropEnabled;
  return flags;
}

bool MeasConfTreeModel::takesDrop(const QModelIndex& index) const {
  return module && !module->dragTableName.isEmpty() && module->CheckIndexPaste(index, module->dragTableName);
}

void MeasConfTreeModel::UpdateData(const QModelIndex& topLeft, const QModelIndex& bottomRight) {
  emit dataChanged(topLeft, bottomRight);
}
