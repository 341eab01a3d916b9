// New objects: from the menu to the server, or back.
#include <QMenu>
#include <QToolButton>

#include <TlmServer/ModelTables.h>

#include "Colleague.h"

namespace tlm::test {
namespace {

constexpr char kModel[] = R"(folder Подстанция Северная
  folder ОРУ-110
    unit КП-1
      analog 1 P Т-1
      analog 2 Q Т-1
      discrete 4 Q-110
    unit КП-2 {prefName=1}
      analog 6 I Т-2
folder Подстанция Южная
unit КП-3
analog 8 Без устройства
table ServerGroups Группа 1 {number=1}
)";

class Adding : public ModuleWindow {
 protected:
  explicit Adding(const char* model = kModel) : ModuleWindow(model) {}

  void start() {
    ModuleWindow::start();
    module->activateWindow();
    for (const char* folder : {"Подстанция Северная", "ОРУ-110"}) tree()->expand(row(folder));
  }
  QModelIndex row(const char* name) { return module->treeModel->findByKey(key(name)); }
  QModelIndex current() { return tree()->currentIndex(); }
  QString currentName() { return current().data().toString(); }
  QString text() { return treeText(*module->treeModel); }

  // Opens the menu by its button and clicks one of its actions.
  void pick(QAction* action) {
    QTest::mouseClick(module->btnAdd, Qt::LeftButton, Qt::NoModifier, module->btnAdd->rect().center());
    settle();
    ASSERT_TRUE(module->addMenu->isVisible());
    ASSERT_TRUE(action->isVisible()) << action->text().toStdString();
    QTest::mouseClick(module->addMenu, Qt::LeftButton, Qt::NoModifier,
                      module->addMenu->actionGeometry(action).center());
    settle();
  }
  void save() {
    QTest::keyClick(tree(), Qt::Key_S, Qt::ControlModifier);
    settle();
    ASSERT_TRUE(eventsAreIn());
  }
  void cancel() {
    QToolBar* bar = module->ui->TlBar;
    QTest::mouseClick(bar->widgetForAction(module->actCancel), Qt::LeftButton);
    settle();
  }
  QStringList writes() { return app.log.filter(QRegularExpression("^(BlockBeg|SqlUpdate|BlockEnd)")); }

  // The tables of the server that hold a key.
  QStringList tablesWith(const QString& objectKey) {
    QStringList names;
    const QByteArray bytes = objectKey.toLatin1();
    const MDRVar value = textVar(bytes);
    server.core()->read([&](const server::ModelTables& tables) {
      for (const char* name : {"IdentifiedObject", "Measurement", "Analog", "Discrete", "Accumulator",
                               "StringMeasurement", "RemoteUnit", "RemoteUnitFolder"})
        if (MDARecSeekV(tables.table(name), 0, &value, nullptr)) names += name;
    });
    return names;
  }
  struct Counts {
    int measurements, units, folders, loaded;
    bool operator==(const Counts&) const = default;
  };
  Counts counts() {
    return {MDARecCount(module->measRecords.array), MDARecCount(module->tblRemoteUnit.array),
            MDARecCount(module->tblRemoteUnitFolder.array), module->loadedRemoteUnits.size()};
  }
  // Chooses the first group of the list with the arrow keys.
  void chooseServerGroup() {
    const QModelIndex cell = field("Серверная группа");
    ASSERT_TRUE(cell.isValid());
    module->activateWindow();
    module->ui->tV_Prop->setFocus();
    module->ui->tV_Prop->setCurrentIndex(cell);
    module->ui->tV_Prop->edit(cell);
    QWidget* editor = QApplication::focusWidget();
    QTest::keyClick(editor, Qt::Key_Home);
    QTest::keyClick(editor, Qt::Key_Down);
    QTest::keyClick(editor, Qt::Key_Enter);
    settle();
    tree()->setFocus();
  }
  void expectBox(const char* title, const char* message) {
    CPopMessageBox* box = waitingBox();
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->titleText(), title);
    EXPECT_EQ(box->messageText(), message);
    answerBox(box, 0);
  }
  // A field of the row that the current node points at: its text or number, with "*" behind it when it is marked.
  QString cell(const char* name) {
    const myConfNode* node = nodeOf(current());
    const MDRField* field = MDRFldByName(node->table->array, name);
    MDRVar value{};
    MDRGetVal(field, node->record, &value);
    QString shown = "null";
    if (hasValue(value))
      shown = isText(value) ? decodeVar(value, module->moduleCodec) : QString::number(asInteger(value));
    return MDRIsUser(field, node->record, nullptr) == 1 ? shown + '*' : shown;
  }
};

// ---- each action -----------------------------------------------------------------------------------------

struct AddCase {
  const char* name;
  QAction* CTlmMeasConfig::*action;
  const char* at;  // the current row
  const char* parent;
  int place;  // among its siblings
  const char* shown;
  const char* number;
  QStringList tables;
};

void PrintTo(const AddCase& each, std::ostream* out) { *out << each.name; }

class AddActions : public Adding, public testing::WithParamInterface<AddCase> {};

TEST_P(AddActions, MakeTheObjectWhereItBelongs) {
  const AddCase& each = GetParam();
  start();
  const QString before = text();
  if (*each.at)
    click(each.at);
  else
    tree()->setCurrentIndex(QModelIndex());
  app.log.clear();
  pick(module.get()->*each.action);

  EXPECT_EQ(currentName(), each.shown);
  EXPECT_EQ(current().parent().data().toString(), each.parent);
  EXPECT_EQ(current().row(), each.place);
  EXPECT_EQ(numberOf(current()), each.number);
  EXPECT_EQ(tree()->selectionModel()->selectedIndexes(), QModelIndexList{current()});
  const QString newKey = keyOf(current());
  EXPECT_EQ(newKey.size(), 32);
  EXPECT_EQ(module->passport.currentKey, newKey);
  EXPECT_EQ(MDRGetFlags(nodeOf(current())->record), MDX_REC_INSERT);

  EXPECT_TRUE(module->newObjectInPassport);
  EXPECT_TRUE(module->actSave->isEnabled() && module->actCancel->isEnabled());
  EXPECT_FALSE(module->btnAdd->isEnabled() || module->actDel->isEnabled() || module->actAgregData->isEnabled());
  EXPECT_TRUE(app.edited);
  EXPECT_EQ(tablesWith(newKey), QStringList());
  EXPECT_EQ(writes(), QStringList());
}

TEST_P(AddActions, ReachTheServerOnSaveAlone) {
  const AddCase& each = GetParam();
  start();
  if (*each.at)
    click(each.at);
  else
    tree()->setCurrentIndex(QModelIndex());
  pick(module.get()->*each.action);
  const QString newKey = keyOf(current());
  if (each.action == &CTlmMeasConfig::actAddRTU) {
    save();
    expectBox("Ошибка", "Не заполнена серверная группа");
    EXPECT_EQ(tablesWith(newKey), QStringList());
    chooseServerGroup();
  }
  const QString shown = text();
  save();
  EXPECT_EQ(waitingBox(), nullptr);
  EXPECT_EQ(tablesWith(newKey), each.tables);
  EXPECT_EQ(text(), shown);
  EXPECT_EQ(keyOf(current()), newKey);
  EXPECT_FALSE(module->newObjectInPassport);
  EXPECT_FALSE(module->actSave->isEnabled());
  EXPECT_FALSE(app.edited);
}

TEST_P(AddActions, LeaveNoTraceWhenCancelled) {
  const AddCase& each = GetParam();
  start();
  if (*each.at)
    click(each.at);
  else
    tree()->setCurrentIndex(QModelIndex());
  if (*each.at && isRemoteUnit(current())) {
    module->AddMeasForRTU(current(), QString(), false, QString());
    module->treeModel->SortChildren(nodeOf(current()), 0, Qt::AscendingOrder, false);
  }
  const QString before = text();
  const Counts held = counts();
  app.log.clear();
  pick(module.get()->*each.action);
  const QString newKey = keyOf(current());
  cancel();
  EXPECT_EQ(text(), before);
  EXPECT_EQ(counts(), held);
  EXPECT_FALSE(module->loadedRemoteUnits.contains(newKey));
  EXPECT_FALSE(module->newObjectInPassport);
  EXPECT_FALSE(module->actSave->isEnabled());
  EXPECT_TRUE(module->btnAdd->isEnabled());
  EXPECT_FALSE(app.edited);
  EXPECT_EQ(writes(), QStringList());
  EXPECT_EQ(tablesWith(newKey), QStringList());
  EXPECT_EQ(tree()->selectionModel()->selectedIndexes(),
            current().isValid() ? QModelIndexList{current()} : QModelIndexList());
}

const QStringList kUnit{"IdentifiedObject", "RemoteUnit"};
const QStringList kFolder{"RemoteUnitFolder"};

QStringList measurement(const char* table) { return {"IdentifiedObject", "Measurement", table}; }

const AddCase kCases[] = {
    {"RootFolder", &CTlmMeasConfig::actAddRootFolder, "ОРУ-110", "", 0, "Новая папка", "", kFolder},
    {"RootFolderFromNoRow", &CTlmMeasConfig::actAddRootFolder, "", "", 0, "Новая папка", "", kFolder},
    {"Folder", &CTlmMeasConfig::actAddFolder, "Подстанция Северная", "Подстанция Северная", 0, "Новая папка", "",
     kFolder},
    {"Unit", &CTlmMeasConfig::actAddRTU, "Подстанция Северная", "Подстанция Северная", 1, "Новое устройство", "",
     kUnit},
    {"UnitFromNoRow", &CTlmMeasConfig::actAddRTU, "", "", 0, "Новое устройство", "", kUnit},
    {"AnalogInAUnit", &CTlmMeasConfig::actAddAnalog, "КП-1", "Аналоговые измерения", 2, "Новое аналоговое измерение",
     "3", measurement("Analog")},
    {"AnalogBesideAnother", &CTlmMeasConfig::actAddAnalog, "P Т-1", "Аналоговые измерения", 2,
     "Новое аналоговое измерение", "3", measurement("Analog")},
    {"Discrete", &CTlmMeasConfig::actAddDiscrete, "КП-1", "Дискретные сигналы", 1, "Новый дискретный сигнал", "3",
     measurement("Discrete")},
    {"Text", &CTlmMeasConfig::actAddString, "КП-1", "Строковые величины", 0, "Новая строковая величина", "3",
     measurement("StringMeasurement")},
    {"Accumulator", &CTlmMeasConfig::actAddAccumulator, "КП-1", "Счетчики", 0, "Новый счетчик", "3",
     measurement("Accumulator")},
};

INSTANTIATE_TEST_SUITE_P(Module, AddActions, testing::ValuesIn(kCases),
                         [](const auto& each) { return std::string(each.param.name); });

// ---- the menus -------------------------------------------------------------------------------------------

TEST_F(Adding, IsOfferedByTheContextMenuToo) {
  start();
  click("КП-1");
  const QRect rect = tree()->visualRect(row("КП-1"));
  QContextMenuEvent request(QContextMenuEvent::Mouse, rect.center(), tree()->viewport()->mapToGlobal(rect.center()));
  QApplication::sendEvent(tree()->viewport(), &request);
  settle();
  ASSERT_TRUE(module->contextMenu->isVisible());
  QAction* submenu = module->addMenu->menuAction();
  ASSERT_TRUE(module->contextMenu->actions().contains(submenu));
  QTest::mouseClick(module->contextMenu, Qt::LeftButton, Qt::NoModifier,
                    module->contextMenu->actionGeometry(submenu).center());
  ASSERT_TRUE(processUntil([&] { return module->addMenu->isVisible(); }));
  QTest::mouseClick(module->addMenu, Qt::LeftButton, Qt::NoModifier,
                    module->addMenu->actionGeometry(module->actAddDiscrete).center());
  settle();
  EXPECT_EQ(currentName(), "Новый дискретный сигнал");
}

TEST_F(Adding, IsChosenWithTheKeysOfTheMenu) {
  start();
  click("ОРУ-110");
  QTest::mouseClick(module->btnAdd, Qt::LeftButton);
  settle();
  QTest::keyClick(module->addMenu, Qt::Key_Down);  // the root folder
  QTest::keyClick(module->addMenu, Qt::Key_Down);
  QTest::keyClick(module->addMenu, Qt::Key_Return);
  settle();
  EXPECT_EQ(currentName(), "Новая папка");
  EXPECT_EQ(current().parent(), row("ОРУ-110"));
}

TEST_F(Adding, ActionsOfAnotherGroupAddNothing) {
  start();
  click("КП-1");
  const QString before = text();
  module->ExecAddActGroup(module->actCut);
  EXPECT_EQ(text(), before);
  EXPECT_FALSE(module->newObjectInPassport);
}

// ---- what the row holds ----------------------------------------------------------------------------------

TEST_F(Adding, MeasurementHoldsKeyClassNameNumberAndUnitAllMarked) {
  start();
  click("КП-1");
  pick(module->actAddDiscrete);
  EXPECT_EQ(cell("KeyLink"), keyOf(current()) + '*');
  EXPECT_EQ(cell("ClassName"), "Discrete*");
  EXPECT_EQ(cell("name_"), "Новый дискретный сигнал*");
  EXPECT_EQ(cell("locId"), "3*");
  EXPECT_EQ(cell("RemoteUnitKey"), key("КП-1") + '*');
  EXPECT_EQ(cell("primaryLocId"), "null");
}

TEST_F(Adding, UnitHoldsItsFolder) {
  start();
  click("ОРУ-110");
  pick(module->actAddRTU);
  EXPECT_EQ(cell("ClassName"), "RemoteUnit*");
  EXPECT_EQ(cell("name_"), "Новое устройство*");
  EXPECT_EQ(cell("RemoteUnitFolderKey"), key("ОРУ-110") + '*');
  EXPECT_TRUE(nodeOf(current())->isLoaded);
  EXPECT_TRUE(module->loadedRemoteUnits.contains(keyOf(current())));
}

TEST_F(Adding, FolderHoldsItsParentAndARootFolderNone) {
  start();
  click("ОРУ-110");
  pick(module->actAddFolder);
  EXPECT_EQ(cell("caption"), "Новая папка*");
  EXPECT_EQ(cell("ParentKey"), key("ОРУ-110") + '*');
  cancel();
  click("ОРУ-110");
  pick(module->actAddRootFolder);
  EXPECT_EQ(cell("caption"), "Новая папка*");
  EXPECT_EQ(cell("ParentKey"), "null");
}

TEST_F(Adding, FillsTheHolesOfTheNumbers) {
  start();
  for (const char* number : {"3", "5", "7"}) {
    click("КП-1");
    pick(module->actAddAnalog);
    ASSERT_EQ(numberOf(current()), number);
    save();
  }
  click("КП-1");
  pick(module->actAddAnalog);
  EXPECT_EQ(numberOf(current()), "0");
}

TEST_F(Adding, NameBeginsWithThePrefixOfItsUnit) {
  start();
  click("КП-2");
  pick(module->actAddAnalog);
  EXPECT_EQ(currentName(), "КП-2-Новое аналоговое измерение");
}

TEST_F(Adding, WithoutAFreeNumberItStaysZeroAndSaveRefusesIt) {
  start();
  click("КП-1");
  module->AddMeasForRTU(current(), QString(), false, QString());
  app.failures.add("CalcExec", Fail::kStatus);
  pick(module->actAddAnalog);
  app.failures.clear();
  EXPECT_EQ(numberOf(current()), "0");
  save();
  expectBox("Ошибка", "Номер измерения не может быть равен 0");
  EXPECT_EQ(tablesWith(keyOf(current())), QStringList());
}

// ---- where -----------------------------------------------------------------------------------------------

TEST_F(Adding, UnitThatWasNeverOpenedIsFetchedFirst) {
  start();
  click("КП-1");
  ASSERT_EQ(module->treeModel->rowCount(row("КП-1")), 0);
  pick(module->actAddAnalog);
  EXPECT_EQ(treeText(*module->treeModel, row("КП-1")), picture(R"(
      Аналоговые измерения
        1 P Т-1
        2 Q Т-1
        3 Новое аналоговое измерение
      Дискретные сигналы
        4 Q-110
  )"));
}

TEST_F(Adding, AggregatedDataIsNotOfferedForANewObject) {
  start();
  module->classesEnabledAgreg = QStringList{"Analog"};
  click("P Т-1");
  ASSERT_TRUE(module->actAgregData->isEnabled());
  pick(module->actAddAnalog);
  EXPECT_FALSE(module->actAgregData->isEnabled());
  cancel();
}

TEST_F(Adding, AggregatedDataIsOfferedForTheRowThatTookNone) {
  start();
  module->classesEnabledAgreg = QStringList{"Analog"};
  click("P Т-1");
  module->actAgregData->setEnabled(false);
  module->ExecActAdd("Discrete", key("КП-1"), false);
  EXPECT_EQ(currentName(), "P Т-1");
  EXPECT_TRUE(module->actAgregData->isEnabled());
}

TEST_F(Adding, NewObjectHasItsPathAboveTheTree) {
  start();
  click("КП-1");
  EXPECT_EQ(pathTexts(), QStringList({"Подстанция Северная", "ОРУ-110"}));
  pick(module->actAddAnalog);
  EXPECT_EQ(pathTexts(), QStringList({"Подстанция Северная", "ОРУ-110", "КП-1"}));
  cancel();
  EXPECT_EQ(currentName(), "Q Т-1");
  EXPECT_EQ(pathTexts(), QStringList({"Подстанция Северная", "ОРУ-110", "КП-1"}));
}

TEST_F(Adding, WorksFromTheColumnOfTheNumbers) {
  start();
  click(row("КП-1").sibling(row("КП-1").row(), 1));
  ASSERT_EQ(current().column(), 1);
  pick(module->actAddString);
  EXPECT_EQ(currentName(), "Новая строковая величина");
  EXPECT_EQ(current().parent().parent(), row("КП-1"));
}

TEST_F(Adding, MeasurementBesideOneWithoutAUnitHasNone) {
  start();
  click("Без устройства");
  pick(module->actAddAnalog);
  EXPECT_EQ(cell("RemoteUnitKey"), "null");
  EXPECT_EQ(current().parent(), row("Без устройства").parent());
  save();
  EXPECT_EQ(tablesWith(keyOf(current())), measurement("Analog"));
}

TEST_F(Adding, PlaceThatTakesNoneChangesNothing) {
  start();
  click("КП-1");
  const QString before = text();
  const Counts held = counts();
  tree()->setCurrentIndex(module->treeModel->defaultUnit());
  app.edits.clear();
  module->ExecActAdd("Analog", QString(), false);
  EXPECT_EQ(text(), before);
  EXPECT_EQ(counts(), held);
  EXPECT_FALSE(module->newObjectInPassport);
  EXPECT_FALSE(module->actSave->isEnabled());
  EXPECT_EQ(app.edits, QStringList());
  EXPECT_EQ(waitingBox(), nullptr);
}

// ---- pending edits ---------------------------------------------------------------------------------------

TEST_F(Adding, SavesAPendingEditFirst) {
  start();
  click("P Т-1");
  type("Наименование", "P новое");
  app.log.clear();
  module->ExecActAdd("Analog", key("КП-1"), false);
  const auto saved = app.log.indexOf(QRegularExpression("BlockEnd.*")),
             asked = app.log.indexOf(QRegularExpression("CalcExec.*"));
  EXPECT_GE(saved, 0);
  EXPECT_LT(saved, asked) << "before the new object asks for its number";
  settle();
  ASSERT_TRUE(eventsAreIn());
  EXPECT_EQ(shownName("P Т-1"), "P новое");
  EXPECT_FALSE(module->passportEdited);
  EXPECT_TRUE(module->newObjectInPassport);
}

TEST_F(Adding, EditThatIsRefusedKeepsSelectionAndPathBesideTheNewObject) {
  start();
  click("P Т-1");
  type("Наименование", "");
  module->ExecActAdd("Analog", key("КП-1"), false);
  settle();
  EXPECT_TRUE(text().contains("Новое аналоговое измерение"));
  ASSERT_NE(waitingBox(), nullptr);
  answerBox(waitingBox(), 0);
  EXPECT_EQ(keyOf(current()), key("P Т-1"));
  ASSERT_FALSE(tree()->selectionModel()->selectedIndexes().isEmpty());
  for (const QModelIndex& index : tree()->selectionModel()->selectedIndexes()) EXPECT_EQ(keyOf(index), key("P Т-1"));
  EXPECT_EQ(pathTexts(), QStringList({"Подстанция Северная", "ОРУ-110", "КП-1"}));
  EXPECT_EQ(module->passport.currentKey, key("P Т-1"));
  cancel();
  EXPECT_FALSE(text().contains("Новое аналоговое измерение"));
}

TEST_F(Adding, SavesTheNewObjectBeforeTheNext) {
  start();
  click("КП-1");
  pick(module->actAddAnalog);
  const QString first = keyOf(current());
  module->ExecActAdd("Analog", key("КП-1"), false);
  EXPECT_EQ(tablesWith(first), measurement("Analog"));
  EXPECT_TRUE(module->newObjectInPassport);
  EXPECT_NE(keyOf(current()), first);
  EXPECT_EQ(numberOf(current()), "5");
}

TEST_F(Adding, RefusedObjectStaysBesideTheNextAndCancelTakesTheNextAlone) {
  start();
  tree()->setCurrentIndex(QModelIndex());
  pick(module->actAddRTU);
  const QString first = keyOf(current());
  module->ExecActAdd(QString(), QString(), true);
  settle();
  QStringList top;
  for (int i = 0; i < module->treeModel->rowCount(); ++i) top += module->treeModel->index(i, 0).data().toString();
  EXPECT_TRUE(top.contains("Новое устройство"));
  EXPECT_TRUE(top.contains("Новая папка"));
  EXPECT_TRUE(module->newObjectInPassport);
  expectBox("Ошибка", "Не заполнена серверная группа");
  cancel();
  EXPECT_TRUE(module->treeModel->findByKey(first).isValid());
  EXPECT_FALSE(text().contains("Новая папка"));
  EXPECT_FALSE(module->newObjectInPassport);
}

TEST_F(Adding, EditsOfANewObjectAreNoEditsOfAnExistingOne) {
  start();
  click("КП-1");
  pick(module->actAddAnalog);
  type("Наименование", "P Т-3");
  EXPECT_FALSE(module->passportEdited);
  save();
  EXPECT_EQ(currentName(), "P Т-3");
}

TEST_F(Adding, SelectingAnotherRowSavesAtOnce) {
  start();
  click("КП-1");
  pick(module->actAddAnalog);
  const QString newKey = keyOf(current());
  click("P Т-1");
  EXPECT_EQ(tablesWith(newKey), measurement("Analog"));
  EXPECT_FALSE(module->newObjectInPassport);
  EXPECT_EQ(currentName(), "P Т-1");
  EXPECT_EQ(module->passport.currentKey, key("P Т-1"));
}

TEST_F(Adding, EchoOfTheOwnInsertMakesNoSecondRow) {
  start();
  click("КП-1");
  pick(module->actAddAnalog);
  const Counts held = counts();
  save();
  EXPECT_EQ(text().count("Новое аналоговое измерение"), 1);
  EXPECT_EQ(counts(), held);
  EXPECT_EQ(module->keyLinkIncomplete, QStringList());
}

// ---- cancel and refusal ----------------------------------------------------------------------------------

TEST_F(Adding, CancelLandsOnTheNearestAncestorWithAKey) {
  start();
  click("КП-3");
  pick(module->actAddAnalog);
  cancel();
  EXPECT_EQ(currentName(), "КП-3");
  EXPECT_EQ(module->passport.currentKey, key("КП-3"));
}

TEST_F(Adding, CancelTakesTheNewObjectWhateverIsCurrent) {
  start();
  click("КП-1");
  pick(module->actAddAnalog);
  {
    const QSignalBlocker blocker(tree()->selectionModel());
    tree()->setCurrentIndex(row("P Т-1"));
  }
  module->actCancel->trigger();
  EXPECT_FALSE(text().contains("Новое аналоговое измерение"));
  EXPECT_TRUE(row("P Т-1").isValid());
  EXPECT_EQ(currentName(), "P Т-1");
}

TEST_F(Adding, NumberThatAnotherTookMeanwhileIsFoundByTheCheck) {
  start();
  click("КП-1");
  pick(module->actAddAnalog);
  Colleague other(*server.core());
  other.add("Analog", key("Чужое"), {"name_=Чужое", "locId=3", "RemoteUnitKey=" + key("КП-2")});
  ASSERT_TRUE(other.commit());
  save();
  expectBox("Ошибка", "Измерение с таким же номером уже существует");
  EXPECT_EQ(currentName(), "Новое аналоговое измерение");
  EXPECT_TRUE(module->newObjectInPassport);
}

// Taken between the check and the insert: the check does not see it.
TEST_F(Adding, InsertThatTheServerRefusesShowsTheBoxAndTakesTheNodeBack) {
  start();
  click("КП-1");
  const QString before = text();
  pick(module->actAddAccumulator);
  const QString newKey = keyOf(current());
  Colleague other(*server.core());
  other.add("Analog", key("Чужое"), {"name_=Чужое", "locId=3", "RemoteUnitKey=" + key("КП-2")});
  ASSERT_TRUE(other.commit());
  app.failures.add("CalcExec", Fail::kStatus);
  save();
  app.failures.clear();
  expectBox("Ошибка изменения данных",
            "При изменения данных возникла непредвиденная ошибка.\nДанные не были изменены!");
  EXPECT_FALSE(text().contains("Счетчики"));
  EXPECT_FALSE(module->newObjectInPassport);
  EXPECT_EQ(seekText(module->measRecords, 0, newKey, module->moduleCodec), nullptr);
  EXPECT_EQ(tablesWith(newKey), QStringList());
  EXPECT_EQ(currentName(), "КП-1");
}

TEST_F(Adding, RefusedInsertWhileAnotherRowIsClickedLeavesThatRowSelected) {
  start();
  click("P Т-1");
  pick(module->actAddAnalog);
  Colleague other(*server.core());
  other.add("Analog", key("Чужое"), {"name_=Чужое", "locId=3", "RemoteUnitKey=" + key("КП-2")});
  ASSERT_TRUE(other.commit());
  app.failures.add("CalcExec", Fail::kStatus);
  click("Q Т-1");
  app.failures.clear();
  EXPECT_EQ(currentName(), "Q Т-1");
  EXPECT_EQ(module->passport.currentKey, key("Q Т-1"));
  EXPECT_FALSE(text().contains("Новое"));
  answerBox(waitingBox(), 0);
}

TEST_F(Adding, WhatIsPendingIsNotSavedWhileItsRowGoesByEvent) {
  start();
  click("КП-3");
  pick(module->actAddAnalog);
  const QString newKey = keyOf(current());
  app.log.clear();
  Colleague other(*server.core());
  other.remove("RemoteUnit", key("КП-3"));
  ASSERT_TRUE(other.commit());
  ASSERT_TRUE(eventsAreIn());
  EXPECT_FALSE(row("КП-3").isValid());
  EXPECT_EQ(writes(), QStringList());
  EXPECT_TRUE(module->newObjectInPassport);
  cancel();
  EXPECT_EQ(seekText(module->measRecords, 0, newKey, module->moduleCodec), nullptr);
  EXPECT_FALSE(module->newObjectInPassport);
}

}  // namespace
}  // namespace tlm::test
