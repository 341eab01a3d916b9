#include "passport/sheetDelegate.h"

#include "passport/editors.h"
#include "passport/looks.h"
#include "passport/referenceList.h"
#include "passport/sheetModel.h"
#include "passport/valueTexts.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QKeyEvent>
#include <QPainter>
#include <QTreeView>

namespace tlm::passport {

namespace {

constexpr int kMemoLines = 5;
constexpr int kSmallestRow = 20;
constexpr int kArrowWidth = 18;
constexpr int kLockWidth = 24;
const char* const kFilled = "tlmFilled";
const char* const kMeta = "tlmMeta";
const char* const kChosen = "tlmChosen";
const char* const kByKey = "tlmByKey";  // the last choice came from a key in the closed box

const FieldMeta* metaOf(const QModelIndex& index) {
  return static_cast<const FieldMeta*>(index.data(SheetModel::kMetaRole).value<void*>());
}

// The description lives as long as the sheet's store of them, which outlives every editor.
const FieldMeta* metaOf(const QObject* editor) {
  return static_cast<const FieldMeta*>(editor->property(kMeta).value<void*>());
}

// True once the user has touched the editor; an untouched one writes nothing.
bool isTouched(const QWidget* editor) {
  if (auto* reference = qobject_cast<const ReferenceEditor*>(editor)) return reference->isPicked();
  if (auto* line = qobject_cast<const QLineEdit*>(editor)) return line->isModified();
  if (auto* memo = qobject_cast<const MemoEditor*>(editor)) return memo->document()->isModified();
  return editor->property(kChosen).toBool();
}

QString typedText(const QWidget* editor) {
  if (auto* memo = qobject_cast<const MemoEditor*>(editor)) return memo->toPlainText();
  auto* line = qobject_cast<const QLineEdit*>(editor);
  return line ? line->text() : QString();
}

// What the editor holds as an edit, or why it cannot be one.
QString readEditor(const QWidget* editor, const FieldMeta& meta, EditorHost* host, Edit* out) {
  if (auto* reference = qobject_cast<const ReferenceEditor*>(editor)) {
    if (!reference->key().isEmpty()) out->value = reference->key();
    out->text = reference->pickedText();
    return {};
  }
  if (auto* box = qobject_cast<const QComboBox*>(editor)) {
    const qlonglong chosen = box->currentData().toLongLong();
    out->value = meta.type == MDX_BOOL ? QVariant(chosen != 0) : QVariant(chosen);
    out->text = box->currentText();
    return {};
  }
  const Parsed parsed = parseTyped(meta, typedText(editor), host->texts());
  out->value = parsed.value;
  const bool isMeas = meta.kind == FieldKind::kMeasNumber;
  if (parsed.fault.isEmpty())
    out->text = isMeas ? ValueTexts::measText(parsed.value, host->measName(parsed.value.toLongLong()))
                       : host->texts().text(meta, parsed.value);
  return parsed.fault;
}

void fillLine(QLineEdit* line, const QModelIndex& index) {
  line->setText(index.data(SheetModel::kTypedRole).toString());
  line->selectAll();
}

// A value that the list lacks is shown as it is, and cannot be chosen again.
void fillBox(QComboBox* box, const QModelIndex& index) {
  const QString shown = index.data(Qt::DisplayRole).toString();
  const int at = box->findText(shown);
  box->setCurrentIndex(at);
}

void paintLock(QPainter* painter, const QRect& cell, const QColor& color) {
  const QRectF body(cell.right() - 13, cell.center().y() - 1, 8, 6);
  painter->save();
  painter->setRenderHint(QPainter::Antialiasing);
  painter->setPen(QPen(color, 1.2));
  painter->drawArc(body.adjusted(1.5, -4, -1.5, -1), 0, 180 * 16);
  painter->setPen(Qt::NoPen);
  painter->setBrush(color);
  painter->drawRoundedRect(body, 1, 1);
  painter->restore();
}

void paintArrow(QPainter* painter, const QRect& cell, bool open, const QColor& color) {
  const QPointF at(cell.left() + 9, cell.center().y() + 0.5);
  const QPolygonF down({at + QPointF(-4, -2), at + QPointF(4, -2), at + QPointF(0, 3)});
  const QPolygonF right({at + QPointF(-2, -4), at + QPointF(3, 0), at + QPointF(-2, 4)});
  painter->save();
  painter->setRenderHint(QPainter::Antialiasing);
  painter->setPen(Qt::NoPen);
  painter->setBrush(color);
  painter->drawPolygon(open ? down : right);
  painter->restore();
}

// The live value on a row of its own: in the column of the values where it fits there, else as far left as it must.
// Its name gives way first.
void paintLive(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) {
  constexpr int kSide = 4, kGap = 12;
  auto* view = qobject_cast<const QTreeView*>(option.widget);
  const QString name = index.data().toString();
  const QString value = index.sibling(index.row(), SheetModel::kValue).data().toString();
  QFont bold = option.font;
  bold.setBold(true);
  const QRect room = option.rect.adjusted(kSide, 0, -kSide, 0);
  const int nameEnd = room.left() + option.fontMetrics.horizontalAdvance(name) + kGap;
  const int wanted = room.right() - QFontMetrics(bold).horizontalAdvance(value);
  const int column = view ? view->columnViewportPosition(SheetModel::kValue) + kSide : nameEnd;
  const bool named = wanted >= nameEnd;
  const int from = named ? qMax(nameEnd, qMin(column, wanted)) : room.left();
  painter->save();
  const bool selected = option.state & QStyle::State_Selected;
  painter->setPen(option.palette.color(selected ? QPalette::HighlightedText : QPalette::Text));
  painter->setFont(option.font);
  if (named) painter->drawText(room, Qt::AlignLeft | Qt::AlignVCenter, name);
  painter->setFont(bold);
  const QRect rest(QPoint(from, room.top()), room.bottomRight());
  painter->drawText(rest, Qt::AlignLeft | Qt::AlignVCenter,
                    QFontMetrics(bold).elidedText(value, Qt::ElideRight, rest.width()));
  painter->restore();
}

}  // namespace

// Tells why an edit cannot be kept. The message may take the focus: the editor stays open behind it, with what was
// typed.
void SheetDelegate::refuse(const QString& why) const {
  const bool before = refusing_;
  refusing_ = true;
  host_->refuse(why);
  refusing_ = before;
}

void SheetDelegate::endLater(QWidget* editor) const {
  auto* self = const_cast<SheetDelegate*>(this);
  QMetaObject::invokeMethod(
      editor, [self, editor] { self->finish(editor); }, Qt::QueuedConnection);
}

QWidget* SheetDelegate::makeReferenceEditor(const FieldMeta& meta, QWidget* parent) const {
  auto* editor = new ReferenceEditor(parent);
  EditorHost* host = host_;
  const FieldMeta* description = &meta;
  connect(editor, &ReferenceEditor::listOpened, editor, [=] { host->listOpened(editor, *description); });
  connect(editor, &ReferenceEditor::listClosed, editor, [=] { host->listClosed(); });
  connect(editor, &ReferenceEditor::picked, editor, [this, editor] { endLater(editor); });
  return editor;
}

QWidget* SheetDelegate::makeEditor(const FieldMeta& meta, QWidget* parent) const {
  EditorHost* host = host_;
  switch (meta.kind) {
    case FieldKind::kReference:
      return makeReferenceEditor(meta, parent);
    case FieldKind::kInteger:
    case FieldKind::kMeasNumber:
      return makeNumberEditor(true, parent);
    case FieldKind::kDouble:
      return makeNumberEditor(false, parent);
    case FieldKind::kDateTime:
      return new DateTimeEditor(parent);
    case FieldKind::kChoice:
      return makeChoiceEditor(meta.choices, parent);
    case FieldKind::kServerGroup:
      return makeChoiceEditor(host->texts().serverGroups(), parent);
    default:
      return makeTextEditor(meta, parent, [this](const QString& why) { refuse(why); });
  }
}

QWidget* SheetDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem&, const QModelIndex& index) const {
  const FieldMeta* meta = metaOf(index);
  if (!meta || meta->kind == FieldKind::kFlag) return nullptr;
  QWidget* editor = makeEditor(*meta, parent);
  editor->setProperty(kMeta, QVariant::fromValue(static_cast<void*>(const_cast<FieldMeta*>(meta))));
  editor->setAutoFillBackground(true);
  if (auto* box = qobject_cast<QComboBox*>(editor))
    connect(box, QOverload<int>::of(&QComboBox::activated), editor, [this, editor] {
      editor->setProperty(kChosen, true);
      if (!editor->property(kByKey).toBool()) endLater(editor);
    });
  editor_ = editor;
  return editor;
}

// Fills a new editor; what is refreshed behind an open one leaves it alone.
void SheetDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const {
  const FieldMeta* meta = metaOf(index);
  if (!meta || editor->property(kFilled).toBool()) return;
  editor->setProperty(kFilled, true);
  if (auto* reference = qobject_cast<ReferenceEditor*>(editor)) {
    reference->setCurrent(index.data(Qt::EditRole).toString(), index.data(Qt::DisplayRole).toString());
    reference->selectAll();
  } else if (auto* line = qobject_cast<QLineEdit*>(editor)) {
    fillLine(line, index);
  } else if (auto* memo = qobject_cast<MemoEditor*>(editor)) {
    memo->setPlainText(index.data(SheetModel::kTypedRole).toString());
    memo->document()->setModified(false);
    memo->selectAll();
  } else if (auto* box = qobject_cast<QComboBox*>(editor)) {
    fillBox(box, index);
  }
}

void SheetDelegate::setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const {
  const FieldMeta* meta = metaOf(index);
  if (!meta || !isTouched(editor)) return;
  Edit edit;
  const QString fault = readEditor(editor, *meta, host_, &edit);
  if (!fault.isEmpty()) {
    refuse(fault);
    return;
  }
  model->setData(index, QVariant::fromValue(edit), Qt::EditRole);
}

void SheetDelegate::updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                                         const QModelIndex&) const {
  QRect cell = option.rect;
  if (qobject_cast<MemoEditor*>(editor)) {
    cell.setHeight(kMemoLines * editor->fontMetrics().lineSpacing() + 10);
    const int over = cell.bottom() - editor->parentWidget()->height();
    if (over > 0) cell.translate(0, -qMin(over, cell.top()));
  }
  editor->setGeometry(cell);
}

QSize SheetDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
  const QSize hint = QStyledItemDelegate::sizeHint(option, index);
  return {hint.width(), qMax(kSmallestRow, option.fontMetrics.height() + 8)};
}

void SheetDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const {
  QStyledItemDelegate::initStyleOption(option, index);
  option->text.replace('\n', ' ').replace(QChar::LineSeparator, ' ');
  option->state &= ~QStyle::State_HasFocus;
  if (index.data(SheetModel::kLiveRole).toBool()) option->text.clear();  // painted by itself
  const bool isCheck = option->features & QStyleOptionViewItem::HasCheckIndicator;
  if (!index.data(SheetModel::kLockedRole).toBool() || index.column() != SheetModel::kValue) return;
  if (isCheck) option->state &= ~QStyle::State_Enabled;
  option->text = option->fontMetrics.elidedText(option->text, Qt::ElideRight, option->rect.width() - kLockWidth);
}

void SheetDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
  if (index.data(SheetModel::kGroupRole).toBool()) {
    auto* view = qobject_cast<const QTreeView*>(option.widget);
    painter->fillRect(option.rect, QColor(235, 235, 235));
    QStyleOptionViewItem shifted(option);
    shifted.rect.setLeft(option.rect.left() + kArrowWidth);
    QStyledItemDelegate::paint(painter, shifted, index);
    const bool selected = option.state & QStyle::State_Selected;
    if (selected)
      painter->fillRect(option.rect.adjusted(0, 0, shifted.rect.left() - option.rect.right() - 1, 0),
                        option.palette.highlight());
    paintArrow(painter, option.rect, view && view->isExpanded(index), selected ? Qt::white : QColor(80, 80, 80));
    return;
  }
  if (index.column() == SheetModel::kValue && index.data(SheetModel::kMixedRole).toBool())
    painter->fillRect(option.rect, QBrush(kMixedPattern, Qt::BDiagPattern));
  QStyledItemDelegate::paint(painter, option, index);
  if (index.data(SheetModel::kLiveRole).toBool()) paintLive(painter, option, index);
  if (index.column() == SheetModel::kValue && index.data(SheetModel::kLockedRole).toBool())
    paintLock(painter, option.rect, option.state & QStyle::State_Selected ? Qt::white : QColor(150, 150, 150));
}

// A click on a group's arrow opens or closes the group.
bool SheetDelegate::editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                                const QModelIndex& index) {
  auto* tree = qobject_cast<QTreeView*>(const_cast<QWidget*>(option.widget));
  if (tree && event->type() == QEvent::MouseButtonRelease && index.data(SheetModel::kGroupRole).toBool() &&
      static_cast<QMouseEvent*>(event)->pos().x() < option.rect.left() + kArrowWidth) {
    tree->setExpanded(index, !tree->isExpanded(index));
    return true;
  }
  return QStyledItemDelegate::editorEvent(event, model, option, index);
}

bool SheetDelegate::finish(QWidget* editor) {
  const FieldMeta* meta = metaOf(editor);
  if (!meta) return true;
  if (auto* reference = qobject_cast<ReferenceEditor*>(editor)) {
    if (!reference->takeCurrentRow()) {
      refuse(QString::fromUtf8("В списке нет строки «%1».").arg(reference->text()));
      return false;
    }
  } else if (isTouched(editor) && !qobject_cast<QComboBox*>(editor)) {
    const QString fault = parseTyped(*meta, typedText(editor), host_->texts()).fault;
    if (!fault.isEmpty()) {
      refuse(fault);
      return false;
    }
  }
  emit commitData(editor);
  emit closeEditor(editor, NoHint);
  return true;
}

void SheetDelegate::cancel(QWidget* editor) {
  if (auto* reference = qobject_cast<ReferenceEditor*>(editor)) reference->closeList();
  emit closeEditor(editor, RevertModelCache);
}

void SheetDelegate::tab(QWidget* editor, int step) {
  if (finish(editor)) host_->moveOn(step);
}

// In a closed box the arrows and letters choose, and the box stays; a choice in its opened list ends the edit.
bool SheetDelegate::handleBoxKey(QWidget* editor, QKeyEvent* event) {
  auto* box = qobject_cast<QComboBox*>(editor);
  if (!box) return false;
  const bool opens =
      event->key() == Qt::Key_Space || event->key() == Qt::Key_F4 || event->modifiers() & Qt::AltModifier;
  editor->setProperty(kByKey, !opens);
  return false;
}

bool SheetDelegate::handleKey(QWidget* editor, QKeyEvent* event) {
  auto* reference = qobject_cast<ReferenceEditor*>(editor);
  const bool inMemo = qobject_cast<MemoEditor*>(editor) != nullptr;
  switch (event->key()) {
    case Qt::Key_Tab:
      tab(editor, 1);
      return true;
    case Qt::Key_Backtab:
      tab(editor, -1);
      return true;
    case Qt::Key_Escape:
      cancel(editor);
      return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
      if (inMemo && event->modifiers() & Qt::ShiftModifier) return false;
      finish(editor);
      return true;
    default:
      return reference ? reference->handleKey(event->key()) : handleBoxKey(editor, event);
  }
}

bool SheetDelegate::eventFilter(QObject* object, QEvent* event) {
  auto* editor = qobject_cast<QWidget*>(object);
  if (refusing_ && event->type() == QEvent::FocusOut) return false;
  if (editor && event->type() == QEvent::KeyPress && metaOf(editor))
    return handleKey(editor, static_cast<QKeyEvent*>(event)) || QStyledItemDelegate::eventFilter(object, event);
  return QStyledItemDelegate::eventFilter(object, event);
}

}  // namespace tlm::passport
