#include "CTlmMeasConfig.h"
#include "ChangeSet.h"
#include "IndexFacts.h"
#include "ObjectStamp.h"
#include "RecordAccess.h"
#include "StringListModel.h"
#include "WorkWithData.h"
#include "popAddAgregData.h"
#include "ui_TlmMeasConfig.h"

#include <TlmClient/GenGuid32.h>

#include <QAction>
#include <QDebug>

#include <functional>
#include <optional>
#include <utility>

namespace {

constexpr int kPrimaryKey = 3;  // of measRecords: the number of the primary measurement

const std::vector<StampRule> kObjectRules = {
    {"Keylink", StampValue::kKey, false},
    {"name_", StampValue::kName, false},
    {"classname", StampValue::kClassName, false},
};
const std::vector<StampRule> kMeasurementRules = {
    {"Keylink", StampValue::kKey, false},
    {"locid", StampValue::kNumber, false},
    {"primaryLocId", StampValue::kPrimaryNumber, true},
    {"RemoteUnitKey", StampValue::kUnitKey, true},
    {"PSRKey", StampValue::kSource, true},
    {"TerminalKey", StampValue::kSource, true},
    {"work_", StampValue::kSource, true},
    {"MeasurementArchGroupKey", StampValue::kArchGroupKey, false},
};
const std::vector<StampRule> kClassRules = {{"Keylink", StampValue::kKey, true}};

// The held measurements whose primary has that number. There is none of number 0: that is what all those have that are
// nobody's children.
void eachChild(const CTlmMeasConfig& module, int primaryLocId, const std::function<void(MDRData*)>& visit) {
  if (primaryLocId == 0) return;
  const CMDArray& held = module.measRecords;
  const MDRVar number = mdx::int64Var(primaryLocId);
  int position = 0;
  MDRData* record = MDARecSeekV(held.array, kPrimaryKey, &number, &position);
  const MDRField* field = MDRFldByName(held.array, "primaryLocId");
  for (; record; record = MDARec(held.array, kPrimaryKey, ++position)) {
    int32_t primary = 0;
    if (MDRGetAsInt32(field, record, &primary) < 0 || primary != primaryLocId) return;
    visit(record);
  }
}

// The archive groups of the aggregated measurements that hang under a row, each once.
QStringList groupsBelow(const CTlmMeasConfig& module, const QModelIndex& row) {
  QStringList groups;
  for (const myConfNode* child : nodeOf(row)->children) {
    const QString group = child->isAggregated && child->record
                              ? fieldText(*child->table, child->record, "MeasurementArchGroupKey", module.moduleCodec)
                              : QString();
    if (!group.isEmpty() && !groups.contains(group)) groups.append(group);
  }
  return groups;
}

// What an answer is about.
struct Asked {
  QModelIndex row;
  // Groups that the dialog did not show: of children that others added meanwhile, of those in another unit, and of
  // ordinary measurements that name the primary.
  QStringList unseen;
};

// The measurement that the dialog was opened for, whatever is current by now; without a dialog the current one. What
// was not shown was not unticked.
Asked takeAsked(const CTlmMeasConfig& module) {
  CPopAddAgregData* dialog = module.popAddAgregData;
  const bool isAnswer = dialog && !dialog->primaryKey.isEmpty();
  const QString key =
      isAnswer ? std::exchange(dialog->primaryKey, QString()) : keyOf(module.ui->tV_MeasConfig->currentIndex());
  Asked asked{key.isEmpty() ? QModelIndex() : module.treeModel->findByKey(key), {}};
  if (!isAnswer || !asked.row.isValid()) return asked;
  eachChild(module, numberOf(asked.row).toInt(), [&](const MDRData* child) {
    const QString group = fieldText(module.measRecords, child, "MeasurementArchGroupKey", module.moduleCodec);
    if (!dialog->groupsAtOpening.contains(group)) asked.unseen.append(group);
  });
  return asked;
}

// The archive groups of the children that stay. Those whose group is not wanted go to `toDelete`; one without a group
// does neither.
QStringList sortChildren(const CTlmMeasConfig& module, int primaryLocId, const QStringList& wanted,
                         QList<MDRData*>& toDelete) {
  QStringList kept;
  eachChild(module, primaryLocId, [&](MDRData* child) {
    const QString group = fieldText(module.measRecords, child, "MeasurementArchGroupKey", module.moduleCodec);
    if (group.isEmpty()) return;
    if (wanted.contains(group))
      kept.append(group);
    else
      toDelete.append(child);
  });
  return kept;
}

// The records of new children, in the tables of their class.
class ChildRecords {
 public:
  ChildRecords(const CTlmMeasConfig& module, const CMDArray& primary, const MDRData* pattern, const QString& className)
      : object_(QStringLiteral("IdentifiedObject"), module.strIdentifiedObject.array, nullptr, nullptr, kObjectRules,
                StampValue::kEmpty),
        measurement_(QStringLiteral("Measurement"), module.strMeasurement.array, primary.array, pattern,
                     kMeasurementRules, StampValue::kEmpty) {
    const CMDArray* const structures[] = {&module.strAnalog, &module.strDiscrete, &module.strAccumulator,
                                          &module.strStringMeasurement};
    if (const MeasClass* kind = measClassByName(className, Qt::CaseInsensitive))
      ofClass_.emplace(QString::fromLatin1(kind->className), structures[kind - kMeasClasses]->array, nullptr, nullptr,
                       kClassRules, StampValue::kEmpty);
  }

  // False for a child without a number, which gets no further than its name.
  bool add(QStringList& tables, QList<CMDArray*>& arrays, const StampValues& values) {
    object_.add(tables, arrays, values);
    if (values.number == 0) return false;
    measurement_.add(tables, arrays, values);
    if (ofClass_) ofClass_->add(tables, arrays, values);
    return true;
  }

 private:
  ObjectStamp object_;
  ObjectStamp measurement_;
  std::optional<ObjectStamp> ofClass_;
};

}  // namespace

void CTlmMeasConfig::CheckEnabledAgregData(QModelIndex index) {
  const myConfNode* node = index.isValid() ? nodeOf(index) : nullptr;
  if (node) actAgregData->setEnabled(!node->isAggregated && classesEnabledAgreg.contains(classOf(index)));
}

// ---- the question ----------------------------------------------------------------------------------------

void CTlmMeasConfig::ExecActAgregData() {
  const QModelIndex current = ui->tV_MeasConfig->currentIndex();
  if (!popAddAgregData || !current.isValid()) return;
  const QModelIndex row = current.sibling(current.row(), 0);
  const QString className = classOf(row);
  bool hasTypes = false;
  popAddAgregData->Init(className, numberOf(row) + QLatin1String(", ") + row.data().toString(), &hasTypes);
  if (!hasTypes) {
    showBox(QStringLiteral("Несоответствие типа архива"),
            QStringLiteral("Нет типов агрегированных сигналов для ") + className, kBoxWarning, kBoxOk);
    return;
  }
  popAddAgregData->groupsAtOpening = groupsBelow(*this, row);
  popAddAgregData->listModel->checkedKeys = popAddAgregData->groupsAtOpening;
  popAddAgregData->primaryKey = keyOf(row);
  popAddAgregData->show();
}

// ---- the answer ------------------------------------------------------------------------------------------

void CTlmMeasConfig::OnAddAgregData_SignOK(QStringList archGroupKeys) {
  if (archGroupKeys.isEmpty()) {
    OnAddAgregData_SignOKEmpty();
    return;
  }
  const Asked asked = takeAsked(*this);
  const QModelIndex row = asked.row;
  const QString key = keyOf(row);
  if (key.isEmpty()) return;
  for (const QString& group : asked.unseen)
    if (!group.isEmpty() && !archGroupKeys.contains(group)) archGroupKeys.append(group);
  const QString className = classOf(row);
  QList<int> numbers;
  GetCountFreeLocIdFromGiven(numbers, archGroupKeys.size(), 1);
  ChangeSet changes;
  QList<MDRData*> unticked;
  if (PrepareSaveGroupAgreg(changes.tables, changes.arrays, key, className, row.data().toString(),
                            numberOf(row).toInt(), archGroupKeys, numbers, unticked))
    Save(changes.tables, changes.arrays, true);
  DeleteAgregMeas(unticked, className);
}

void CTlmMeasConfig::OnAddAgregData_SignOKEmpty() {
  const Asked asked = takeAsked(*this);
  if (!asked.row.isValid()) return;
  QList<MDRData*> children;
  eachChild(*this, numberOf(asked.row).toInt(), [&](MDRData* child) {
    if (!asked.unseen.contains(fieldText(measRecords, child, "MeasurementArchGroupKey", moduleCodec)))
      children.append(child);
  });
  DeleteAgregMeas(children, classOf(asked.row));
}

// ---- the change set --------------------------------------------------------------------------------------

bool CTlmMeasConfig::PrepareSaveGroupAgreg(QStringList& tables, QList<CMDArray*>& changes, QString primaryKey,
                                           QString className, QString primaryName, int primaryLocId,
                                           QStringList archGroupKeys, QList<int>& freeNumbers,
                                           QList<MDRData*>& toDelete) {
  if (primaryKey.isEmpty()) return false;
  CMDArray primary;
  if (!GetRecByKey(session(), moduleCodec->fromUnicode(primaryKey).toStdString(), &primary)) {
    qDebug().noquote() << "PrepareSaveGroupAgreg(): the record of" << primaryKey << "cannot be read";
    return false;
  }
  const MDRData* pattern = MDARec(primary.array, 0, 0);
  const QString unitKey = fieldText(primary, pattern, "remoteunitkey", moduleCodec);
  if (unitKey.isEmpty()) {
    qDebug().noquote() << "PrepareSaveGroupAgreg():" << primaryKey << "has no unit";
    return true;
  }

  const QStringList kept = sortChildren(*this, primaryLocId, archGroupKeys, toDelete);
  ChildRecords records(*this, primary, pattern, className);
  StampValues values;
  values.primaryNumber = primaryLocId;
  values.unitKey = moduleCodec->fromUnicode(unitKey);
  values.className = moduleCodec->fromUnicode(className);
  int next = 0;
  for (const QString& group : qAsConst(archGroupKeys)) {
    if (kept.contains(group)) continue;
    const QString suffix =
        fieldText(tblArchGroup, seekText(tblArchGroup, 0, group, moduleCodec), "aggregatedName", moduleCodec);
    values.key = GenGuid32();
    values.name = moduleCodec->fromUnicode(primaryName + suffix);
    values.archGroupKey = moduleCodec->fromUnicode(group);
    values.number = freeNumbers.value(next++, 0);
    if (!records.add(tables, changes, values)) {
      qDebug("PrepareSaveGroupAgreg(): no number is free");
      return false;
    }
  }
  return true;
}
