// The context menu and the keys of the tree.
#include <QHeaderView>
#include <QMenu>

#include "ModuleWindow.h"

namespace tlm::test {
namespace {

class ContextMenu : public ModuleWindow {
 protected:
  void request(const QPoint& pos) {
    emit tree()->customContextMenuRequested(pos);
    settle();
  }
  void request(const QModelIndex& index) { request(tree()->visualRect(reveal(index)).center()); }
  // The operator's entries that are there: M D T R, small ones when they are disabled.
  QString tools() {
    const std::pair<QAction*, QChar> all[] = {
        {module->actManual, 'M'}, {module->actDubl, 'D'}, {module->actRemoteControl, 'T'}, {module->actRetro, 'R'}};
    QString text;
    for (const auto& [action, letter] : all)
      if (action->isVisible()) text += action->isEnabled() ? letter : letter.toLower();
    return text;
  }
};

TEST_F(ContextMenu, OffersTheToolsOnAMeasurement) {
  start();
  request(find("P Т-1"));
  EXPECT_TRUE(module->contextMenu->isVisible());
  EXPECT_EQ(tools(), "MDR");
}

TEST_F(ContextMenu, OffersTheToolsOnTheNumberToo) {
  start();
  const QModelIndex row = find("P Т-1");
  request(row.sibling(row.row(), 1));
  EXPECT_EQ(tools(), "MDR");
}

TEST_F(ContextMenu, OffersControlOfADiscreteThatCanBeCommanded) {
  start();
  request(find("Q-110"));
  EXPECT_EQ(tools(), "MDTR");
}

TEST_F(ContextMenu, ShowsControlDisabledForAnyOtherDiscrete) {
  start();
  request(find("Р-110"));
  EXPECT_EQ(tools(), "MDtR");
}

TEST_F(ContextMenu, HidesTheToolsOnRowsWithoutANumber) {
  start();
  const QModelIndex measurement = find("Q-110");
  for (const QModelIndex& row : {measurement.parent(), find("КП-1"), find("ОРУ-110")}) {
    request(measurement);
    ASSERT_EQ(tools(), "MDTR");
    request(row);
    EXPECT_TRUE(module->contextMenu->isVisible());
    EXPECT_EQ(tools(), "");
    EXPECT_FALSE(module->actRemoteControl->isEnabled());
  }
}

TEST_F(ContextMenu, OpensOverEmptySpaceWithoutTheTools) {
  start();
  request(QPoint(5, tree()->viewport()->height() - 2));
  EXPECT_TRUE(module->contextMenu->isVisible());
  EXPECT_EQ(tools(), "");
  EXPECT_EQ(module->linkMenu, nullptr);
}

TEST_F(ContextMenu, StaysAwayFromTheHeader) {
  start();
  emit module->headerView->customContextMenuRequested(QPoint(5, 5));
  settle();
  EXPECT_FALSE(module->contextMenu->isVisible());
}

TEST_F(ContextMenu, ComesOfARightClick) {
  start();
  const QModelIndex row = reveal(find("P Т-1"));
  const QPoint at = tree()->visualRect(row).center();
  QContextMenuEvent event(QContextMenuEvent::Mouse, at, tree()->viewport()->mapToGlobal(at));
  QCoreApplication::sendEvent(tree()->viewport(), &event);
  settle();
  EXPECT_TRUE(module->contextMenu->isVisible());
  EXPECT_EQ(tools(), "MDR");
}

// ---- keys ------------------------------------------------------------------------------------------------

class Keys : public ModuleWindow {
 protected:
  void focusTree() {
    start();
    module->activateWindow();
    tree()->setFocus();
    settle();
    ASSERT_EQ(QApplication::focusWidget(), tree());
    app.log.clear();
  }
  int modelRequests() { return app.log.filter("PacketExec LiteModel").size(); }
};

TEST_F(Keys, ReleaseOfAMovingKeyShowsTheRow) {
  focusTree();
  for (Qt::Key key : {Qt::Key_Home, Qt::Key_End, Qt::Key_Left, Qt::Key_Up, Qt::Key_Right, Qt::Key_Down, Qt::Key_PageUp,
                      Qt::Key_PageDown}) {
    app.log.clear();
    QTest::keyRelease(tree(), key);
    EXPECT_EQ(modelRequests(), 1) << key;
  }
}

TEST_F(Keys, ReleaseOfAnotherKeyDoesNot) {
  focusTree();
  for (Qt::Key key : {Qt::Key_Tab, Qt::Key_A, Qt::Key_Shift, Qt::Key_Insert}) QTest::keyRelease(tree(), key);
  EXPECT_EQ(modelRequests(), 0);
}

TEST_F(Keys, ReleaseGoesOnToWhoeverIsAboveTheModule) {
  focusTree();
  for (int key : {Qt::Key_A, Qt::Key_Down, Qt::Key_Control}) {
    QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier);
    QApplication::sendEvent(module.get(), &release);
    EXPECT_FALSE(release.isAccepted()) << key;
  }
}

TEST_F(Keys, ReleaseOutsideTheTreeDoesNot) {
  focusTree();
  module->ui->tV_Prop->setFocus();
  QTest::keyRelease(module->ui->tV_Prop, Qt::Key_Down);
  EXPECT_EQ(modelRequests(), 0);
}

TEST_F(Keys, ReleaseWithAnEditPendingLeavesTheSheet) {
  focusTree();
  module->passportEdited = true;
  QTest::keyRelease(tree(), Qt::Key_Down);
  module->passportEdited = false;
  module->newObjectInPassport = true;
  QTest::keyRelease(tree(), Qt::Key_Down);
  EXPECT_EQ(modelRequests(), 0);
  module->newObjectInPassport = false;
}

TEST_F(Keys, DownMovesTheSheetAlong) {
  focusTree();
  const QString before = module->passport.currentKey;
  QTest::keyClick(tree(), Qt::Key_Down);
  settle();
  EXPECT_NE(module->passport.currentKey, before);
  EXPECT_EQ(module->passport.currentKey, tree()->currentIndex().data(kKeyRole).toString());
}

}  // namespace
}  // namespace tlm::test
