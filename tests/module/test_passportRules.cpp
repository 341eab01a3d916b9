// What is sent to the server, mark by mark; the order of checks; what redisplays and subscriptions do.
#include <QLineEdit>

#include "ModuleWindow.h"
#include "RecordAccess.h"
#include "WorkWithData.h"

namespace tlm::test {
namespace {

// Notes the marks of every record that is sent: "Table 2 name_=marked" and so on.
class MarkNotes : public CTlmCliSes, public CTlmCliAbo {
 public:
  explicit MarkNotes(CTlmCliAbo* real) : abo_(real), real_(real->Session()) {}

  struct Sent {
    QString table;
    int kind = 0;
    int marked = 0;
    int fields = 0;
    QString key;
  };
  QList<Sent> sent;

  bool SqlUpdate(const char* table, MDArray* records, bool flag, MDXCliParam** reply) override {
    for (int i = 0; i < MDARecCount(records); ++i) {
      const MDRData* record = MDARec(records, 0, i);
      Sent one{table, MDRGetFlags(record), 0, MDAFldCount(records), {}};
      for (int f = 0; f < one.fields; ++f) one.marked += MDRIsUser(MDRFldByNum(records, f), record, nullptr) == 1;
      char* text = nullptr;
      MDRGetTextPtr(MDRFldByNum(records, 0), record, &text);
      one.key = text;
      sent << one;
    }
    EXPECT_TRUE(flag);
    EXPECT_EQ(reply, nullptr);
    return real_->SqlUpdate(table, records, flag, reply);
  }
  bool PacketExec(const char* name, const unsigned char* data, int length, MDXCliParam** reply) override {
    return real_->PacketExec(name, data, length, reply);
  }
  bool CalcExec(const char* script, CVar* args, MDXCliParam** reply) override {
    return real_->CalcExec(script, args, reply);
  }
  bool ProcExec(const char* name, CVar* args, MDXCliParam** reply) override {
    return real_->ProcExec(name, args, reply);
  }
  void BlockBeg() override { real_->BlockBeg(); }
  bool BlockEnd(bool send, MDXCliParam** reply) override { return real_->BlockEnd(send, reply); }
  bool WaitResult(MDXCliParam** reply, int timeoutMs) override {
    waits << timeoutMs;
    return real_->WaitResult(reply, timeoutMs);
  }
  void PrmFree(MDXCliParam* reply) override { real_->PrmFree(reply); }
  double MdxTimeToSesTime(double time) override { return real_->MdxTimeToSesTime(time); }
  QTextCodec* Codec() const override { return real_->Codec(); }
  void SubEvent(const int* ids, int count) override { abo_->SubEvent(ids, count); }
  void SubParam(const int* ids, int count) override { abo_->SubParam(ids, count); }
  CTlmCliSes* Session() const override { return const_cast<MarkNotes*>(this); }
  MDXCliParam* TakeMessage() override { return abo_->TakeMessage(); }
  void SetModule(CTlmCliMod* module) override { abo_->SetModule(module); }

  QList<int> waits;

 private:
  CTlmCliAbo* abo_;
  CTlmCliSes* real_;
};

constexpr char kModel[] = R"(table Archives Архив ТИ {type_=1}
table MeasurementArchGroup Часовая {aggregatedData=1;ArchivesKey=@Архив ТИ}
table Calculations RES1001 {fname=RES1001;formula=VAL1002;enabled=1;period=10}
table ServerGroups Группа 1 {number=1}
folder Подстанция
  unit КП-1 {SrvGroup=1}
    analog 1001 P
      analog 1101 P час {MeasurementArchGroupKey=@Часовая}
    analog 1002 Q
    discrete 1003 В-110
    accumulator 1004 Wp
    string 1005 Режим
  unit КП-0 {SrvGroup=0}
)";

class Rules : public ModuleWindow {
 protected:
  Rules() : ModuleWindow(kModel) {}
  ~Rules() override { module.reset(); }

  void startNoting() {
    start();
    notes = std::make_unique<MarkNotes>(module->abo);
    module->abo = notes.get();
  }
  void TearDown() override {
    if (notes) module->abo = app.line().abo();
  }
  // The box that waits, answered.
  QString boxText() {
    CPopMessageBox* box = waitingBox();
    if (!box) return "no box";
    const QString text = box->messageText();
    answerBox(box, 0);
    return text;
  }
  QStringList sentKinds() {
    QStringList out;
    for (const MarkNotes::Sent& one : notes->sent)
      out << QString("%1 %2 %3").arg(one.table).arg(one.kind).arg(one.marked);
    return out;
  }
  // One measurement's record with a new folder link or number.
  void fill(CMDArray& array, const CMDArray& structure, const QByteArray& objectKey) {
    MDACopy(array.array, structure.array, 0);
    MDRData* record = MDARecNew(array.array);
    array.SetVal(record, 0, textVar(objectKey));
    array.RecPost(record);
  }

  std::unique_ptr<MarkNotes> notes;
};

// ---- marks -----------------------------------------------------------------------------------------------

TEST_F(Rules, UpdateMarksTheEditedFieldsAlone) {
  startNoting();
  click("P");
  type("Примечание", "да");
  module->actSave->trigger();
  EXPECT_EQ(sentKinds(), (QStringList{"IdentifiedObject 2 0", "Measurement 2 1", "Analog 2 0"}));
  EXPECT_EQ(notes->sent.value(1).key, key("P"));
}

TEST_F(Rules, KnownCalculationIsUpdatedAndAnUnknownOneInserted) {
  startNoting();
  for (const auto& [name, kind] : {std::pair<const char*, int>{"P", 2}, {"Q", 1}}) {
    notes->sent.clear();
    click(name);
    ASSERT_EQ(module->ui->tabWidget_prop->count(), 2) << name;
    module->ui->tabWidget_prop->setCurrentIndex(1);
    auto* page = module->ui->tabWidget_prop->widget(1)->findChild<QAbstractItemView*>();
    ASSERT_NE(page, nullptr);
    int column = -1;
    for (int i = 0; i < page->model()->columnCount(); ++i)
      if (page->model()->headerData(i, Qt::Horizontal).toString().startsWith("Период")) column = i;
    ASSERT_GE(column, 0);
    module->activateWindow();
    page->setFocus();
    page->setCurrentIndex(page->model()->index(0, column));
    page->edit(page->currentIndex());
    auto* editor = qobject_cast<QLineEdit*>(QApplication::focusWidget());
    ASSERT_NE(editor, nullptr);
    editor->selectAll();
    QTest::keyClicks(editor, "15");
    QTest::keyClick(editor, Qt::Key_Return);
    module->actSave->trigger();
    ASSERT_FALSE(notes->sent.isEmpty()) << name;
    EXPECT_EQ(notes->sent.last().table, "Calculations");
    EXPECT_EQ(notes->sent.last().kind, kind) << name;
    ASSERT_TRUE(processUntil([&] { return !module->passport.HasChanges(); }));
    settle();
  }
}

TEST_F(Rules, SaveMarksAllFieldsOfAnInsertAndWaitsFiveSeconds) {
  startNoting();
  CMDArray array;
  fill(array, module->strRemoteUnitFolder, QByteArray(32, 'F'));
  QStringList tables{"RemoteUnitFolder"};
  QList<CMDArray*> arrays{&array};
  notes->waits.clear();
  EXPECT_TRUE(module->Save(tables, arrays, true));
  ASSERT_EQ(notes->sent.size(), 1);
  EXPECT_EQ(notes->sent[0].kind, 1);
  EXPECT_EQ(notes->sent[0].marked, notes->sent[0].fields);
  EXPECT_EQ(notes->waits, QList<int>{5000});
  EXPECT_EQ(MDARecCount(array.array), 1) << "the caller's arrays stay as they are";
}

TEST_F(Rules, SaveOfAnUpdateInsertsNoCalculation) {
  startNoting();
  CMDArray array;
  fill(array, module->tblCalculations, QByteArray(32, 'C'));
  QStringList tables{"Calculations"};
  QList<CMDArray*> arrays{&array};
  module->Save(tables, arrays, false);
  ASSERT_EQ(notes->sent.size(), 1);
  EXPECT_EQ(notes->sent[0].kind, 2);
}

TEST_F(Rules, SaveThatFailsSaysSoAndTouchesNothing) {
  start();
  click("P");
  type("Примечание", "да");
  CMDArray array;
  fill(array, module->strRemoteUnitFolder, QByteArray(32, 'F'));
  QStringList tables{"RemoteUnitFolder"};
  QList<CMDArray*> arrays{&array};
  for (bool isNew : {true, false}) {
    app.failures.add("BlockEnd", Fail::kStatus);
    EXPECT_FALSE(module->Save(tables, arrays, isNew));
    app.failures.clear();
    ASSERT_NE(waitingBox(), nullptr);
    EXPECT_EQ(waitingBox()->titleText(), "Ошибка изменения данных");
    EXPECT_EQ(boxText(), "При изменения данных возникла непредвиденная ошибка.\nДанные не были изменены!");
  }
  EXPECT_TRUE(module->passportEdited);
  EXPECT_TRUE(module->passport.HasChanges());
  EXPECT_TRUE(module->actSave->isEnabled());
  module->onActCancel_Triggered();
}

TEST_F(Rules, SaveThatIsNotAnsweredInTimeCountsAsDone) {
  start();
  CMDArray array;
  fill(array, module->strRemoteUnitFolder, QByteArray(32, 'F'));
  QStringList tables{"RemoteUnitFolder"};
  QList<CMDArray*> arrays{&array};
  app.failures.add("BlockEnd", Fail::kTimeOut);
  EXPECT_TRUE(module->Save(tables, arrays, true));
  EXPECT_EQ(waitingBox(), nullptr);
}

TEST_F(Rules, LinkThatIsNotMarkedIsNoOwnMove) {
  start();
  CMDArray array;
  fill(array, module->strRemoteUnit, key("КП-1").toLatin1());
  QStringList tables{"RemoteUnit"};
  QList<CMDArray*> arrays{&array};
  ASSERT_TRUE(module->Save(tables, arrays, false));
  EXPECT_EQ(module->ownMoves, QStringList());
}

TEST_F(Rules, LinkOfARecordWithoutAKeyIsNoOwnMove) {
  start();
  CMDArray array;
  fill(array, module->strRemoteUnit, QByteArray());
  const QByteArray folder = key("Подстанция").toLatin1();
  MDRData* record = MDARec(array.array, 0, 0);
  array.SetValF(record, MDRFldByName(array.array, "RemoteUnitFolderKey")->number, textVar(folder));
  QStringList tables{"RemoteUnit"};
  QList<CMDArray*> arrays{&array};
  EXPECT_FALSE(module->Save(tables, arrays, false));
  boxText();
  EXPECT_EQ(module->ownMoves, QStringList());
}

// ---- the insert path's ends ------------------------------------------------------------------------------

TEST_F(Rules, InsertWhoseBlockDoesNotGoOutCountsAsDone) {
  start();
  click("P");
  module->newObjectInPassport = true;
  app.failures.add("BlockEnd", Fail::kRefuseToSend);
  module->onActSave_Triggered();
  EXPECT_EQ(waitingBox(), nullptr);
  EXPECT_FALSE(module->newObjectInPassport);
}

TEST_F(Rules, AggregatedDataIsOfferedAfterAnInsert) {
  start();
  click("P");
  ASSERT_TRUE(module->actAgregData->isEnabled());
  module->actAgregData->setEnabled(false);
  module->newObjectInPassport = true;
  module->onActSave_Triggered();
  EXPECT_TRUE(module->actAgregData->isEnabled());
}

// ---- the delete path -------------------------------------------------------------------------------------

TEST_F(Rules, DeleteTravelsUnwaitedAndCarriesKeysAlone) {
  startNoting();
  module->groupDeletePending = true;
  module->pendingDeletes = QStringList{key("Q") + ",Analog"};
  notes->waits.clear();
  module->onActSave_Triggered();
  EXPECT_EQ(sentKinds(), (QStringList{"IdentifiedObject 4 1", "Measurement 4 1", "Analog 4 1"}));
  EXPECT_EQ(notes->waits, QList<int>());
  EXPECT_EQ(app.log.filter("BlockEnd").last(), "BlockEnd unwaited");
}

TEST_F(Rules, DeleteThatWentOutForgetsEditsAndTurnsSaveOff) {
  start();
  click("P");
  type("Примечание", "да");
  module->groupDeletePending = true;
  module->pendingDeletes = QStringList{key("Q") + ",Analog"};
  module->onActSave_Triggered();
  EXPECT_FALSE(module->passport.HasChanges());
  EXPECT_FALSE(module->actSave->isEnabled());
  EXPECT_FALSE(module->actCancel->isEnabled());
  EXPECT_TRUE(module->actDel->isEnabled());
}

TEST_F(Rules, DeleteThatDoesNotGoOutCancels) {
  start();
  click("P");
  type("Примечание", "да");
  module->groupDeletePending = true;
  module->pendingDeletes = QStringList{key("Q") + ",Analog"};
  app.failures.add("BlockEnd", Fail::kRefuseToSend);
  module->onActSave_Triggered();
  EXPECT_EQ(boxText(), "При изменения данных возникла непредвиденная ошибка.\nДанные не были изменены!");
  EXPECT_FALSE(module->passportEdited);
  EXPECT_FALSE(module->actSave->isEnabled());
  EXPECT_EQ(shown("Примечание"), "");
  EXPECT_TRUE(module->groupDeletePending);
  app.failures.clear();
  app.log.clear();
  module->onActSave_Triggered();
  EXPECT_EQ(app.log.filter("SqlUpdate").size(), 3) << "the next attempt deletes the same";
  EXPECT_FALSE(module->groupDeletePending);
}

TEST_F(Rules, NumberOfEitherWidthMayNotBeZero) {
  for (uint8_t type : {MDX_INT32, MDX_INT64})
    for (int number : {0, 5}) {
      CMDArray array;
      MDRFldDesc field{};
      qstrncpy(field.name, "locId", sizeof field.name);
      field.type = type;
      MDAFldAdd(array.array, 1, &field);
      MDRData* record = MDARecNew(array.array);
      array.SetVal(record, "locId", intVar(number));
      array.RecPost(record);
      ASSERT_EQ(MDARecCount(array.array), 1);
      EXPECT_EQ(module->CheckNullLocId("Measurement", &array), number == 0) << int(type);
    }
}

TEST_F(Rules, AnEmptyListOfDeletesIsNoDelete) {
  start();
  click("P");
  type("Примечание", "да");
  module->groupDeletePending = true;
  app.log.clear();
  module->onActSave_Triggered();
  EXPECT_EQ(app.log.filter("SqlUpdate").size(), 3);
  EXPECT_FALSE(module->passportEdited);
}

// ---- the checks in their order ---------------------------------------------------------------------------

TEST_F(Rules, TheFirstTableIsCheckedFirst) {
  start();
  click("P");
  type("Номер", "1002");
  type("Наименование", "");
  module->onActSave_Triggered();
  EXPECT_EQ(boxText(), "Не заполнено поле Наименование");
  module->onActCancel_Triggered();
}

TEST_F(Rules, NumberComesBeforeTheArchiveGroup) {
  start();
  click("P");
  type("Номер", "1002");
  const QModelIndex archived = field("Архивирование");
  module->ui->tV_Prop->setCurrentIndex(archived);
  QTest::keyClick(module->ui->tV_Prop, Qt::Key_Space);
  module->onActSave_Triggered();
  EXPECT_EQ(boxText(), "Измерение с таким же номером уже существует");
  type("Номер", "1777");
  module->onActSave_Triggered();
  EXPECT_EQ(boxText(), "Не выбрана архивная группа");
  module->onActCancel_Triggered();
}

TEST_F(Rules, NullNumberIsRefused) {
  start();
  click("P");
  for (const char* number : {"", "0"}) {
    type("Номер", number);
    module->onActSave_Triggered();
    EXPECT_EQ(boxText(), "Номер измерения не может быть равен 0") << number;
  }
  module->onActCancel_Triggered();
}

TEST_F(Rules, UnitNeedsAServerGroup) {
  start();
  click("КП-0");
  type("Порт", "2404");
  module->onActSave_Triggered();
  EXPECT_EQ(boxText(), "Не заполнена серверная группа");
  EXPECT_TRUE(module->passport.HasChanges());
  module->onActCancel_Triggered();
}

TEST_F(Rules, RefusalIsForgottenAtTheNextSave) {
  start();
  click("P");
  type("Наименование", "");
  module->onActSave_Triggered();
  boxText();
  EXPECT_TRUE(module->saveRefused);
  type("Наименование", "P новое");
  module->onActSave_Triggered();
  EXPECT_FALSE(module->saveRefused);
  EXPECT_EQ(waitingBox(), nullptr);
}

// ---- redisplays and subscriptions ------------------------------------------------------------------------

TEST_F(Rules, NewObjectSubscribesByItsClass) {
  start();
  const std::pair<const char*, const char*> rows[] = {{"P", "SubParam 1001"}, {"Wp", "SubParam"}};
  for (const auto& [name, subscription] : rows) {
    find(name);
    module->PrepareSubParam(9);
    app.failures.add("PacketExec LiteModel", Fail::kStatus);
    app.log.clear();
    click(name);
    EXPECT_EQ(app.log.filter("SubParam"), QStringList{subscription}) << name;
    EXPECT_EQ(app.log.filter("ObjectHint"), QStringList()) << name;
    app.failures.clear();
  }
}

// ---- an object that the server did not give --------------------------------------------------------------

TEST_F(Rules, ObjectThatDidNotComeLocksNoOther) {
  start();
  find("Q");
  app.failures.add("PacketExec LiteModel", Fail::kStatus);
  click("P");
  EXPECT_EQ(shown("Наименование"), "P");
  app.failures.clear();
  click("Q");
  EXPECT_FALSE(module->passport.HasChanges());
  EXPECT_TRUE(field("Наименование").flags() & Qt::ItemIsEditable);
  type("Примечание", "да");
  app.log.clear();
  module->actSave->trigger();
  EXPECT_EQ(app.log.filter("SqlUpdate IdentifiedObject"), QStringList{"SqlUpdate IdentifiedObject 1 records"});
}

TEST_F(Rules, ObjectThatDidNotComeLocksNotTheSheetOfSeveral) {
  start();
  find("Q");
  app.failures.add("PacketExec LiteModel", Fail::kStatus);
  click("P");
  ASSERT_TRUE(module->passport.HasChanges());
  app.failures.clear();
  click(find("Q"), Qt::ControlModifier);
  EXPECT_FALSE(module->passport.HasChanges());
  EXPECT_TRUE(field("Примечание").flags() & Qt::ItemIsEditable);
}

TEST_F(Rules, ObjectThatDidNotComeIsNotInsertedBesideANewOne) {
  startNoting();
  find("Q");
  app.failures.add("PacketExec LiteModel", Fail::kStatus);
  click("P");
  app.failures.clear();
  notes->sent.clear();
  module->ExecActAdd("Analog", key("КП-1"), false);
  ASSERT_TRUE(module->newObjectInPassport);
  const QString added = module->passport.currentKey;
  module->actSave->trigger();
  EXPECT_EQ(waitingBox(), nullptr);
  QStringList keys;
  for (const MarkNotes::Sent& one : notes->sent) keys << one.key;
  EXPECT_EQ(keys, (QStringList{added, added, added}));
}

TEST_F(Rules, EditOfAnObjectThatDidNotComeIsKept) {
  start();
  find("Q");
  app.failures.add("PacketExec LiteModel", Fail::kStatus);
  click("P");
  app.failures.clear();
  type("Примечание", "да");
  EXPECT_TRUE(module->passportEdited);
  module->UpdateTlmPassport(find("Q"));
  EXPECT_TRUE(module->passport.HasChanges());
  module->onActCancel_Triggered();
  EXPECT_FALSE(module->passport.HasChanges());
}

TEST_F(Rules, RedisplaySubscribesToo) {
  start();
  const QModelIndex row = find("В-110");
  app.log.clear();
  module->UpdateTlmPassport(row);
  EXPECT_EQ(app.log.filter("SubParam"), QStringList{"SubParam 1003"});
}

TEST_F(Rules, RedisplayLocksToo) {
  start();
  module->UpdateTlmPassport(find("P час"));
  EXPECT_FALSE(field("Единица измерения").flags() & Qt::ItemIsEditable);
  module->UpdateTlmPassportMeas(key("P"), "Analog", false);
  EXPECT_TRUE(field("Единица измерения").flags() & Qt::ItemIsEditable);
  EXPECT_FALSE(field("Класс").flags() & Qt::ItemIsEditable);
  module->UpdateTlmPassportMeas(key("P час"), "Analog", false);
  EXPECT_FALSE(field("Единица измерения").flags() & Qt::ItemIsEditable);
}

TEST_F(Rules, MeasurementThatIsNotHeldIsNotShownAgain) {
  start();
  click("P");
  app.log.clear();
  module->UpdateTlmPassportMeas(key("КП-1"), "RemoteUnit", true);
  EXPECT_EQ(app.log, QStringList{"PacketExec LiteModel obj=" + key("КП-1")});
  EXPECT_EQ(module->passport.currentKey, key("P"));
  module->UpdateTlmPassportMeas(QString(32, 'Z'), "Analog", true);
  EXPECT_EQ(module->passport.currentKey, key("P"));
}

TEST_F(Rules, HeadingOfSeveralKindsNamesTheFirst) {
  start();
  click("P");
  click(find("В-110"), Qt::ControlModifier);
  const QString texts = treeText(*module->ui->tV_Prop->model());
  EXPECT_TRUE(texts.startsWith(" P\n") || texts.startsWith("P\n")) << texts.toStdString();
  EXPECT_FALSE(texts.contains("Наименование"));
}

TEST_F(Rules, SheetKeepsPlaceAndClosedGroupsFromRowToRow) {
  start();
  click("P");
  QTreeView* sheet = module->ui->tV_Prop;
  const QModelIndex group = field("Наименование").parent();
  sheet->setExpanded(group, false);
  sheet->setCurrentIndex(field("Смещение"));
  sheet->scrollTo(field("Смещение"), QAbstractItemView::PositionAtTop);
  const QModelIndex top = sheet->indexAt(QPoint(1, 1));
  const QString topText = top.data().toString();
  click("Q");
  EXPECT_EQ(sheet->indexAt(QPoint(1, 1)).data().toString(), topText);
  EXPECT_FALSE(sheet->isExpanded(field("Наименование").parent()));
  EXPECT_EQ(sheet->currentIndex().sibling(sheet->currentIndex().row(), 0).data().toString(), "Смещение");
}

}  // namespace
}  // namespace tlm::test
