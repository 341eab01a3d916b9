#include <TlmClient/CPopTemplate.h>

#include <QAbstractButton>
#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>

#include <algorithm>

namespace {

constexpr int kTitleHeight = 30;
constexpr int kBorder = 1;
constexpr int kInner = 14;

QPoint within(const QRect& area, const QSize& size, const QPoint& topLeft) {
  const int right = std::max(area.left(), area.right() + 1 - size.width());
  const int bottom = std::max(area.top(), area.bottom() + 1 - size.height());
  return {std::clamp(topLeft.x(), area.left(), right), std::clamp(topLeft.y(), area.top(), bottom)};
}

bool isTabStop(const QWidget& field) {
  return field.isVisible() && field.isEnabled() && (field.focusPolicy() & Qt::TabFocus) && !field.focusProxy();
}

// The button in the panel that Enter would press; a switch is none.
QAbstractButton* pressedByEnter(const QWidget* panel) {
  auto* const button = qobject_cast<QAbstractButton*>(QApplication::focusWidget());
  return button && panel->isAncestorOf(button) && !button->isCheckable() ? button : nullptr;
}

}  // namespace

CPopTemplate::CPopTemplate(QWidget* parent) : QWidget(parent) {
  if (!parent) setWindowFlags(Qt::Dialog | Qt::FramelessWindowHint);
  setFocusPolicy(Qt::StrongFocus);
  if (parent) parent->installEventFilter(this);
  hide();
}

CPopTemplate::~CPopTemplate() = default;

QMargins CPopTemplate::panelMargins() { return {kInner, kTitleHeight + kInner, kInner, kInner}; }

void CPopTemplate::setPanelTitle(const QString& title) {
  panelTitle_ = title;
  update();
}

QPoint CPopTemplate::keptInside(const QPoint& topLeft) const {
  if (parentWidget()) return within(parentWidget()->rect(), size(), topLeft);
  const QScreen* const screen = QApplication::primaryScreen();
  return screen ? within(screen->availableGeometry(), size(), topLeft) : topLeft;
}

void CPopTemplate::moveToCenter() {
  adjustSize();
  const QScreen* const screen = QApplication::primaryScreen();
  const QRect area = parentWidget() ? parentWidget()->rect() : screen ? screen->availableGeometry() : QRect();
  move(keptInside(area.center() - rect().center()));
}

void CPopTemplate::On_Accept() { hide(); }
void CPopTemplate::On_Reject() { hide(); }

bool CPopTemplate::eventFilter(QObject* watched, QEvent* event) {
  if (watched == parent() && event->type() == QEvent::Resize && isVisible()) move(keptInside(pos()));
  return QWidget::eventFilter(watched, event);
}

// From field to field, and from the last one to the first: what lies behind the panel is not reached by Tab.
bool CPopTemplate::focusNextPrevChild(bool next) {
  QWidget* const from = QApplication::focusWidget();
  if (!isVisible() || !from || !isAncestorOf(from)) return QWidget::focusNextPrevChild(next);
  for (QWidget* at = from;;) {
    at = next ? at->nextInFocusChain() : at->previousInFocusChain();
    if (at == from) return false;
    if (at == this || !isAncestorOf(at) || !isTabStop(*at)) continue;
    at->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
    return true;
  }
}

void CPopTemplate::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  QWidget* const focused = QApplication::focusWidget();
  if (focused && !isAncestorOf(focused) && focused != this) focusBefore_ = focused;
  raise();
}

void CPopTemplate::hideEvent(QHideEvent* event) {
  QWidget::hideEvent(event);
  const QWidget* const focused = QApplication::focusWidget();
  const bool isHere = !focused || isAncestorOf(focused);
  if (isHere && focusBefore_ && focusBefore_->isVisible() && focusBefore_->isEnabled()) focusBefore_->setFocus();
  focusBefore_ = nullptr;
}

void CPopTemplate::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const QColor accent = palette().color(QPalette::Active, QPalette::Link);
  painter.fillRect(rect(), palette().color(QPalette::Window));
  const QRect bar(0, 0, width(), kTitleHeight);
  painter.fillRect(bar, accent);
  QFont bold = font();
  bold.setBold(true);
  painter.setFont(bold);
  painter.setPen(palette().color(QPalette::Active, QPalette::BrightText));
  const QRect room = bar.adjusted(kInner, 0, -kInner, 0);
  painter.drawText(room, Qt::AlignVCenter | Qt::AlignLeft,
                   QFontMetrics(bold).elidedText(panelTitle_, Qt::ElideRight, room.width()));
  painter.setPen(QPen(accent.darker(120), kBorder));
  painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

void CPopTemplate::keyPressEvent(QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
      if (event->isAutoRepeat()) break;
      if (QAbstractButton* const button = pressedByEnter(this))
        button->click();
      else
        On_Accept();
      break;
    case Qt::Key_Escape:
      On_Reject();
      break;
    default:
      QWidget::keyPressEvent(event);
  }
}

void CPopTemplate::mousePressEvent(QMouseEvent* event) {
  dragging_ = event->button() == Qt::LeftButton && event->pos().y() < kTitleHeight;
  grab_ = event->pos();
}

void CPopTemplate::mouseMoveEvent(QMouseEvent* event) {
  if (dragging_) move(keptInside(mapToParent(event->pos() - grab_)));
}

void CPopTemplate::mouseReleaseEvent(QMouseEvent*) { dragging_ = false; }
