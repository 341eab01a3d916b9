// Copies by the clipboard, as the engineer makes them, in both windows and on the server.
#include "Colleague.h"
#include "PasteBoth.h"

namespace tlm::test {
namespace {

// ---- copies ----------------------------------------------------------------------------------------------

TEST_F(Paste, UnitBesideItselfGetsAnotherNameAndItsMeasurementsKeepTheirs) {
  startBoth();
  openAllInBoth();
  copy({"КП-1"});
  pasteOnto("Север-110");
  EXPECT_EQ(onServer(), picture(R"(
    4001 Сам по себе
    КП-3
      3001 I
    Север
      КП-2
        2001 U
      Север-110
        КП-1
          1001 P
          1002 P макс < 1001
          1003 Q
          1004 Выключатель
          1005 Режим
          1006 Wp
        КП-1-копия
          1 P
          2 P макс < 1
          3 Q
          4 Выключатель
          5 Режим
          6 Wp
    Юг
  )"));
  expectBothShow(R"(
    Север
      Север-110
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
        КП-1-копия
      КП-2
        Аналоговые измерения
          2001 U
    Юг
    (Устройство по умолчанию)
      Аналоговые измерения
        4001 Сам по себе
    КП-3
      Аналоговые измерения
        3001 I
  )");
}

TEST_F(Paste, CopiedUnitOpensWithAllItHolds) {
  startBoth();
  openSorted("КП-1");
  copy({"КП-1"});
  pasteOnto("Юг");
  QModelIndex row;
  ASSERT_TRUE(other->FindLocId("2", row));
  EXPECT_EQ(below(shownThere(), "Юг"), picture(R"(
    Юг
      КП-1
        Аналоговые измерения
          1 P
            2 P макс
          3 Q
        Дискретные сигналы
          4 Выключатель
        Строковые величины
          5 Режим
        Счетчики
          6 Wp
  )"));
}

TEST_F(Paste, FolderElsewhereComesWhole) {
  startBoth();
  openAllInBoth();
  copy({"Север"});
  pasteOnto("Юг");
  EXPECT_EQ(below(onServer(), "Юг"), picture(R"(
    Юг
      Север
        КП-2
          7 U
        Север-110
          КП-1
            1 P
            2 P макс < 1
            3 Q
            4 Выключатель
            5 Режим
            6 Wp
  )"));
  expectBothShow((QString(kTreeBefore).trimmed().prepend("    ").replace("    Юг\n", R"(    Юг
      Север
        Север-110
          КП-1
        КП-2
)") + "\n")
                     .toUtf8());
}

TEST_F(Paste, FolderIntoItselfIsCopiedOnce) {
  startBoth();
  openSorted("КП-1");
  copy({"Север-110"});
  pasteOnto("Север-110");
  EXPECT_EQ(below(onServer(), "Север-110"), picture(R"(
    Север-110
      КП-1
        1001 P
        1002 P макс < 1001
        1003 Q
        1004 Выключатель
        1005 Режим
        1006 Wp
      Север-110
        КП-1
          1 P
          2 P макс < 1
          3 Q
          4 Выключатель
          5 Режим
          6 Wp
  )"));
}

TEST_F(Paste, ThreeTimesIntoOneFolderGivesThreeNames) {
  startBoth();
  copy({"КП-2"});
  for (int i = 0; i < 3; ++i) pasteOnto("Юг");
  EXPECT_EQ(below(onServer(), "Юг"), picture(R"(
    Юг
      КП-2
        1 U
      КП-2-копия
        2 U
      КП-2-копия(2)
        3 U
  )"));
  EXPECT_EQ(module->clipPasteTarget, key("Юг"));
  EXPECT_EQ(module->clipCopyCount, 2);
}

TEST_F(Paste, AnotherTargetResetsMemoryAndCounter) {
  startBoth();
  copy({"КП-2"});
  for (const char* target : {"Юг", "Юг", "Север-110"}) pasteOnto(target);
  EXPECT_EQ(module->clipPasteTarget, "");
  EXPECT_EQ(module->clipCopyCount, 0);
  EXPECT_THAT(onServer().toStdString(), testing::HasSubstr("    КП-2\n      3 U\n")) << "plain in the other folder";
  pasteOnto("Юг");
  EXPECT_EQ(module->clipPasteTarget, key("Юг"));
  pasteOnto("Юг");
  EXPECT_EQ(below(onServer(), "Юг").replace(QRegExp("\\d U"), "_ U"), picture(R"(
    Юг
      КП-2
        _ U
      КП-2
        _ U
      КП-2-копия
        _ U
      КП-2-копия
        _ U
  )"));
}

TEST_F(Paste, NewCopyForgetsTheLastTarget) {
  startBoth();
  copy({"КП-2"});
  pasteOnto("Юг");
  copy({"КП-3"});
  pasteOnto("Юг");
  EXPECT_THAT(below(onServer(), "Юг").toStdString(), testing::HasSubstr("  КП-3\n"));
}

TEST_F(Paste, ObjectsOfOnePasteGetDifferentNames) {
  startBoth();
  openAllInBoth();
  copy({"P", "Q", "Режим"});
  pasteOnto("КП-1");
  EXPECT_EQ(below(onServer(), "КП-1"), picture(R"(
    КП-1
      1 P-копия
      1001 P
      1002 P макс < 1001
      1003 Q
      1004 Выключатель
      1005 Режим
      1006 Wp
      2 P макс < 1
      3 Q-копия(2)
      4 Режим-копия(3)
  )"));
  module->treeModel->sort(0);
  EXPECT_EQ(below(shownHere(), "Аналоговые измерения"), picture(R"(
    Аналоговые измерения
      1001 P
        1002 P макс
      1 P-копия
        2 P макс
      1003 Q
      3 Q-копия(2)
  )"));
  other->treeModel->sort(0);
  EXPECT_EQ(shownThere(), shownHere());
}

TEST_F(Paste, FoldersGetTheirNewNameAsCaption) {
  startBoth();
  copy({"Юг", "Север-110"});
  pasteOnto("Север");
  EXPECT_THAT(onServer().toStdString(), testing::HasSubstr("\n  Юг\n"));
  EXPECT_THAT(onServer().toStdString(), testing::HasSubstr("\n  Север-110-копия\n    КП-1\n      1 P\n"));
}

TEST_F(Paste, OntoAMeasurementOrItsGroupGoesToTheUnit) {
  startBoth();
  openAllInBoth();
  copy({"Q"});
  pasteOnto("I");
  pasteOnto(find("I").parent());
  pasteOnto("КП-3");
  EXPECT_EQ(below(onServer(), "КП-3"), picture(R"(
    КП-3
      1 Q
      2 Q-копия
      3 Q-копия(2)
      3001 I
  )"));
  EXPECT_EQ(field(key("I"), "Measurement", "locId"), "3001");
}

TEST_F(Paste, OntoAClosedUnitOpensIt) {
  startBoth();
  copy({"Выключатель"});
  const QModelIndex target = module->treeModel->findByKey(key("КП-2"));
  ASSERT_FALSE(nodeOf(target)->isLoaded);
  pasteOnto(target);
  EXPECT_EQ(below(shownHere(), "КП-2"), picture(R"(
    КП-2
      Аналоговые измерения
        2001 U
      Дискретные сигналы
        1 Выключатель
  )"));
  EXPECT_FALSE(nodeOf(other->treeModel->findByKey(key("КП-2")))->isLoaded);
}

TEST_F(Paste, OntoAnAggregatedMeasurementHasNoUnit) {
  startBoth();
  openAllInBoth();
  copy({"Q"});
  pasteOnto("P макс");
  EXPECT_THAT(onServer().toStdString(), testing::StartsWith("1 Q\n4001 Сам по себе\n"));
  EXPECT_EQ(field(key("Q"), "Measurement", "RemoteUnitKey"), key("КП-1"));
}

TEST_F(Paste, InTheDefaultUnitACopyStandsBesideItsSource) {
  startBoth();
  copy({"Сам по себе"});
  pasteOnto("Сам по себе");
  EXPECT_THAT(onServer().toStdString(), testing::StartsWith("1 Сам по себе-копия\n4001 Сам по себе\n"));
}

TEST_F(Paste, WithoutAggregatedDataPlainMeasurementsComeAlone) {
  startBoth();
  openSorted("КП-1");
  copy({"КП-1"});
  click("Юг");
  module->actPasteNoAgreg->trigger();
  ASSERT_TRUE(bothAreUpToDate());
  EXPECT_EQ(below(onServer(), "Юг"), picture(R"(
    Юг
      КП-1
        1 P
        2 Q
        3 Выключатель
        4 Режим
        5 Wp
  )"));
  copy({"P"});
  click("КП-3");
  module->actPasteNoAgreg->trigger();
  ASSERT_TRUE(bothAreUpToDate());
  EXPECT_EQ(below(onServer(), "КП-3"), picture(R"(
    КП-3
      3001 I
      6 P
  )"));
}

TEST_F(Paste, CopyMayBePastedAgainAfterwards) {
  startBoth();
  copy({"Q"});
  pasteOnto("КП-3");
  EXPECT_FALSE(module->clipText.isEmpty());
  EXPECT_EQ(payload().left(1), "1");
  EXPECT_TRUE(module->btnPaste->isEnabled());
}

TEST_F(Paste, CopiedInOneWindowMayBePastedInTheOther) {
  startBoth();
  openAllInBoth();
  copy({"Q"});
  EXPECT_EQ(other->clipText, module->clipText);
  other->ExecActPaste(other->treeModel->findByKey(key("КП-3")), true);
  ASSERT_TRUE(bothAreUpToDate());
  EXPECT_EQ(below(shownHere(), "КП-3"), picture(R"(
    КП-3
      Аналоговые измерения
        3001 I
        1 Q
  )"));
  EXPECT_EQ(below(shownThere(), "КП-3"), below(shownHere(), "КП-3"));
}

TEST_F(Paste, FieldsComeFromTheServerAndNotFromTheDocument) {
  startBoth();
  copy({"Q"});
  Colleague colleague(*server.core());
  ASSERT_TRUE(colleague.change("IdentifiedObject", key("Q"), {"name_=Иначе"}).commit());
  pasteOnto("КП-3");
  EXPECT_THAT(below(onServer(), "КП-3").toStdString(), testing::HasSubstr("1 Иначе\n"));
}

TEST_F(Paste, RepeatedNumberIsNeverGiven) {
  startBoth();
  openSorted("КП-1");
  Colleague colleague(*server.core());
  copy({"КП-1"});
  ASSERT_TRUE(colleague.change("Measurement", key("U"), {"locId=3"}).commit());
  pasteOnto("Юг");
  EXPECT_EQ(below(onServer(), "Юг"), picture(R"(
    Юг
      КП-1
        1 P
        2 P макс < 1
        4 Q
        5 Выключатель
        6 Режим
        7 Wp
  )"));
}

}  // namespace
}  // namespace tlm::test
