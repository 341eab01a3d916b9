#include "CTlmMeasConfig.h"
#include "DefaultNames.h"
#include "ModelsTelemetry.h"
#include "RecordAccess.h"
#include "WorkWithData.h"

#include <TlmClient/GenGuid32.h>

#include <algorithm>

namespace {

// A folder has no class.
struct DefaultName {
  const char* className;
  const char* name;  // UTF-8
};
constexpr DefaultName kDefaultNames[] = {
    {"Analog", "Новое аналоговое измерение"}, {"Discrete", "Новый дискретный сигнал"},
    {"Accumulator", "Новый счетчик"},         {"StringMeasurement", "Новая строковая величина"},
    {kRemoteUnitClass, "Новое устройство"},   {"", "Новая папка"},
};

// The caption of the group of a class; empty for what stands in no group.
QString groupCaption(const QString& className) {
  const MeasClass* kind = measClassByName(className, Qt::CaseInsensitive);
  return kind ? QString::fromUtf8(kind->caption) : QString();
}

// A table with those it stands on, itself first.
QStringList tableChain(CMDArray* tables, const QString& table) {
  QStringList chain{table};
  QString key;
  for (bool more = GetParentTableKey(tables, table, key, false); more;
       more = GetParentTableKey(tables, key, key, true)) {
    const QString name = GetNameTableByKey(tables, key);
    if (name.isEmpty() || chain.contains(name)) break;
    chain.append(name);
  }
  return chain;
}

// A row that is being made: what is written carries the changed mark.
class NewRow {
 public:
  explicit NewRow(CMDArray& table) : table_(table), row_(MDARecNew(table.array)) {
    if (row_) MDRSetFlags(row_, MDX_REC_INSERT);
  }
  void set(const MDRField* field, const MDRVar& value) {
    if (!row_ || !field) return;
    MDRSetVal(field, row_, &value);
    MDRSetUser(field, row_, 1);
  }
  void set(const char* field, const MDRVar& value) { set(MDRFldByName(table_.array, field), value); }
  void set(const char* field, const QByteArray& text) { set(field, textVar(text)); }
  void setKey(const QByteArray& key) { set(MDRFldByNum(table_.array, 0), textVar(key)); }

  // Posts the row and links the node to it; false when there is none.
  bool postFor(myConfNode* node) {
    MDRData* posted = table_.RecPost(row_);
    if (!posted) return false;
    node->table = &table_;
    node->record = posted;
    return true;
  }

 private:
  CMDArray& table_;
  MDRData* row_;
};

}  // namespace

QString defaultName(const QString& className) {
  for (const DefaultName& row : kDefaultNames)
    if (className.compare(QLatin1String(row.className), Qt::CaseInsensitive) == 0) return QString::fromUtf8(row.name);
  return QString();
}

bool MeasConfTreeModel::AddNode(QModelIndex parent, QString className, QString rtuKey, bool atRoot) {
  if (atRoot) parent = QModelIndex();
  myConfNode* target = nodeFromIndex(parent);
  if (!target || !module) return false;
  const QString caption = groupCaption(className);
  QString name = defaultName(className);
  QString key;
  if (caption.isEmpty()) {
    auto node = std::make_unique<myConfNode>(target, QString(), nullptr, nullptr);
    const QString tableClass = className.isEmpty() ? QStringLiteral("RemoteUnitFolder") : className;
    if (!CreateNode(node.get(), name, className, tableClass, key, QString(), target)) return false;
    if (className == QLatin1String(kRemoteUnitClass)) {
      node->isLoaded = true;  // a new unit has all its measurements: none
      module->loadedRemoteUnits.append(key);
    }
    return hang(std::move(node), target, 0, true);
  }
  const QString prefix = GetPrefix(module->session(), rtuKey);
  if (!prefix.isEmpty()) name = prefix + QLatin1Char('-') + name;
  myConfNode* group = groupFor(parent, caption);
  if (!group) return false;
  auto node = std::make_unique<myConfNode>(group, QString(), nullptr, nullptr);
  if (!CreateNode(node.get(), name, className, className, key, rtuKey, nullptr)) return false;
  return hang(std::move(node), group, static_cast<int>(group->children.size()), true);
}

bool MeasConfTreeModel::AddExistNode(QModelIndex parent, QString className, QString key, bool aggregated) {
  myConfNode* target = nodeFromIndex(parent);
  if (!target) return false;
  const QString caption = groupCaption(className);
  const bool isMeasurement = !caption.isEmpty();
  if (isMeasurement && !aggregated)
    target = groupFor(parent, caption);
  else if (isMeasurement && !isMeasurementNode(*target))
    target = nullptr;
  if (!target) return false;
  auto node = std::make_unique<myConfNode>(target, QString(), nullptr, nullptr);
  node->isLoaded = isMeasurement || className.isEmpty();
  if (!CreateExistNode(node.get(), className, key, isMeasurement && aggregated)) return false;
  return hang(std::move(node), target, isMeasurement ? static_cast<int>(target->children.size()) : 0, false);
}

// ---- the place ------------------------------------------------------------------------------------------

bool MeasConfTreeModel::hang(std::unique_ptr<myConfNode> node, myConfNode* owner, int row, bool focus) {
  myConfNode* hung = node.release();
  insertNodes(indexOf(owner), row, {hung});
  if (focus) emit setFocusRow(indexOf(hung));
  return true;
}

bool MeasConfTreeModel::isMeasurementNode(const myConfNode& node) const {
  const MDRVar className = reader().value(node, NodeField::ClassName);
  return std::any_of(std::begin(kMeasClasses), std::end(kMeasClasses),
                     [&](const MeasClass& row) { return isClass(className, row.className); });
}

// The group that takes a measurement at that place: the place itself, that of the unit, or that of the sibling.
myConfNode* MeasConfTreeModel::groupFor(const QModelIndex& place, const QString& caption) {
  myConfNode* node = nodeFromIndex(place);
  if (node->text == caption) return node;
  if (isClass(reader().value(*node, NodeField::ClassName), kRemoteUnitClass)) return groupOfUnit(node, caption);
  if (!isMeasurementNode(*node)) return nullptr;
  return node->parent && node->parent->text == caption ? node->parent : nullptr;
}

myConfNode* MeasConfTreeModel::groupOfUnit(myConfNode* unit, const QString& caption) {
  int position = 0;
  if (ExistFold(&unit->children, caption, position)) return unit->children[position];
  auto* group = new myConfNode(unit, caption, nullptr, nullptr);
  insertNodes(indexOf(unit), static_cast<int>(unit->children.size()), {group});
  return group;
}

bool MeasConfTreeModel::ExistFold(std::vector<myConfNode*>* nodes, QString caption, int& position) {
  if (!nodes) return false;
  const auto found =
      std::find_if(nodes->begin(), nodes->end(), [&](const myConfNode* node) { return node && node->text == caption; });
  if (found == nodes->end()) return false;
  position = static_cast<int>(found - nodes->begin());
  return true;
}

bool MeasConfTreeModel::GetIndFold(std::vector<myConfNode*>* nodes, QString caption, int& position) {
  return ExistFold(nodes, caption, position);
}

bool MeasConfTreeModel::ExistSignInRTU(QString signKey, QString rtuKey) {
  if (signKey.isEmpty() || rtuKey.isEmpty()) return false;
  const QModelIndex unit = findByKey(rtuKey);
  if (!unit.isValid()) return false;
  const myConfNode* above = nodeFromIndex(unit);
  bool found = false;
  keys_.forEach(signKey, [&](const myConfNode* node) {
    for (node = node->parent; node && !found; node = node->parent) found = node == above;
  });
  return found;
}

// ---- the row --------------------------------------------------------------------------------------------

bool MeasConfTreeModel::CreateNode(myConfNode* node, QString name, QString className, QString tableClass, QString& key,
                                   QString rtuKey, myConfNode* parentNode) {
  if (!node || !module) return false;
  const QByteArray keyBytes = GenGuid32();
  key = codec->toUnicode(keyBytes);
  const QByteArray nameBytes = codec->fromUnicode(name);
  const QByteArray classBytes = codec->fromUnicode(className);
  const QByteArray unitBytes = codec->fromUnicode(rtuKey);
  MDRVar parentKey{};
  if (parentNode && parentNode->record) parentNode->table->GetVal(parentNode->record, 0, parentKey);
  const bool isUnit = className.compare(QLatin1String(kRemoteUnitClass), Qt::CaseInsensitive) == 0;

  const QStringList chain = tableChain(&module->tblTables, tableClass);
  bool made = false;
  for (auto table = chain.crbegin(); table != chain.crend(); ++table) {
    if (*table == QLatin1String("Measurement")) {
      NewRow row(module->measRecords);
      row.setKey(keyBytes);
      row.set("ClassName", classBytes);
      row.set("name_", nameBytes);
      int locId = 0;
      module->GetFreeLocId(locId);
      row.set("locId", intVar(locId));
      if (!rtuKey.isEmpty()) row.set("RemoteUnitKey", unitBytes);
      made = row.postFor(node);
    } else if (*table == QLatin1String(kRemoteUnitClass)) {
      NewRow row(module->tblRemoteUnit);
      row.setKey(keyBytes);
      row.set("ClassName", classBytes);
      row.set("name_", nameBytes);
      if (hasValue(parentKey)) row.set("RemoteUnitFolderKey", parentKey);
      made = row.postFor(node);
    } else if (*table == QLatin1String("RemoteUnitFolder") && !isUnit) {
      NewRow row(module->tblRemoteUnitFolder);
      row.setKey(keyBytes);
      row.set("caption", nameBytes);
      if (hasValue(parentKey)) row.set("ParentKey", parentKey);
      made = row.postFor(node);
      node->isFolder = made;
    }
  }
  return made;
}

bool MeasConfTreeModel::CreateExistNode(myConfNode* node, QString className, QString key, bool aggregated) {
  if (!node || !module) return false;
  CMDArray* table = &module->measRecords;
  if (className.isEmpty())
    table = &module->tblRemoteUnitFolder;
  else if (className == QLatin1String(kRemoteUnitClass))
    table = &module->tblRemoteUnit;
  else if (!measClassByName(className, Qt::CaseSensitive))
    return false;
  node->table = table;
  node->record = seekText(*table, 0, key, codec);
  if (className.isEmpty())
    node->isFolder = true;
  else
    node->text.clear();
  if (table == &module->measRecords) node->isAggregated = aggregated;
  return true;
}
