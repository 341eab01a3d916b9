// Bars, menus and columns as the engineer's hand meets them; the timer; the end of a window.
#include <QContextMenuEvent>
#include <QMenu>
#include <QToolBar>
#include <QToolButton>

#include "ModuleWindow.h"
#include "support/DebugLines.h"

namespace tlm::test {
namespace {

// ---- bars ------------------------------------------------------------------------------------------------

class Bars : public ModuleWindow {
 protected:
  static void rightClick(QWidget* widget) {
    const QPoint at(2, 2);
    QContextMenuEvent event(QContextMenuEvent::Mouse, at, widget->mapToGlobal(at));
    QCoreApplication::sendEvent(widget, &event);
    settle();
  }
};

TEST_F(Bars, PathStartsAsTheFolderButtonAlone) {
  ASSERT_EQ(module->toolBarCfg->actions().size(), 1);
  const auto* button =
      qobject_cast<QToolButton*>(module->toolBarCfg->widgetForAction(module->toolBarCfg->actions()[0]));
  ASSERT_NE(button, nullptr);
  EXPECT_EQ(button->icon().pixmap(16, 16).toImage(), QIcon(":/OpenFolder").pixmap(16, 16).toImage());
  EXPECT_EQ(button->menu(), nullptr);
}

TEST_F(Bars, MainBarCannotBeHiddenByARightClick) {
  start();
  rightClick(module->ui->TlBar);
  EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
  rightClick(module->btnAbout);
  EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
}

TEST_F(Bars, SearchBarLeavesTheColumnsAsTheyWereSet) {
  start();
  tree()->header()->setStretchLastSection(false);
  tree()->header()->resizeSection(0, 123);
  tree()->header()->resizeSection(1, 234);
  const int height = tree()->height();
  module->actFind->trigger();
  settle();
  ASSERT_LT(tree()->height(), height);
  EXPECT_EQ(tree()->header()->sectionSize(0), 123);
  EXPECT_EQ(tree()->header()->sectionSize(1), 234);
}

TEST_F(Bars, ContextMenuOpensAtThePointOfTheView) {
  start();
  const QPoint pos(20, 30);
  emit tree()->customContextMenuRequested(pos);
  settle();
  EXPECT_EQ(module->contextMenu->pos(), tree()->mapToGlobal(pos));
}

class NamesWithAmpersand : public ModuleWindow {
 protected:
  NamesWithAmpersand() : ModuleWindow("folder А&Б\n  unit КП\n") {}
};

TEST_F(NamesWithAmpersand, AreShownWholeInThePath) {
  start();
  click("КП");
  QStringList texts;
  for (const QAction* action : module->toolBarCfg->actions())
    if (!action->text().isEmpty()) texts += action->text();
  EXPECT_EQ(texts, QStringList{"А&&Б"});  // one ampersand on the screen
}

// ---- start -----------------------------------------------------------------------------------------------

class TimerOfHints : public ModuleWindow {
 protected:
  void tick() {
    QTimerEvent event(module->measTimer.timerId());
    QCoreApplication::sendEvent(&module->measTimer, &event);
  }
  // The row of the live value stands on top of the sheet.
  QString live() { return module->ui->tV_Prop->model()->index(0, 1).data().toString(); }
  void showStale() {
    char stale[] = "77";
    module->passport.SetValue(module->passport.currentKey, stale);
    ASSERT_TRUE(live().contains("77")) << live().toStdString();
  }
};

TEST_F(TimerOfHints, BringsTheServersValueToTheSheet) {
  start();
  click("P Т-1");
  const QString before = live();
  showStale();
  tick();
  EXPECT_EQ(live(), before);
}

TEST_F(TimerOfHints, TakesTheValueAwayWhenTheServerDoesNotAnswer) {
  start();
  click("P Т-1");
  showStale();
  app.failures.add("PacketExec ObjectHint", Fail::kStatus);
  tick();
  EXPECT_FALSE(live().contains("77"));
}

TEST_F(TimerOfHints, AsksForTheObjectShown) {
  start();
  click("P Т-1");
  app.log.clear();
  tick();
  EXPECT_EQ(app.log.filter("ObjectHint"), QStringList{"PacketExec ObjectHint " + key("P Т-1")});
}

TEST_F(TimerOfHints, AsksOnceAfterASecondStart) {
  start();
  module->ModuleStart();
  click("P Т-1");
  app.log.clear();
  tick();
  EXPECT_EQ(app.log.filter("ObjectHint").size(), 1);
}

TEST(StartWithoutStructures, SaysSoInTheDebugStream) {
  EmbeddedServer server{kSmallModel};
  TestApp app{*server.core()};
  CTlmMeasConfig module{&app};
  app.failures.add("PacketExec TableStructure Measurement", Fail::kStatus);
  const DebugLines told;
  EXPECT_EQ(module.ModuleStart(), 1);
  EXPECT_TRUE(told.all().contains("ModuleStart(): numfieldRTUKey == -1!!!")) << told.all().join('\n').toStdString();
}

TEST(Slots, NameTheirArguments) {
  const std::pair<const char*, const char*> expected[] = {
      {"ExecAboutProg(bool)", "fl"},
      {"ExecAddActGroup(QAction*)", ""},
      {"ExecActAdd(QString,QString,bool)", "ClassName,KeyLinkRTU,fl_root"},
      {"confirmDelGroup(QAbstractButton*)", "clickedButton"},
      {"ExecActCut(QModelIndex)", "ind"},
      {"ExecActCopy(QModelIndex)", "ind"},
      {"ExecActPaste(QModelIndex,bool)", "indPar,fl_WithAgreg"},
      {"ExecActFind(QModelIndex)", "ind"},
      {"CheckCurrentWight(int,int)", "curWight,count"},
      {"onSignMessage(QString)", "text"},
      {"slotMeasContextMenuRequested(QPoint)", "pos"},
      {"confirmSave(QAbstractButton*)", "clickedButton"},
      {"onSplitterMoved(int,int)", "pos,index"},
      {"confirmMessage(QAbstractButton*)", "clickedButton"},
      {"OnTV_selectionChanged(QItemSelection,QItemSelection)", "selected,deselected"},
      {"OnSetFocusRow(QModelIndex)", "id"},
      {"OnCopyByTemplate_SignOK(QString,QString,int,int,QString)", ",,BegLocId,EndLocId,"},
      {"onSelectValuesVisible(QString,QString,QString,QString,QString)",
       "TablRefName,paramFld,paramTbl,Name,BaseVoltageKey"},
  };
  const QMetaObject& meta = CTlmMeasConfig::staticMetaObject;
  for (const auto& [signature, names] : expected) {
    const int at = meta.indexOfSlot(signature);
    ASSERT_GE(at, 0) << signature;
    EXPECT_EQ(meta.method(at).parameterNames().join(','), names) << signature;
  }
}

// ---- the end ---------------------------------------------------------------------------------------------

class End : public ModuleWindow {};

TEST_F(End, ComesWithAnEditorOpenAndAnEditPending) {
  start();
  click("P Т-1");
  type("Наименование", "Мощность");
  QTreeView* sheet = module->ui->tV_Prop;
  sheet->setCurrentIndex(field("Номер"));
  sheet->edit(field("Номер"));
  ASSERT_NE(qobject_cast<QLineEdit*>(QApplication::focusWidget()), nullptr);
  app.log.clear();
  module.reset();
  settle();
  EXPECT_EQ(app.modules, 0);
  EXPECT_EQ(app.log.filter("SqlUpdate"), QStringList());
}

TEST_F(End, ComesWithTheMenuOpen) {
  start();
  emit tree()->customContextMenuRequested(tree()->visualRect(find("Q-110")).center());
  ASSERT_TRUE(module->contextMenu->isVisible());
  module.reset();
  settle();
  EXPECT_EQ(app.modules, 0);
}

}  // namespace
}  // namespace tlm::test
