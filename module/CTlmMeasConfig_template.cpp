#include "CTlmMeasConfig.h"
#include "ChangeSet.h"
#include "IndexFacts.h"
#include "ObjectStamp.h"
#include "RecordAccess.h"
#include "WorkWithData.h"
#include "popCopyByTemlate.h"
#include "popMessageBoxByTemplate.h"
#include "ui_TlmMeasConfig.h"

#include <TlmClient/GenGuid32.h>

#include <QDebug>
#include <QDomDocument>
#include <QSet>

#include <algorithm>
#include <limits>
#include <memory>
#include <utility>

namespace {

constexpr char kTitle[] = "Копирование по шаблону";
constexpr char kAllOccupied[] = "Измерения невозможно создать, так как все необходимые номера измерений уже заняты";
constexpr char kSomeOccupied[] =
    "Некоторые измерения невозможно создать, так как необходимые номера измерений уже заняты. Продолжить без создания "
    "этих измерений?";
constexpr char kNoNumbers[] = "В заданном диапазоне нет номеров, измерения не созданы";
constexpr char kNoTemplate[] = "Шаблон не найден на сервере, измерения не созданы";
constexpr char kNoDocument[] = "Шаблона больше нет в буфере обмена, измерения не созданы";
constexpr char kNoTarget[] = "Устройство не найдено, измерения не созданы";
constexpr char kNoUnit[] = "Шаблон копируется только в устройство, измерения не созданы";

constexpr int kNumbersForEach = 7;  // asked for the aggregated measurements of one copy
constexpr int kMaxTables = 3;       // of one object

const std::vector<StampRule> kCopyRules = {
    {"Keylink", StampValue::kKey, false},
    {"locid", StampValue::kNumber, false},
    {"RemoteUnitKey", StampValue::kUnitKey, true},
    {"name_", StampValue::kName, false},
};
const std::vector<StampRule> kChildRules = {
    {"Keylink", StampValue::kKey, false},
    {"locid", StampValue::kNumber, false},
    {"primaryLocId", StampValue::kPrimaryNumber, false},
    {"RemoteUnitKey", StampValue::kUnitKey, true},
    {"name_", StampValue::kName, false},
};

// How many numbers to ask for, for the aggregated measurements of `count` copies.
int numbersForChildren(int count) {
  const qint64 wanted = (qint64{count} + 1) * kNumbersForEach;
  return static_cast<int>(qMin<qint64>(wanted, std::numeric_limits<int>::max()));
}

void removeAll(QList<int>& numbers, const QList<int>& taken) {
  const QSet<int> gone(taken.begin(), taken.end());
  numbers.erase(std::remove_if(numbers.begin(), numbers.end(), [&gone](int each) { return gone.contains(each); }),
                numbers.end());
}

// The measurement at the top of a clipboard document; a null element when there is none.
QDomElement templateElement(const QString& xml) {
  QDomDocument document(QStringLiteral("doc"));
  if (!document.setContent(xml)) return QDomElement();
  QDomElement element = document.documentElement().firstChildElement();
  while (!element.isNull() && !measClassByName(element.tagName(), Qt::CaseSensitive))
    element = element.nextSiblingElement();
  return element;
}

// An aggregated measurement of the template: its tables, as the server gave them.
class TemplateChild {
 public:
  TemplateChild(CTlmMeasConfig& module, const QString& key) : model_(module.moduleCodec) {
    module.getLiteModel(key, model_);
    TModelRecord records[kMaxTables];
    const int count = model_.GetRecordsByKey(module.moduleCodec->fromUnicode(key).toStdString(), records);
    stamps_.reserve(kMaxTables);
    for (int i = 0; i < count; ++i) addTable(records[i], module.moduleCodec);
  }

  bool isKnown() const { return !stamps_.empty(); }
  // What its name has behind that of its primary.
  const QString& suffix() const { return suffix_; }
  void add(QStringList& tables, QList<CMDArray*>& arrays, const StampValues& values) {
    for (ObjectStamp& stamp : stamps_) stamp.add(tables, arrays, values);
  }

 private:
  void addTable(const TModelRecord& from, QTextCodec* codec) {
    MDArray* rows = from.table->Array();
    stamps_.emplace_back(QString::fromStdString(from.table->Name()), rows, rows, from.record, kChildRules,
                         StampValue::kSource);
    MDRVar name{};
    if (const MDRField* field = MDRFldByName(rows, "name_")) MDRGetVal(field, from.record, &name);
    const QString text = decodeVar(name, codec);
    if (const int at = text.lastIndexOf(QLatin1Char('_')); at >= 0) suffix_ = text.mid(at);
  }

  CLiteModel model_;
  std::vector<ObjectStamp> stamps_;
  QString suffix_;
};

using TemplateChildren = std::vector<std::unique_ptr<TemplateChild>>;

// The aggregated measurements of one copy, each with the next of their numbers, as long as there are any.
void addChildren(const TemplateChildren& children, CTlmMeasConfig& module, const QString& copyName, StampValues values,
                 QStringList& tables, QList<CMDArray*>& arrays) {
  values.primaryNumber = values.number;
  for (const auto& child : children) {
    if (!child->isKnown()) continue;
    if (module.agregLocIds.isEmpty()) {
      qDebug().noquote() << copyName + child->suffix() << "is left out: no number is free";
      continue;
    }
    values.key = GenGuid32();
    values.number = module.agregLocIds.takeFirst();
    values.name = module.moduleCodec->fromUnicode(copyName + child->suffix());
    child->add(tables, arrays, values);
  }
}

// The keys of a measurement's aggregated ones that the tree holds.
QStringList childKeysOf(const CTlmMeasConfig& module, const QString& key, const QString& className) {
  QStringList keys;
  const QModelIndex row = key.isEmpty() ? QModelIndex() : module.treeModel->findByKey(key);
  if (!row.isValid() || classOf(row).compare(className, Qt::CaseInsensitive) != 0) return keys;
  for (const myConfNode* child : nodeOf(row)->children)
    if (child->record) keys.append(fieldText(*child->table, child->record, 0, module.moduleCodec));
  keys.removeAll(QString());
  return keys;
}

// The unit that a series at this row goes to: that of a group, or the row itself; invalid for any other row.
QModelIndex unitAt(const QModelIndex& row) {
  const myConfNode* node = row.isValid() ? nodeOf(row) : nullptr;
  if (!node) return QModelIndex();
  if (isGroupCaption(node->text)) return row.parent();
  return isRemoteUnit(row) ? row : QModelIndex();
}

// The row of the unit that the dialog was opened for, whatever is current by now; without one the current row.
QModelIndex targetRow(const CTlmMeasConfig& module, const QString& unitKey) {
  const QModelIndex current = module.ui->tV_MeasConfig->currentIndex();
  return unitKey.isEmpty() ? current.sibling(current.row(), 0) : module.treeModel->findByKey(unitKey);
}

}  // namespace

// ---- where a template may go -----------------------------------------------------------------------------

bool CTlmMeasConfig::CheckIndexTemplatePaste(QModelIndex index, QString className) {
  const myConfNode* node = index.isValid() ? nodeOf(index) : nullptr;
  const MeasClass* kind = measClassByName(className, Qt::CaseInsensitive);
  if (!node || !kind) return false;
  return isGroupCaption(node->text) ? node->text == QString::fromUtf8(kind->caption) : isRemoteUnit(index);
}

// ---- the questions ---------------------------------------------------------------------------------------

void CTlmMeasConfig::ExecActCopyTemplate() {
  if (!popCopyByTemlate) return;
  popCopyByTemlate->Init(clipTemplateTable);
  const QModelIndex current = ui->tV_MeasConfig->currentIndex();
  popCopyByTemlate->unitKey = keyOf(unitAt(current.sibling(current.row(), 0)));
  popCopyByTemlate->show();
}

void CTlmMeasConfig::OnCopyByTemplate_SignOK(QString begin, QString end, int step, int count, QString) {
  if (!popCopyByTemlate) return;
  if (popMessageBoxByTemplate) popMessageBoxByTemplate->On_Reject();  // an older question is answered by this series
  const QString unitKey = std::exchange(popCopyByTemlate->unitKey, QString());
  freeLocIds.clear();
  QStringList occupied;
  GetCountFreeLocIdAtRange(occupied, count, begin.toInt(), end.toInt(), step);
  if (popCopyByTemlate->copyAggregated) {
    agregLocIds.clear();
    GetCountFreeLocIdFromGiven(agregLocIds, numbersForChildren(count), 1);
    removeAll(agregLocIds, freeLocIds);
  }
  if (occupied.isEmpty()) {
    SaveCopyByTemplate(targetRow(*this, unitKey));
    const bool isTold = popMessageBox && popMessageBox->isWaiting();
    if (freeLocIds.isEmpty() && !isTold)
      showBox(QString::fromUtf8(kTitle), QString::fromUtf8(kNoNumbers), kBoxWarning, kBoxOk);
  } else if (popMessageBoxByTemplate) {
    popMessageBoxByTemplate->Init(QString::fromUtf8(freeLocIds.isEmpty() ? kAllOccupied : kSomeOccupied), occupied);
    popMessageBoxByTemplate->unitKey = unitKey;
    popMessageBoxByTemplate->show();
  }
}

void CTlmMeasConfig::OnMessageBoxByTemplate_SignOK() {
  if (!popMessageBoxByTemplate) return;
  SaveCopyByTemplate(targetRow(*this, std::exchange(popMessageBoxByTemplate->unitKey, QString())));
}

// ---- the series ------------------------------------------------------------------------------------------

void CTlmMeasConfig::SaveCopyByTemplate(QModelIndex target) {
  if (!target.isValid()) {
    showBox(QString::fromUtf8(kTitle), QString::fromUtf8(kNoTarget), kBoxWarning, kBoxOk);
    return;
  }
  if (!nodeOf(target) || !clipboard || clipText.isEmpty()) return;
  if (isRemoteUnit(target)) AddMeasForRTU(target, QString(), false, QString());
  if (clipIsCopy)
    ParseAndSaveXmlTemplate(clipText, target);
  else  // cut meanwhile
    showBox(QString::fromUtf8(kTitle), QString::fromUtf8(kNoDocument), kBoxWarning, kBoxOk);
}

void CTlmMeasConfig::ParseAndSaveXmlTemplate(QString xml, QModelIndex target) {
  if (!popCopyByTemlate || !target.isValid()) return;
  const QDomElement element = templateElement(xml);
  const QModelIndex unit = unitAt(target);
  if (element.isNull() || !unit.isValid()) return;
  const QString key = element.attribute(QStringLiteral("KeyLink"));
  const QString className = element.attribute(QStringLiteral("ClassName"));
  const bool withChildren = popCopyByTemlate->copyAggregated;
  const QStringList children = withChildren ? childKeysOf(*this, key, className) : QStringList();
  ChangeSet changes;
  if (!PrepareSaveGroupTemplate(changes.tables, changes.arrays, key, className, keyOf(unit), freeLocIds,
                                popCopyByTemlate->name, popCopyByTemlate->copyFields, withChildren, children)) {
    showBox(QString::fromUtf8(kTitle), QString::fromUtf8(keyOf(unit).isEmpty() ? kNoUnit : kNoTemplate), kBoxWarning,
            kBoxOk);
    return;
  }
  Save(changes.tables, changes.arrays, true);
  templatePasteOn = false;
  CheckEnabledPaste(ui->tV_MeasConfig->currentIndex());
}

bool CTlmMeasConfig::PrepareSaveGroupTemplate(QStringList& tables, QList<CMDArray*>& arrays, QString key,
                                              QString className, QString remoteUnitKey, QList<int> numbers,
                                              QString name, bool, bool copyAggregated, QStringList childKeys) {
  if (key.isEmpty() || remoteUnitKey.isEmpty()) return false;
  if (className.isEmpty()) className = QStringLiteral("RemoteUnitFolder");
  const int ind = tableNames.indexOf(className);
  if (ind == -1) {
    qDebug().noquote() << className + QStringLiteral("(ind = SavedClasses.indexOf(ClassNameSrc))==-1 !!!");
    return false;
  }
  CMDArray pattern;
  if (!GetRecByKey(session(), moduleCodec->fromUnicode(key).toStdString(), &pattern)) return false;
  const MDRData* record = MDARec(pattern.array, 0, 0);
  if (!record) return false;
  const QStringList chain = tableLists[ind].split(QLatin1Char(','));
  std::vector<ObjectStamp> stamps;
  stamps.reserve(static_cast<size_t>(chain.size()));
  for (int i = 0; i < chain.size(); ++i)
    stamps.emplace_back(chain[i], tableStructs[ind][i]->array, pattern.array, record, kCopyRules, StampValue::kSource);
  TemplateChildren children;
  children.reserve(static_cast<size_t>(childKeys.size()));
  for (const QString& each : qAsConst(childKeys)) children.push_back(std::make_unique<TemplateChild>(*this, each));

  StampValues values;
  values.unitKey = moduleCodec->fromUnicode(remoteUnitKey);
  for (const int number : qAsConst(numbers)) {
    const QString copyName = name + QLatin1Char(' ') + QString::number(number);
    values.key = GenGuid32();
    values.number = number;
    values.name = moduleCodec->fromUnicode(copyName);
    for (ObjectStamp& stamp : stamps) stamp.add(tables, arrays, values);
    if (copyAggregated) addChildren(children, *this, copyName, values, tables, arrays);
  }
  return true;
}
