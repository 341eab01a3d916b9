#include "CTlmMeasConfig.h"
#include "ClipboardDocument.h"
#include "IndexFacts.h"
#include "ui_TlmMeasConfig.h"

#include <QAction>
#include <QClipboard>
#include <QMimeData>
#include <QToolButton>

namespace {

constexpr char kCopyMark = '1';

bool isMeasTable(const QString& table) { return measClassByName(table, Qt::CaseInsensitive) != nullptr; }

bool isFolderOrUnit(const QString& table) {
  return table == QLatin1String("Folder") || table == QLatin1String(kRemoteUnitClass);
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
  const QByteArray bytes = mime->data(kMeasMimeType);
  clipIsCopy = bytes.startsWith(kCopyMark);
  clipText = QString::fromUtf8(bytes.mid(1));
  if (clipIsCopy) {
    templatePasteOn = true;
    clipCopyCount = 0;
    clipPasteTarget.clear();
  }
  CheckEnabledPaste(ui->tV_MeasConfig->currentIndex());
}

void CTlmMeasConfig::CheckEnabledPaste(QModelIndex index) {
  if (!index.isValid() || clipText.isEmpty()) {
    btnPaste->setEnabled(false);
    actCopyTemplate->setEnabled(false);
  }
  if (clipText.isEmpty()) {
    clipTopTable.clear();
    clipTemplateTable.clear();
    return;
  }
  clipTopTable = GetTopTableName(clipText);
  btnPaste->setEnabled(!clipTopTable.isEmpty() && CheckIndexPaste(index, clipTopTable));
  if (!templatePasteOn) {
    actCopyTemplate->setEnabled(false);
    return;
  }
  clipTemplateTable = GetTemplateTableName(clipText);
  actCopyTemplate->setEnabled(!clipTemplateTable.isEmpty() && CheckIndexTemplatePaste(index, clipTemplateTable));
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

QString CTlmMeasConfig::GetTopTableName(QString xml) { return clipboardTop(xml).table; }

QString CTlmMeasConfig::GetTopKeyLink(QString xml) { return clipboardTop(xml).keyLink; }

QString CTlmMeasConfig::GetTemplateTableName(QString xml) { return clipboardTemplate(xml); }

bool CTlmMeasConfig::CheckIsParent(QString xml, QModelIndex index) {
  const QString key = GetTopKeyLink(xml);
  const QModelIndex hit = key.isEmpty() ? QModelIndex() : treeModel->findByKey(key);
  return hit.isValid() && (hit == index || hit.parent() == index);
}

// Cut, copy and their document are not offered yet.

void CTlmMeasConfig::ExecActCut(QModelIndex) {}

void CTlmMeasConfig::ExecActCopy(QModelIndex) {}

void CTlmMeasConfig::CheckEnabledCutCopy(Qt::KeyboardModifiers) {}

void CTlmMeasConfig::AddToXmlClipBoard(QDomDocument&, QDomElement&, QModelIndex, bool, bool) {}

void CTlmMeasConfig::CheckAndAddSubNodes(QModelIndex, QDomDocument&, QDomElement&, bool, bool) {}

void CTlmMeasConfig::CheckDublChildIndex(QList<QModelIndex>&) {}
