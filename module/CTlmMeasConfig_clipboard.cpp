#include "CTlmMeasConfig.h"
#include "ClipboardDocument.h"
#include "IndexFacts.h"
#include "RecordAccess.h"
#include "ui_TlmMeasConfig.h"

#include <QAction>
#include <QClipboard>
#include <QMenu>
#include <QMimeData>
#include <QSet>
#include <QToolButton>

#include <algorithm>

namespace {

bool isMeasTable(const QString& table) { return measClassByName(table, Qt::CaseInsensitive) != nullptr; }

bool isFolderOrUnit(const QString& table) {
  return table == QLatin1String("Folder") || table == QLatin1String(kRemoteUnitClass);
}

QModelIndex firstCell(const QModelIndex& index) { return index.sibling(index.row(), 0); }

QModelIndex twoLevelsUp(const QModelIndex& index) { return index.parent().parent(); }

// The key of the row above; empty at the top of the tree.
QString parentKey(const QModelIndex& index) { return keyOf(index.parent()); }

// What an aggregated measurement tells of its primary one.
void describeAggregated(QDomElement& element, const myConfNode& node, QTextCodec* codec) {
  if (!node.isAggregated || !node.record) return;
  MDRVar number{};
  node.table->GetVal(node.record, "primaryLocId", number);
  const int64_t primary = asInteger(number);
  if (primary == 0) return;
  element.setAttribute(QStringLiteral("primaryLocId"), QString::number(primary));
  const QString archGroup = fieldText(*node.table, node.record, "MeasurementArchGroupKey", codec);
  if (!archGroup.isEmpty()) element.setAttribute(QStringLiteral("MeasurementArchGroupKey"), archGroup);
}

void describe(QDomElement& element, const QModelIndex& index, const char* nameAttribute, const char* parentAttribute,
              const QString& parent) {
  element.setAttribute(QLatin1String(nameAttribute), index.data().toString());
  element.setAttribute(QStringLiteral("ClassName"), classOf(index));
  element.setAttribute(QStringLiteral("KeyLink"), keyOf(index));
  element.setAttribute(QLatin1String(parentAttribute), parent);
}

// The attributes of a row's element; none for a class that the document does not know.
void describeRow(QDomElement& element, const QModelIndex& index, QTextCodec* codec) {
  const QString className = classOf(index);
  if (className.isEmpty()) {
    describe(element, index, "caption", "ParentKey", parentKey(index));
  } else if (isRemoteUnit(index)) {
    describe(element, index, "name_", "RemoteUnitFolderKey", parentKey(index));
  } else if (isMeasTable(className)) {
    describe(element, index, "name_", "RemoteUnitKey", keyOf(twoLevelsUp(index)));
    element.setAttribute(QStringLiteral("locId"), numberOf(index));
    describeAggregated(element, *nodeOf(index), codec);
  }
}

// Which sorts of rows may be taken together: folders with units, measurements with measurements.
enum class RowSort { None, Places, Measurements };

RowSort sortOf(const QModelIndex& row) {
  const myConfNode* node = nodeOf(row);
  if (!node) return RowSort::None;
  if (node->isFolder || isRemoteUnit(row)) return RowSort::Places;
  return groupOrMeasClass(node->text, classOf(row)) ? RowSort::Measurements : RowSort::None;
}

bool areOfOneSort(const QModelIndexList& rows) {
  RowSort all = RowSort::None;
  return std::all_of(rows.begin(), rows.end(), [&](const QModelIndex& row) {
    const RowSort sort = sortOf(row);
    if (sort == RowSort::None) return true;
    if (all == RowSort::None) all = sort;
    return sort == all;
  });
}

}  // namespace

void CTlmMeasConfig::ExecEditActGroup(QAction* action) {
  const QModelIndex current = ui->tV_MeasConfig->currentIndex();
  if (action == actCut)
    ExecActCut(current);
  else if (action == actCopy)
    ExecActCopy(current);
  else if (action == actPaste || action == actPasteNoAgreg)
    ExecActPaste(current, action == actPaste);
  else if (action == actCopyTemplate)
    ExecActCopyTemplate();
  else if (action == actFind)
    ExecActFind(current);
}

void CTlmMeasConfig::onDataChanged_clipboard() {
  const QMimeData* mime = clipboard ? clipboard->mimeData() : nullptr;
  if (!mime || !mime->hasFormat(kMeasMimeType)) return;
  const QByteArray payload = mime->data(kMeasMimeType);
  clipIsCopy = payloadIsCopy(payload);
  clipText = payloadDocument(payload);
  if (clipIsCopy) {
    templatePasteOn = true;
    clipCopyCount = 0;
    clipPasteTarget.clear();
  } else if (clipText.isEmpty()) {
    forgetCut();  // it was pasted, perhaps by another window
  }
  CheckEnabledPaste(ui->tV_MeasConfig->currentIndex());
}

void CTlmMeasConfig::CheckEnabledPaste(QModelIndex index) {
  if (!index.isValid() || clipText.isEmpty()) {
    offerPaste(false);
    actCopyTemplate->setEnabled(false);
  }
  if (clipText.isEmpty()) {
    clipTopTable.clear();
    clipTemplateTable.clear();
    return;
  }
  clipTopTable = GetTopTableName(clipText);
  offerPaste(!clipTopTable.isEmpty() && CheckIndexPaste(index, clipTopTable));
  if (!templatePasteOn) {
    actCopyTemplate->setEnabled(false);
    return;
  }
  clipTemplateTable = GetTemplateTableName(clipText);
  actCopyTemplate->setEnabled(!clipTemplateTable.isEmpty() && CheckIndexTemplatePaste(index, clipTemplateTable));
}

// The button, and the menu of both actions in the context menu.
void CTlmMeasConfig::offerPaste(bool on) {
  btnPaste->setEnabled(on);
  pasteMenu->setEnabled(on);
}

bool CTlmMeasConfig::CheckIndexPaste(QModelIndex index, QString topTable) {
  if (!index.isValid()) return isFolderOrUnit(topTable);
  const myConfNode* node = nodeOf(index);
  if (!node) return false;
  if (node->isFolder) return isFolderOrUnit(topTable);
  if (const MeasClass* kind = groupOrMeasClass(node->text, classOf(index)))
    return topTable.compare(QLatin1String(kind->className), Qt::CaseInsensitive) == 0;
  return isRemoteUnit(index) && isMeasTable(topTable);
}

QString CTlmMeasConfig::GetTopTableName(QString xml) { return documentFacts.top(xml).table; }

QString CTlmMeasConfig::GetTopKeyLink(QString xml) { return documentFacts.top(xml).keyLink; }

QString CTlmMeasConfig::GetTemplateTableName(QString xml) { return documentFacts.templateTable(xml); }

bool CTlmMeasConfig::CheckIsParent(QString xml, QModelIndex index) {
  const QString key = GetTopKeyLink(xml);
  const QModelIndex hit = key.isEmpty() ? QModelIndex() : treeModel->findByKey(key);
  const QModelIndex row = firstCell(index);
  return hit.isValid() && (hit == row || hit.parent() == row);
}

// ---- cut and copy ----------------------------------------------------------------------------------------

void CTlmMeasConfig::ExecActCut(QModelIndex) { putSelection(true); }

void CTlmMeasConfig::ExecActCopy(QModelIndex) { putSelection(false); }

// What can be pasted nowhere does not go onto the clipboard, and is not cut.
void CTlmMeasConfig::putSelection(bool isCut) {
  const QStringList cutBefore = treeModel->cutKeys;
  const QString xml = makeDocument(selectedRows(), isCut, isCut);
  if (GetTopTableName(xml).isEmpty()) {
    clipText.clear();
    treeModel->cutKeys = cutBefore;
    CheckEnabledPaste(ui->tV_MeasConfig->currentIndex());
  } else if (clipboard) {
    auto* mime = new QMimeData;
    mime->setData(kMeasMimeType, clipboardPayload(xml, !isCut));
    clipboard->setMimeData(mime, QClipboard::Clipboard);
  }
  ui->tV_MeasConfig->viewport()->update();
}

// The rows that were cut are painted as the others again.
void CTlmMeasConfig::forgetCut() {
  treeModel->cutKeys.clear();
  ui->tV_MeasConfig->viewport()->update();
}

// With Control or Alt held the selection still grows. While an edit is open neither is offered.
void CTlmMeasConfig::CheckEnabledCutCopy(Qt::KeyboardModifiers modifiers) {
  if (modifiers & (Qt::ControlModifier | Qt::AltModifier)) return;
  if (newObjectInPassport || passportEdited) return;
  QModelIndexList rows = selectedRows();
  CheckDublChildIndex(rows);
  const bool offered = rows.size() < 2 || areOfOneSort(rows);
  actCut->setEnabled(offered);
  actCopy->setEnabled(offered);
}

// Leaves the rows that do not lie below another one of the list.
void CTlmMeasConfig::CheckDublChildIndex(QList<QModelIndex>& indexes) {
  if (indexes.size() == 1) return;
  QSet<const void*> listed;
  for (const QModelIndex& index : qAsConst(indexes)) listed.insert(index.internalPointer());
  const auto isCovered = [&](const QModelIndex& index) {
    for (QModelIndex above = index.parent(); above.isValid(); above = above.parent())
      if (listed.contains(above.internalPointer())) return true;
    return false;
  };
  indexes.erase(std::remove_if(indexes.begin(), indexes.end(), isCovered), indexes.end());
}

// ---- the document ----------------------------------------------------------------------------------------

QString CTlmMeasConfig::makeDocument(QList<QModelIndex> rows, bool isCut, bool markCut) {
  CheckDublChildIndex(rows);
  QDomDocument doc(isCut ? QStringLiteral("MyTreeCut") : QStringLiteral("MyTreeCopy"));
  QDomElement root = doc.createElement(QStringLiteral("MyTree"));
  doc.appendChild(root);
  for (const QModelIndex& row : qAsConst(rows)) {
    const QModelIndex index = firstCell(row);
    if (isRemoteUnit(index)) AddMeasForRTU(index, QString(), false, QString());
    AddToXmlClipBoard(doc, root, index, isCut, markCut);
  }
  return doc.toString(1);
}

void CTlmMeasConfig::AddToXmlClipBoard(QDomDocument& doc, QDomElement& parent, QModelIndex index, bool isCut,
                                       bool markCut) {
  if (keyOf(index).isEmpty()) {
    CheckAndAddSubNodes(index, doc, parent, isCut, markCut);
    return;
  }
  QDomElement element = addElement(doc, parent, index, isCut && markCut);
  CheckAndAddSubNodes(index, doc, element, isCut, markCut);
}

QDomElement CTlmMeasConfig::addElement(QDomDocument& doc, QDomElement& parent, const QModelIndex& index, bool mark) {
  const QString className = classOf(index);
  QDomElement element = doc.createElement(className.isEmpty() ? kFolderTag : className);
  parent.appendChild(element);
  describeRow(element, index, moduleCodec);
  if (mark) treeModel->cutKeys.append(keyOf(index));
  return element;
}

// Groups are left out: what they hold goes to the element around them. Other rows without a key are passed over.
void CTlmMeasConfig::CheckAndAddSubNodes(QModelIndex index, QDomDocument& doc, QDomElement& parent, bool isCut,
                                         bool markCut) {
  if (!index.isValid()) return;
  for (int row = 0; row < treeModel->rowCount(index); ++row) {
    const QModelIndex child = treeModel->index(row, 0, index);
    if (keyOf(child).isEmpty()) {
      if (isGroupCaption(child.data().toString())) CheckAndAddSubNodes(child, doc, parent, isCut, markCut);
      continue;
    }
    if (isRemoteUnit(child)) AddMeasForRTU(child, QString(), false, QString());
    QDomElement element = addElement(doc, parent, child, isCut && markCut);
    CheckAndAddSubNodes(child, doc, element, isCut, markCut);
  }
}
