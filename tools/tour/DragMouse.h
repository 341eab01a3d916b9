// A mouse that drags rows of a tree by real events.
#ifndef TLMTOUR_DRAGMOUSE_H
#define TLMTOUR_DRAGMOUSE_H

#include <QApplication>
#include <QDrag>
#include <QMimeData>
#include <QMouseEvent>
#include <QTest>
#include <QTimer>
#include <QTreeView>
#include <QWindow>

#include <functional>

namespace tlm {

// On a screen the toolkit's own drag runs between press and release. The offscreen platform has none: there the drag
// begins by the mouse as well, and the events that it would bring are sent with the data that it would carry.
class DragMouse {
 public:
  explicit DragMouse(QTreeView* view) : view_(view) {}
  DragMouse(const DragMouse&) = delete;
  DragMouse& operator=(const DragMouse&) = delete;

  static bool isReal() { return QGuiApplication::platformName() != "offscreen"; }

  // Presses on a row, moves away from it, and plays the steps while the drag runs; a drag that they do not end is
  // given up. False when no drag began.
  bool drag(const QModelIndex& row, const std::function<void()>& steps) {
    press(row);
    return pull(QApplication::startDragDistance() + 1, steps);
  }

  void press(const QModelIndex& row, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QApplication::processEvents();
    grip_ = view_->visualRect(row).center();
    QTest::mousePress(view_->viewport(), Qt::LeftButton, modifiers, grip_);
  }
  void click(const QModelIndex& row, Qt::KeyboardModifiers modifiers) {
    press(row, modifiers);
    QTest::mouseRelease(view_->viewport(), Qt::LeftButton, modifiers, grip_);
  }

  // Moves the pressed mouse that far from where it was pressed; without a drag the button comes up there.
  bool pull(int distance, const std::function<void()>& steps) {
    bool began = false;
    const auto play = [&] {
      began = running_ = true;
      steps();
      if (running_) giveUp();
    };
    QTimer timer;  // fires in the loop of the drag
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, play);
    if (isReal()) timer.start(0);
    moveInView(grip_ + QPoint(1, 0));  // the first move only tells the view that a drag is wanted
    moveInView(grip_ + QPoint(distance, 0));
    timer.stop();
    if (!isReal() && takeData()) play();
    if (!began) QTest::mouseRelease(view_->viewport(), Qt::LeftButton, Qt::NoModifier, grip_);
    QApplication::processEvents();
    return began;
  }

  // ---- while a drag runs ----

  // Moves over a row: its middle, or close to its upper (-1) or lower (1) edge.
  void over(const QModelIndex& row, int edge = 0) {
    const QRect rect = view_->visualRect(row);
    const int y = edge < 0 ? rect.top() : edge > 0 ? rect.bottom() : rect.center().y();
    over(view_->viewport(), QPoint(rect.center().x(), y));
  }
  void over(QWidget* widget, const QPoint& place) {
    at_ = widget->mapToGlobal(place);
    if (isReal()) {
      send(QEvent::MouseMove, Qt::NoButton, Qt::LeftButton);
      const QCursor* cursor = QGuiApplication::overrideCursor();
      allowed_ = cursor && cursor->shape() != Qt::ForbiddenCursor;
    } else {
      enter(widget, place);
    }
  }
  void drop() {
    running_ = false;
    if (isReal()) return send(QEvent::MouseButtonRelease, Qt::LeftButton, Qt::NoButton);
    if (!allowed_) return leave();
    QDropEvent event(place_, Qt::MoveAction, &data_, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(target_, &event);
    target_ = nullptr;
  }
  void dropOn(const QModelIndex& row) {
    over(row);
    drop();
  }
  void giveUp() {
    running_ = false;
    if (!isReal()) return leave();
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QCoreApplication::sendEvent(window(), &press);
  }

  // Whether the cursor says that a drop is allowed where the mouse is.
  bool isAllowed() const { return allowed_; }

 private:
  QWindow* window() const { return view_->window()->windowHandle(); }
  void moveInView(const QPoint& place) {
    const QPoint global = view_->viewport()->mapToGlobal(place);
    QMouseEvent move(QEvent::MouseMove, place, global, Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(view_->viewport(), &move);
  }
  void send(QEvent::Type type, Qt::MouseButton button, Qt::MouseButtons buttons) {
    const QPoint local = window()->mapFromGlobal(at_);
    QMouseEvent event(type, local, local, at_, button, buttons, Qt::NoModifier);
    QCoreApplication::sendEvent(window(), &event);
  }

  // ---- without a drag of the platform ----

  // The drag that the view began, which the platform has ended at once, still stands under the view.
  bool takeData() {
    const auto* begun = view_->findChild<QDrag*>();
    if (!begun) return false;
    for (const QString& format : begun->mimeData()->formats()) data_.setData(format, begun->mimeData()->data(format));
    delete begun;
    return true;
  }
  void enter(QWidget* widget, const QPoint& place) {
    place_ = place;
    bool entered = true;
    if (target_ != widget) {
      leave();
      target_ = widget;
      QDragEnterEvent event(place, Qt::MoveAction, &data_, Qt::LeftButton, Qt::NoModifier);
      QCoreApplication::sendEvent(widget, &event);
      entered = event.isAccepted();
    }
    QDragMoveEvent move(place, Qt::MoveAction, &data_, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(widget, &move);
    allowed_ = entered && move.isAccepted();
  }
  void leave() {
    QDragLeaveEvent event;
    if (target_) QCoreApplication::sendEvent(target_, &event);
    target_ = nullptr;
  }

  QTreeView* view_;
  QPoint grip_;
  QPoint at_;     // of the screen
  QPoint place_;  // within the target
  QWidget* target_ = nullptr;
  QMimeData data_;
  bool running_ = false;
  bool allowed_ = false;
};

}  // namespace tlm

#endif
