#include "TreeChecks.h"

#include <TlmServer/ModelTables.h>

#include <QSet>
#include <QTextCodec>

#include <algorithm>

#include "CTlmMeasConfig.h"
#include "IndexFacts.h"
#include "RecordAccess.h"
#include "WorkWithData.h"

namespace tlm::test {
namespace {

QTextCodec* codec() {
  static QTextCodec* const found = QTextCodec::codecForName("Windows-1251");
  return found;
}

// Keys and class names need no codec, which costs more than all the rest of a check.
QString decoded(const MDRVar& value) {
  const char* from = value.text.data;
  const int length = static_cast<int>(value.text.length);
  const bool isPlain = std::all_of(from, from + length, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
  return isPlain ? QString::fromLatin1(from, length) : decodeVar(value, codec());
}

QString textOf(const MDArray* table, const MDRData* record, const char* field) {
  MDRVar value{};
  MDRGetVal(MDRFldByName(table, field), record, &value);
  if (!hasValue(value)) return QString();
  return isText(value) ? decoded(value) : QString::number(asInteger(value));
}

QString joined(const MDArray* table, const MDRData* record, std::initializer_list<const char*> fields) {
  QString text;
  for (const char* field : fields) text += QLatin1String(field) + QLatin1Char('=') + textOf(table, record, field) + ';';
  return text;
}

template <typename Each>
void eachRow(const MDArray* table, Each each) {
  for (int i = 0; i < MDARecCount(table); ++i) {
    const MDRData* record = MDARec(table, 0, i);
    each(textOf(table, record, "KeyLink"), record);
  }
}

constexpr const char* kFolderLink = "ParentKey";
constexpr const char* kUnitLink = "RemoteUnitFolderKey";
constexpr const char* kMeasurementLink = "RemoteUnitKey";

QString folderText(const MDArray* table, const MDRData* record) {
  return joined(table, record, {"caption", kFolderLink});
}
QString ownText(const MDArray* table, const MDRData* record) { return joined(table, record, {"ClassName", "name_"}); }
QString unitText(const MDArray* table, const MDRData* record) { return joined(table, record, {kUnitLink}); }
QString measurementText(const MDArray* table, const MDRData* record) {
  return joined(table, record, {"locId", kMeasurementLink, "primaryLocId", "MeasurementArchGroupKey"});
}

QString keyOfNode(const myConfNode& node) {
  return node.record ? fieldText(*node.table, node.record, 0, codec()) : QString();
}
bool isUnitNode(const CTlmMeasConfig& module, const myConfNode& node) { return node.table == &module.tblRemoteUnit; }

// ---- the tree against the arrays -------------------------------------------------------------------------

class TreeWalk {
 public:
  TreeWalk(const CTlmMeasConfig& module, const QStringList& unsaved) : module_(module), unsaved_(unsaved) {}

  QStringList run() {
    const myConfNode& root = *module_.treeModel->GetRootNode();
    collect(root);
    for (const myConfNode* node : root.children) top(*node);
    rowsHaveNodes(module_.tblRemoteUnitFolder);
    rowsHaveNodes(module_.tblRemoteUnit);
    measurementsHaveNodes();
    return faults_;
  }

 private:
  void fault(const myConfNode& node, const char* what) {
    faults_ += QString("%1 (%2): %3").arg(GetName(const_cast<myConfNode*>(&node)), keyOfNode(node), what);
  }
  void check(bool good, const myConfNode& node, const char* what) {
    if (!good) fault(node, what);
  }

  void collect(const myConfNode& node) {
    for (const myConfNode* child : node.children) {
      check(child->parent == &node, *child, "its parent is another node");
      if (child->record) linked(*child);
      collect(*child);
    }
  }
  void linked(const myConfNode& node) {
    const QString key = keyOfNode(node);
    check(seekText(*node.table, 0, key, codec()) == node.record, node, "its row is not that of its key");
    check(!nodes_.contains(key), node, "a second node of one key");
    nodes_.insert(key, &node);
    check(node.text.isEmpty(), node, "a text of its own");
    const QModelIndex index = module_.treeModel->findByKey(key);
    check(index.isValid() && index.internalPointer() == &node && module_.treeModel->indexOf(&node) == index, node,
          "the search by key finds another row");
  }

  // The default unit, or a folder or unit whose parent is not shown.
  void top(const myConfNode& node) {
    if (node.record) return placed(node);
    check(node.text == defaultUnitText(), node, "at the top without a row");
    check(module_.treeModel->defaultUnit().internalPointer() == &node, node, "the default unit is not known");
    groups(node, QString());
  }
  void placed(const myConfNode& node) {
    const bool isFolder = node.table == &module_.tblRemoteUnitFolder;
    check(isFolder || isUnitNode(module_, node), node, "a measurement outside a group");
    check(node.isFolder == isFolder, node, "the mark of a folder");
    const QString link = textOf(node.table->array, node.record, isFolder ? kFolderLink : kUnitLink);
    const myConfNode* shown = link.isEmpty() ? nullptr : nodes_.value(link);
    check(node.parent == (shown ? shown : module_.treeModel->GetRootNode()), node,
          qPrintable("not where its row says, " + link));
    if (!isFolder) return unit(node);
    for (const myConfNode* child : node.children) child->record ? placed(*child) : fault(*child, "in a folder");
  }
  void unit(const myConfNode& node) {
    check(node.isLoaded || node.children.empty(), node, "rows in a unit that is not open");
    check(node.isLoaded == module_.loadedRemoteUnits.contains(keyOfNode(node)), node, "the list of open units");
    groups(node, keyOfNode(node));
  }
  void groups(const myConfNode& unit, const QString& unitKey) {
    QSet<QString> captions;
    for (const myConfNode* group : unit.children) {
      check(isGroupCaption(group->text) && !group->record, *group, "no group");
      check(!captions.contains(group->text), *group, "a second group of one class");
      check(!group->children.empty(), *group, "an empty group");
      captions.insert(group->text);
      for (const myConfNode* child : group->children) measurement(*child, group->text, unitKey);
    }
  }
  void measurement(const myConfNode& node, const QString& caption, const QString& unitKey) {
    if (node.table != &module_.measRecords) return fault(node, "no measurement in a group");
    const MDArray* table = node.table->array;
    const MeasClass* kind = measClassByName(textOf(table, node.record, "ClassName"), Qt::CaseSensitive);
    check(kind && caption == QString::fromUtf8(kind->caption), node, "in the group of another class");
    check(textOf(table, node.record, kMeasurementLink) == unitKey, node, "in another unit than its row says");
    check(!node.isAggregated, node, "an aggregated measurement in a group");
    for (const myConfNode* child : node.children) aggregated(*child, node);
  }
  void aggregated(const myConfNode& node, const myConfNode& primary) {
    check(node.isAggregated && node.children.empty(), node, "not aggregated, or not at the end");
    check(
        textOf(node.table->array, node.record, "primaryLocId") == textOf(primary.table->array, primary.record, "locId"),
        node, "under another primary than its row says");
  }

  void rowsHaveNodes(const CMDArray& table) {
    eachRow(table.array, [&](const QString& key, const MDRData*) {
      if (!nodes_.contains(key) && !unsaved_.contains(key)) faults_ += "a row without a node: " + key;
    });
  }
  bool isOpen(const QString& unit) const {
    const myConfNode* node = nodes_.value(unit);
    return node && node->isLoaded;
  }
  void measurementsHaveNodes() {
    const CMDArray& table = module_.measRecords;
    eachRow(table.array, [&](const QString& key, const MDRData* record) {
      const QString unit = textOf(table.array, record, kMeasurementLink);
      if (!nodes_.contains(key) && !unsaved_.contains(key) && (unit.isEmpty() || isOpen(unit)))
        faults_ += "a measurement without a node: " + key + " " + textOf(table.array, record, "name_");
    });
  }

  const CTlmMeasConfig& module_;
  const QStringList& unsaved_;
  QHash<QString, const myConfNode*> nodes_;
  QStringList faults_;
};

// ---- one tree against another ----------------------------------------------------------------------------

QString canonical(const CTlmMeasConfig& module, const myConfNode& node, const QStringList& unsaved,
                  const QStringList& bothOpen) {
  QStringList children;
  const bool closed = isUnitNode(module, node) && !bothOpen.contains(keyOfNode(node));
  for (const myConfNode* child : node.children) {
    if (closed || unsaved.contains(keyOfNode(*child))) continue;
    const QString text = canonical(module, *child, unsaved, bothOpen);
    if (!text.isEmpty()) children += text;
  }
  if (!node.record && node.parent && children.isEmpty()) return QString();  // nothing but an unsaved object
  std::sort(children.begin(), children.end());
  return QString("%1%2%3(%4)").arg(keyOfNode(node), node.text, node.isAggregated ? "*" : "", children.join(' '));
}

void compareRows(const QMap<QString, QString>& held, const QMap<QString, QString>& server, const QStringList& unsaved,
                 QStringList& faults) {
  for (auto row = held.begin(); row != held.end(); ++row) {
    if (unsaved.contains(row.key())) continue;
    if (server.value(row.key()) != row.value())
      faults += QString("%1 holds %2, the server %3").arg(row.key(), row.value(), server.value(row.key()));
  }
}

}  // namespace

RowTexts serverRows(server::Core& core) {
  RowTexts rows;
  core.read([&](const server::ModelTables& tables) {
    const MDArray* objects = tables.table("IdentifiedObject");
    QHash<QString, QString> own;
    eachRow(objects, [&](const QString& key, const MDRData* record) { own.insert(key, ownText(objects, record)); });
    const MDArray* folders = tables.table("RemoteUnitFolder");
    eachRow(folders, [&](const QString& key, const MDRData* r) { rows.folders[key] = folderText(folders, r); });
    const MDArray* units = tables.table("RemoteUnit");
    eachRow(units, [&](const QString& key, const MDRData* r) { rows.units[key] = own[key] + unitText(units, r); });
    const MDArray* all = tables.table("Measurement");
    eachRow(all,
            [&](const QString& key, const MDRData* r) { rows.measurements[key] = own[key] + measurementText(all, r); });
  });
  return rows;
}

RowTexts moduleRows(const CTlmMeasConfig& module) {
  RowTexts rows;
  const MDArray* folders = module.tblRemoteUnitFolder.array;
  eachRow(folders, [&](const QString& key, const MDRData* r) { rows.folders[key] = folderText(folders, r); });
  const MDArray* units = module.tblRemoteUnit.array;
  eachRow(units,
          [&](const QString& key, const MDRData* r) { rows.units[key] = ownText(units, r) + unitText(units, r); });
  const MDArray* all = module.measRecords.array;
  eachRow(all, [&](const QString& key, const MDRData* r) {
    rows.measurements[key] = ownText(all, r) + measurementText(all, r);
  });
  return rows;
}

QStringList unsavedKeys(const RowTexts& held, const RowTexts& server) {
  QStringList keys;
  for (const auto& [mine, theirs] : {std::pair{&held.folders, &server.folders}, std::pair{&held.units, &server.units},
                                     std::pair{&held.measurements, &server.measurements}})
    for (auto row = mine->begin(); row != mine->end(); ++row)
      if (!theirs->contains(row.key())) keys += row.key();
  return keys;
}

QStringList treeFaults(const CTlmMeasConfig& module, const QStringList& unsaved) {
  return TreeWalk(module, unsaved).run();
}

QStringList openUnits(const CTlmMeasConfig& module) {
  QStringList keys;
  for (int i = 0; i < MDARecCount(module.tblRemoteUnit.array); ++i) {
    const QString key =
        fieldText(module.tblRemoteUnit, MDARec(module.tblRemoteUnit.array, 0, i), 0, module.moduleCodec);
    const QModelIndex index = module.treeModel->findByKey(key);
    if (index.isValid() && nodeOf(index)->isLoaded) keys += key;
  }
  return keys;
}

QStringList arrayFaults(const CTlmMeasConfig& module, const RowTexts& held, const RowTexts& server) {
  QStringList faults;
  const QStringList unsaved = unsavedKeys(held, server);
  if (unsaved.size() > (module.newObjectInPassport ? 1 : 0)) faults += "not on the server: " + unsaved.join(", ");
  compareRows(held.folders, server.folders, unsaved, faults);
  compareRows(held.units, server.units, unsaved, faults);
  compareRows(held.measurements, server.measurements, unsaved, faults);
  for (const auto& [mine, theirs] : {std::pair{&held.folders, &server.folders}, std::pair{&held.units, &server.units}})
    for (auto row = theirs->begin(); row != theirs->end(); ++row)
      if (!mine->contains(row.key())) faults += "not held: " + row.key();
  const QStringList open = openUnits(module);
  for (auto row = server.measurements.begin(); row != server.measurements.end(); ++row) {
    const QString unit = row.value().section(QString(kMeasurementLink) + "=", 1).section(';', 0, 0);
    if ((unit.isEmpty() || open.contains(unit)) && !held.measurements.contains(row.key()))
      faults += "a measurement is not held: " + row.key() + " " + row.value();
  }
  return faults;
}

QString canonicalTree(const CTlmMeasConfig& module, const QStringList& unsaved, const QStringList& bothOpen) {
  return canonical(module, *module.treeModel->GetRootNode(), unsaved, bothOpen);
}

}  // namespace tlm::test
