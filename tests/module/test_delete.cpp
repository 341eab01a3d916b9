// Deleting: the question, what goes with it, what the server is told, where the selection lands.
#include <QAbstractButton>
#include <QMenu>
#include <QToolBar>

#include "ModuleWindow.h"
#include "RecordAccess.h"
#include "WorkWithData.h"

namespace tlm::test {
namespace {

constexpr char kModel[] = R"(folder Подстанция Северная
  folder ОРУ-110
    unit КП-1
      analog 1001 P Т-1
        analog 1002 P Т-1 макс
      analog 1003 Q Т-1
      discrete 1004 Q-110
    unit КП-2
      analog 1005 U 10 кВ
      string 1006 Режим
  unit КП-5
unit Без папки
  accumulator 3001 Wp Т-1
  discrete 3002 Р-110
table MeasurementArchGroup Часовая {aggregatedData=1}
table Calculations Расчет {fname=RES1003}
analog 1009 Без КП
)";

class Delete : public ModuleWindow {
 protected:
  Delete() : ModuleWindow(kModel) {}

  void ask(const char* name) {
    click(name);
    app.log.clear();
    module->actDel->trigger();
  }
  void answer(int role) {
    answerBox(waitingBox(), role);
    settle();
  }
  void remove(const char* name) {
    ask(name);
    answer(0);
  }
  QString question() {
    CPopMessageBox* box = waitingBox();
    const QString text = box ? box->messageText() : QString("no question");
    if (box) answerBox(box, 1);
    return text;
  }

  // Selects rows, the last of them current.
  void select(const QModelIndexList& rows) {
    QItemSelection all;
    for (const QModelIndex& row : rows) all.select(row, row);
    tree()->selectionModel()->select(all, QItemSelectionModel::ClearAndSelect);
    tree()->selectionModel()->setCurrentIndex(rows.last(), QItemSelectionModel::NoUpdate);
    settle();
    app.log.clear();
  }
  QModelIndex group(const char* unit, const char* caption) {
    const QModelIndex index = module->treeModel->findByKey(key(unit));
    module->AddMeasForRTU(index, QString(), false, QString());
    return module->treeModel
        ->match(module->treeModel->index(0, 0, index), Qt::DisplayRole, caption, 1, Qt::MatchExactly)
        .value(0);
  }
  QString text() { return treeText(*module->treeModel); }
  QString current() { return tree()->currentIndex().data().toString(); }
  QStringList writes() { return app.log.filter(QRegularExpression("^(BlockBeg|SqlUpdate|BlockEnd|WaitResult 5000)")); }

  // What the server still has, of these objects.
  QString onServer(const QStringList& names) {
    QStringList there;
    for (const QString& name : names) {
      CMDArray records;
      if (GetRecByKey(module->session(), key(name.toUtf8()).toStdString(), &records)) there.append(name);
    }
    return there.join(' ');
  }
};

// ---- the question ----------------------------------------------------------------------------------------

TEST_F(Delete, EachKindHasAQuestionOfItsOwn) {
  start();
  ask("ОРУ-110");
  EXPECT_EQ(question(), "Вы действительно хотите удалить папку и все ее дочерние элементы?");
  ask("КП-1");
  EXPECT_EQ(question(), "Вы действительно хотите удалить устройство и все содержащиеся в нем сигналы?");
  for (const char* name : {"P Т-1", "Q-110", "Wp Т-1", "Режим"}) {
    select({find(name)});
    module->actDel->trigger();
    EXPECT_EQ(question(), "Вы действительно хотите удалить измерение?") << name;
  }
  click(group("КП-1", "Аналоговые измерения"));
  module->actDel->trigger();
  EXPECT_EQ(question(), "Вы действительно хотите удалить все измерения группы?");
  EXPECT_EQ(app.modules, 1);
}

TEST_F(Delete, SeveralRowsHaveOneQuestion) {
  start();
  click("КП-1");
  click(module->treeModel->findByKey(key("Без папки")), Qt::ControlModifier);
  module->actDel->trigger();
  EXPECT_EQ(question(), "Вы действительно хотите удалить выделенные элементы?");
}

TEST_F(Delete, TheDefaultUnitIsAskedForAsAGroup) {
  start();
  select({module->treeModel->match(module->treeModel->index(0, 0), 0, defaultUnitText()).value(0)});
  module->actDel->trigger();
  EXPECT_EQ(question(), "Вы действительно хотите удалить все измерения группы?");
}

TEST_F(Delete, TheBoxIsAYesOrNoQuestion) {
  start();
  ask("КП-1");
  CPopMessageBox* box = waitingBox();
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(box->titleText(), "Подтверждение удаления");
  EXPECT_EQ(box->icon(), 4);
  EXPECT_EQ(box->type(), 3);
  EXPECT_EQ(box->buttons().size(), 2);
  answerBox(box, 1);
}

TEST_F(Delete, WithoutASelectionNothingIsAsked) {
  start();
  tree()->clearSelection();
  module->actDel->trigger();
  EXPECT_EQ(waitingBox(), nullptr);
}

TEST_F(Delete, NoLeavesEverythingAsItWas) {
  start();
  const QString before = text();
  ask("ОРУ-110");
  answer(1);
  EXPECT_EQ(waitingBox(), nullptr);
  EXPECT_EQ(text(), before);
  EXPECT_EQ(app.log, QStringList());
}

TEST_F(Delete, AnAnswerWithoutAButtonIsNo) {
  start();
  const QString before = text();
  ask("КП-1");
  module->confirmDelGroup(nullptr);
  EXPECT_EQ(text(), before);
  EXPECT_EQ(writes(), QStringList());
  answer(1);
}

// ---- the ways to it --------------------------------------------------------------------------------------

TEST_F(Delete, ByToolBarAndMouse) {
  start();
  click("Q-110");
  QTest::mouseClick(module->ui->TlBar->widgetForAction(module->actDel), Qt::LeftButton);
  CPopMessageBox* box = waitingBox();
  ASSERT_NE(box, nullptr);
  QTest::mouseClick(box->buttons().first(), Qt::LeftButton);
  settle();
  EXPECT_EQ(onServer({"Q-110", "P Т-1"}), "P Т-1");
}

TEST_F(Delete, ByContextMenuAndKeys) {
  start();
  const QModelIndex row = reveal(find("Q-110"));
  click(row);
  emit tree()->customContextMenuRequested(tree()->visualRect(reveal(find("Q-110"))).center());
  ASSERT_TRUE(module->contextMenu->isVisible());
  QTest::mouseClick(module->contextMenu, Qt::LeftButton, {},
                    module->contextMenu->actionGeometry(module->actDel).center());
  settle();
  ASSERT_NE(waitingBox(), nullptr);
  QTest::keyClick(waitingBox(), Qt::Key_Return);
  settle();
  EXPECT_EQ(waitingBox(), nullptr);
  EXPECT_EQ(onServer({"Q-110", "P Т-1"}), "P Т-1");
}

TEST_F(Delete, EscapeIsNo) {
  start();
  ask("Q-110");
  ASSERT_NE(waitingBox(), nullptr);
  QTest::keyClick(waitingBox(), Qt::Key_Escape);
  settle();
  EXPECT_EQ(waitingBox(), nullptr);
  EXPECT_EQ(onServer({"Q-110"}), "Q-110");
}

TEST_F(Delete, IsNotOfferedWhileAnEditWaits) {
  start();
  click("Q-110");
  module->onPasspChanged();
  EXPECT_FALSE(module->actDel->isEnabled());
  module->onActCancel_Triggered();
  EXPECT_TRUE(module->actDel->isEnabled());
}

// ---- what goes -------------------------------------------------------------------------------------------

TEST_F(Delete, AMeasurementGoesInOneBlockThatNobodyWaitsFor) {
  start();
  remove("Q-110");
  EXPECT_EQ(writes(),
            QStringList({"BlockBeg", "SqlUpdate IdentifiedObject 1 records", "SqlUpdate Measurement 1 records",
                         "SqlUpdate Discrete 1 records", "BlockEnd unwaited"}));
  EXPECT_EQ(onServer({"Q-110", "P Т-1", "P Т-1 макс", "Q Т-1"}), "P Т-1 P Т-1 макс Q Т-1");
}

TEST_F(Delete, TheTreeBeforeAndAfterEachKind) {
  start();
  for (const char* unit : {"КП-1", "КП-2", "Без папки"}) find(unit);
  for (const char* name : {"P Т-1", "U 10 кВ", "Wp Т-1"}) find(name);
  module->treeModel->sort(0, Qt::AscendingOrder);
  EXPECT_EQ(text(), picture(R"(
    Подстанция Северная
      ОРУ-110
        КП-1
          Аналоговые измерения
            1001 P Т-1
            1002 P Т-1 макс
            1003 Q Т-1
          Дискретные сигналы
            1004 Q-110
        КП-2
          Аналоговые измерения
            1005 U 10 кВ
          Строковые величины
            1006 Режим
      КП-5
    (Устройство по умолчанию)
      Аналоговые измерения
        1009 Без КП
    Без папки
      Дискретные сигналы
        3002 Р-110
      Счетчики
        3001 Wp Т-1
  )"));
  remove("Q-110");
  remove("Режим");
  select({group("Без папки", "Счетчики")});
  module->actDel->trigger();
  answer(0);
  remove("КП-5");
  EXPECT_EQ(text(), picture(R"(
    Подстанция Северная
      ОРУ-110
        КП-1
          Аналоговые измерения
            1001 P Т-1
            1002 P Т-1 макс
            1003 Q Т-1
        КП-2
          Аналоговые измерения
            1005 U 10 кВ
    (Устройство по умолчанию)
      Аналоговые измерения
        1009 Без КП
    Без папки
      Дискретные сигналы
        3002 Р-110
  )"));
  remove("Подстанция Северная");
  EXPECT_EQ(text(), picture(R"(
    (Устройство по умолчанию)
      Аналоговые измерения
        1009 Без КП
    Без папки
      Дискретные сигналы
        3002 Р-110
  )"));
  EXPECT_EQ(onServer({"Подстанция Северная", "ОРУ-110", "КП-1", "P Т-1", "КП-2", "U 10 кВ", "Режим", "КП-5", "Q-110",
                      "Wp Т-1", "Р-110", "Без папки", "Без КП"}),
            "Р-110 Без папки Без КП");
}

TEST_F(Delete, AGroupsOwnEntryIsPassedOver) {
  start();
  select({group("КП-1", "Аналоговые измерения")});
  module->actDel->trigger();
  answer(0);
  EXPECT_EQ(writes(),
            QStringList({"BlockBeg", "SqlUpdate IdentifiedObject 3 records", "SqlUpdate Measurement 3 records",
                         "SqlUpdate Analog 3 records", "SqlUpdate Calculations 1 records", "BlockEnd unwaited"}));
  EXPECT_EQ(onServer({"P Т-1", "P Т-1 макс", "Q Т-1", "Q-110"}), "Q-110");
}

TEST_F(Delete, ACalculationGoesWithItsMeasurement) {
  start();
  ASSERT_EQ(MDARecCount(module->tblCalculations.array), 1);
  remove("Q Т-1");
  EXPECT_EQ(writes(),
            QStringList({"BlockBeg", "SqlUpdate IdentifiedObject 1 records", "SqlUpdate Measurement 1 records",
                         "SqlUpdate Calculations 1 records", "SqlUpdate Analog 1 records", "BlockEnd unwaited"}));
  CMDArray calculations;
  module->FillCmdArray(module->session(), "Calculations", calculations);
  EXPECT_EQ(MDARecCount(calculations.array), 0);
}

TEST_F(Delete, UnopenedUnitsLoseTheirMeasurementsToo) {
  start();
  ASSERT_FALSE(nodeOf(module->treeModel->findByKey(key("КП-1")))->isLoaded);
  ASSERT_FALSE(nodeOf(module->treeModel->findByKey(key("КП-2")))->isLoaded);
  remove("Подстанция Северная");
  EXPECT_EQ(app.log.filter("CalcExec").size(), 3) << "each unit is asked for once";
  QStringList tables = writes().mid(5, 3);  // in the order in which the measurements come
  tables.sort();
  EXPECT_EQ(writes().mid(0, 5),
            QStringList({"BlockBeg", "SqlUpdate IdentifiedObject 9 records", "SqlUpdate RemoteUnit 3 records",
                         "SqlUpdate RemoteUnitFolder 2 records", "SqlUpdate Measurement 6 records"}));
  EXPECT_EQ(tables, QStringList({"SqlUpdate Analog 4 records", "SqlUpdate Discrete 1 records",
                                 "SqlUpdate StringMeasurement 1 records"}));
  EXPECT_EQ(writes().mid(8), QStringList{"BlockEnd unwaited"}) << "one block";
  EXPECT_EQ(onServer({"P Т-1", "P Т-1 макс", "Q Т-1", "Q-110", "U 10 кВ", "Режим", "Wp Т-1"}), "Wp Т-1");
}

TEST_F(Delete, AUnitThatCannotBeFetchedLosesItsOwnRowsAlone) {
  start();
  click("КП-2");
  module->actDel->trigger();
  app.failures.add("CalcExec", Fail::kRefuseToSend);
  answer(0);
  app.failures.clear();
  EXPECT_EQ(module->pendingDeletes, QStringList());
  EXPECT_EQ(onServer({"КП-2", "U 10 кВ"}), "U 10 кВ");
}

TEST_F(Delete, OpenedUnitsAreNotAskedFor) {
  start();
  find("P Т-1");
  remove("КП-1");
  EXPECT_EQ(app.log.filter("CalcExec"), QStringList());
  EXPECT_EQ(onServer({"КП-1", "P Т-1", "P Т-1 макс", "Q Т-1", "Q-110"}), "");
}

TEST_F(Delete, AUnitWithOneOfItsOwnMeasurementsIsOneDelete) {
  start();
  find("P Т-1");
  const QModelIndex unit = module->treeModel->findByKey(key("КП-1"));
  select({unit, find("Q-110"), find("P Т-1")});
  module->actDel->trigger();
  answer(0);
  EXPECT_EQ(writes().filter("Measurement"), QStringList{"SqlUpdate Measurement 4 records"});
  EXPECT_EQ(onServer({"КП-1", "P Т-1", "P Т-1 макс", "Q Т-1", "Q-110", "КП-2"}), "КП-2");
}

TEST_F(Delete, AUnitInASelectedFolderIsAskedForOnce) {
  start();
  select({module->treeModel->findByKey(key("КП-1")), module->treeModel->findByKey(key("Подстанция Северная"))});
  module->actDel->trigger();
  answer(0);
  EXPECT_EQ(app.log.filter("CalcExec").size(), 3);
  EXPECT_EQ(writes().filter("Measurement 6"), QStringList{"SqlUpdate Measurement 6 records"});
}

TEST_F(Delete, RowsOfBothColumnsCountOnce) {
  start();
  find("P Т-1");
  const QModelIndex row = find("Q-110");
  select({row, row.sibling(row.row(), 1)});
  module->actDel->trigger();
  answer(0);
  EXPECT_EQ(writes().filter("Measurement"), QStringList{"SqlUpdate Measurement 1 records"});
  EXPECT_FALSE(module->treeModel->findByKey(key("Q-110")).isValid());
}

TEST_F(Delete, ASortBeforeDoesNotMisleadIt) {
  start();
  find("P Т-1");
  click("Q Т-1");
  module->treeModel->sort(0, Qt::DescendingOrder);
  select({find("P Т-1")});
  module->actDel->trigger();
  answer(0);
  EXPECT_EQ(onServer({"P Т-1", "P Т-1 макс", "Q Т-1"}), "P Т-1 макс Q Т-1");
}

TEST_F(Delete, TheEventsOfTheOwnDeleteFindNothingLeft) {
  start();
  remove("ОРУ-110");
  const QString after = text();
  EXPECT_TRUE(processUntil([&] { return MDARecCount(module->tblRemoteUnit.array) == 2; }));
  EXPECT_EQ(text(), after);
}

// ---- where the selection lands ---------------------------------------------------------------------------

TEST_F(Delete, TheNextRowIsSelectedWhileThereIsOne) {
  start();
  find("P Т-1");
  remove("Q Т-1");
  ASSERT_TRUE(tree()->currentIndex().isValid());
  EXPECT_EQ(tree()->currentIndex().parent().data().toString(), "Аналоговые измерения");
  EXPECT_TRUE(tree()->selectionModel()->isSelected(tree()->currentIndex()));
  EXPECT_EQ(module->passport.currentKey, keyOf(tree()->currentIndex()));
}

TEST_F(Delete, TheNearestAncestorWithAKeyIsSelectedWhenNoRowIsLeft) {
  start();
  find("Режим");
  module->treeModel->DelNode(group("КП-2", "Аналоговые измерения"), nullptr);
  remove("Режим");
  EXPECT_EQ(current(), "КП-2") << "past the group, which has no key";
  EXPECT_TRUE(tree()->selectionModel()->isSelected(tree()->currentIndex()));
  EXPECT_EQ(tree()->selectionModel()->selectedIndexes().size(), 1);
  EXPECT_EQ(module->passport.currentKey, key("КП-2"));
}

TEST_F(Delete, TheAncestorIsThatOfTheCurrentRowNotOfTheFirstSelected) {
  start();
  find("Режим");
  module->treeModel->DelNode(group("КП-2", "Аналоговые измерения"), nullptr);
  find("Wp Т-1");
  const QModelIndexList rows = {find("Wp Т-1"), find("Режим"), find("Q-110")};
  select(rows);
  tree()->selectionModel()->setCurrentIndex(rows[1], QItemSelectionModel::NoUpdate);
  module->actDel->trigger();
  answer(0);
  EXPECT_EQ(current(), "КП-2");
  EXPECT_EQ(pathTexts(), QStringList({"Подстанция Северная", "ОРУ-110"}));
}

TEST_F(Delete, FromTheNumbersColumnTheSelectionLandsAsWell) {
  start();
  const QModelIndex row = find("Q-110");
  click(row.sibling(row.row(), 1));
  module->actDel->trigger();
  answer(0);
  ASSERT_TRUE(tree()->currentIndex().isValid());
  EXPECT_NE(current(), "");
  EXPECT_TRUE(tree()->selectionModel()->isSelected(tree()->currentIndex()));
}

TEST_F(Delete, NothingIsSelectedWhenTheTreeIsEmpty) {
  start();
  QModelIndexList rows;
  for (int i = 0; i < module->treeModel->rowCount(); ++i) rows.append(module->treeModel->index(i, 0));
  select(rows);
  module->actDel->trigger();
  answer(0);
  EXPECT_EQ(text(), "");
  EXPECT_FALSE(tree()->currentIndex().isValid());
  EXPECT_EQ(tree()->selectionModel()->selectedIndexes().size(), 0);
}

TEST_F(Delete, RowsThatOnlyPassAreNotShown) {
  start();
  find("P Т-1");
  const QModelIndex analogs = group("КП-1", "Аналоговые измерения");
  QModelIndexList rows;
  for (int i = 0; i < module->treeModel->rowCount(analogs); ++i) rows.append(module->treeModel->index(i, 0, analogs));
  ASSERT_EQ(rows.size(), 3);
  select(rows);
  module->actDel->trigger();
  app.log.clear();
  answer(0);
  EXPECT_LE(app.log.filter("PacketExec LiteModel").size(), 1);
}

// ---- a block that does not go out ------------------------------------------------------------------------

TEST_F(Delete, ABlockThatCouldNotBeSentKeepsItsListForTheNextSave) {
  start();
  app.failures.add("BlockEnd", Fail::kRefuseToSend);
  remove("Q-110");
  CPopMessageBox* box = waitingBox();
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(box->titleText(), "Ошибка изменения данных");
  EXPECT_EQ(box->messageText(), "При изменения данных возникла непредвиденная ошибка.\nДанные не были изменены!");
  EXPECT_EQ(box->icon(), 1);
  EXPECT_EQ(box->type(), 0);
  answerBox(box, 0);
  EXPECT_EQ(module->pendingDeletes, QStringList({key("Q-110") + ",Discrete", ","}));
  EXPECT_TRUE(module->groupDeletePending);
  EXPECT_FALSE(module->treeModel->findByKey(key("Q-110")).isValid()) << "the node does not come back";
  EXPECT_EQ(onServer({"Q-110"}), "Q-110");

  app.failures.clear();
  module->onActSave_Triggered();
  settle();
  EXPECT_EQ(module->pendingDeletes, QStringList());
  EXPECT_FALSE(module->groupDeletePending);
  EXPECT_EQ(onServer({"Q-110"}), "");
}

TEST_F(Delete, YesToNothingSelectedForgetsTheListThatWasKept) {
  start();
  app.failures.add("BlockEnd", Fail::kRefuseToSend);
  remove("Q-110");
  answer(0);
  app.failures.clear();
  ask("U 10 кВ");
  tree()->clearSelection();
  answer(0);
  EXPECT_EQ(module->pendingDeletes, QStringList());
  EXPECT_FALSE(module->groupDeletePending);
  EXPECT_EQ(onServer({"Q-110", "U 10 кВ"}), "Q-110 U 10 кВ");
}

TEST_F(Delete, TheNextDeleteBeginsAListOfItsOwn) {
  start();
  app.failures.add("BlockEnd", Fail::kRefuseToSend);
  remove("Q-110");
  answer(0);
  app.failures.clear();
  remove("U 10 кВ");
  EXPECT_EQ(onServer({"Q-110", "U 10 кВ"}), "Q-110");
}

// ---- the pieces ------------------------------------------------------------------------------------------

TEST_F(Delete, TheWalkListsUnopenedUnitsAndWhatItSaw) {
  start();
  find("P Т-1");
  QList<QModelIndex> visited;
  QList<QModelIndex> unloaded;
  module->CheckChildRemouteUnit(module->treeModel->findByKey(key("Подстанция Северная")), visited, unloaded);
  QStringList names;
  for (const QModelIndex& index : visited) names.append(index.data().toString());
  names.sort();
  EXPECT_EQ(names, QStringList({"КП-1", "КП-2", "КП-5", "ОРУ-110", "Подстанция Северная"}));
  names.clear();
  for (const QModelIndex& index : unloaded) names.append(index.data().toString());
  names.sort();
  EXPECT_EQ(names, QStringList({"КП-2", "КП-5"}));
}

TEST_F(Delete, TheWalkDoesNotEnterUnits) {
  start();
  QList<QModelIndex> visited;
  QList<QModelIndex> unloaded;
  module->CheckChildRemouteUnit(find("P Т-1").parent().parent(), visited, unloaded);
  module->CheckChildRemouteUnit(find("P Т-1"), visited, unloaded);
  EXPECT_EQ(visited.size(), 2);
  EXPECT_EQ(unloaded.size(), 0);
}

TEST_F(Delete, AggregatedMeasurementsGoInABlockOfTheirOwn) {
  start();
  find("P Т-1");
  const QString before = text();
  QList<MDRData*> records = {seekText(module->measRecords, 0, key("P Т-1 макс"), module->moduleCodec), nullptr,
                             seekText(module->measRecords, 0, key("Q Т-1"), module->moduleCodec)};
  app.log.clear();
  module->DeleteAgregMeas(records, "Analog");
  EXPECT_EQ(text(), before) << "the tree follows the events";
  EXPECT_EQ(writes(),
            QStringList({"BlockBeg", "SqlUpdate IdentifiedObject 2 records", "SqlUpdate Measurement 2 records",
                         "SqlUpdate Analog 2 records", "SqlUpdate Calculations 1 records", "BlockEnd unwaited"}));
  settle();
  EXPECT_EQ(onServer({"P Т-1", "P Т-1 макс", "Q Т-1"}), "P Т-1");
}

TEST_F(Delete, NoAggregatedMeasurementsAreNoBlock) {
  start();
  QList<MDRData*> none;
  app.log.clear();
  module->DeleteAgregMeas(none, "Analog");
  EXPECT_EQ(app.log, QStringList());
}

TEST_F(Delete, ABlockOfAggregatedMeasurementsThatFailsIsTold) {
  start();
  find("P Т-1");
  QList<MDRData*> records = {seekText(module->measRecords, 0, key("Q Т-1"), module->moduleCodec)};
  app.failures.add("BlockEnd", Fail::kRefuseToSend);
  module->DeleteAgregMeas(records, "Analog");
  CPopMessageBox* box = waitingBox();
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(box->titleText(), "Ошибка изменения данных");
  EXPECT_EQ(box->messageText(), "При изменения данных возникла непредвиденная ошибка.\nДанные не были изменены!");
  EXPECT_EQ(box->icon(), 1);
  EXPECT_EQ(box->type(), 0);
  answerBox(box, 0);
}

TEST_F(Delete, ABlockOfAggregatedMeasurementsIsNotWaitedFor) {
  start();
  find("P Т-1");
  QList<MDRData*> records = {seekText(module->measRecords, 0, key("Q Т-1"), module->moduleCodec)};
  app.failures.add("BlockEnd", Fail::kStatus);
  module->DeleteAgregMeas(records, "Analog");
  EXPECT_EQ(waitingBox(), nullptr);
}

// The records that a delete of an object writes: "TABLE KEY..." for each table, in their order.
class DeleteRecords : public Delete {
 protected:
  ~DeleteRecords() override { qDeleteAll(arrays); }

  QStringList prepare(const QString& objectKey, const QString& className) {
    module->PrepareDelRec(tables, arrays, objectKey, className);
    QStringList text;
    for (int i = 0; i < tables.size(); ++i) {
      QStringList line;
      for (int row = 0; row < MDARecCount(arrays[i]->array); ++row) {
        const MDRData* record = MDARec(arrays[i]->array, 0, row);
        EXPECT_EQ(MDRGetFlags(record), 4);
        const QString held = fieldText(*arrays[i], record, 0, module->moduleCodec);
        line += held == objectKey ? "key" : held == key("Расчет") ? "calculation" : held;
        EXPECT_EQ(MDRIsUser(MDRFldByNum(arrays[i]->array, 0), record, nullptr), 1);
      }
      line.sort();  // the rows stand by their keys
      text += tables[i] + ' ' + line.join(' ');
    }
    return text;
  }
  QStringList tables;
  QList<CMDArray*> arrays;
};

TEST_F(DeleteRecords, AreOfTheTablesOfTheClassInAnyCase) {
  start();
  EXPECT_EQ(prepare(key("P Т-1"), "aNALOG"), QStringList({"IdentifiedObject key", "Measurement key", "Analog key"}));
  EXPECT_EQ(arrays.size(), 3);
}

TEST_F(DeleteRecords, OfAUnitAreTwoInAnyCase) {
  start();
  EXPECT_EQ(prepare(key("КП-1"), "REMOTEUNIT"), QStringList({"IdentifiedObject key", "RemoteUnit key"}));
}

TEST_F(DeleteRecords, WithoutAKeyAreNone) {
  start();
  EXPECT_EQ(prepare(QString(), "Analog"), QStringList());
}

TEST_F(DeleteRecords, OfAnUnknownClassAreTwoInTheLastTable) {
  start();
  EXPECT_EQ(prepare(key("P Т-1"), "Curve"), QStringList({"IdentifiedObject key", "Measurement key key"}));
}

TEST_F(DeleteRecords, OfAnUnknownClassFollowTheCalculation) {
  start();
  find("Q Т-1");
  EXPECT_EQ(prepare(key("Q Т-1"), ""),
            QStringList({"IdentifiedObject key", "Measurement key", "Calculations calculation key"}));
}

TEST_F(DeleteRecords, WithoutANumberHaveNoCalculation) {
  start();
  find("Q Т-1");
  MDRData* calculation = MDARec(module->tblCalculations.array, 0, 0);
  MDRData* edited = MDARecEdit(calculation);
  module->tblCalculations.SetVal(edited, "fname", textVar("RES0"));
  module->tblCalculations.RecPost(edited);
  MDRData* record = MDARecEdit(seekText(module->measRecords, 0, key("Q Т-1"), module->moduleCodec));
  MDRVar null{};
  null.type = MDX_INT32;
  null.isNull = 1;
  module->measRecords.SetVal(record, "locId", null);
  module->measRecords.RecPost(record);
  EXPECT_EQ(prepare(key("Q Т-1"), "Analog"), QStringList({"IdentifiedObject key", "Measurement key", "Analog key"}));
}

}  // namespace
}  // namespace tlm::test
