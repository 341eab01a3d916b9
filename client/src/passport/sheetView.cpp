#include "passport/sheetView.h"

#include "passport/sheetDelegate.h"
#include "passport/sheetModel.h"

#include <QApplication>
#include <QClipboard>
#include <QFile>
#include <QHeaderView>
#include <QKeyEvent>
#include <QScrollBar>

namespace tlm::passport {

namespace {

const char* const kStyleSheet = ":/res/TreeViewPassport.css";
constexpr int kIndentation = 14;

}  // namespace

SheetView::SheetView(SheetModel* model, SheetDelegate* delegate, QObject* parent)
    : QObject(parent), model_(model), delegate_(delegate) {}

SheetView::~SheetView() { attach(nullptr); }

void SheetView::attach(QTreeView* view) {
  if (view_) {
    view_->removeEventFilter(this);
    view_->disconnect(this);
    view_->setModel(nullptr);
    view_->setItemDelegate(nullptr);
  }
  view_ = view;
  if (!view) return;
  view->setModel(model_);
  view->setItemDelegate(delegate_);
  setUpLooks();
  view->installEventFilter(this);
  connect(view, &QTreeView::clicked, this, &SheetView::onClicked);
  connect(view, &QTreeView::collapsed, this, [this](const QModelIndex& at) {
    if (const SheetGroup* group = model_->group(at)) closed_.insert(group->table);
  });
  connect(view, &QTreeView::expanded, this, [this](const QModelIndex& at) {
    if (const SheetGroup* group = model_->group(at)) closed_.remove(group->table);
  });
  restorePlace();
}

void SheetView::setUpLooks() {
  view_->setUniformRowHeights(true);
  view_->setRootIsDecorated(false);
  view_->setIndentation(kIndentation);
  view_->setSelectionBehavior(QAbstractItemView::SelectRows);
  view_->setSelectionMode(QAbstractItemView::SingleSelection);
  view_->setEditTriggers(QAbstractItemView::EditKeyPressed | QAbstractItemView::AnyKeyPressed |
                         QAbstractItemView::DoubleClicked);
  view_->setVerticalScrollMode(QAbstractItemView::ScrollPerItem);
  view_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);  // one width for short and long objects
  view_->setTextElideMode(Qt::ElideRight);
  view_->header()->setSectionsMovable(false);
  QFile sheet(QString::fromLatin1(kStyleSheet));
  // The style sheet lays what is selected on a strong blue.
  QPalette palette = view_->palette();
  palette.setColor(QPalette::HighlightedText, Qt::white);
  view_->setPalette(palette);
  if (sheet.open(QIODevice::ReadOnly)) view_->setStyleSheet(QString::fromUtf8(sheet.readAll()));
}

QString SheetView::placeOf(const QModelIndex& at) const {
  if (const SheetField* field = model_->field(at)) return field->meta->id;
  const SheetGroup* group = model_->group(at);
  return group ? group->table : QString();
}

QModelIndex SheetView::indexOfPlace(const QString& place) const {
  if (place.contains('.')) return model_->indexOf(place);
  for (int g = 0; g < int(model_->content().groups.size()); ++g)
    if (model_->content().groups[size_t(g)].table == place) return model_->groupIndex(g);
  return {};
}

void SheetView::keepPlace() {
  if (!view_ || model_->content().groups.empty()) return;
  top_ = placeOf(view_->indexAt(QPoint(1, 1)));
  current_ = placeOf(view_->currentIndex());
  scroll_ = view_->verticalScrollBar()->value();
}

void SheetView::restorePlace() {
  if (!view_) return;
  for (int row = 0; row < model_->rowCount(); ++row) {
    const QModelIndex at = model_->index(row, 0);
    const SheetGroup* group = model_->group(at);
    if (group) view_->setExpanded(at, !closed_.contains(group->table));
    const bool whole = group || model_->liveIndex(0) == at || model_->index(row, 1).data().toString().isEmpty();
    view_->setFirstColumnSpanned(row, {}, whole);
  }
  if (model_->content().groups.empty()) return;
  const QModelIndex current = indexOfPlace(current_);
  if (current.isValid()) view_->setCurrentIndex(current);
  view_->doItemsLayout();
  const QModelIndex top = scroll_ > 0 ? indexOfPlace(top_) : QModelIndex();
  if (top.isValid())
    view_->scrollTo(top, QAbstractItemView::PositionAtTop);
  else
    view_->verticalScrollBar()->setValue(scroll_);
}

QModelIndex SheetView::valueIndex() const {
  const QModelIndex at = view_->currentIndex();
  return at.sibling(at.row(), SheetModel::kValue);
}

void SheetView::copyValue() {
  const QModelIndex at = valueIndex();
  const SheetField* field = model_->field(at);
  QApplication::clipboard()->setText(field ? field->text : at.data(Qt::DisplayRole).toString());
}

// A click on a value opens its editor. A check box was switched by the click itself.
void SheetView::onClicked(const QModelIndex& at) {
  if (at.column() == SheetModel::kValue && at.flags() & Qt::ItemIsEditable && !view_->indexWidget(at)) view_->edit(at);
}

void SheetView::editCurrent() {
  const QModelIndex at = valueIndex();
  if (const SheetGroup* group = model_->group(at.sibling(at.row(), 0)); group && !model_->field(at))
    view_->setExpanded(at.sibling(at.row(), 0), !view_->isExpanded(at.sibling(at.row(), 0)));
  if (at.flags() & Qt::ItemIsUserCheckable) {
    const bool on = at.data(Qt::CheckStateRole).toInt() == Qt::Checked;
    model_->setData(at, on ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
  }
  if (!(at.flags() & Qt::ItemIsEditable)) return;
  view_->setCurrentIndex(at);
  view_->edit(at);
}

bool SheetView::stepField(int step) {
  const QModelIndex next = model_->nextField(view_->currentIndex(), step, false);
  if (!next.isValid()) return false;
  view_->setExpanded(next.parent(), true);
  view_->setCurrentIndex(next);
  return true;
}

bool SheetView::moveOn(int step) {
  if (!view_) return false;
  const QModelIndex next = model_->nextField(view_->currentIndex(), step, true);
  view_->setFocus();
  if (!next.isValid()) return false;
  view_->setExpanded(next.parent(), true);
  view_->setCurrentIndex(next);
  view_->scrollTo(next);
  if (next.flags() & Qt::ItemIsEditable) view_->edit(next);
  return true;
}

// Keys that the sheet uses even where an action of the window has them as a shortcut.
bool SheetView::isShortcut(QKeyEvent* event) const {
  return event->matches(QKeySequence::Copy) || (event->key() == Qt::Key_F2 && event->modifiers() == Qt::NoModifier);
}

bool SheetView::handleKey(QKeyEvent* event) {
  if (event->matches(QKeySequence::Copy)) {
    copyValue();
    return true;
  }
  switch (event->key()) {
    case Qt::Key_Tab:
      return stepField(1);
    case Qt::Key_Backtab:
      return stepField(-1);
    case Qt::Key_Space:
      if (!(valueIndex().flags() & Qt::ItemIsUserCheckable)) break;
      [[fallthrough]];
    case Qt::Key_F2:
    case Qt::Key_F4:
    case Qt::Key_Return:
    case Qt::Key_Enter:
      editCurrent();
      return true;
    default:
      break;
  }
  // A letter typed on a field begins an edit, wherever the row was clicked.
  const bool types = !event->text().isEmpty() && event->text()[0].isPrint();
  if (types && valueIndex().flags() & Qt::ItemIsEditable) view_->setCurrentIndex(valueIndex());
  return false;
}

bool SheetView::eventFilter(QObject* object, QEvent* event) {
  if (object != view_) return QObject::eventFilter(object, event);
  if (event->type() == QEvent::ShortcutOverride && isShortcut(static_cast<QKeyEvent*>(event))) {
    event->accept();
    return true;
  }
  if (event->type() == QEvent::KeyPress) return handleKey(static_cast<QKeyEvent*>(event));
  return QObject::eventFilter(object, event);
}

}  // namespace tlm::passport
