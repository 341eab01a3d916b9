// Checks, commits and cancel.
#include <QLineEdit>
#include <QMenu>

#include "ModuleWindow.h"
#include "RecordAccess.h"

namespace tlm::test {
namespace {

constexpr char kPrefix[] = "При изменени";

class Save : public ModuleWindow {
 protected:
  // One record of a structure, fields as "name=value"; value null with "name=".
  void fill(CMDArray& array, const CMDArray& structure, const QStringList& fields) {
    MDACopy(array.array, structure.array, 0);
    MDRData* record = MDARecNew(array.array);
    for (const QString& each : fields) {
      const QString name = each.section('=', 0, 0);
      const QByteArray bytes = module->moduleCodec->fromUnicode(each.section('=', 1));
      bool isNumber = false;
      const int number = bytes.toInt(&isNumber);
      const MDRField* target = MDRFldByName(array.array, name.toLatin1());
      ASSERT_NE(target, nullptr) << name.toStdString();
      const bool isBool = target->type == MDX_BOOL;
      const bool isText = target->type == MDX_TEXT || target->type == MDX_MEMO;
      if (!bytes.isEmpty() || isText)
        array.SetVal(record, target->number, isText ? textVar(bytes) : isBool ? boolVar(number) : intVar(number));
    }
    array.RecPost(record);
  }
  bool nullNumber(const QStringList& fields, const char* table = "Measurement") {
    CMDArray array;
    fill(array, module->strMeasurement, fields);
    return module->CheckNullLocId(table, &array);
  }
  bool numberTaken(const QStringList& fields, bool isNew, const char* table = "Measurement") {
    CMDArray array;
    fill(array, module->strMeasurement, fields);
    return module->CheckLocId(table, &array, isNew);
  }
  bool serverGroup(const QStringList& fields, const char* table = "RemoteUnit") {
    CMDArray array;
    fill(array, module->strRemoteUnit, fields);
    return module->CheckSrvGroup(table, &array);
  }
  bool archiveGroup(const QStringList& fields, const char* table = "Measurement") {
    CMDArray array;
    fill(array, module->strMeasurement, fields);
    return module->CheckArchGroup(table, &array);
  }
  bool filledName(const QStringList& fields, const char* table = "IdentifiedObject") {
    CMDArray array;
    fill(array, module->strIdentifiedObject, fields);
    return module->CheckFillName(table, &array);
  }
  QStringList writes() { return app.log.filter(QRegularExpression("^(BlockBeg|SqlUpdate|BlockEnd|WaitResult 5000)")); }

  void expectBox(const char* title, const QString& text) {
    CPopMessageBox* box = waitingBox();
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->titleText(), title);
    EXPECT_EQ(box->messageText(), text);
    EXPECT_EQ(box->icon(), 1);
    EXPECT_EQ(box->type(), 0);
    answerBox(box, 0);
  }

  // A measurement that only this window knows, selected and marked as new.
  void makeNew(const char* name, int locId) {
    newKey = QString(32, 'N');
    const QModelIndex group = find("P Т-1").parent();
    MDRData* record = MDARecNew(module->measRecords.array);
    const QByteArray keyBytes = newKey.toLatin1();
    const QByteArray className = "Analog";
    const QByteArray nameBytes = module->moduleCodec->fromUnicode(name);
    const QByteArray unit = key("КП-1").toLatin1();
    module->measRecords.SetVal(record, 0, textVar(keyBytes));
    module->measRecords.SetVal(record, "ClassName", textVar(className));
    module->measRecords.SetVal(record, "name_", textVar(nameBytes));
    module->measRecords.SetVal(record, "locId", intVar(locId));
    module->measRecords.SetVal(record, "RemoteUnitKey", textVar(unit));
    record = module->measRecords.RecPost(record);
    auto* node = new myConfNode(nodeOf(group), QString(), &module->measRecords, record);
    module->treeModel->insertNodes(group, module->treeModel->rowCount(group), {node});
    module->OnSetFocusRow(module->treeModel->indexOf(node));
    settle();
    module->newObjectInPassport = true;
    module->SaveCancelEnable(true);
    app.log.clear();
  }

  QString newKey;
};

// ---- the checks ------------------------------------------------------------------------------------------

TEST_F(Save, NumberZeroOrNullIsRefused) {
  start();
  EXPECT_TRUE(nullNumber({"locId=0"}));
  EXPECT_TRUE(nullNumber({"locId="}));
  EXPECT_FALSE(nullNumber({"locId=5"}));
  EXPECT_FALSE(nullNumber({"locId=0"}, "measurement"));
  CMDArray empty;
  EXPECT_FALSE(module->CheckNullLocId("Measurement", &empty));
  EXPECT_FALSE(module->CheckNullLocId("Measurement", nullptr));
}

TEST_F(Save, TakenNumberIsFound) {
  start();
  module->currentRowName = "1001";
  EXPECT_TRUE(numberTaken({"locId=1002"}, false));
  EXPECT_FALSE(numberTaken({"locId=7777"}, false));
  EXPECT_FALSE(numberTaken({"locId="}, false));
  EXPECT_FALSE(numberTaken({"locId=1002"}, false, "Analog"));
}

TEST_F(Save, OwnNumberIsNotAskedForUnlessNew) {
  start();
  module->currentRowName = "1001";
  app.log.clear();
  EXPECT_FALSE(numberTaken({"locId=1001"}, false));
  EXPECT_EQ(app.log, QStringList());
  EXPECT_TRUE(numberTaken({"locId=1001"}, true));
  EXPECT_EQ(app.log.filter("CalcExec").size(), 1);
}

TEST_F(Save, NumberOfAnotherObjectWhoseEditWaitsIsItsOwn) {
  start();
  find("P Т-1");
  module->currentRowName = "1001";
  EXPECT_FALSE(numberTaken({"KeyLink=" + key("Q Т-1"), "locId=1002"}, false));
  EXPECT_TRUE(numberTaken({"KeyLink=" + key("Q Т-1"), "locId=1003"}, false));
}

TEST_F(Save, ServerGroupMustBeOneAtLeast) {
  start();
  EXPECT_FALSE(serverGroup({"SrvGroup=0"}));
  EXPECT_FALSE(serverGroup({"SrvGroup="}));
  EXPECT_TRUE(serverGroup({"SrvGroup=1"}));
  EXPECT_TRUE(serverGroup({"SrvGroup=0"}, "remoteunit"));
  CMDArray foreign;
  fill(foreign, module->strMeasurement, {"locId=1"});
  EXPECT_FALSE(module->CheckSrvGroup("RemoteUnit", &foreign));
}

TEST_F(Save, ArchiveGroupIsAskedForWhereArchivingIsOn) {
  start();
  EXPECT_TRUE(archiveGroup({"CheckArch="}));
  EXPECT_TRUE(archiveGroup({"CheckArch=0"}));
  EXPECT_FALSE(archiveGroup({"CheckArch=1"}));
  EXPECT_FALSE(archiveGroup({"CheckArch=1", "MeasurementArchGroupKey="}));
  EXPECT_TRUE(archiveGroup({"CheckArch=1", "MeasurementArchGroupKey=K"}));
  EXPECT_TRUE(archiveGroup({"CheckArch=1"}, "measurement"));
}

TEST_F(Save, NameMustHaveALength) {
  start();
  EXPECT_FALSE(filledName({"name_="}));
  EXPECT_FALSE(filledName({}));
  EXPECT_TRUE(filledName({"name_=   "}));
  EXPECT_TRUE(filledName({"name_=P"}));
  EXPECT_TRUE(filledName({"name_="}, "identifiedobject"));
  CMDArray two;
  fill(two, module->strIdentifiedObject, {"name_=P"});
  MDRData* second = MDARecNew(two.array);
  two.RecPost(second);
  ASSERT_EQ(MDARecCount(two.array), 2);
  EXPECT_FALSE(module->CheckFillName("IdentifiedObject", &two)) << "each record counts";
}

// ---- refusals on the road --------------------------------------------------------------------------------

TEST_F(Save, RefusedNumberKeepsTheEdit) {
  start();
  click("P Т-1");
  type("Номер", "1002");
  app.log.clear();
  module->actSave->trigger();
  EXPECT_TRUE(module->saveRefused);
  EXPECT_TRUE(module->passportEdited);
  EXPECT_TRUE(module->actSave->isEnabled());
  EXPECT_TRUE(module->passport.HasChanges());
  EXPECT_EQ(writes(), QStringList());
  expectBox("Ошибка", "Измерение с таким же номером уже существует");
}

TEST_F(Save, EmptyNameIsRefused) {
  start();
  click("P Т-1");
  type("Наименование", "");
  module->actSave->trigger();
  expectBox("Ошибка", "Не заполнено поле Наименование");
}

TEST_F(Save, RefusalPutsTheSelectionBack) {
  start();
  click("P Т-1");
  type("Номер", "1002");
  app.log.clear();
  click("Q-110");
  EXPECT_EQ(tree()->selectionModel()->selectedIndexes(), QModelIndexList{find("P Т-1")});
  EXPECT_EQ(tree()->currentIndex(), find("P Т-1"));
  EXPECT_EQ(module->passport.currentKey, key("P Т-1"));
  EXPECT_FALSE(module->saveRefused);
  EXPECT_TRUE(module->passportEdited);
  EXPECT_EQ(app.log.filter("LiteModel"), QStringList());
  expectBox("Ошибка", "Измерение с таким же номером уже существует");
}

TEST_F(Save, RefusalAfterAControlClickPutsTheSelectionBack) {
  start();
  click("P Т-1");
  type("Номер", "1002");
  click(find("Q-110"), Qt::ControlModifier);
  EXPECT_EQ(tree()->selectionModel()->selectedIndexes(), QModelIndexList{find("P Т-1")});
  EXPECT_EQ(tree()->currentIndex(), find("P Т-1"));
  expectBox("Ошибка", "Измерение с таким же номером уже существует");
}

// ---- the update path -------------------------------------------------------------------------------------

TEST_F(Save, WithoutAnEditWritesNothing) {
  start();
  click("P Т-1");
  app.log.clear();
  module->SaveCancelEnable(true);
  module->actSave->trigger();
  EXPECT_EQ(writes(), QStringList());
  EXPECT_FALSE(module->actSave->isEnabled());
  EXPECT_FALSE(module->actCancel->isEnabled());
}

TEST_F(Save, UpdateTravelsInOneBlockUnwaited) {
  start();
  click("P Т-1");
  type("Наименование", "P новое");
  type("Примечание", "проверено");
  app.log.clear();
  module->actSave->trigger();
  EXPECT_EQ(writes(),
            (QStringList{"BlockBeg", "SqlUpdate IdentifiedObject 1 records", "SqlUpdate Measurement 1 records",
                         "SqlUpdate Analog 1 records", "BlockEnd unwaited"}));
  EXPECT_FALSE(module->passportEdited);
  EXPECT_FALSE(module->actSave->isEnabled());
  EXPECT_TRUE(module->actDel->isEnabled());
  EXPECT_FALSE(module->passport.HasChanges());
  EXPECT_FALSE(app.edited);
}

TEST_F(Save, PendingEditIsSavedWhenAnotherRowIsSelected) {
  start();
  click("P Т-1");
  type("Наименование", "P новое");
  click("Q-110");
  EXPECT_TRUE(processUntil([&] { return shownName("P Т-1") == "P новое"; }));
  EXPECT_EQ(waitingBox(), nullptr);
}

TEST_F(Save, ControlClickSavesToTheObjectThatWasShown) {
  start();
  click("P Т-1");
  type("Наименование", "P новое");
  click(find("Q Т-1"), Qt::ControlModifier);
  EXPECT_TRUE(processUntil([&] { return shownName("P Т-1") == "P новое"; }));
  settle();
  EXPECT_EQ(shownName("Q Т-1"), "Q Т-1");
}

TEST_F(Save, UpdateThatDoesNotGoOutIsReportedAndCancelled) {
  start();
  click("P Т-1");
  type("Наименование", "P новое");
  app.failures.add("BlockEnd", Fail::kRefuseToSend);
  module->actSave->trigger();
  expectBox("Ошибка изменения данных",
            QString(kPrefix) + "и данных возникла непредвиденная ошибка.\nДанные не были изменены!");
  EXPECT_FALSE(module->passportEdited);
  EXPECT_FALSE(module->actSave->isEnabled());
  EXPECT_EQ(shown("Наименование"), "P Т-1");
}

TEST_F(Save, ChangedParentLinkIsNotedAsAnOwnMove) {
  start();
  CMDArray array;
  MDACopy(array.array, module->strRemoteUnit.array, 0);
  MDRData* record = MDARecNew(array.array);
  const QByteArray unit = key("Без папки").toLatin1();
  const QByteArray folder = key("ОРУ-110").toLatin1();
  array.SetVal(record, 0, textVar(unit));
  array.SetValF(record, MDRFldByName(array.array, "RemoteUnitFolderKey")->number, textVar(folder));
  array.RecPost(record);
  QStringList tables{"RemoteUnit"};
  QList<CMDArray*> arrays{&array};
  app.log.clear();
  EXPECT_TRUE(module->Save(tables, arrays, false));
  EXPECT_EQ(module->ownMoves, QStringList{key("Без папки")});
  EXPECT_EQ(writes(), (QStringList{"BlockBeg", "SqlUpdate RemoteUnit 1 records", "BlockEnd"}));
}

// ---- the insert path -------------------------------------------------------------------------------------

TEST_F(Save, InsertWritesTheWholeChainAndWaits) {
  start();
  makeNew("P новое", 7777);
  module->actSave->trigger();
  EXPECT_EQ(waitingBox(), nullptr);
  const QStringList sent = writes();
  EXPECT_EQ(sent, (QStringList{"BlockBeg", "SqlUpdate IdentifiedObject 1 records", "SqlUpdate Measurement 1 records",
                               "SqlUpdate Analog 1 records", "BlockEnd"}));
  EXPECT_FALSE(module->newObjectInPassport);
  EXPECT_FALSE(module->actSave->isEnabled());
  CLiteModel model(module->moduleCodec);
  module->getLiteModel(newKey, model);
  EXPECT_FALSE(model.IsEmpty());
}

TEST_F(Save, InsertThatIsNotAnsweredInTimeCountsAsDone) {
  start();
  makeNew("P новое", 7777);
  app.failures.add("BlockEnd", Fail::kTimeOut);
  module->actSave->trigger();
  EXPECT_EQ(waitingBox(), nullptr);
  EXPECT_FALSE(module->newObjectInPassport);
}

TEST_F(Save, InsertThatFailsIsReported) {
  for (Fail fail : {Fail::kStatus, Fail::kNoReply}) {
    module = std::make_unique<CTlmMeasConfig>(&app);
    start();
    makeNew("P новое", 7777);
    app.failures.add("BlockEnd", fail);
    module->actSave->trigger();
    app.failures.clear();
    expectBox("Ошибка изменения данных",
              QString(kPrefix) + "я данных возникла непредвиденная ошибка.\nДанные не были изменены!");
    EXPECT_FALSE(module->newObjectInPassport);
  }
}

TEST_F(Save, InsertIsCheckedForItsNumber) {
  start();
  makeNew("P новое", 1002);
  module->actSave->trigger();
  EXPECT_TRUE(module->newObjectInPassport);
  expectBox("Ошибка", "Измерение с таким же номером уже существует");
  module->onActCancel_Triggered();
}

// ---- the delete path -------------------------------------------------------------------------------------

TEST_F(Save, DeleteWritesTheTablesOfEachClassInFirstUse) {
  start();
  module->groupDeletePending = true;
  module->pendingDeletes =
      QStringList{key("P Т-1") + ",Analog", ",", "alone", key("Без папки") + ",RemoteUnit", key("ОРУ-110") + ","};
  app.log.clear();
  app.failures.add("BlockEnd", Fail::kRefuseToSend);
  module->onActSave_Triggered();
  EXPECT_EQ(writes().mid(0, 6),
            (QStringList{"BlockBeg", "SqlUpdate IdentifiedObject 2 records", "SqlUpdate Measurement 1 records",
                         "SqlUpdate Analog 1 records", "SqlUpdate RemoteUnit 1 records",
                         "SqlUpdate RemoteUnitFolder 1 records"}));
  // Nothing went out: the list stays for the next attempt.
  EXPECT_TRUE(module->groupDeletePending);
  EXPECT_EQ(module->pendingDeletes.size(), 5);
  expectBox("Ошибка изменения данных",
            QString(kPrefix) + "я данных возникла непредвиденная ошибка.\nДанные не были изменены!");
}

TEST_F(Save, DeleteThatWentOutEmptiesTheList) {
  start();
  module->groupDeletePending = true;
  module->pendingDeletes = QStringList{key("P Т-1") + ",Analog"};
  module->onActSave_Triggered();
  EXPECT_FALSE(module->groupDeletePending);
  EXPECT_TRUE(module->pendingDeletes.isEmpty());
  CLiteModel model(module->moduleCodec);
  module->getLiteModel(key("P Т-1"), model);
  EXPECT_TRUE(model.IsEmpty());
}

// ---- cancel ----------------------------------------------------------------------------------------------

TEST_F(Save, CancelBringsTheServersStateBack) {
  start();
  click("P Т-1");
  type("Наименование", "P новое");
  EXPECT_EQ(shown("Наименование"), "P новое");
  module->actCancel->trigger();
  EXPECT_EQ(shown("Наименование"), "P Т-1");
  EXPECT_FALSE(module->passportEdited);
  EXPECT_FALSE(module->actSave->isEnabled());
  EXPECT_FALSE(module->passport.HasChanges());
  EXPECT_FALSE(app.edited);
}

TEST_F(Save, CancelWithoutAnEditAsksNothing) {
  start();
  click("P Т-1");
  app.log.clear();
  module->onActCancel_Triggered();
  EXPECT_EQ(app.log, QStringList());
}

TEST_F(Save, AnswerToTheSaveQuestionSavesOrCancels) {
  start();
  for (int role : {0, 1}) {
    click("P Т-1");
    type("Примечание", role == 0 ? "да" : "нет");
    module->PopMessageBoxCreate()->setMessage("Сохранение", "Сохранить?", kBoxInformation, kBoxYesNo,
                                              SLOT(confirmSave(QAbstractButton*)));
    module->popMessageBox->show();
    answerBox(module->popMessageBox, role);
    EXPECT_FALSE(module->popMessageBox->isVisible());
    settle();
    EXPECT_FALSE(module->passportEdited);
    EXPECT_EQ(shown("Примечание"), "да");
  }
}

TEST_F(Save, AnswerWithoutAButtonDoesNothing) {
  start();
  click("P Т-1");
  type("Примечание", "да");
  module->confirmSave(nullptr);
  EXPECT_TRUE(module->passportEdited);
  module->onActCancel_Triggered();
}

}  // namespace
}  // namespace tlm::test
