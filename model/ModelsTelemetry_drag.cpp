#include "CTlmMeasConfig.h"
#include "ClipboardDocument.h"
#include "IndexFacts.h"
#include "ModelsTelemetry.h"

#include <QMimeData>

QStringList MeasConfTreeModel::mimeTypes() const { return {kMeasMimeType}; }

Qt::DropActions MeasConfTreeModel::supportedDropActions() const { return Qt::MoveAction; }

// The measurements of units are fetched, so that the document holds them. While a message waits no drag begins: an
// edit that was refused has put the selection back, and what is selected is not what the mouse took.
QMimeData* MeasConfTreeModel::mimeData(const QModelIndexList& indexes) const {
  if (!module || (module->popMessageBox && module->popMessageBox->isWaiting())) return nullptr;
  const QString xml = module->makeDocument(distinctRows(indexes), true, false);
  module->dragTableName = module->GetTopTableName(xml);
  auto* data = new QMimeData;
  data->setData(kMeasMimeType, clipboardPayload(xml, false));
  return data;
}

// The objects do not move here but by the events of the write. A drag that was given up leaves its top table behind,
// and the next drop may come from another window: what the data holds must fit as well.
bool MeasConfTreeModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int, int,
                                     const QModelIndex& parent) {
  if (action == Qt::IgnoreAction) return true;
  if (!data || !data->hasFormat(kMeasMimeType) || !takesDrop(parent)) return false;
  const QString xml = payloadDocument(data->data(kMeasMimeType));
  const QString top = module->GetTopTableName(xml);
  if (!top.isEmpty() && !module->CheckIndexPaste(parent, top)) return false;
  if (!module->CheckIsParent(xml, parent)) module->ParseUpLevelXml(xml, parent, false, true);
  module->dragTableName.clear();
  return true;
}
