// Moves by the clipboard, where paste is offered, and how many calls one costs.
#include <QAction>

#include "Colleague.h"
#include "PasteBoth.h"

namespace tlm::test {
namespace {

// ---- moves -----------------------------------------------------------------------------------------------

TEST_F(Paste, CutUnitGoesToAnotherFolderWithAllItHolds) {
  startBoth();
  openAllInBoth();
  cut({"КП-1"});
  pasteOnto("Юг");
  EXPECT_EQ(onServer(), picture(R"(
    4001 Сам по себе
    КП-3
      3001 I
    Север
      КП-2
        2001 U
      Север-110
    Юг
      КП-1
        1001 P
        1002 P макс < 1001
        1003 Q
        1004 Выключатель
        1005 Режим
        1006 Wp
  )"));
  expectBothShow(R"(
    Север
      Север-110
      КП-2
        Аналоговые измерения
          2001 U
    Юг
      КП-1
        Аналоговые измерения
          1001 P
            1002 P макс
          1003 Q
        Дискретные сигналы
          1004 Выключатель
        Строковые величины
          1005 Режим
        Счетчики
          1006 Wp
    (Устройство по умолчанию)
      Аналоговые измерения
        4001 Сам по себе
    КП-3
      Аналоговые измерения
        3001 I
  )");
}

TEST_F(Paste, CutFolderGoesIntoAnother) {
  startBoth();
  openAllInBoth();
  cut({"Север-110"});
  pasteOnto("Юг");
  EXPECT_EQ(below(onServer(), "Север"), picture(R"(
    Север
      КП-2
        2001 U
  )"));
  EXPECT_THAT(below(onServer(), "Юг").toStdString(), testing::StartsWith("Юг\n  Север-110\n    КП-1\n      1001 P\n"));
  EXPECT_THAT(below(shownThere(), "Юг").toStdString(), testing::StartsWith("Юг\n  Север-110\n    КП-1\n"));
  EXPECT_EQ(below(shownHere(), "Юг"), below(shownThere(), "Юг"));
}

TEST_F(Paste, CutMeasurementTakesItsAggregatedOnesAlong) {
  startBoth();
  openAllInBoth();
  cut({"P", "Режим"});
  pasteOnto("КП-3");
  EXPECT_EQ(below(onServer(), "КП-3"), picture(R"(
    КП-3
      1001 P
      1002 P макс < 1001
      1005 Режим
      3001 I
  )"));
  sortBoth();
  EXPECT_EQ(below(shownHere(), "КП-3"), picture(R"(
    КП-3
      Аналоговые измерения
        3001 I
        1001 P
          1002 P макс
      Строковые величины
        1005 Режим
  )"));
  EXPECT_EQ(shownThere(), shownHere());
}

TEST_F(Paste, WithoutAggregatedDataIsNoMatterToACut) {
  startBoth();
  openAllInBoth();
  cut({"P"});
  click("КП-3");
  module->actPasteNoAgreg->trigger();
  ASSERT_TRUE(bothAreUpToDate());
  EXPECT_EQ(below(onServer(), "КП-3"), "КП-3\n  1001 P\n  1002 P макс < 1001\n  3001 I\n");
}

TEST_F(Paste, CutIsPastedOnce) {
  startBoth();
  cut({"КП-2"});
  pasteOnto("Юг");
  EXPECT_EQ(payload(), "0");
  EXPECT_EQ(module->clipText, "");
  EXPECT_EQ(other->clipText, "");
  EXPECT_EQ(module->treeModel->cutKeys, QStringList());
  EXPECT_FALSE(module->btnPaste->isEnabled());
  EXPECT_FALSE(module->pasteMenu->isEnabled());
  EXPECT_EQ(module->ownMoves, QStringList()) << "the event was taken as this window's own";
}

TEST_F(Paste, CutOntoItsOwnParentDoesNothingAndStays) {
  startBoth();
  const QString before = onServer();
  cut({"Север-110"});
  const QByteArray held = payload();
  app.log.clear();
  pasteOnto("Север");
  pasteOnto("Север-110");
  EXPECT_EQ(onServer(), before);
  EXPECT_EQ(calls("BlockEnd"), 0);
  EXPECT_EQ(payload(), held);
  EXPECT_FALSE(module->clipText.isEmpty());
  EXPECT_FALSE(module->treeModel->cutKeys.isEmpty());
  pasteOnto("Юг");
  EXPECT_THAT(below(onServer(), "Юг").toStdString(), testing::StartsWith("Юг\n  Север-110\n"));
}

TEST_F(Paste, OwnParentIsKnownByTheCellOfTheNumberToo) {
  startBoth();
  cut({"Север-110"});
  const QModelIndex parent = find("Север");
  module->ExecActPaste(parent.sibling(parent.row(), 1), true);
  EXPECT_FALSE(module->clipText.isEmpty());
}

TEST_F(Paste, MoveKeepsWhatOthersWroteMeanwhile) {
  startBoth();
  cut({"КП-2"});
  Colleague colleague(*server.core());
  ASSERT_TRUE(colleague.change("IdentifiedObject", key("КП-2"), {"name_=КП-2 новое"}).commit());
  pasteOnto("Юг");
  EXPECT_EQ(below(onServer(), "Юг"), "Юг\n  КП-2 новое\n    2001 U\n");
}

TEST_F(Paste, AtTheTopTheLinkBecomesNull) {
  startBoth();
  openAllInBoth();
  module->ParseUpLevelXml(module->makeDocument({find("КП-2")}, true, false), QModelIndex(), false, true);
  ASSERT_TRUE(bothAreUpToDate());
  EXPECT_EQ(field(key("КП-2"), "RemoteUnit", "RemoteUnitFolderKey"), "null");
  module->ParseUpLevelXml(module->makeDocument({find("Север-110")}, true, false), QModelIndex(), false, true);
  ASSERT_TRUE(bothAreUpToDate());
  EXPECT_EQ(field(key("Север-110"), "RemoteUnitFolder", "ParentKey"), "null");
  module->treeModel->sort(0);
  other->treeModel->sort(0);
  EXPECT_EQ(shownHere(), shownThere());
  EXPECT_EQ(module->treeModel->index(1, 0).data().toString(), "Север-110");
}

TEST_F(Paste, FolderUnderItsOwnDescendantIsRefusedAndTheTreeStaysRight) {
  startBoth();
  openAllInBoth();
  cut({"Север"});
  pasteOnto("Север-110");
  ASSERT_NE(waitingBox(), nullptr);
  EXPECT_EQ(waitingBox()->messageText(),
            "При изменения данных возникла непредвиденная ошибка.\nДанные не были изменены!");
  answerBox(waitingBox(), 0);
  EXPECT_EQ(onServer(), picture(kServerBefore));
  expectBothShow(kTreeBefore);
  EXPECT_EQ(payload(), "0");
  EXPECT_EQ(module->treeModel->cutKeys, QStringList());
  EXPECT_EQ(module->ownMoves, QStringList());
}

// ---- where paste is offered ------------------------------------------------------------------------------

TEST_F(Paste, IsNotDoneWhereItIsNotOffered) {
  startBoth();
  openAllInBoth();
  copy({"Q"});
  for (const char* name : {"Юг", "Выключатель"}) {
    click(name);
    EXPECT_FALSE(module->btnPaste->isEnabled()) << name;
    EXPECT_FALSE(module->pasteMenu->isEnabled()) << name;
    module->actPaste->trigger();
    module->actPasteNoAgreg->trigger();
  }
  click(module->treeModel->defaultUnit());
  module->actPaste->trigger();
  copy({"КП-3"});
  click("КП-2");
  module->actPaste->trigger();
  EXPECT_EQ(onServer(), picture(kServerBefore));
}

TEST_F(Paste, MixedClassesAreOfferedByTheLastOne) {
  startBoth();
  copy({"Q", "Режим"});
  click("P");
  EXPECT_FALSE(module->btnPaste->isEnabled());
  pasteOnto(find("Режим").parent());
  EXPECT_THAT(below(onServer(), "КП-1").toStdString(), testing::HasSubstr("  1 Q-копия\n"));
  EXPECT_THAT(below(onServer(), "КП-1").toStdString(), testing::HasSubstr("  2 Режим-копия(2)\n"));
}

TEST_F(Paste, NeedsARowAndADocument) {
  startBoth();
  copy({"КП-3"});
  app.log.clear();
  module->ExecActPaste(QModelIndex(), true);
  module->clipText.clear();
  module->ExecActPaste(find("Юг"), true);
  EXPECT_EQ(app.log, QStringList());
}

// ---- what it costs ---------------------------------------------------------------------------------------

TEST_F(Paste, OneReadForEachObjectOneScriptOneBlock) {
  startBoth();
  copy({"КП-1"});
  click("Юг");
  app.log.clear();
  press(Qt::Key_V);
  EXPECT_EQ(calls("PacketExec RecByKeyLink"), 7);
  EXPECT_EQ(calls("CalcExec"), 1);
  EXPECT_EQ(calls("BlockEnd"), 1);
  EXPECT_EQ(app.log.filter("SqlUpdate").size(), 7) << "a table is written once";
  EXPECT_TRUE(bothAreUpToDate());
}

TEST_F(Paste, CutAsksForNumbersToo) {
  startBoth();
  cut({"КП-2"});
  click("Юг");
  app.log.clear();
  press(Qt::Key_V);
  EXPECT_EQ(calls("CalcExec"), 1);
  EXPECT_TRUE(bothAreUpToDate());
}

std::string manyMeasurements() {
  std::string text = "folder Юг\nunit Большой\n";
  for (int i = 0; i < 250; ++i) text += "  analog " + std::to_string(5000 + i) + " M" + std::to_string(1000 + i) + "\n";
  return text + "unit Дыра\n  analog 50 a\n  analog 120 b\n  analog 121 c\n";
}
const std::string& manyText() {
  static const std::string text = manyMeasurements();
  return text;
}

class PasteMany : public PasteWindow {
 protected:
  PasteMany() : PasteWindow(manyText().c_str()) {}
};

TEST_F(PasteMany, FreeNumbersAreFetchedByTheHundredFromTheLastOneOn) {
  startBoth();
  copy({"Большой"});
  click("Юг");
  app.log.clear();
  press(Qt::Key_V);
  ASSERT_TRUE(bothAreUpToDate());
  EXPECT_EQ(app.log.filter("CalcExec").size(), 3);
  QList<int> given;
  for (const QString& line : onServer().split('\n')) {
    const int number = line.trimmed().section(' ', 0, 0).toInt();
    if (line.contains(" M1") && number < 5000) given += number;
  }
  std::sort(given.begin(), given.end());
  QList<int> expected;
  for (int number = 1; expected.size() < 250; ++number)
    if (number != 50 && number != 120 && number != 121) expected += number;
  EXPECT_EQ(given, expected);
}

}  // namespace
}  // namespace tlm::test
