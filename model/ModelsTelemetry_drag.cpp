#include "ModelsTelemetry.h"

QStringList MeasConfTreeModel::mimeTypes() const { return {kMeasMimeType}; }

Qt::DropActions MeasConfTreeModel::supportedDropActions() const { return Qt::MoveAction; }

// A drag without a document does not start, and nothing can be dropped then.
QMimeData* MeasConfTreeModel::mimeData(const QModelIndexList&) const { return nullptr; }

bool MeasConfTreeModel::dropMimeData(const QMimeData*, Qt::DropAction action, int, int, const QModelIndex&) {
  return action == Qt::IgnoreAction;
}
