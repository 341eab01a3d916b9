// The form, the tool bars' style, the header, the signals of the window.
#include <QClipboard>
#include <QGuiApplication>
#include <QLineEdit>
#include <QMenu>
#include <QSplitter>
#include <QToolButton>

#include "ModuleWindow.h"
#include "popAddAgregData.h"
#include "popCopyByTemlate.h"
#include "popMessageBoxByTemplate.h"

namespace tlm::test {
namespace {

using Window = ModuleWindow;

TEST_F(Window, HasTheFormOfItsTable) {
  const Ui_TlmMeasConfig& ui = *module->ui;
  EXPECT_EQ(module->objectName(), "TlmMeasConfig");
  EXPECT_EQ(module->windowTitle(), "Конфигуратор телеметрии");
  EXPECT_EQ(module->size(), QSize(985, 692));
  EXPECT_EQ(module->sizeIncrement(), QSize(2, 2));
  EXPECT_FALSE(module->acceptDrops());
  EXPECT_EQ(module->centralWidget(), ui.centralwidget);
  EXPECT_EQ(ui.verticalLayout_3->spacing(), 3);
  EXPECT_EQ(ui.verticalLayout_3->contentsMargins(), QMargins(1, 1, 1, 1));
  EXPECT_EQ(ui.splitter->orientation(), Qt::Horizontal);
  EXPECT_EQ(ui.splitter->widget(0), ui.frame);
  EXPECT_EQ(ui.splitter->widget(1), ui.tabWidget_prop);
}

TEST_F(Window, GivesTheTreeFourFifths) {
  const Ui_TlmMeasConfig& ui = *module->ui;
  EXPECT_EQ(ui.frame->sizePolicy().horizontalPolicy(), QSizePolicy::Preferred);
  EXPECT_EQ(ui.frame->sizePolicy().verticalPolicy(), QSizePolicy::Preferred);
  EXPECT_EQ(ui.frame->sizePolicy().horizontalStretch(), 4);
  EXPECT_EQ(ui.tabWidget_prop->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
  EXPECT_EQ(ui.tabWidget_prop->sizePolicy().horizontalStretch(), 1);
  EXPECT_EQ(ui.frame->frameShape(), QFrame::StyledPanel);
  EXPECT_EQ(ui.frame->frameShadow(), QFrame::Raised);
  EXPECT_EQ(ui.verticalLayout_2->spacing(), 0);
  EXPECT_EQ(ui.verticalLayout_2->contentsMargins(), QMargins());
}

TEST_F(Window, SetsUpTheTreeView) {
  const QTreeView* view = tree();
  EXPECT_EQ(view->objectName(), "tV_MeasConfig");
  EXPECT_EQ(view->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
  EXPECT_EQ(view->sizePolicy().verticalPolicy(), QSizePolicy::Expanding);
  EXPECT_EQ(view->font().pointSize(), 8);
  EXPECT_EQ(view->lineWidth(), 0);
  EXPECT_TRUE(view->alternatingRowColors());
  EXPECT_TRUE(view->rootIsDecorated());
  EXPECT_TRUE(view->uniformRowHeights());
  EXPECT_EQ(view->contextMenuPolicy(), Qt::CustomContextMenu);
}

TEST_F(Window, PutsTheSheetInItsTab) {
  const Ui_TlmMeasConfig& ui = *module->ui;
  EXPECT_EQ(ui.tabWidget_prop->currentIndex(), 0);
  EXPECT_EQ(ui.tabWidget_prop->tabText(0), "Свойства");
  EXPECT_EQ(ui.tabWidget_prop->font().pointSize(), 8);
  EXPECT_EQ(ui.verticalLayout->contentsMargins(), QMargins());
  EXPECT_EQ(ui.tV_Prop->font().pointSize(), 8);
  EXPECT_EQ(ui.tV_Prop->header()->defaultSectionSize(), 400);
  EXPECT_FALSE(ui.tV_Prop->header()->stretchLastSection());
}

TEST_F(Window, KeepsItsToolBarInPlace) {
  const QToolBar* bar = module->ui->TlBar;
  EXPECT_EQ(bar->windowTitle(), "toolBar");
  EXPECT_FALSE(bar->isMovable());
  EXPECT_FALSE(bar->isFloatable());
  EXPECT_EQ(module->toolBarArea(module->ui->TlBar), Qt::TopToolBarArea);
}

TEST_F(Window, HasAHeaderThatTakesDrops) {
  QHeaderView* header = module->headerView;
  EXPECT_EQ(tree()->header(), header);
  EXPECT_EQ(header->orientation(), Qt::Horizontal);
  EXPECT_EQ(header->defaultSectionSize(), 600);
  EXPECT_TRUE(header->sectionsClickable());
  EXPECT_TRUE(header->isSortIndicatorShown());
  EXPECT_TRUE(header->acceptDrops());
  EXPECT_TRUE(header->showDropIndicator());
  EXPECT_EQ(header->contextMenuPolicy(), Qt::CustomContextMenu);
}

TEST_F(Window, StandsPathAboveTreeAboveSearch) {
  const QVBoxLayout* layout = module->ui->verticalLayout_2;
  ASSERT_EQ(layout->count(), 3);
  EXPECT_EQ(layout->itemAt(0)->widget(), module->toolBarCfg);
  EXPECT_EQ(layout->itemAt(1)->widget(), tree());
  EXPECT_EQ(layout->itemAt(2)->widget(), module->toolBarFind);
  EXPECT_EQ(module->toolBarCfg->objectName(), "toolBarCfg");
  EXPECT_EQ(module->toolBarFind->objectName(), "toolBarFind");
  EXPECT_EQ(module->toolBarFind->toolButtonStyle(), Qt::ToolButtonIconOnly);
}

TEST_F(Window, GivesItsBarsAPlaceBeforeTheyAreLaidOut) {
  const QRect path = module->toolBarCfg->geometry();
  EXPECT_EQ(path, QRect(0, 1, tree()->width(), 16));
  EXPECT_EQ(module->toolBarFind->geometry(), QRect(tree()->height() + 16 - 24, 1, tree()->width(), 24));
}

TEST_F(Window, StylesThePathBar) {
  EXPECT_EQ(module->toolBarCfg->styleSheet(),
            "QToolBar::separator {image: url(:/BranchClose)}\r\n"
            "QToolBar::separator { width: 4px; min-height: 4px; max-height: 4px }"
            "QToolBar {border-width: 1px; border-style: solid; border-color: grey;}"
            "QToolBar { background-color: white }");
}

TEST_F(Window, ConnectsItsSignals) {
  struct Row {
    QObject* sender;
    const char* signal;
    const char* slot;
  };
  const Row rows[] = {
      {tree(), SIGNAL(customContextMenuRequested(QPoint)), SLOT(slotMeasContextMenuRequested(QPoint))},
      {module->headerView, SIGNAL(customContextMenuRequested(QPoint)), SLOT(slotMeasContextMenuRequested(QPoint))},
      {module->addMenu, SIGNAL(aboutToShow()), SLOT(CheckSetEnabledActions())},
      {tree(), SIGNAL(expanded(QModelIndex)), SLOT(slotExpandedTVMeas(QModelIndex))},
      {tree(), SIGNAL(collapsed(QModelIndex)), SLOT(slotCollapsedTVMeas(QModelIndex))},
      {module->treeModel, SIGNAL(setFocusRow(QModelIndex)), SLOT(OnSetFocusRow(QModelIndex))},
      {&module->passport, SIGNAL(TlmPasspChanged()), SLOT(onPasspChanged())},
      {&module->passport, SIGNAL(TlmPasspMessage(QString)), SLOT(onSignMessage(QString))},
      {&module->passport, SIGNAL(SelectValuesVisible(QString, QString, QString, QString, QString)),
       SLOT(onSelectValuesVisible(QString, QString, QString, QString, QString))},
      {&module->passport, SIGNAL(SelectValuesClosed()), SLOT(onSelectValuesClosed())},
      {module->ui->splitter, SIGNAL(splitterMoved(int, int)), SLOT(onSplitterMoved(int, int))},
      {tree(), SIGNAL(pressed(QModelIndex)), SLOT(OnTV_Clicked(QModelIndex))},
      {module->actSave, SIGNAL(triggered()), SLOT(onActSave_Triggered())},
      {module->actCancel, SIGNAL(triggered()), SLOT(onActCancel_Triggered())},
      {QGuiApplication::clipboard(), SIGNAL(dataChanged()), SLOT(onDataChanged_clipboard())},
      {tree(), SIGNAL(keysModif(Qt::KeyboardModifiers)), SLOT(OnTV_keysModif(Qt::KeyboardModifiers))},
      {module->popAddAgregData, SIGNAL(SignOK(QStringList)), SLOT(OnAddAgregData_SignOK(QStringList))},
      {module->popAddAgregData, SIGNAL(SignOKEmpty()), SLOT(OnAddAgregData_SignOKEmpty())},
      {module->popCopyByTemlate, SIGNAL(SignOK(QString, QString, int, int, QString)),
       SLOT(OnCopyByTemplate_SignOK(QString, QString, int, int, QString))},
      {module->popMessageBoxByTemplate, SIGNAL(SignOK()), SLOT(OnMessageBoxByTemplate_SignOK())},
      {module.get(), SIGNAL(resizePassp()), SLOT(OnResizePassp())},
      {module->lE_Find, SIGNAL(textEdited(QString)), SLOT(onLeFindEdited(QString))},
      {module->lE_Find, SIGNAL(returnPressed()), SLOT(onLeRetPressed())},
  };
  // A connection that can be cut was there; cut once, none is left.
  for (const Row& row : rows) {
    EXPECT_TRUE(QObject::disconnect(row.sender, row.signal, module.get(), row.slot)) << row.signal << row.slot;
    EXPECT_FALSE(QObject::disconnect(row.sender, row.signal, module.get(), row.slot)) << row.signal << row.slot;
  }
}

TEST_F(Window, HandsItsCodecOn) {
  ASSERT_NE(module->moduleCodec, nullptr);
  EXPECT_EQ(module->moduleCodec->name(), "windows-1251");
  EXPECT_EQ(module->treeModel->codec, module->moduleCodec);
  EXPECT_EQ(module->popAddAgregData->moduleCodec, module->moduleCodec);
  EXPECT_EQ(module->popCopyByTemlate->moduleCodec, module->moduleCodec);
  EXPECT_EQ(module->popMessageBoxByTemplate->moduleCodec, module->moduleCodec);
}

TEST_F(Window, StartsWithNothingInHand) {
  EXPECT_EQ(module->numfieldRTUKey, -1);
  EXPECT_EQ(module->foundPos, -1);
  EXPECT_TRUE(module->findFromStart);
  EXPECT_FALSE(module->columnsResized);
  EXPECT_EQ(module->treeWidth, 0);
  EXPECT_EQ(module->propWidth, 0);
  EXPECT_EQ(module->clipCopyCount, 0);
  EXPECT_FALSE(module->templatePasteOn);
  for (const void* made : {static_cast<void*>(module->popManualInput), static_cast<void*>(module->popRemoteControl),
                           static_cast<void*>(module->popDublies), static_cast<void*>(module->linkMenu)})
    EXPECT_EQ(made, nullptr);
}

TEST_F(Window, ShowsTheDialogsNever) {
  module->show();
  settle();
  EXPECT_FALSE(module->popAddAgregData->isVisible());
  EXPECT_FALSE(module->popCopyByTemlate->isVisible());
  EXPECT_FALSE(module->popMessageBoxByTemplate->isVisible());
}

TEST_F(Window, TellsWhatItIs) {
  module->btnAbout->click();
  CPopMessageBox* box = waitingBox();
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(box, module->popMessageBox);
  EXPECT_EQ(box->titleText(), "О программе");
  EXPECT_EQ(box->messageText(), "Модуль \"Измерения\" АРМ Тервин-5\r\nНомер версии  2.1.0.20000\r\n");
  EXPECT_EQ(box->icon(), 4);
  EXPECT_EQ(box->type(), 0);
  answerBox(box, 0);
  EXPECT_FALSE(box->isVisible());
}

TEST_F(Window, KeepsOneMessageBox) {
  module->ExecAboutProg(false);
  CPopMessageBox* first = module->popMessageBox;
  answerBox(first, 0);
  module->ExecAboutProg(false);
  EXPECT_EQ(module->popMessageBox, first);
  answerBox(first, 0);
}

}  // namespace
}  // namespace tlm::test
