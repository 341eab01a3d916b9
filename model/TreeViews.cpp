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
  // For the other buttons the view's own handling is left out on purpose.
  QWidget::mouseReleaseEvent(event);  // NOLINT(bugprone-parent-virtual-call)
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
