#include <QScrollBar>
#include <QSplitter>

#include <TlmClient/CStringParams.h>

#include "ModuleWindow.h"

namespace tlm::test {
namespace {

class Layout : public ModuleWindow {
 protected:
  int treeSection(int section) { return tree()->header()->sectionSize(section); }
  int propSection(int section) { return module->ui->tV_Prop->header()->sectionSize(section); }
  void startUnseen() {
    module->ModuleStart();
    // Nothing holds a section wider than it is asked to be.
    tree()->header()->setMinimumSectionSize(0);
    tree()->header()->setStretchLastSection(false);
    module->ui->tV_Prop->header()->setMinimumSectionSize(0);
  }
};

// ---- state text ------------------------------------------------------------------------------------------

using StateText = Layout;

TEST_F(StateText, NamesTheModuleAndTheSplitter) {
  CStringParams params;
  params.setParams(module->GetParamState(), ',');
  QStringList keys;
  params.getKeys(keys);
  EXPECT_EQ(keys, (QStringList{"cpp_mod", "splitter"}));
  EXPECT_EQ(params.getValue("cpp_mod", ""), "libTlmMeas.1");
  EXPECT_EQ(params.getValue("splitter", ""), QString(module->ui->splitter->saveState().toBase64()));
}

TEST_F(StateText, IsNullWithoutALibrary) {
  module->library = nullptr;
  EXPECT_TRUE(module->GetParamState().isNull());
}

TEST_F(StateText, IsTheProfileToo) { EXPECT_EQ(module->GetParamProfile(), module->GetParamState()); }

TEST_F(StateText, BringsTheSplitterBack) {
  module->show();
  settle();
  module->ui->splitter->setSizes({300, 600});
  const QList<int> sizes = module->ui->splitter->sizes();
  const QString state = module->GetParamState();
  module->ui->splitter->setSizes({700, 200});
  ASSERT_NE(module->ui->splitter->sizes(), sizes);
  EXPECT_EQ(module->SetParamState(state), 1);
  EXPECT_EQ(module->ui->splitter->sizes(), sizes);
}

TEST_F(StateText, IgnoresTheCaseOfTheKey) {
  const QString value = module->ui->splitter->saveState().toBase64();
  CStringParams params;
  params.setValue("SPLITTER", value);
  EXPECT_TRUE(module->setStateModule(params.getParams(',')));
}

TEST_F(StateText, WithoutTheSplitterIsRefused) {
  CStringParams params;
  params.setValue("cpp_mod", "libTlmMeas.1");
  EXPECT_FALSE(module->setStateModule(params.getParams(',')));
}

TEST_F(StateText, EmptyOrMalformedLeavesTheSplitterAlone) {
  const QByteArray before = module->ui->splitter->saveState();
  EXPECT_FALSE(module->setStateModule(""));
  EXPECT_FALSE(module->setStateModule("splitter"));
  EXPECT_EQ(module->SetParamState(",,,"), 0);
  EXPECT_EQ(module->ui->splitter->saveState(), before);
}

TEST_F(StateText, WithABadValueIsTakenAndChangesNothing) {
  const QByteArray before = module->ui->splitter->saveState();
  EXPECT_TRUE(module->setStateModule("splitter=nonsense"));
  EXPECT_EQ(module->ui->splitter->saveState(), before);
}

TEST_F(StateText, ProfileAndCommandAreNotTaken) {
  const QByteArray before = module->ui->splitter->saveState();
  EXPECT_EQ(module->SetParamProfile(module->GetParamState()), 0);
  EXPECT_EQ(module->SetParamCommand("open"), 0);
  EXPECT_EQ(module->ui->splitter->saveState(), before);
}

// ---- columns ---------------------------------------------------------------------------------------------

using Columns = Layout;

TEST_F(Columns, ShareTheTreeFiveToOne) {
  startUnseen();
  module->resizeColumns(600, 0);
  EXPECT_EQ(treeSection(0), 480);
  EXPECT_EQ(treeSection(1), 96);
  EXPECT_TRUE(module->columnsResized);
}

TEST_F(Columns, HaveNoMarginInANarrowTree) {
  startUnseen();
  module->resizeColumns(29, 0);
  EXPECT_EQ(treeSection(0), 20);
  EXPECT_EQ(treeSection(1), 4);
}

TEST_F(Columns, HaveAMarginFromThirtyOn) {
  startUnseen();
  module->resizeColumns(30, 0);
  EXPECT_EQ(treeSection(0), 5);
  EXPECT_EQ(treeSection(1), 1);
}

TEST_F(Columns, StayWithoutAWidth) {
  startUnseen();
  module->resizeColumns(600, 0);
  module->columnsResized = false;
  module->resizeColumns(0, 400);
  EXPECT_EQ(treeSection(0), 480);
  EXPECT_FALSE(module->columnsResized);
}

TEST_F(Columns, HalveTheSheet) {
  startUnseen();
  for (const auto& [width, section] : {std::pair{3, 1}, {4, 1}, {400, 199}}) {
    module->resizeColumns(600, width);
    EXPECT_EQ(propSection(0), section) << width;
    EXPECT_EQ(propSection(1), section) << width;
  }
}

TEST_F(Columns, LeaveRoomForTheSheetsScrollBar) {
  startUnseen();
  module->show();
  module->ui->tV_Prop->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
  settle();
  const QScrollBar* bar = module->ui->tV_Prop->verticalScrollBar();
  ASSERT_TRUE(bar->isVisible());
  module->resizeColumns(600, 400);
  EXPECT_EQ(propSection(0), (400 - bar->width()) / 2 - 1);
}

TEST_F(Columns, FollowTheSplitter) {
  startUnseen();
  module->show();
  settle();
  module->ui->splitter->setSizes({500, 400});
  settle();
  module->onSplitterMoved(0, 0);
  EXPECT_EQ(module->treeWidth, tree()->width());
  EXPECT_EQ(module->propWidth, module->ui->tV_Prop->width());
  EXPECT_EQ(treeSection(1), tree()->width() / 6 - 4);
}

TEST_F(Columns, StayWhereTheTreeHasNoWidth) {
  startUnseen();
  module->show();
  settle();
  const int tree0 = module->treeWidth, prop0 = module->propWidth, section0 = treeSection(0);
  ASSERT_NE(tree0, 0);
  tree()->resize(0, tree()->height());
  module->onSplitterMoved(0, 0);
  QResizeEvent resized(module->size(), module->size());
  QApplication::sendEvent(module.get(), &resized);
  EXPECT_EQ(module->treeWidth, tree0);
  EXPECT_EQ(module->propWidth, prop0);
  EXPECT_EQ(treeSection(0), section0);
}

TEST_F(Columns, FollowTheWindow) {
  startUnseen();
  module->show();
  settle();
  module->resize(1400, 700);
  settle();
  EXPECT_EQ(module->treeWidth, tree()->width());
  EXPECT_EQ(treeSection(0), (tree()->width() / 6 - 4) * 5);
}

TEST_F(Columns, FitFromTheFirstLookWhenTheTreeComesLater) {
  start();
  EXPECT_EQ(treeSection(0), (tree()->width() / 6 - 4) * 5);
  EXPECT_EQ(tree()->horizontalScrollBar()->maximum(), 0);
}

TEST_F(Columns, OfTheSheetFollowItsRefilling) {
  startUnseen();
  module->propWidth = 0;
  module->ui->tV_Prop->header()->resizeSection(0, 77);
  module->OnResizePassp();
  EXPECT_EQ(propSection(0), 77);
  module->propWidth = 400;
  module->OnResizePassp();
  EXPECT_EQ(propSection(0), 199);
}

TEST_F(Columns, OfTheSheetAreFittedOnlyLater) {
  startUnseen();
  settle();
  module->propWidth = 300;
  module->ui->tV_Prop->header()->resizeSection(0, 77);
  emit module->resizePassp();
  EXPECT_EQ(propSection(0), 77);
  settle();
  EXPECT_EQ(propSection(0), 149);
}

// ---- pop-ups ---------------------------------------------------------------------------------------------

class DialogPlace : public Layout {
 protected:
  QPointF place(QPointF local, QSizeF dialog, QSize area) {
    return module->calcDialogPos(QPointF(module->mapToGlobal(QPoint(0, 0))) + local, dialog, area);
  }
};

TEST_F(DialogPlace, IsLeftOfThePointWhereThereIsRoom) {
  EXPECT_EQ(place({500, 100}, {200, 100}, {1000, 800}), QPointF(280, 100));
}

TEST_F(DialogPlace, KeepsThePointWhereThereIsNone) {
  EXPECT_EQ(place({220, 100}, {200, 100}, {1000, 800}), QPointF(220, 100));
}

TEST_F(DialogPlace, StaysAboveTheLowerEdge) {
  EXPECT_EQ(place({500, 700}, {200, 100}, {1000, 800}), QPointF(280, 620));
}

TEST_F(DialogPlace, StaysBelowTheUpperEdge) {
  EXPECT_EQ(place({500, 5}, {200, 100}, {1000, 800}), QPointF(280, 30));
  EXPECT_EQ(place({500, 50}, {200, 790}, {1000, 800}), QPointF(280, 30));
}

TEST_F(DialogPlace, RoundsThePointAndCutsTheResult) {
  EXPECT_EQ(place({500.6, 100.4}, {200.5, 100}, {1000, 800}), QPointF(280, 100));
}

}  // namespace
}  // namespace tlm::test
