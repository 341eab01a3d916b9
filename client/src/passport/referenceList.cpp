#include "passport/referenceList.h"

#include "passport/looks.h"
#include "passport/valueTexts.h"

#include <QAction>
#include <QListView>
#include <QScrollBar>

#include <algorithm>

namespace tlm::passport {

namespace {

constexpr int kListRows = 14;
constexpr int kListWidth = 240;
constexpr int kRowPadding = 6;

}  // namespace

void ReferenceModel::setRows(ReferenceRowsPtr rows) {
  beginResetModel();
  rows_ = std::move(rows);
  applyFilter();
  endResetModel();
}

void ReferenceModel::setFilter(const QString& typed) {
  beginResetModel();
  filter_ = typed.simplified();
  applyFilter();
  endResetModel();
}

void ReferenceModel::applyFilter() { seen_ = filter_.isEmpty() ? std::vector<int>() : rows_->search(filter_); }

int ReferenceModel::source(int row) const { return filter_.isEmpty() ? row - 1 : seen_[size_t(row)]; }

int ReferenceModel::rowCount(const QModelIndex& at) const {
  if (at.isValid()) return 0;
  return filter_.isEmpty() ? rows_->count() + 1 : int(seen_.size());
}

QString ReferenceModel::key(int row) const {
  const int at = source(row);
  return at < 0 ? QString() : rows_->key(at);
}

QString ReferenceModel::text(int row) const {
  const int at = source(row);
  return at < 0 ? QString::fromUtf8(kNothing) : rows_->text(at);
}

int ReferenceModel::rowOf(const QString& wanted) const {
  const int at = rows_->rowOf(wanted);
  if (filter_.isEmpty()) return wanted.isEmpty() ? 0 : at < 0 ? -1 : at + 1;
  const auto found = std::lower_bound(seen_.begin(), seen_.end(), at);
  return at >= 0 && found != seen_.end() && *found == at ? int(found - seen_.begin()) : -1;
}

QVariant ReferenceModel::data(const QModelIndex& at, int role) const {
  if (!at.isValid()) return {};
  if (role == Qt::SizeHintRole) return rowSize_;
  return role == Qt::DisplayRole ? QVariant(text(at.row())) : QVariant();
}

ReferenceEditor::ReferenceEditor(QWidget* parentWidget) : QLineEdit(parentWidget), model_(new ReferenceModel(this)) {
  setFrame(false);
  QAction* open = addAction(arrowIcon(this), TrailingPosition);
  open->setToolTip(QString::fromUtf8("Список"));
  connect(open, &QAction::triggered, this, [this] { isListOpen() ? closeList() : openList(); });
  connect(this, &QLineEdit::textEdited, this, &ReferenceEditor::onTyped);
}

ReferenceEditor::~ReferenceEditor() { delete list_; }

void ReferenceEditor::setCurrent(const QString& key, const QString& text) {
  key_ = key;
  text_ = text;
  picked_ = false;
  setText(text);
}

bool ReferenceEditor::isListOpen() const { return list_ && list_->isVisible(); }

// The list is a child of the window and never takes the focus, so the editor keeps every key.
void ReferenceEditor::makeList() {
  list_ = new QListView(window());
  list_->setObjectName("referenceList");
  list_->setUniformItemSizes(true);
  list_->setFocusPolicy(Qt::NoFocus);
  list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  list_->setTextElideMode(Qt::ElideRight);
  list_->setFont(font());
  list_->setFrameShape(QFrame::Box);
  list_->setAutoFillBackground(true);
  model_->setRowSize({0, fontMetrics().height() + kRowPadding});
  list_->setModel(model_);
  connect(list_, &QListView::clicked, this, [this](const QModelIndex& at) { pickRow(at.row()); });
}

void ReferenceEditor::placeList() {
  const QWidget* top = window();
  const QPoint below = mapTo(top, rect().bottomLeft());
  const int lines = qBound(3, model_->rowCount(), kListRows);
  const int wanted = lines * qMax(list_->sizeHintForRow(0), fontMetrics().height()) + 4;
  const int roomBelow = top->height() - below.y() - 4, roomAbove = below.y() - height() - 4;
  const bool above = roomBelow < wanted && roomAbove > roomBelow;
  const int size = qMin(wanted, above ? roomAbove : roomBelow);
  const int wide = qMin(qMax(width(), kListWidth), top->width() - 4);
  const int left = qMax(0, qMin(below.x(), top->width() - wide - 2));
  list_->setGeometry(left, above ? below.y() - height() - size : below.y() + 1, wide, size);
}

void ReferenceEditor::openList() {
  if (isListOpen()) return;
  if (!list_) makeList();
  emit listOpened();
  placeList();
  list_->show();
  list_->raise();
  showCurrent();
}

void ReferenceEditor::closeList() {
  if (!isListOpen()) return;
  list_->hide();
  emit listClosed();
}

void ReferenceEditor::setRows(ReferenceRowsPtr rows) {
  const QString current = list_ && list_->currentIndex().isValid() ? model_->key(list_->currentIndex().row()) : key_;
  model_->setRows(std::move(rows));
  if (!isListOpen()) return;
  placeList();
  const int row = model_->rowOf(current);
  if (row >= 0) list_->setCurrentIndex(model_->index(row));
}

void ReferenceEditor::showCurrent() {
  const int row = model_->rowOf(key_);
  if (row < 0) return;
  list_->setCurrentIndex(model_->index(row));
  list_->scrollTo(model_->index(row), QAbstractItemView::PositionAtCenter);
}

void ReferenceEditor::onTyped(const QString& typed) {
  openList();
  model_->setFilter(typed);
  placeList();
  if (model_->rowCount() > 0) list_->setCurrentIndex(model_->index(0));
}

void ReferenceEditor::pickRow(int row) {
  key_ = model_->key(row);
  text_ = model_->text(row);
  picked_ = true;
  setText(text_);
  closeList();
  emit picked();
}

bool ReferenceEditor::takeCurrentRow() {
  if (!isListOpen()) return true;
  const QModelIndex current = list_->currentIndex();
  if (!current.isValid()) return !isModified();
  const bool chosen = isModified() || model_->key(current.row()) != key_;
  if (chosen) {
    key_ = model_->key(current.row());
    text_ = model_->text(current.row());
    picked_ = true;
  }
  return true;
}

bool ReferenceEditor::handleKey(int pressed) {
  const int page = qMax(1, kListRows - 1);
  int step = 0;
  switch (pressed) {
    case Qt::Key_Down:
      step = 1;
      break;
    case Qt::Key_Up:
      step = -1;
      break;
    case Qt::Key_PageDown:
      step = page;
      break;
    case Qt::Key_PageUp:
      step = -page;
      break;
    case Qt::Key_F4:
      isListOpen() ? closeList() : openList();
      return true;
    default:
      return false;
  }
  if (!isListOpen()) {
    openList();
    return true;
  }
  const int row = qBound(0, list_->currentIndex().row() + step, model_->rowCount() - 1);
  if (model_->rowCount() > 0) list_->setCurrentIndex(model_->index(row));
  return true;
}

void ReferenceEditor::mousePressEvent(QMouseEvent* event) {
  QLineEdit::mousePressEvent(event);
  openList();
  selectAll();
}

void ReferenceEditor::hideEvent(QHideEvent* event) {
  closeList();
  QLineEdit::hideEvent(event);
}

}  // namespace tlm::passport
