// Drags by the mouse: what the cursor and the indicator tell on the way, and where the rows land.
#include "DragWindow.h"

namespace tlm::test {
namespace {

class MouseDrag : public DragWindow {};

TEST_F(MouseDrag, BeginsBeyondTheDistanceOfTheToolkit) {
  startOpen();
  mouse.press(find("КП-3"));
  EXPECT_FALSE(mouse.pull(QApplication::startDragDistance(), [] {}));
  EXPECT_EQ(module->dragTableName, "");
  mouse.press(find("КП-3"));
  EXPECT_TRUE(mouse.pull(QApplication::startDragDistance() + 1, [] {}));
  EXPECT_EQ(module->dragTableName, "RemoteUnit");
}

TEST_F(MouseDrag, OfAUnitIntoAFolderMovesIt) {
  startOpen();
  ASSERT_TRUE(mouse.drag(find("КП-3"), [&] { mouse.dropOn(find("Юг")); }));
  EXPECT_TRUE(movedTo("КП-3", "Юг"));
  EXPECT_EQ(tree()->currentIndex(), rowOf("КП-3"));
  EXPECT_EQ(treeText(*module->treeModel), picture(R"(
      Север
        ОРУ-110
          КП-1
          КП-2
      Юг
        КП-3
      КП-4
        Счетчики
          1201 Wp
  )"));
}

TEST_F(MouseDrag, TellsWhereAUnitMayBeDropped) {
  startOpen();
  open("КП-1");
  ASSERT_TRUE(mouse.drag(find("КП-3"), [&] {
    mouse.over(find("Юг"));
    EXPECT_TRUE(mouse.isAllowed());
    EXPECT_EQ(indicator(), rectOf(find("Юг")));
    mouse.over(find("P Т-1"));
    EXPECT_FALSE(mouse.isAllowed());
    EXPECT_TRUE(indicator().isEmpty());
    mouse.over(find("P Т-1").parent());
    EXPECT_FALSE(mouse.isAllowed());
    EXPECT_TRUE(indicator().isEmpty());
  }));
}

// A row that takes no unit shows the place beside it, in the folder that it lies in.
TEST_F(MouseDrag, BesideAUnitStandsForTheFolderAround) {
  startOpen();
  ASSERT_TRUE(mouse.drag(find("КП-3"), [&] {
    mouse.over(find("КП-2"), 1);
    EXPECT_TRUE(mouse.isAllowed());
    EXPECT_EQ(indicator().top(), rectOf(find("КП-2")).bottom());
    EXPECT_EQ(indicator().height(), 0);
    mouse.drop();
  }));
  EXPECT_TRUE(movedTo("КП-3", "ОРУ-110"));
}

TEST_F(MouseDrag, TellsWhereAMeasurementMayBeDropped) {
  startOpen();
  open("КП-1");
  ASSERT_TRUE(mouse.drag(find("P Т-1"), [&] {
    for (const char* name : {"Север", "ОРУ-110", "Юг"}) {
      mouse.over(find(name));
      EXPECT_FALSE(mouse.isAllowed()) << name;
      EXPECT_TRUE(indicator().isEmpty()) << name;
    }
    for (const char* name : {"КП-2", "КП-3", "КП-4", "Q Т-1"}) {
      mouse.over(find(name));
      EXPECT_TRUE(mouse.isAllowed()) << name;
      EXPECT_EQ(indicator(), rectOf(find(name))) << name;
    }
    mouse.over(find("Q-110"));
    EXPECT_FALSE(mouse.isAllowed());
  }));
}

TEST_F(MouseDrag, OfAMeasurementIntoAClosedUnitOpensItAndSelectsTheRow) {
  startOpen();
  open("КП-1");
  ASSERT_FALSE(nodeOf(rowOf("КП-2"))->isLoaded);
  ASSERT_TRUE(mouse.drag(find("P Т-1"), [&] { mouse.dropOn(rowOf("КП-2")); }));
  ASSERT_TRUE(processUntil([&] { return rowOf("P Т-1").parent().parent() == rowOf("КП-2"); }));
  EXPECT_TRUE(nodeOf(rowOf("КП-2"))->isLoaded);
  EXPECT_EQ(treeText(*module->treeModel, rowOf("КП-2")), picture(R"(
      Аналоговые измерения
        1101 I Т-2
        1001 P Т-1
  )"));
  EXPECT_EQ(tree()->currentIndex(), rowOf("P Т-1"));
  EXPECT_TRUE(tree()->isExpanded(rowOf("P Т-1").parent()));
}

TEST_F(MouseDrag, OfTheLastOfAGroupTakesTheGroupAway) {
  startOpen();
  open("КП-4");
  ASSERT_TRUE(mouse.drag(find("Wp"), [&] { mouse.dropOn(find("КП-3")); }));
  ASSERT_TRUE(processUntil([&] { return rowOf("Wp").parent().parent() == rowOf("КП-3"); }));
  EXPECT_EQ(module->treeModel->rowCount(rowOf("КП-4")), 0);
}

// ---- the header and the empty area -------------------------------------------------------------------

TEST_F(MouseDrag, OfAFolderToTheHeaderPutsItAtTheTop) {
  startOpen();
  ASSERT_TRUE(mouse.drag(find("ОРУ-110"), [&] {
    mouse.over(module->headerView->viewport(), module->headerView->viewport()->rect().center());
    EXPECT_TRUE(mouse.isAllowed());
    mouse.drop();
  }));
  EXPECT_TRUE(movedTo("ОРУ-110", nullptr));
  EXPECT_EQ(module->dragTableName, "");
}

TEST_F(MouseDrag, OfAUnitToTheHeaderPutsItAtTheTop) {
  startOpen();
  ASSERT_TRUE(mouse.drag(find("КП-1"), [&] {
    mouse.over(module->headerView->viewport(), QPoint(5, 5));
    mouse.drop();
  }));
  EXPECT_TRUE(movedTo("КП-1", nullptr));
}

TEST_F(MouseDrag, OfAMeasurementToTheHeaderIsRefused) {
  startOpen();
  open("КП-1");
  app.log.clear();
  ASSERT_TRUE(mouse.drag(find("P Т-1"), [&] {
    mouse.over(module->headerView->viewport(), QPoint(5, 5));
    EXPECT_FALSE(mouse.isAllowed());
    mouse.drop();
  }));
  EXPECT_EQ(app.log.filter("SqlUpdate"), QStringList());
  EXPECT_EQ(rowOf("P Т-1").parent().parent(), rowOf("КП-1"));
}

TEST_F(MouseDrag, ToTheEmptyAreaPutsAFolderAtTheTopAndRefusesAMeasurement) {
  startOpen();
  open("КП-1");
  const QPoint below(20, tree()->viewport()->height() - 5);
  ASSERT_FALSE(tree()->indexAt(below).isValid());
  ASSERT_TRUE(mouse.drag(find("P Т-1"), [&] {
    mouse.over(tree()->viewport(), below);
    EXPECT_FALSE(mouse.isAllowed());
    EXPECT_TRUE(indicator().isEmpty());
  }));
  ASSERT_TRUE(mouse.drag(find("ОРУ-110"), [&] {
    mouse.over(tree()->viewport(), below);
    EXPECT_TRUE(mouse.isAllowed());
    EXPECT_TRUE(indicator().isEmpty());
    mouse.drop();
  }));
  EXPECT_TRUE(movedTo("ОРУ-110", nullptr));
}

}  // namespace
}  // namespace tlm::test
