#include "CTlmMeasConfig.h"
#include "ChangeSet.h"
#include "IndexFacts.h"
#include "PastedRecord.h"
#include "RecordAccess.h"
#include "WorkWithData.h"
#include "ui_TlmMeasConfig.h"

#include <TlmClient/GenGuid32.h>

#include <QClipboard>
#include <QDebug>
#include <QMimeData>

namespace {

constexpr int kNumbersAtOnce = 100;
const QString kFolderClass = QStringLiteral("RemoteUnitFolder");
const QString kPrimaryLocId = QStringLiteral("primaryLocId");

bool isMeasurementTag(const QString& tag) { return measClassByName(tag, Qt::CaseSensitive) != nullptr; }

// The attribute that names the parent of an element at the top.
QString parentLink(const QString& tag) {
  if (tag == kFolderTag) return QStringLiteral("ParentKey");
  return tag == kUnitTag ? QStringLiteral("RemoteUnitFolderKey") : QStringLiteral("RemoteUnitKey");
}

// The folder or unit that takes what is pasted onto a row: the unit of a measurement or of a group, any other row
// itself. False when nothing can be pasted there.
bool targetOf(const QModelIndex& row, QModelIndex& target) {
  target = row;
  if (measClassByName(classOf(row), Qt::CaseInsensitive)) {
    if (!row.parent().isValid()) return false;
    target = row.parent().parent();
  } else if (row.isValid() && nodeOf(row) && isGroupCaption(nodeOf(row)->text)) {
    target = row.parent();
  }
  return true;
}

}  // namespace

// The lists of one paste.
struct CTlmMeasConfig::PasteRun {
  QStringList& tables;
  QList<CMDArray*>& arrays;
  QList<int>& freeNumbers;
  int& usedFree;
  QList<int>& srcLocIds;
  QList<int>& newLocIds;
  bool isCopy;
  bool withAgreg;
};

void CTlmMeasConfig::ExecActPaste(QModelIndex index, bool withAgreg) {
  if (!index.isValid() || !nodeOf(index) || !clipboard || clipText.isEmpty()) return;
  const QModelIndex row = index.sibling(index.row(), 0);
  if (!CheckIndexPaste(row, GetTopTableName(clipText))) return;
  if (isRemoteUnit(row)) AddMeasForRTU(row, QString(), false, QString());
  if (clipIsCopy) {
    ParseUpLevelXml(clipText, row, true, withAgreg);
    return;
  }
  if (CheckIsParent(clipText, row)) return;
  ParseUpLevelXml(clipText, row, false, true);
  forgetCut();
  auto* emptied = new QMimeData;
  emptied->setData(kMeasMimeType, clipboardPayload(QString(), false));
  clipboard->setMimeData(emptied, QClipboard::Clipboard);
}

void CTlmMeasConfig::ParseUpLevelXml(QString xml, QModelIndex index, bool isCopy, bool withAgreg) {
  QDomDocument document(QStringLiteral("doc"));
  QModelIndex target;
  if (!readDocument(xml, document)) {
    qDebug("ParseUpLevelXml(): the document cannot be read");
    return;
  }
  if (!targetOf(index, target)) return;
  const QString targetKey = keyOf(target);

  ChangeSet changes;
  QList<int> numbers;
  QList<int> srcLocIds;
  QList<int> newLocIds;
  int usedFree = 0;
  GetCountFreeLocIdFromGiven(numbers, kNumbersAtOnce, 1);
  PasteRun run{changes.tables, changes.arrays, numbers, usedFree, srcLocIds, newLocIds, isCopy, withAgreg};
  for (QDomElement element = document.documentElement().firstChildElement(); !element.isNull();
       element = element.nextSiblingElement())
    pasteTop(run, element, targetKey);

  if (clipPasteTarget.isEmpty() || clipPasteTarget == targetKey) {
    clipPasteTarget = targetKey;
  } else {
    clipPasteTarget.clear();
    clipCopyCount = 0;
  }
  // Events come in the order of the tables, and a unit whose folder is not there yet lands at the top.
  if (const int folders = changes.tables.indexOf(kFolderClass); folders > 0) {
    changes.tables.move(folders, 0);
    changes.arrays.move(folders, 0);
  }
  Save(changes.tables, changes.arrays, isCopy);
}

// An object beside its source, or pasted into the same place once more, gets another name. What lies below a folder or
// unit that is moved keeps its link to it.
void CTlmMeasConfig::pasteTop(PasteRun& run, const QDomElement& element, const QString& targetKey) {
  const QString tag = element.tagName();
  const bool rename =
      element.attribute(parentLink(tag)) == targetKey || (!clipPasteTarget.isEmpty() && clipPasteTarget == targetKey);
  if (isMeasurementTag(tag)) {
    pasteMeasurement(run, element, targetKey, true, rename);
  } else if (tag == kFolderTag || tag == kUnitTag) {
    QString newKey;
    pasteObject(run, element, targetKey, rename, newKey);
    if (run.isCopy) pasteBelow(run, element, newKey);
  }
}

void CTlmMeasConfig::ParseSubLevelXml(QDomElement element, QStringList& tables, QList<CMDArray*>& arrays,
                                      QString parentKey, const QModelIndex&, myConfNode*, int& usedFree, bool isCopy,
                                      QList<int>& srcLocIds, QList<int>& newLocIds, QList<int>& freeNumbers,
                                      bool withAgreg) {
  PasteRun run{tables, arrays, freeNumbers, usedFree, srcLocIds, newLocIds, isCopy, withAgreg};
  pasteBelow(run, element, parentKey);
}

void CTlmMeasConfig::pasteBelow(PasteRun& run, const QDomElement& element, const QString& parentKey) {
  for (QDomElement child = element.firstChildElement(); !child.isNull(); child = child.nextSiblingElement()) {
    const QString tag = child.tagName();
    if (isMeasurementTag(tag)) {
      pasteMeasurement(run, child, parentKey, false, false);
    } else if (tag == kFolderTag || tag == kUnitTag) {
      QString newKey;
      pasteObject(run, child, parentKey, false, newKey);
      pasteBelow(run, child, newKey);
    }
  }
}

// Whether a measurement is pasted, and with which primary one. The copy of an aggregated measurement belongs to the
// copy of its primary; what is moved keeps its number, but at the top it needs a copy all the same.
bool CTlmMeasConfig::mapPrimary(const PasteRun& run, const QDomElement& element, bool isTop, int& primary) const {
  primary = 0;
  if (!element.hasAttribute(kPrimaryLocId)) return true;
  if (!run.withAgreg) return false;
  primary = element.attribute(kPrimaryLocId).toInt();
  if (!run.isCopy && !isTop) return true;
  const int at = run.srcLocIds.indexOf(primary);
  if (at < 0 || at >= run.newLocIds.size()) {
    qDebug().noquote() << element.attribute(QStringLiteral("KeyLink"))
                       << "is left out: its primary measurement is not copied";
    return false;
  }
  primary = run.newLocIds[at];
  return true;
}

void CTlmMeasConfig::pasteMeasurement(PasteRun& run, const QDomElement& element, const QString& unitKey, bool isTop,
                                      bool rename) {
  int primary = 0;
  if (!mapPrimary(run, element, isTop, primary)) return;
  QString newKey;
  if (pasteObject(run, element, unitKey, rename, newKey, primary))
    run.srcLocIds.append(element.attribute(QStringLiteral("locId")).toInt());
  if (!isTop || run.isCopy || run.withAgreg) pasteBelow(run, element, unitKey);
}

bool CTlmMeasConfig::pasteObject(PasteRun& run, const QDomElement& element, const QString& parentKey, bool rename,
                                 QString& newKey, int primary) {
  const QString archGroup =
      element.hasAttribute(kPrimaryLocId) ? element.attribute(QStringLiteral("MeasurementArchGroupKey")) : QString();
  return PrepareSaveGroupCopyORCut(run.tables, run.arrays, element.attribute(QStringLiteral("KeyLink")),
                                   element.attribute(QStringLiteral("ClassName")), parentKey, newKey, run.usedFree,
                                   run.newLocIds, rename, run.freeNumbers, run.isCopy, primary, archGroup);
}

bool CTlmMeasConfig::PrepareSaveGroupCopyORCut(QStringList& tables, QList<CMDArray*>& arrays, QString srcKey,
                                               QString className, QString targetKey, QString& newKey, int& usedFree,
                                               QList<int>& newLocIds, bool rename, QList<int>& freeNumbers, bool isCopy,
                                               int primaryLocId, QString archGroupKey) {
  newKey.clear();  // what hangs below an object that is not there goes to the top and not out of sight
  if (srcKey.isEmpty()) return false;
  if (className.isEmpty()) className = kFolderClass;
  const int ind = tableNames.indexOf(className);
  if (ind == -1) {
    qDebug() << className << "(ind = SavedClasses.indexOf(ClassNameSrc))==-1 !!!";
    return false;
  }
  const QByteArray srcBytes = moduleCodec->fromUnicode(srcKey);
  CMDArray source;
  if (!GetRecByKey(session(), srcBytes.toStdString(), &source)) {
    qDebug().noquote() << srcKey << "is left out: its record cannot be read";
    return false;
  }

  PastedRecord pasted(source, moduleCodec);
  pasted.isCopy = isCopy;
  pasted.key = isCopy ? QByteArray(GenGuid32()) : srcBytes;
  pasted.targetKey = moduleCodec->fromUnicode(targetKey);
  if (isCopy && primaryLocId != 0 && !archGroupKey.isEmpty()) {
    pasted.primaryLocId = primaryLocId;
    pasted.archGroupKey = moduleCodec->fromUnicode(archGroupKey);
  }
  if (rename) pasted.rename = [this](QString& name) { ChangeNameCopy(name); };
  pasted.nextNumber = [&] {
    const int number = takeFreeNumber(freeNumbers, usedFree);
    if (number != 0)
      newLocIds.append(number);
    else
      qDebug().noquote() << srcKey << "is left out: no number is free";
    return number;
  };
  const QStringList chain = tableLists[ind].split(QLatin1Char(','));
  for (int i = 0; i < chain.size(); ++i)
    if (!pasted.addTo(tables, arrays, chain[i], tableStructs[ind].value(i))) return false;
  newKey = moduleCodec->toUnicode(pasted.key);
  return true;
}

// 0 when there is none any more.
int CTlmMeasConfig::takeFreeNumber(QList<int>& numbers, int& used) {
  if (used >= numbers.size()) {
    const int last = numbers.isEmpty() ? 0 : numbers.last();
    GetCountFreeLocIdFromGiven(numbers, kNumbersAtOnce, last + 1);
  }
  return used < numbers.size() ? numbers[used++] : 0;
}

void CTlmMeasConfig::ChangeNameCopy(QString& name) {
  ++clipCopyCount;
  name += clipCopyCount == 1 ? QStringLiteral("-копия") : QStringLiteral("-копия(%1)").arg(clipCopyCount);
}
