#include "TreeViews.h"

#include "ModelsTelemetry.h"

#include <QDropEvent>
#include <QMimeData>
#include <QMouseEvent>

void KeysModifQTreeViewMeas::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) {
    QTreeView::mouseReleaseEvent(event);
    if (model()) emit keysModif(event->modifiers());
  }
  QWidget::mouseReleaseEvent(event);
}

DropHeaderView::DropHeaderView(Qt::Orientation orientation, QWidget* parent, QObject* model)
    : QHeaderView(orientation, parent), model_(model) {
  setSectionResizeMode(QHeaderView::Interactive);
  setStretchLastSection(true);
  setSectionsClickable(true);
}

void DropHeaderView::dropEvent(QDropEvent* event) {
  if (event->mimeData()->hasFormat(kMeasMimeType))
    QAbstractItemView::dropEvent(event);
  else
    event->ignore();
}
