#include "passport/sheetModel.h"

#include "passport/looks.h"
#include "passport/valueTexts.h"
#include "passport/values.h"

namespace tlm::passport {

namespace {

QString tip(const SheetField& field) {
  QStringList lines;
  if (!field.locked.isEmpty()) lines << field.locked;
  if (!field.unseen.isNull())
    lines << QString::fromUtf8("Изменение не сохранено: «%1»").arg(field.unseen);
  else if (field.edited)
    lines << QString::fromUtf8("Изменено, не сохранено");
  else if (field.mixed)
    lines << QString::fromUtf8("У выбранных объектов значения различаются");
  if (field.text.contains('\n') || field.text.size() > 40) lines << field.text;
  return lines.join('\n');
}

// A name may be cut where the column is narrow.
QString nameTip(const SheetField& field) {
  const QString more = tip(field);
  return more.isEmpty() ? field.meta->title : field.meta->title + '\n' + more;
}

QString shownText(const SheetField& field) {
  if (field.meta->kind == FieldKind::kFlag) return {};
  if (field.meta->unit.isEmpty() || field.text.isEmpty()) return field.text;
  return field.text + " " + field.meta->unit;
}

// The text as it is typed: a number without name and unit, nothing for "(нет)".
QString typedText(const SheetField& field) {
  if (field.meta->kind == FieldKind::kMeasNumber) {
    const QString number = field.text.section(',', 0, 0);
    return number == QString::fromUtf8(kNothing) ? QString() : number;
  }
  return field.text;
}

bool sameEdit(const Edit& a, const Edit& b) { return a.value == b.value && a.text == b.text; }

// Of one field, filled twice.
bool sameCells(const SheetField& a, const SheetField& b) {
  return a.value == b.value && a.text == b.text && a.check == b.check && a.edited == b.edited && a.merged == b.merged &&
         a.mixed == b.mixed && sameEdit(a.stored, b.stored) && a.storedCheck == b.storedCheck && a.unseen == b.unseen &&
         a.locked == b.locked;
}

}  // namespace

int SheetModel::leading() const { return int(content_.heading.size()) + (content_.hasLive ? 1 : 0); }

bool SheetModel::sameRows(const SheetContent& other) const {
  if (content_.hasLive != other.hasLive || content_.heading.size() != other.heading.size() ||
      content_.groups.size() != other.groups.size())
    return false;
  for (size_t g = 0; g < other.groups.size(); ++g) {
    const SheetGroup &a = content_.groups[g], &b = other.groups[g];
    if (a.table != b.table || a.title != b.title || a.fields.size() != b.fields.size()) return false;
    for (size_t f = 0; f < b.fields.size(); ++f)
      if (a.fields[f].meta != b.fields[f].meta) return false;
  }
  return true;
}

bool SheetModel::setContent(SheetContent content) {
  const bool same = sameRows(content);
  if (!same) beginResetModel();
  const SheetContent before = std::exchange(content_, std::move(content));
  if (same)
    tellDifferences(before);
  else
    endResetModel();
  return !same;
}

// Cell by cell: a view paints no more than the cells that are told one at a time.
void SheetModel::tellRow(const QModelIndex& row) {
  for (const int column : {kName, kValue}) {
    const QModelIndex cell = row.siblingAtColumn(column);
    emit dataChanged(cell, cell);
  }
}

void SheetModel::tellDifferences(const SheetContent& before) {
  if (before.live != content_.live) tellRow(liveIndex());
  for (size_t i = 0; i < content_.heading.size(); ++i)
    if (before.heading[i] != content_.heading[i])
      tellRow(index(leading() - int(content_.heading.size()) + int(i), kName));
  for (size_t g = 0; g < content_.groups.size(); ++g)
    for (size_t f = 0; f < content_.groups[g].fields.size(); ++f)
      if (!sameCells(before.groups[g].fields[f], content_.groups[g].fields[f]))
        tellRow(createIndex(int(f), kName, quintptr(g) + 1));
}

void SheetModel::setLive(const QString& text) {
  if (!content_.hasLive || content_.live == text) return;
  content_.live = text;
  emit dataChanged(liveIndex(), liveIndex());
}

QModelIndex SheetModel::liveIndex(int column) const {
  return content_.hasLive ? createIndex(0, column, quintptr(0)) : QModelIndex();
}

const SheetField* SheetModel::field(const QModelIndex& at) const {
  if (!at.isValid() || at.internalId() == 0) return nullptr;
  return &content_.groups[at.internalId() - 1].fields[size_t(at.row())];
}

SheetField* SheetModel::field(const QModelIndex& at) {
  return const_cast<SheetField*>(static_cast<const SheetModel*>(this)->field(at));
}

SheetField* SheetModel::field(const QString& id) { return field(indexOf(id)); }

QModelIndex SheetModel::indexOf(const QString& id, int column) const {
  for (size_t g = 0; g < content_.groups.size(); ++g)
    for (size_t f = 0; f < content_.groups[g].fields.size(); ++f)
      if (content_.groups[g].fields[f].meta->id.compare(id, Qt::CaseInsensitive) == 0)
        return createIndex(int(f), column, quintptr(g) + 1);
  return {};
}

const SheetGroup* SheetModel::group(const QModelIndex& at) const {
  if (!at.isValid() || at.internalId() != 0 || at.row() < leading()) return nullptr;
  return &content_.groups[size_t(at.row() - leading())];
}

QModelIndex SheetModel::groupIndex(int number) const { return createIndex(leading() + number, 0, quintptr(0)); }

QModelIndex SheetModel::nextField(const QModelIndex& from, int step, bool editableOnly) const {
  using Place = std::pair<int, int>;  // group, field; -1 for the group's own row
  Place start{step > 0 ? -1 : int(content_.groups.size()), -1};
  if (field(from))
    start = {int(from.internalId()) - 1, from.row()};
  else if (from.isValid())
    start = {from.row() - leading(), -1};
  QModelIndex last;
  for (int g = 0; g < int(content_.groups.size()); ++g)
    for (int f = 0; f < int(content_.groups[size_t(g)].fields.size()); ++f) {
      if (editableOnly && !content_.groups[size_t(g)].fields[size_t(f)].locked.isEmpty()) continue;
      const QModelIndex here = createIndex(f, kValue, quintptr(g) + 1);
      if (step > 0 && Place{g, f} > start) return here;
      if (step < 0 && Place{g, f} < start) last = here;
    }
  return last;
}

void SheetModel::fieldChanged(const QString& id) {
  if (const QModelIndex row = indexOf(id); row.isValid()) tellRow(row);
}

void SheetModel::changeFields(const std::function<void(SheetField&)>& change) {
  const SheetContent before = content_;
  for (SheetGroup& group : content_.groups)
    for (SheetField& field : group.fields) change(field);
  tellDifferences(before);
}

QModelIndex SheetModel::index(int row, int column, const QModelIndex& parentIndex) const {
  if (row < 0 || column < 0 || column > 1 || row >= rowCount(parentIndex)) return {};
  if (!parentIndex.isValid()) return createIndex(row, column, quintptr(0));
  return createIndex(row, column, quintptr(parentIndex.row() - leading()) + 1);
}

QModelIndex SheetModel::parent(const QModelIndex& child) const {
  if (!child.isValid() || child.internalId() == 0) return {};
  return groupIndex(int(child.internalId()) - 1);
}

int SheetModel::rowCount(const QModelIndex& parentIndex) const {
  if (!parentIndex.isValid()) return leading() + int(content_.groups.size());
  const SheetGroup* at = parentIndex.column() == 0 ? group(parentIndex) : nullptr;
  return at ? int(at->fields.size()) : 0;
}

QVariant SheetModel::leadingData(int row, int column, int role) const {
  const bool isLive = content_.hasLive && row == 0;
  if (role == kLiveRole) return isLive;
  if (isLive) {
    if (role == Qt::FontRole) return column == kValue ? QVariant(boldFont()) : QVariant();
    if (role == Qt::ToolTipRole) return content_.live;
    if (role != Qt::DisplayRole) return {};
    return column == kName ? QString::fromUtf8("Текущее значение") : content_.live.simplified();
  }
  const auto& line = content_.heading[size_t(row - (content_.hasLive ? 1 : 0))];
  if (role == Qt::FontRole && column == kValue) return boldFont();
  if (role == Qt::DisplayRole || role == Qt::ToolTipRole) return column == kName ? line.first : line.second;
  return {};
}

QVariant SheetModel::fieldData(const SheetField& at, int column, int role) const {
  switch (role) {
    case Qt::DisplayRole:
      return column == kName ? at.meta->title : shownText(at);
    case Qt::EditRole:
      return column == kName ? QVariant(at.meta->title) : at.value;
    case Qt::ToolTipRole:
      return column == kName ? nameTip(at) : tip(at);
    case Qt::FontRole:
      return at.edited ? QVariant(boldFont()) : QVariant();
    case Qt::ForegroundRole:
      if (at.edited) return kEditedColor;
      if (at.mixed && column == kValue) return kMixedColor;
      return at.locked.isEmpty() || column == kName ? QVariant() : QVariant(kLockedColor);
    case Qt::CheckStateRole:
      return column == kValue && at.meta->kind == FieldKind::kFlag ? QVariant(at.check) : QVariant();
    case kMetaRole:
      return QVariant::fromValue(static_cast<void*>(const_cast<FieldMeta*>(at.meta.get())));
    case kTypedRole:
      return typedText(at);
    case kLockedRole:
      return !at.locked.isEmpty();
    case kMixedRole:
      return at.mixed;
    default:
      return {};
  }
}

QVariant SheetModel::data(const QModelIndex& at, int role) const {
  if (!at.isValid()) return {};
  if (const SheetField* found = field(at)) return fieldData(*found, at.column(), role);
  const SheetGroup* header = group(at);
  if (!header) return leadingData(at.row(), at.column(), role);
  if (role == kGroupRole) return true;
  if (role == Qt::FontRole) return boldFont();
  return role == Qt::DisplayRole && at.column() == kName ? QVariant(header->title) : QVariant();
}

bool SheetModel::setData(const QModelIndex& at, const QVariant& value, int role) {
  SheetField* found = field(at);
  if (!found || at.column() != kValue || !found->locked.isEmpty() || !handler_) return false;
  Edit edit;
  if (role == Qt::CheckStateRole)
    edit.value = value.toInt() == Qt::Checked;
  else if (role == Qt::EditRole && value.canConvert<Edit>())
    edit = value.value<Edit>();
  else
    return false;
  if (!handler_(*found, edit)) return false;
  tellRow(at);
  return true;
}

Qt::ItemFlags SheetModel::flags(const QModelIndex& at) const {
  if (!at.isValid()) return Qt::NoItemFlags;
  Qt::ItemFlags out = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
  const SheetField* found = field(at);
  if (!found || at.column() != kValue || !found->locked.isEmpty()) return out;
  return out | (found->meta->kind == FieldKind::kFlag ? Qt::ItemIsUserCheckable : Qt::ItemIsEditable);
}

QVariant SheetModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  return QString::fromUtf8(section == kName ? "Свойство" : "Значение");
}

}  // namespace tlm::passport
