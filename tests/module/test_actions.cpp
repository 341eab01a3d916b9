#include <QActionGroup>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QMenu>
#include <QRadioButton>
#include <QToolBar>
#include <QToolButton>

#include "ModuleWindow.h"

namespace tlm::test {
namespace {

using Config = CTlmMeasConfig;

struct ActionCase {
  QAction* Config::*member;
  const char* name;
  const char* text;
  const char* toolTip;
  const char* iconText;  // null: not looked at
  const char* icon;      // empty: none
  const char* shortcut;
  bool enabled;
  const char* slot;              // null: reached through the group
  QActionGroup* Config::*group;  // null: none
};

void PrintTo(const ActionCase& row, std::ostream* out) { *out << row.name; }

class EachAction : public ModuleWindow, public testing::WithParamInterface<ActionCase> {
 protected:
  QAction* action() { return (*module).*GetParam().member; }
};

const ActionCase kActions[] = {
    {&Config::actDel, "Del", "Удалить", "Удалить", nullptr, ":/Del", "", true, SLOT(ExecActDel()), nullptr},
    {&Config::actAgregData, "AgregData", "Агрегированные данные", "Агрегированные данные", nullptr, ":/AgregData", "",
     false, SLOT(ExecActAgregData()), nullptr},
    {&Config::actAddRootFolder, "AddRootFolder", "Корневую папку", "Корневую папку", nullptr, ":/ClosedFolder", "",
     true, nullptr, &Config::addActGroup},
    {&Config::actAddFolder, "AddFolder", "Папку", "Папку", nullptr, ":/ClosedFolder", "", true, nullptr,
     &Config::addActGroup},
    {&Config::actAddAnalog, "AddAnalog", "Аналоговое измерение", "Аналоговое измерение", nullptr, ":/Analog", "", true,
     nullptr, &Config::addActGroup},
    {&Config::actAddDiscrete, "AddDiscrete", "Дискретный сигнал", "Дискретный сигнал", nullptr, ":/Discrete", "", true,
     nullptr, &Config::addActGroup},
    {&Config::actAddString, "AddString", "Строковую величину", "Строковую величину", nullptr, ":/String", "", true,
     nullptr, &Config::addActGroup},
    {&Config::actAddAccumulator, "AddAccumulator", "Счетчик", "Счетчик", nullptr, ":/Accumulator", "", true, nullptr,
     &Config::addActGroup},
    {&Config::actAddRTU, "AddRTU", "Устройство", "Устройство", nullptr, ":/RTU_meas", "", true, nullptr,
     &Config::addActGroup},
    {&Config::actSave, "Save", "Сохранить изменения (CTRL+S)", "Сохранить изменения (CTRL+S)", nullptr, ":/Post",
     "Ctrl+S", false, SLOT(onActSave_Triggered()), nullptr},
    {&Config::actCancel, "Cancel", "Отменить изменения", "Отменить изменения", nullptr, ":/Cancel", "", false,
     SLOT(onActCancel_Triggered()), nullptr},
    {&Config::actCut, "Cut", "Вырезать (CTRL+X)", "Вырезать (CTRL+X)", nullptr, ":/Cut", "Ctrl+X", true, nullptr,
     &Config::editActGroup},
    {&Config::actCopy, "Copy", "Копировать (CTRL+C)", "Копировать (CTRL+C)", nullptr, ":/Copy", "Ctrl+C", true, nullptr,
     &Config::editActGroup},
    {&Config::actPaste, "Paste", "Вставить (CTRL+V)", "Вставить (CTRL+V)", nullptr, ":/Paste", "Ctrl+V", true, nullptr,
     &Config::editActGroup},
    {&Config::actPasteNoAgreg, "PasteNoAgreg", "Вставить без агрегированных данных",
     "Вставить без агрегированных данных", nullptr, "", "", true, nullptr, &Config::editActGroup},
    {&Config::actCopyTemplate, "CopyTemplate", "Копировать по шаблону", "Копировать по шаблону", nullptr,
     ":/Specialpaste", "", true, nullptr, &Config::editActGroup},
    {&Config::actFind, "Find", "Найти...  (CTRL+F)", "Найти...  (CTRL+F)", nullptr, ":/Find", "Ctrl+F", true, nullptr,
     &Config::editActGroup},
    {&Config::actManual, "Manual", "Ручной ввод...", "Ручной ввод...", "Ручной ввод", "", "", false,
     SLOT(OnSetManuslAction()), nullptr},
    {&Config::actDubl, "Dubl", "Дубли...", "Дубли...", "Дубли", "", "", false, SLOT(OnSetDublieslAction()), nullptr},
    {&Config::actRemoteControl, "RemoteControl", "Телеуправление", "Телеуправление", "Дубли", "", "", false,
     SLOT(OnRemoteControl()), nullptr},
    {&Config::actRetro, "Retro", "Показать ретроспективу", "Показать ретроспективу", "Показать ретроспективу", "", "",
     false, SLOT(OnShowRetroAction()), nullptr},
    {&Config::actFindPrev, "FindPrev", "", "Найти предыдущее", nullptr, ":/Prev", "", true, nullptr,
     &Config::findActGroup},
    {&Config::actFindNext, "FindNext", "", "Найти следующее", nullptr, ":/Next", "", true, nullptr,
     &Config::findActGroup},
    {&Config::actFindClose, "FindClose", "", "Закрыть", nullptr, ":/Close", "", true, SLOT(ExecFindClose()), nullptr},
};

INSTANTIATE_TEST_SUITE_P(Module, EachAction, testing::ValuesIn(kActions),
                         [](const auto& each) { return std::string(each.param.name); });

QImage pixels(const QIcon& icon) { return icon.pixmap(16, 16).toImage(); }

TEST_P(EachAction, HasItsTexts) {
  const ActionCase& row = GetParam();
  EXPECT_EQ(action()->text(), QString::fromUtf8(row.text));
  EXPECT_EQ(action()->toolTip(), QString::fromUtf8(row.toolTip));
  if (row.iconText) {
    EXPECT_EQ(action()->iconText(), QString::fromUtf8(row.iconText));
  }
}

TEST_P(EachAction, HasItsIcon) {
  const QString path = GetParam().icon;
  EXPECT_EQ(action()->icon().isNull(), path.isEmpty());
  if (path.isEmpty()) return;
  ASSERT_FALSE(QImage(path).isNull()) << path.toStdString();
  EXPECT_EQ(pixels(action()->icon()), pixels(QIcon(path)));
}

TEST_P(EachAction, HasItsShortcutAndState) {
  EXPECT_EQ(action()->shortcut(), QKeySequence(GetParam().shortcut));
  EXPECT_EQ(action()->isEnabled(), GetParam().enabled);
  EXPECT_FALSE(action()->isCheckable());
}

TEST_P(EachAction, GoesWhereItShould) {
  const ActionCase& row = GetParam();
  EXPECT_EQ(action()->actionGroup(), row.group ? (*module).*row.group : nullptr);
  // A connection that can be cut was there.
  if (row.slot) {
    EXPECT_TRUE(QObject::disconnect(action(), SIGNAL(triggered()), module.get(), row.slot));
  }
}

class Actions : public ModuleWindow {
 protected:
  // "-" for a separator, "[title]" for a submenu, "<tip>" for a button, "*" for any other widget.
  QStringList entries(QWidget* bar) {
    QStringList texts;
    for (QAction* action : bar->actions()) texts += entry(bar, action);
    return texts;
  }
  static QString entry(QWidget* bar, QAction* action) {
    if (action->isSeparator()) return "-";
    if (action->menu()) return "[" + action->menu()->title() + "]";
    const auto* toolBar = qobject_cast<QToolBar*>(bar);
    QWidget* widget = toolBar ? toolBar->widgetForAction(action) : nullptr;
    if (!widget || action->property("text").toString() == action->text()) {
      if (!action->text().isEmpty()) return action->text();
    }
    if (widget && !widget->toolTip().isEmpty()) return "<" + widget->toolTip() + ">";
    return widget && !widget->objectName().isEmpty() ? widget->objectName() : QString("*");
  }
};

TEST_F(Actions, GroupsSendTheirActionsOn) {
  EXPECT_TRUE(QObject::disconnect(module->addActGroup, SIGNAL(triggered(QAction*)), module.get(),
                                  SLOT(ExecAddActGroup(QAction*))));
  EXPECT_TRUE(QObject::disconnect(module->editActGroup, SIGNAL(triggered(QAction*)), module.get(),
                                  SLOT(ExecEditActGroup(QAction*))));
  EXPECT_TRUE(QObject::disconnect(module->findActGroup, SIGNAL(triggered(QAction*)), module.get(),
                                  SLOT(ExecFindActGroup(QAction*))));
}

TEST_F(Actions, AddMenuHoldsTheAddActionsInOrder) {
  EXPECT_EQ(module->addMenu->title(), "Добавить");
  EXPECT_EQ(entries(module->addMenu), (QStringList{"Корневую папку", "Папку", "-", "Устройство", "Аналоговое измерение",
                                                   "Дискретный сигнал", "Счетчик", "Строковую величину"}));
}

TEST_F(Actions, PasteMenuHoldsBothWaysOfPasting) {
  EXPECT_EQ(module->pasteMenu->title(), "Вставить");
  EXPECT_EQ(entries(module->pasteMenu), (QStringList{"Вставить (CTRL+V)", "Вставить без агрегированных данных"}));
}

TEST_F(Actions, ContextMenuHoldsEverythingInOrder) {
  EXPECT_EQ(entries(module->contextMenu),
            (QStringList{"[Добавить]", "Удалить", "Агрегированные данные", "-", "Сохранить изменения (CTRL+S)",
                         "Отменить изменения", "-", "Вырезать (CTRL+X)", "Копировать (CTRL+C)", "[Вставить]",
                         "Копировать по шаблону", "-", "Найти...  (CTRL+F)", "-", "Ручной ввод...", "Дубли...",
                         "Телеуправление", "Показать ретроспективу"}));
}

TEST_F(Actions, ToolBarShowsIconsInOrder) {
  EXPECT_EQ(module->ui->TlBar->toolButtonStyle(), Qt::ToolButtonIconOnly);
  EXPECT_EQ(
      entries(module->ui->TlBar),
      (QStringList{"-", "-", "<Добавить>", "Удалить", "Агрегированные данные", "-", "Сохранить изменения (CTRL+S)",
                   "Отменить изменения", "-", "Вырезать (CTRL+X)", "Копировать (CTRL+C)", "<Вставить (CTRL+V)>",
                   "Копировать по шаблону", "Найти...  (CTRL+F)", "*", "<О программе>"}));
}

TEST_F(Actions, LastPartsOfTheBarsStandAtTheirEnd) {
  for (QToolBar* bar : {static_cast<QToolBar*>(module->ui->TlBar), module->toolBarFind}) {
    int spacers = 0;
    for (QAction* action : bar->actions()) {
      const QWidget* part = bar->widgetForAction(action);
      if (!part || qstrcmp(part->metaObject()->className(), "QWidget") != 0) continue;
      EXPECT_EQ(part->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding) << bar->objectName().toStdString();
      ++spacers;
    }
    EXPECT_EQ(spacers, 1) << bar->objectName().toStdString();
  }
}

TEST_F(Actions, ButtonsHaveTheirIconsAndMenus) {
  EXPECT_EQ(module->btnAdd->menu(), module->addMenu);
  EXPECT_EQ(module->btnAdd->popupMode(), QToolButton::MenuButtonPopup);
  EXPECT_TRUE(module->btnAdd->isEnabled());
  EXPECT_EQ(pixels(module->btnAdd->icon()), pixels(QIcon(":/Add")));
  EXPECT_EQ(module->btnPaste->menu(), module->pasteMenu);
  EXPECT_EQ(module->btnPaste->popupMode(), QToolButton::MenuButtonPopup);
  EXPECT_FALSE(module->btnPaste->isEnabled());
  EXPECT_EQ(module->btnPaste->shortcut(), QKeySequence("Ctrl+V"));
  EXPECT_EQ(pixels(module->btnPaste->icon()), pixels(QIcon(":/Paste")));
  EXPECT_EQ(pixels(module->btnAbout->icon()), pixels(QIcon(":/Info")));
}

TEST_F(Actions, SearchBarHoldsItsParts) {
  const QStringList names = entries(module->toolBarFind);
  EXPECT_EQ(names, (QStringList{"lE_Find", "<Найти предыдущее>", "<Найти следующее>", "groupBox", "*", "<Закрыть>"}));
  EXPECT_EQ(module->lE_Find->minimumSize(), QSize(250, 0));
  EXPECT_EQ(module->lE_Find->maximumSize(), QSize(250, 16777215));
  EXPECT_EQ(module->horizontalLayout->spacing(), 1);
  EXPECT_EQ(module->horizontalLayout->contentsMargins(), QMargins());
  EXPECT_TRUE(module->toolBarFind->isHidden());
}

TEST_F(Actions, SearchModesStandBesideEachOther) {
  QStringList texts;
  for (int i = 0; i < module->horizontalLayout->count(); ++i) {
    const auto* radio = qobject_cast<QRadioButton*>(module->horizontalLayout->itemAt(i)->widget());
    texts += radio->objectName() + " " + radio->text() + (radio->isChecked() ? " x" : "");
  }
  EXPECT_EQ(texts, (QStringList{"radioButton_Name Поиск по наименованию x",
                                "radioButton_KeyLink Поиск по идентификатору", "radioButton_LocID Поиск по номеру"}));
}

TEST_F(Actions, FindShowsTheBarForARowAndCloseHidesIt) {
  start();
  module->ExecActFind(QModelIndex());
  EXPECT_TRUE(module->toolBarFind->isHidden());
  module->actFind->trigger();
  EXPECT_FALSE(module->toolBarFind->isHidden());
  module->actFindClose->trigger();
  EXPECT_TRUE(module->toolBarFind->isHidden());
}

TEST_F(Actions, EditedLeavesOnlySaveAndCancel) {
  module->SaveCancelEnable(true);
  for (QAction* on : {module->actSave, module->actCancel}) EXPECT_TRUE(on->isEnabled());
  for (QAction* off : {module->actDel, module->actCut, module->actCopy, module->actFind})
    EXPECT_FALSE(off->isEnabled()) << off->text().toStdString();
  EXPECT_FALSE(module->btnAdd->isEnabled());
  EXPECT_FALSE(module->addMenu->isEnabled());
  EXPECT_TRUE(app.edited);
}

TEST_F(Actions, NotEditedTurnsEverythingOnAgain) {
  module->SaveCancelEnable(true);
  module->SaveCancelEnable(false);
  for (QAction* off : {module->actSave, module->actCancel}) EXPECT_FALSE(off->isEnabled());
  for (QAction* on : {module->actDel, module->actCut, module->actCopy, module->actFind})
    EXPECT_TRUE(on->isEnabled()) << on->text().toStdString();
  EXPECT_TRUE(module->btnAdd->isEnabled());
  EXPECT_TRUE(module->addMenu->isEnabled());
  EXPECT_EQ(app.edits, (QStringList{"true", "false"}));
}

TEST_F(Actions, VisibilityOfAGroupIsSetAtOnce) {
  module->SetVisibleAddActGroup(module->addActGroup, false);
  for (QAction* action : module->addActGroup->actions()) EXPECT_FALSE(action->isVisible());
  module->SetVisibleAddActGroup(module->addActGroup, true);
  for (QAction* action : module->addActGroup->actions()) EXPECT_TRUE(action->isVisible());
}

TEST_F(Actions, OneControlAloneListensForPaste) {
  start();
  module->btnPaste->setEnabled(true);
  int pasted = 0;
  QObject::connect(module->actPaste, &QAction::triggered, [&] { ++pasted; });
  module->activateWindow();
  tree()->setFocus();
  QTest::keyClick(tree(), Qt::Key_V, Qt::ControlModifier);
  EXPECT_TRUE(processUntil([&] { return pasted > 0; }));
  settle();
  EXPECT_EQ(pasted, 1);
}

// The slots and their order are what hosts and tools see of the class.
TEST(MetaObject, ListsTheSignalAndTheSlotsInOrder) {
  const char* const kSlots[] = {"ExecAboutProg(bool)",
                                "ExecAddActGroup(QAction*)",
                                "ExecActAdd(QString,QString,bool)",
                                "ExecActDel()",
                                "confirmDelGroup(QAbstractButton*)",
                                "ExecActAgregData()",
                                "ExecEditActGroup(QAction*)",
                                "ExecActCut(QModelIndex)",
                                "ExecActCopy(QModelIndex)",
                                "ExecActPaste(QModelIndex,bool)",
                                "ExecActCopyTemplate()",
                                "ExecActFind(QModelIndex)",
                                "ExecFindActGroup(QAction*)",
                                "ExecFindClose()",
                                "ChangeToolBarCfg()",
                                "CheckCurrentWight(int,int)",
                                "onPasspChanged()",
                                "onSignMessage(QString)",
                                "CheckSetEnabledActions()",
                                "slotMeasContextMenuRequested(QPoint)",
                                "confirmSave(QAbstractButton*)",
                                "onActSave_Triggered()",
                                "onActCancel_Triggered()",
                                "OnSetManuslAction()",
                                "OnSetDublieslAction()",
                                "OnRemoteControl()",
                                "slot_CliWidgetClosed(QWidget*,int)",
                                "OnShowRetroAction()",
                                "OnLinksAction()",
                                "onSplitterMoved(int,int)",
                                "onDataChanged_clipboard()",
                                "OnTV_keysModif(Qt::KeyboardModifiers)",
                                "confirmMessage(QAbstractButton*)",
                                "OnTV_Clicked(QModelIndex)",
                                "OnTV_selectionChanged(QItemSelection,QItemSelection)",
                                "slotExpandedTVMeas(QModelIndex)",
                                "slotCollapsedTVMeas(QModelIndex)",
                                "OnSetFocusRow(QModelIndex)",
                                "OnAddAgregData_SignOKEmpty()",
                                "OnAddAgregData_SignOK(QStringList)",
                                "OnCopyByTemplate_SignOK(QString,QString,int,int,QString)",
                                "OnMessageBoxByTemplate_SignOK()",
                                "OnResizePassp()",
                                "ExecTlBarCfgAction()",
                                "onLeFindEdited(QString)",
                                "onLeRetPressed()",
                                "onTimerMeasEvent()",
                                "onSelectValuesVisible(QString,QString,QString,QString,QString)",
                                "onSelectValuesClosed()"};
  const QMetaObject& meta = CTlmMeasConfig::staticMetaObject;
  QStringList found;
  QStringList expected{"resizePassp()"};
  for (const char* each : kSlots) expected += each;
  for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) found += meta.method(i).methodSignature();
  EXPECT_EQ(found, expected);
}

}  // namespace
}  // namespace tlm::test
