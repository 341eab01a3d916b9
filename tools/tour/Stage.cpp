#include "Stage.h"

#include <TlmClient/CTlmCliMod.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QSplitter>
#include <QSplitterHandle>
#include <QTimer>
#include <QToolButton>
#include <QtTest/QTest>

#include <cstdio>

namespace tlm::tour {
namespace {

constexpr int kPatienceMs = 10'000;
constexpr int kLookMs = 20;

}  // namespace

std::unique_ptr<Stage> Stage::open(ModuleLibrary& library, const QString& storeFile, const QString& settings) {
  std::unique_ptr<Stage> stage(new Stage);
  QString problem;
  stage->server_ = StationServer::open(storeFile, &problem);
  if (stage->server_) stage->server_->startSimulator();
  return stage->show(library, "engineer", settings, &problem) ? std::move(stage) : nullptr;
}

std::unique_ptr<Stage> Stage::connect(ModuleLibrary& library, const QString& address, const QString& user,
                                      const QString& settings) {
  std::unique_ptr<Stage> stage(new Stage);
  QString problem;
  stage->server_ = StationServer::connect(address, user, &problem);
  return stage->show(library, user, settings, &problem) ? std::move(stage) : nullptr;
}

bool Stage::show(ModuleLibrary& library, const QString& user, const QString& settings, QString* problem) {
  if (server_) {
    StationSetup setup;
    setup.user = user;
    setup.settingsFile = settings;
    setup.factory = library.factory();
    setup.library = library.library();
    station_ = std::make_unique<StationApp>(*server_, setup);
    window_ = station_->openWindow(problem);
  }
  if (!window_) {
    std::fprintf(stderr, "%s\n", qUtf8Printable(*problem));
    return false;
  }
  window_->resize(1280, 800);
  QApplication::setActiveWindow(window_);  // a bare X server has no window manager that would
  QApplication::processEvents();
  return true;
}

Stage::~Stage() {
  station_.reset();
  QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

QAction* Stage::action(const QString& text) const {
  for (QAction* action : window_->module()->findChildren<QAction*>())
    if (action->text().startsWith(text)) return action;
  return nullptr;
}

QModelIndex Stage::row(const QTreeView* view, const QString& text) const {
  const QAbstractItemModel* model = view->model();
  const QModelIndexList hits =
      model->match(model->index(0, 0), Qt::DisplayRole, text, 1, Qt::MatchFlags(Qt::MatchExactly | Qt::MatchRecursive));
  return hits.value(0);
}

QModelIndex Stage::rowByKey(const QString& key) const {
  const QAbstractItemModel* model = tree()->model();
  const QModelIndexList hits =
      model->match(model->index(0, 0), kKeyRole, key, 1, Qt::MatchFlags(Qt::MatchExactly | Qt::MatchRecursive));
  return hits.value(0);
}

void Stage::click(QTreeView* view, const QModelIndex& index) const {
  view->scrollTo(index);
  QApplication::processEvents();
  QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, view->visualRect(index).center());
  QApplication::processEvents();
}

void Stage::doubleClick(QTreeView* view, const QModelIndex& index) const {
  click(view, index);
  QTest::mouseDClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, view->visualRect(index).center());
  QApplication::processEvents();
}

void Stage::dragSplitter(int x) const {
  QSplitterHandle* handle = child<QSplitter>("splitter")->handle(1);
  const QPoint grip = handle->rect().center();
  QTest::mousePress(handle, Qt::LeftButton, Qt::NoModifier, grip);
  const QPoint to(x - handle->x() + grip.x(), grip.y());
  QMouseEvent move(QEvent::MouseMove, to, handle->mapToGlobal(to), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(handle, &move);
  QTest::mouseRelease(handle, Qt::LeftButton, Qt::NoModifier, grip);
  QApplication::processEvents();
}

void Stage::press(const QString& actionText) const {
  QAction* const wanted = action(actionText);
  for (auto* button : window_->findChildren<QToolButton*>()) {
    if (wanted && button->defaultAction() == wanted && button->isVisible()) QTest::mouseClick(button, Qt::LeftButton);
  }
  QApplication::processEvents();
}

// Letters reach an editor as an input method or a keyboard of that language brings them.
void Stage::type(const QString& field, const QString& text) const {
  QApplication::setActiveWindow(window_);  // a platform without windows does not give it back after a menu
  const QModelIndex name = row(sheet(), field);
  doubleClick(sheet(), name.sibling(name.row(), 1));
  QWidget* const editor = QApplication::focusWidget();
  QTest::keyClick(editor, Qt::Key_A, Qt::ControlModifier);
  for (const QChar letter : text) {
    QKeyEvent down(QEvent::KeyPress, 0, Qt::NoModifier, QString(letter));
    QApplication::sendEvent(editor, &down);
  }
  key(editor, Qt::Key_Return);
}

void Stage::key(QWidget* widget, Qt::Key key, Qt::KeyboardModifiers modifiers) const {
  QTest::keyClick(widget, key, modifiers);
  QApplication::processEvents();
}

bool Stage::until(const std::function<bool()>& condition) {
  QElapsedTimer waited;
  waited.start();
  QEventLoop loop;
  QTimer look;  // what becomes true without an event of Qt is seen too
  QObject::connect(&look, &QTimer::timeout, &loop, &QEventLoop::quit);
  look.start(kLookMs);
  while (!condition()) {
    if (waited.elapsed() > kPatienceMs) return false;
    loop.exec();
  }
  return true;
}

QString treeText(const QAbstractItemModel& model, int depth, const QModelIndex& parent, int level) {
  QString text;
  for (int i = 0; i < model.rowCount(parent) && level < depth; ++i) {
    const QModelIndex index = model.index(i, 0, parent);
    const QString number = model.index(i, 1, parent).data().toString();
    text += QString(level * 2, ' ') + (number.isEmpty() ? QString() : number + ' ') + index.data().toString() + '\n';
    text += treeText(model, depth, index, level + 1);
  }
  return text;
}

}  // namespace tlm::tour
