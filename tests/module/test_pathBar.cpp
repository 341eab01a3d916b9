#include <QMenu>
#include <QToolBar>
#include <QToolButton>

#include "ModuleWindow.h"
#include "TreeEventsWindow.h"

namespace tlm::test {
namespace {

constexpr char kDeepModel[] = R"(folder А1
  folder А2
    folder А3
      folder А4
        unit А5
          analog 1 P
)";

class PathBar : public ModuleWindow {
 protected:
  PathBar() : ModuleWindow(kDeepModel) {}

  // The path of a row with so much room, the menu's entries in front: "[А1 А2] А3 > А4".
  QString path(const char* name, int width) {
    tree()->setCurrentIndex(find(name));
    module->toolBarCfg->setFixedWidth(width);
    module->ChangeToolBarCfg();
    QString text;
    if (const QMenu* menu = button()->menu()) {
      QStringList entries;
      for (const QAction* action : menu->actions()) entries += action->text();
      text = "[" + entries.join(' ') + "] ";
    }
    QStringList rest;
    for (const QAction* action : module->toolBarCfg->actions())
      if (action != button_) rest += action->isSeparator() ? ">" : action->text();
    return text + rest.join(' ');
  }
  QToolButton* button() {
    button_ = module->toolBarCfg->actions().value(0);
    return qobject_cast<QToolButton*>(module->toolBarCfg->widgetForAction(button_));
  }

 private:
  QAction* button_ = nullptr;
};

TEST(PathWidth, CountsWhatDoesNotFit) {
  EmbeddedServer server{kDeepModel};
  TestApp app{*server.core()};
  CTlmMeasConfig module{&app};
  EXPECT_EQ(module.CheckCurrentWight(600, 3), 0);
  EXPECT_EQ(module.CheckCurrentWight(600, 5), 3);
  EXPECT_EQ(module.CheckCurrentWight(599, 3), 1);
  EXPECT_EQ(module.CheckCurrentWight(600, 4), 2);
  EXPECT_EQ(module.CheckCurrentWight(0, 0), 0);
  EXPECT_EQ(module.CheckCurrentWight(0, 1), 2);
}

TEST_F(PathBar, ShowsTheAncestorsFromTheTop) {
  start();
  EXPECT_EQ(path("А4", 600), "А1 > А2 > А3");
  EXPECT_EQ(button()->menu(), nullptr);
}

TEST_F(PathBar, LeavesOutGroupsAndTheRowItself) {
  start();
  EXPECT_EQ(path("P", 1000), "А1 > А2 > А3 > А4 > А5");
}

TEST_F(PathBar, PutsTheTopEntriesIntoTheMenuWhenTheyDoNotFit) {
  start();
  EXPECT_EQ(path("P", 600), "[А1 А2 А3] А4 > А5");
  EXPECT_EQ(button()->popupMode(), QToolButton::MenuButtonPopup);
}

TEST_F(PathBar, IsEmptyAtTheTop) {
  start();
  EXPECT_EQ(path("P", 600), "[А1 А2 А3] А4 > А5");
  EXPECT_EQ(path("А1", 600), "");
}

TEST_F(PathBar, StaysWithoutARow) {
  start();
  const QString before = path("А4", 600);
  tree()->setCurrentIndex(QModelIndex());
  module->ChangeToolBarCfg();
  EXPECT_EQ(module->toolBarCfg->actions().size(), 6);
  EXPECT_EQ(before, "А1 > А2 > А3");
}

TEST_F(PathBar, FollowsTheSelection) {
  start();
  click(find("А5"));
  QStringList texts;
  for (const QAction* action : module->toolBarCfg->actions())
    if (!action->text().isEmpty()) texts += action->text();
  EXPECT_TRUE(texts.contains("А4"));
}

TEST_F(PathBar, EntryLeadsToItsRow) {
  start();
  path("P", 1000);
  for (QAction* action : module->toolBarCfg->actions())
    if (action->text() == "А3") {
      EXPECT_EQ(action->data().toString(), key("А3"));
      action->trigger();
      break;
    }
  settle();
  EXPECT_EQ(tree()->currentIndex().data().toString(), "А3");
}

TEST_F(PathBar, DoesNotGrowWithUse) {
  start();
  path("P", 600);
  settle();
  const int before = module->toolBarCfg->findChildren<QObject*>().size();
  for (int i = 0; i < 5; ++i) path("P", 600);
  settle();
  EXPECT_EQ(module->toolBarCfg->findChildren<QObject*>().size(), before);
}

// ---- what others do above the selected row ----------------------------------------------------------------

class LivePathBar : public TreeEvents {
 protected:
  void SetUp() override {
    start();
    load("КП-1");
    load("КП-2");
    click(row("P Т-1"));
  }
  QString path() {
    QStringList texts;
    for (const QAction* action : module->toolBarCfg->actions())
      if (!action->text().isEmpty()) texts += action->text();
    const auto* button =
        qobject_cast<QToolButton*>(module->toolBarCfg->widgetForAction(module->toolBarCfg->actions().value(0)));
    if (button->menu())
      for (int i = button->menu()->actions().size() - 1; i >= 0; --i)
        texts.prepend(button->menu()->actions()[i]->text());
    return texts.join(" > ");
  }
};

TEST_F(LivePathBar, FollowsTheSelectedRowThatAnotherMoves) {
  EXPECT_EQ(path(), "Подстанция Северная > ОРУ-110 > КП-1");
  other.change("Measurement", key("P Т-1"), {"RemoteUnitKey=" + key("КП-2")});
  commit();
  EXPECT_EQ(current(), "P Т-1");
  EXPECT_EQ(path(), "Подстанция Северная > КП-2");
}

TEST_F(LivePathBar, FollowsTheUnitOfTheSelectedRowToItsNewFolder) {
  other.change("RemoteUnit", key("КП-1"), {"RemoteUnitFolderKey=" + key("Подстанция Южная")});
  commit();
  EXPECT_EQ(current(), "P Т-1");
  EXPECT_EQ(path(), "Подстанция Южная > КП-1");
}

TEST_F(LivePathBar, ShowsTheNewNamesOfWhatStandsAboveTheSelectedRow) {
  other.change("IdentifiedObject", key("КП-1"), {"name_=КП-10"});
  other.change("RemoteUnitFolder", key("ОРУ-110"), {"caption=ОРУ-220"});
  commit();
  EXPECT_EQ(path(), "Подстанция Северная > ОРУ-220 > КП-10");
}

TEST_F(LivePathBar, KeepsItsEntriesWhenNothingAboveTheRowChanges) {
  const QList<QAction*> before = module->toolBarCfg->actions();
  other.change("IdentifiedObject", key("Q Т-1"), {"name_=Q Т-10"});
  commit();
  EXPECT_EQ(module->toolBarCfg->actions(), before);
}

TEST_F(LivePathBar, StaysWhileSeveralRowsAreSelected) {
  click(row("I Т-2"), Qt::ControlModifier);
  const QString before = path();
  other.change("IdentifiedObject", key("КП-2"), {"name_=КП-20"});
  commit();
  EXPECT_EQ(path(), before);
}

}  // namespace
}  // namespace tlm::test
