// A configurator on a real server core, in the test's process.
#ifndef TLMTEST_MODULEWINDOW_H
#define TLMTEST_MODULEWINDOW_H

#include "CTlmMeasConfig.h"
#include "IndexFacts.h"
#include "ui_TlmMeasConfig.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QTest>
#include <QToolBar>
#include <QToolButton>

#include "support/Gui.h"
#include "support/ModelText.h"
#include "support/TestApp.h"

// Failure messages print texts, not bytes.
inline void PrintTo(const QString& text, std::ostream* out) { *out << '"' << text.toStdString() << '"'; }

namespace tlm::test {

inline constexpr char kSmallModel[] = R"(folder Подстанция Северная
  folder ОРУ-110
    unit КП-1
      analog 1001 P Т-1
      analog 1002 Q Т-1
      discrete 1003 Q-110 {CheckTu=1}
      discrete 1006 Р-110
      accumulator 1004 Wp Т-1
      string 1005 Режим
unit Без папки
  analog 3001 U 10 кВ
)";

// Notes which event came last.
class WatchedModule : public CTlmMeasConfig {
 public:
  using CTlmMeasConfig::CTlmMeasConfig;
  int MessageData(MDXCliParam* message) override {
    const int result = CTlmMeasConfig::MessageData(message);
    MDRVar number{};
    if (message) MDRGetVal(MDXParamFld(message, MDX_EVENT_SEQUENCE), message, &number);
    if (number.type == MDX_INT64 && !number.isNull) lastEvent = number.i64;
    return result;
  }
  int64_t lastEvent = 0;
};

class ModuleWindow : public testing::Test {
 protected:
  explicit ModuleWindow(const char* model = kSmallModel)
      : server(model),
        host(std::make_unique<TestApp>(*server.core())),
        app(*host),
        module(std::make_unique<WatchedModule>(&app)) {}

  void start() {
    module->show();
    settle();
    module->ModuleStart();
    settle();
  }

  QTreeView* tree() { return module->ui->tV_MeasConfig; }
  static QString key(const char* name) { return QString::fromStdString(keyOf(name)); }

  // The row of an object; its unit is fetched if it is not in the tree yet.
  QModelIndex find(const char* name) {
    QModelIndex index;
    EXPECT_TRUE(module->FindKeyLink(key(name), index)) << name;
    return index;
  }

  // Brings a row into sight. Opening what is above it may sort the rows, so the index is looked up again.
  QModelIndex reveal(const QModelIndex& index) {
    const QString rowKey = index.data(kKeyRole).toString();
    tree()->scrollTo(index.sibling(index.row(), 0));
    if (rowKey.isEmpty()) return index;
    const QModelIndex row = module->treeModel->findByKey(rowKey);
    return row.sibling(row.row(), index.column());
  }

  // What a click of the left button on the row does.
  void click(const QModelIndex& at, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    const QModelIndex index = reveal(at);
    QTest::mouseClick(tree()->viewport(), Qt::LeftButton, modifiers, tree()->visualRect(index).center());
    settle();
  }
  void click(const char* name) { click(find(name)); }

  // The rows that are open and in sight, in the order of their names.
  QStringList openRows(const QModelIndex& parent = QModelIndex()) {
    QStringList open;
    for (int row = 0; row < module->treeModel->rowCount(parent); ++row) {
      const QModelIndex index = module->treeModel->index(row, 0, parent);
      if (!tree()->isExpanded(index)) continue;
      open += index.data().toString();
      open += openRows(index);
    }
    open.sort();
    return open;
  }

  // The cell of a field of the sheet, by its title.
  QModelIndex field(const char* title) {
    QAbstractItemModel* model = module->ui->tV_Prop->model();
    if (!model) return QModelIndex();
    const QModelIndexList hits = model->match(model->index(0, 0), Qt::DisplayRole, QString(title), 1,
                                              Qt::MatchExactly | Qt::MatchRecursive | Qt::MatchCaseSensitive);
    return hits.isEmpty() ? QModelIndex() : hits.first().sibling(hits.first().row(), 1);
  }
  QString shown(const char* title) { return field(title).data().toString(); }

  // Types a text into a field of the sheet and leaves it with Enter.
  void type(const char* title, const QString& text) {
    QTreeView* sheet = module->ui->tV_Prop;
    const QModelIndex cell = field(title);
    ASSERT_TRUE(cell.isValid()) << title;
    module->activateWindow();
    sheet->setFocus();
    sheet->scrollTo(cell);
    sheet->setCurrentIndex(cell);
    sheet->edit(cell);
    auto* editor = qobject_cast<QLineEdit*>(QApplication::focusWidget());
    ASSERT_NE(editor, nullptr) << title;
    editor->selectAll();
    QTest::keyClick(editor, Qt::Key_Delete);
    for (const QChar& letter : text) {  // QTest's own keys know Latin letters alone
      QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, letter);
      QCoreApplication::sendEvent(editor, &press);
    }
    QTest::keyClick(editor, Qt::Key_Return);
    settle();
  }

  // What the path bar shows, its menu's entries in front.
  QStringList pathTexts() {
    const QList<QAction*> actions = module->toolBarCfg->actions();
    QStringList texts;
    auto* button =
        actions.isEmpty() ? nullptr : qobject_cast<QToolButton*>(module->toolBarCfg->widgetForAction(actions[0]));
    if (button && button->menu())
      for (const QAction* action : button->menu()->actions()) texts += action->text();
    for (const QAction* action : actions.mid(1))
      if (!action->isSeparator()) texts += action->text();
    return texts;
  }

  // Waits until the window has handled all that the server published.
  bool eventsAreIn() {
    const int64_t last = server.core()->lastSequence();
    return processUntil([&] { return static_cast<WatchedModule*>(module.get())->lastEvent >= last; });
  }

  QString shownName(const char* name) { return find(name).data().toString(); }

  EmbeddedServer server;
  std::unique_ptr<TestApp> host;
  TestApp& app;
  std::unique_ptr<CTlmMeasConfig> module;
};

}  // namespace tlm::test

#endif
