// A row is the same row in both its columns: whatever is done from the number's cell ends as from the name's.
#include <TlmClient/CPopMessageBox.h>
#include <TlmClient/CPopTemplate.h>

#include <QClipboard>

#include "PasteWindow.h"
#include "WorkWithData.h"

namespace tlm::test {
namespace {

const char* const kRows[] = {"Север", "КП-1", "P", "P макс", "Сам по себе"};

// One window that acts from one column, and all that can be seen of it afterwards.
class Acting : public PasteWindow {
 public:
  explicit Acting(int column) : column_(column) { start(); }
  ~Acting() override { QGuiApplication::clipboard()->clear(); }
  void TestBody() override {}

  void at(const char* name) { click(find(name).siblingAtColumn(column_)); }
  QStringList offered() {
    QStringList texts;
    for (const QAction* action : module->findChildren<QAction*>())
      if (action->isEnabled() && !action->text().isEmpty()) texts += action->text();
    texts.sort();
    return texts;
  }
  // Keys are left out: those of new objects differ from run to run.
  QString seen() {
    CMDArray none;  // its answer comes behind what was sent unwaited
    GetRecByKey(module->abo->Session(), "none", &none);
    EXPECT_TRUE(eventsAreIn());
    QStringList lines{treeText(*module->treeModel),
                      ServerPicture(*server.core()).text().remove(QRegExp("[0-9A-F]{32}"))};
    lines += "current: " + tree()->currentIndex().siblingAtColumn(0).data().toString();
    lines += "open: " + openRows().join(", ");
    lines += "selected: ";
    for (const QModelIndex& each : tree()->selectionModel()->selectedIndexes())
      lines.last() += each.siblingAtColumn(0).data().toString() + ';';
    lines += "path: " + pathTexts().join(" / ");
    lines += "sheet: " + shown("Наименование") + ", " + shown("Номер");
    lines += "offered: " + offered().join(", ");
    for (const CPopTemplate* panel : module->findChildren<CPopTemplate*>())
      if (panel->isVisible()) lines += QString("panel: ") + panel->metaObject()->className();
    return lines.join('\n');
  }
  // Triggers the action with that text, and accepts the box or panel that it opens.
  void act(const QString& text) {
    for (QAction* action : module->findChildren<QAction*>()) {
      if (action->text() != text || !action->isEnabled()) continue;
      action->trigger();
      break;
    }
    settle();
    if (CPopMessageBox* box = waitingBox()) answerBox(box, 0);
    settle();
  }
  void key(int code, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    tree()->setFocus();
    QTest::keyClick(tree(), Qt::Key(code), modifiers);
    settle();
    if (CPopMessageBox* box = waitingBox()) answerBox(box, 0);
    settle();
  }

 private:
  int column_;
};

class NumberColumn : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Rows, NumberColumn, testing::ValuesIn(kRows),
                         [](const auto& each) { return "Row" + std::to_string(each.index); });

QString bothWays(const char* row, const std::function<void(Acting&)>& act) {
  QString result[2];
  for (int column : {0, 1}) {
    Acting window(column);
    window.at(row);
    act(window);
    result[column] = window.seen();
  }
  EXPECT_EQ(result[1], result[0]) << "from the number's column";
  return result[0];
}

TEST_P(NumberColumn, OffersTheSame) {
  bothWays(GetParam(), [](Acting&) {});
}

TEST_P(NumberColumn, EveryActionEndsTheSame) {
  QStringList all;
  {
    Acting window(0);
    window.at(GetParam());
    all = window.offered();
  }
  for (const QString& text : all) {
    SCOPED_TRACE(text.toStdString());
    bothWays(GetParam(), [&](Acting& window) { window.act(text); });
  }
}

TEST_P(NumberColumn, KeysEndTheSame) {
  for (int code : {Qt::Key_Delete, Qt::Key_Left, Qt::Key_Right, Qt::Key_Up, Qt::Key_Down, Qt::Key_Home, Qt::Key_End,
                   Qt::Key_Plus, Qt::Key_Minus, Qt::Key_Return, Qt::Key_Space, Qt::Key_PageDown}) {
    SCOPED_TRACE(QKeySequence(code).toString().toStdString());
    bothWays(GetParam(), [&](Acting& window) { window.key(code); });
  }
}

TEST_P(NumberColumn, PasteEndsTheSame) {
  for (const char* source : {"Q", "КП-2", "Юг"})
    for (int code : {Qt::Key_C, Qt::Key_X}) {
      SCOPED_TRACE(source);
      bothWays(GetParam(), [&](Acting& window) {
        window.at(source);
        window.key(code, Qt::ControlModifier);
        window.at(GetParam());
        window.key(Qt::Key_V, Qt::ControlModifier);
      });
    }
}

}  // namespace
}  // namespace tlm::test
