#include "CTlmMeasConfig.h"
#include "KeyWalk.h"
#include "ModelsTelemetry.h"
#include "WorkWithData.h"

#include <QHash>
#include <QSet>

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

constexpr int kUnitKey = 1;  // of measRecords

// The row's number of its primary measurement, 0 if it names none.
int primaryOf(const MDRField* field, const MDRData* record) {
  MDRVar value{};
  MDRGetVal(field, record, &value);
  return static_cast<int>(asInteger(value));
}

bool groupIsAggregated(const MDRField* field, const MDRData* record, const CMDArray& archGroups) {
  if (!field || MDARecCount(archGroups.array) == 0) return false;
  MDRVar key{};
  MDRGetVal(field, record, &key);
  const MDRData* group = MDARecSeekV(archGroups.array, 0, &key, nullptr);
  if (!group) return false;
  MDRVar aggregated{};
  archGroups.GetVal(group, "aggregatedData", aggregated);
  return asInteger(aggregated) != 0;
}

QString captionOf(const QString& className) {
  const MeasClass* found = measClassByName(className, Qt::CaseSensitive);
  return found ? QString::fromUtf8(found->caption) : QString();
}

std::string_view bytesOf(const MDRVar& value) {
  return isText(value) ? std::string_view(value.text.data, value.text.length) : std::string_view();
}

// The bytes of a text, not copied.
QByteArray rawText(const MDRVar& value) {
  const std::string_view bytes = bytesOf(value);
  return QByteArray::fromRawData(bytes.data(), static_cast<int>(bytes.size()));
}

// Makes the group nodes of one unit as classes turn up.
class Groups {
 public:
  Groups(myConfNode* unit, QStringList* classes, QList<myConfNode*>* nodes, QTextCodec* codec)
      : unit_(unit), classes_(classes), nodes_(nodes), codec_(codec) {}

  // The few classes of a unit are known undecoded, as its rows hold them.
  myConfNode* of(const MDRVar& className) {
    const std::string_view bytes = bytesOf(className);
    for (const auto& [known, node] : known_)
      if (known == bytes) return node;
    return known_.emplace_back(bytes, find(decodeVar(className, codec_))).second;
  }

 private:
  myConfNode* find(const QString& className) {
    const int known = classes_->indexOf(className);
    if (known >= 0) return nodes_->at(known);
    classes_->append(className);
    nodes_->append(new myConfNode(unit_, captionOf(className), nullptr, nullptr));
    return nodes_->last();
  }

  myConfNode* unit_;
  QStringList* classes_;
  QList<myConfNode*>* nodes_;
  QTextCodec* codec_;
  std::vector<std::pair<std::string, myConfNode*>> known_;
};

using NodeMade = std::function<void(myConfNode*, const MDRVar& key)>;

// Walks the unit's rows and makes a node in its group for each. A row whose key is `skipKey` (not null) leaves
// its group behind, and no node.
void makeNodes(const MDRVar& rtuKey, myConfNode* unit, CTlmMeasConfig* module, QStringList* groupClasses,
               QList<myConfNode*>* groupNodes, const QString* skipKey, const NodeMade& made) {
  CMDArray& rows = module->measRecords;
  const MDRField* classField = MDRFldByName(rows.array, "ClassName");
  const MDRField* checkTuField = MDRFldByName(rows.array, "CheckTu");
  Groups groups(unit, groupClasses, groupNodes, module->moduleCodec);
  walkKey(rows, kUnitKey, "RemoteUnitKey", rtuKey, EmptyTexts::End, [&](MDRData* record) {
    MDRVar className{};
    MDRGetVal(classField, record, &className);
    myConfNode* group = groups.of(className);
    const MDRVar key = keyOf(rows, record);
    if (skipKey && decodeVar(key, module->moduleCodec).compare(*skipKey, Qt::CaseInsensitive) == 0) return;
    auto* node = new myConfNode(group, QString(), &rows, record);
    MDRVar checkTu{};
    MDRGetVal(checkTuField, record, &checkTu);
    node->checkTu = asInteger(checkTu) != 0;
    group->children.push_back(node);
    if (made) made(node, key);
  });
}

// From an entry of a list to the node that was found for it.
template <typename Key>
using Places = QHash<Key, myConfNode*>;

// Keys stand as they stand in the rows, so that a row's key is looked up undecoded.
Places<QByteArray> placesOf(const QStringList& keys, QTextCodec* codec) {
  Places<QByteArray> places;
  for (const QString& key : keys) places.insert(encodeText(key, codec), nullptr);
  return places;
}

Places<int> placesOf(const QList<int>& numbers) {
  Places<int> places;
  for (const int number : numbers) places.insert(number, nullptr);
  return places;
}

// Moves a node from its group under its primary measurement.
void hangUnderPrimary(myConfNode* child, myConfNode* primary) {
  child->parent = primary;
  child->isAggregated = true;
  primary->children.push_back(child);
}

// Goes through the pairs of an aggregated measurement's key and its primary's number.
void hangAggregated(const QStringList& pairs, const QStringList& classes, const QStringList& groupClasses,
                    const Places<QByteArray>& aggregated, const Places<int>& primaries, QTextCodec* codec) {
  for (int i = 0; i < pairs.size(); ++i) {
    const QStringList parts = pairs[i].split(',');
    if (parts.size() < 2) continue;
    myConfNode* child = aggregated.value(encodeText(parts[0], codec));
    myConfNode* primary = primaries.value(parts[1].toInt());
    if (!child || !primary || child->isAggregated || !groupClasses.contains(classes[i])) continue;
    hangUnderPrimary(child, primary);
  }
}

}  // namespace

bool CheckAgregatedMeas(MDRData* record, CMDArray* table, CMDArray* archGroups, int* primaryLocId) {
  if (!record || !table) return false;
  const int primary = primaryOf(MDRFldByName(table->array, "primaryLocId"), record);
  if (primary == 0) return false;
  if (primaryLocId) *primaryLocId = primary;
  return archGroups && groupIsAggregated(MDRFldByName(table->array, "MeasurementArchGroupKey"), record, *archGroups);
}

int GetMeasurements(MDRVar& rtuKey, myConfNode* unit, CTlmMeasConfig* module, QStringList* groupClasses,
                    QList<myConfNode*>* groupNodes, bool skipOne, QString skipKey) {
  if (!unit || !module || MDARecCount(module->measRecords.array) == 0) return 0;
  const CMDArray& rows = module->measRecords;
  const MDRField* primaryField = MDRFldByName(rows.array, "primaryLocId");
  const MDRField* groupField = MDRFldByName(rows.array, "MeasurementArchGroupKey");
  const MDRField* classField = MDRFldByName(rows.array, "ClassName");
  QStringList aggKeys;
  QList<int> primaryLocIds;
  QStringList aggPairs;
  QStringList aggClasses;
  QSet<QString> knownKeys;
  QSet<int> knownPrimaries;
  walkKey(rows, kUnitKey, "RemoteUnitKey", rtuKey, EmptyTexts::End, [&](MDRData* record) {
    const int primary = primaryOf(primaryField, record);
    if (primary == 0 || !groupIsAggregated(groupField, record, module->tblArchGroup)) return;
    const QString key = fieldText(rows, record, 0, module->moduleCodec);
    if (!knownKeys.contains(key)) aggKeys.append(*knownKeys.insert(key));
    if (!knownPrimaries.contains(primary)) primaryLocIds.append(*knownPrimaries.insert(primary));
    aggPairs.append(key + ',' + QString::number(primary));
    MDRVar className{};
    MDRGetVal(classField, record, &className);
    aggClasses.append(decodeVar(className, module->moduleCodec));
  });
  if (aggKeys.isEmpty())
    return GetMeasurementsWithoutAgreg(rtuKey, unit, module, groupClasses, groupNodes, skipOne, skipKey);
  return GetMeasurementsWithAgreg(rtuKey, unit, module, groupClasses, groupNodes, &aggKeys, &primaryLocIds, &aggPairs,
                                  &aggClasses, skipOne, skipKey);
}

int GetMeasurementsWithoutAgreg(MDRVar& rtuKey, myConfNode* unit, CTlmMeasConfig* module, QStringList* groupClasses,
                                QList<myConfNode*>* groupNodes, bool skipOne, QString skipKey) {
  if (!unit || !module || MDARecCount(module->measRecords.array) == 0) return 0;
  makeNodes(rtuKey, unit, module, groupClasses, groupNodes, skipOne ? &skipKey : nullptr, nullptr);
  return 1;
}

int GetMeasurementsWithAgreg(MDRVar& rtuKey, myConfNode* unit, CTlmMeasConfig* module, QStringList* groupClasses,
                             QList<myConfNode*>* groupNodes, QStringList* aggKeys, QList<int>* primaryLocIds,
                             QStringList* aggPairs, QStringList* aggClasses, bool, QString) {
  if (aggPairs->size() < primaryLocIds->size() || aggKeys->size() > aggPairs->size())
    return GetMeasurementsWithoutAgreg(rtuKey, unit, module, groupClasses, groupNodes, false, QString());
  if (!unit || !module || MDARecCount(module->measRecords.array) == 0) return 0;
  Places<QByteArray> aggregated = placesOf(*aggKeys, module->moduleCodec);
  Places<int> primaries = placesOf(*primaryLocIds);
  makeNodes(rtuKey, unit, module, groupClasses, groupNodes, nullptr, [&](myConfNode* node, const MDRVar& key) {
    const auto own = aggregated.find(rawText(key));
    if (own != aggregated.end()) {
      *own = node;
      return;
    }
    const auto primary = primaries.find(GetLocId(node));
    if (primary != primaries.end()) *primary = node;
  });
  hangAggregated(*aggPairs, *aggClasses, *groupClasses, aggregated, primaries, module->moduleCodec);
  for (myConfNode* group : qAsConst(*groupNodes)) {
    auto& children = group->children;
    std::erase_if(children, [group](const myConfNode* child) { return child->parent != group; });
  }
  return 1;
}
