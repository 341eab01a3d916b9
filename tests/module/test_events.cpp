// What the server publishes: decoding, merging, and what the window makes of it.
#include <QLineEdit>
#include <QSignalSpy>

#include <TlmServer/LiveValues.h>

#include "EventWindow.h"

namespace tlm::test {
namespace {

class Events : public EventWindow {};

// ---- decoding --------------------------------------------------------------------------------------------

struct TableCase {
  const char* name;
  int kind;
  const char* param;
  const char* table;
};

void PrintTo(const TableCase& row, std::ostream* out) { *out << row.name; }

class EventTable : public testing::TestWithParam<TableCase> {};

TEST_P(EventTable, IsCutOutOfTheParameter) {
  Message message(GetParam().kind, "K", GetParam().param);
  EXPECT_EQ(TEventNciParse(message.get(), QTextCodec::codecForName("Windows-1251")).table, GetParam().table);
}

const TableCase kTables[] = {
    {"Added", 601, "tbl=Measurement,op=1", "Measurement"},
    {"Changed", 602, "tbl=Analog,", "Analog"},
    {"Deleted", 603, "tbl=RemoteUnit,a,b", "RemoteUnit"},
    {"Other", 631, "tbl=Tables,x", "Tables"},
    {"PrefixIsNotLookedAt", 602, "abcdTables,x", "Tables"},
    {"WithoutAComma", 602, "tbl=Measurement", ""},
    {"TooShort", 602, "a,b", ""},
    {"Empty", 602, "", ""},
    {"Receipt", 903, "id=1001,res=2", ""},
};

INSTANTIATE_TEST_SUITE_P(Module, EventTable, testing::ValuesIn(kTables),
                         [](const auto& each) { return std::string(each.param.name); });

TEST(EventParse, ReadsKindKeyAndText) {
  Message message(602, "KEY", "tbl=Analog,x");
  const TEventNciParse ev(message.get(), QTextCodec::codecForName("Windows-1251"));
  EXPECT_EQ(ev.kind, 602);
  EXPECT_STREQ(ev.key, "KEY");
  EXPECT_STREQ(ev.paramText, "tbl=Analog,x");
  EXPECT_EQ(ev.var.fieldCount, 0);
}

TEST(ReceiptParse, ReadsTheNumbers) {
  Message both(903, "K", "id=1001,res=17");
  EXPECT_EQ(TEventTuParse(both.get()).locId, 1001);
  EXPECT_EQ(TEventTuParse(both.get()).extra, 17);
  EXPECT_EQ(TEventTuParse(both.get()).kind, 903);
  Message one(903, "K", "id=1001");
  EXPECT_EQ(TEventTuParse(one.get()).extra, 0);
  Message none(903, "K", "");
  EXPECT_EQ(TEventTuParse(none.get()).locId, 0);
}

// ---- merging ---------------------------------------------------------------------------------------------

TEST_F(Events, OfAnotherTypeAreIgnored) {
  start();
  const QString before = shownName("P Т-1");
  Message message(602, key("P Т-1").toLatin1(), "tbl=IdentifiedObject,", nullptr, nullptr, MDX_TYPE_PARAM);
  app.log.clear();
  EXPECT_EQ(module->MessageData(message.get()), 1);
  EXPECT_EQ(app.log, QStringList());
}

TEST_F(Events, OfUnknownKindsAndTablesAreDropped) {
  start();
  app.log.clear();
  for (int kind : {600, 604, 631, 700})
    send(kind, "P Т-1", "IdentifiedObject", module->strIdentifiedObject, {"name_=X"});
  send(602, "P Т-1", "Terminal", module->strIdentifiedObject, {"name_=X"});
  EXPECT_EQ(app.log, QStringList());
  EXPECT_EQ(shownName("P Т-1"), "P Т-1");
}

TEST_F(Events, NewNameReachesTheRowAndTheTree) {
  start();
  find("P Т-1");
  send(602, "P Т-1", "identifiedobject", module->strIdentifiedObject, {"name_=P новое"});
  EXPECT_EQ(held(module->measRecords, "P Т-1", "name_"), "P новое");
  EXPECT_EQ(shownName("P Т-1"), "P новое");
}

TEST_F(Events, NewNameOfAUnitReachesItsRow) {
  start();
  send(602, "КП-1", "IdentifiedObject", module->strIdentifiedObject, {"name_=КП-1 новое"});
  EXPECT_EQ(shownName("КП-1"), "КП-1 новое");
}

TEST_F(Events, FieldsThatAreNotCarriedStay) {
  start();
  find("P Т-1");
  send(602, "P Т-1", "IdentifiedObject", module->strIdentifiedObject, {"~name_=X", "description=Y"});
  EXPECT_EQ(held(module->measRecords, "P Т-1", "name_"), "P Т-1");
}

TEST_F(Events, CarriedNullClearsTheValue) {
  start();
  find("P Т-1");
  send(602, "P Т-1", "IdentifiedObject", module->strIdentifiedObject, {"name_"});
  EXPECT_EQ(held(module->measRecords, "P Т-1", "name_"), "");
  EXPECT_EQ(shownName("P Т-1"), "");
}

TEST_F(Events, OfAnObjectThatIsNotHereChangeNothing) {
  start();
  const int before = MDARecCount(module->measRecords.array);
  app.log.clear();
  send(602, "Q-110", "IdentifiedObject", module->strIdentifiedObject, {"name_=X"});
  send(602, "Q-110", "Measurement", module->strMeasurement, {"locId=5"});
  EXPECT_EQ(MDARecCount(module->measRecords.array), before);
  EXPECT_EQ(app.log, QStringList());
}

TEST_F(Events, NewNumberOfAMeasurementIsShown) {
  start();
  find("P Т-1");
  send(602, "P Т-1", "Measurement", module->strMeasurement, {"locId=1777", "work_=0"});
  EXPECT_EQ(numberOf(find("P Т-1")), "1777");
  EXPECT_EQ(find("P Т-1").data(Qt::ForegroundRole).value<QColor>(), QColor(125, 125, 125));
}

TEST_F(Events, UnitOutOfServiceTurnsGrey) {
  start();
  send(602, "КП-1", "RemoteUnit", module->strRemoteUnit, {"StateRtu=0"});
  EXPECT_EQ(find("КП-1").data(Qt::ForegroundRole).value<QColor>(), QColor(125, 125, 125));
}

TEST_F(Events, FolderGetsItsNewCaption) {
  start();
  send(602, "ОРУ-110", "RemoteUnitFolder", module->strRemoteUnitFolder, {"caption=ОРУ-220"});
  EXPECT_EQ(shownName("ОРУ-110"), "ОРУ-220");
}

TEST_F(Events, SheetMovesToTheChangedObjectAndTheSelectionStays) {
  start();
  find("P Т-1");
  click("Q-110");
  send(602, "P Т-1", "IdentifiedObject", module->strIdentifiedObject, {"name_=P новое"});
  EXPECT_EQ(module->passport.currentKey, key("P Т-1"));
  EXPECT_EQ(tree()->currentIndex(), find("Q-110"));
}

class SheetMoved : public Events {
 protected:
  void SetUp() override {
    start();
    find("P Т-1");
    click("Q-110");
    send(602, "P Т-1", "IdentifiedObject", module->strIdentifiedObject, {"name_=P новое"});
    app.log.clear();
  }
};

TEST_F(SheetMoved, ComesBackWithAClickOnTheSelectedRow) {
  click("Q-110");
  EXPECT_EQ(module->passport.currentKey, key("Q-110"));
  EXPECT_EQ(app.log.filter("LiteModel").size(), 1);
  click("Q-110");
  EXPECT_EQ(app.log.filter("LiteModel").size(), 1) << "it stands already";
}

TEST_F(SheetMoved, ComesBackToARowWithoutAnObject) {
  click(find("Q-110").parent());
  send(602, "P Т-1", "IdentifiedObject", module->strIdentifiedObject, {"name_=P другое"});
  EXPECT_EQ(module->passport.currentKey, key("P Т-1"));
  click(find("Q-110").parent());
  EXPECT_EQ(module->passport.currentKey, QString());
}

TEST_F(SheetMoved, ComesBackWithoutAnEditWhenTheServerDoesNotAnswer) {
  app.failures.add("PacketExec LiteModel", Fail::kStatus);
  click("Q-110");
  EXPECT_EQ(module->passport.currentKey, key("Q-110"));
  EXPECT_FALSE(module->actSave->isEnabled());
  EXPECT_FALSE(app.edited);
}

TEST_F(SheetMoved, IsAskedForAgainByTheNextClickWhenTheServerAnswers) {
  app.failures.add("PacketExec LiteModel", Fail::kStatus);
  click("Q-110");
  app.failures.clear();
  click("Q-110");
  EXPECT_FALSE(module->liteModel.IsEmpty());
  app.log.clear();
  click("Q-110");
  EXPECT_EQ(app.log.filter("LiteModel").size(), 0) << "it is known now";
}

TEST_F(SheetMoved, OfARowThatIsSelectedIsAskedForOnceByItsClick) {
  app.failures.add("PacketExec LiteModel", Fail::kStatus);
  click("P Т-1");
  EXPECT_EQ(app.log.filter("LiteModel").size(), 1);
  click("P Т-1");
  EXPECT_EQ(app.log.filter("LiteModel").size(), 2);
}

TEST_F(SheetMoved, StaysWhileItIsBeingEdited) {
  module->onPasspChanged();
  click("Q-110");
  EXPECT_EQ(module->passport.currentKey, key("P Т-1"));
}

TEST_F(SheetMoved, StaysWhileSeveralRowsAreSelected) {
  click(find("Р-110"), Qt::ControlModifier);
  send(602, "P Т-1", "IdentifiedObject", module->strIdentifiedObject, {"name_=P другое"});
  app.log.clear();
  click(find("Р-110"), Qt::ShiftModifier);
  EXPECT_EQ(app.log.filter("LiteModel").size(), 0);
}

TEST_F(Events, WithoutAnImageStillShowTheObjectAgain) {
  start();
  click("P Т-1");
  app.log.clear();
  Message message(602, key("P Т-1").toLatin1(), "tbl=IdentifiedObject,x");
  module->MessageData(message.get());
  EXPECT_EQ(app.log.filter("LiteModel").size(), 1);
  EXPECT_EQ(shownName("P Т-1"), "P Т-1");
}

TEST_F(Events, OfASubclassShowTheObjectAgainWhereItIsShown) {
  start();
  click("P Т-1");
  for (const char* table : {"Analog", "Accumulator", "StringMeasurement", "Discrete"}) {
    app.log.clear();
    send(602, "P Т-1", table, module->strAnalog, {});
    EXPECT_EQ(app.log.filter("LiteModel").size(), 1) << table;
    app.log.clear();
    send(602, "Q-110", table, module->strAnalog, {});
    EXPECT_EQ(app.log.filter("LiteModel").size(), 0) << table;
  }
}

TEST_F(Events, CheckTuReachesRowAndNode) {
  start();
  const QModelIndex row = find("Q-110");
  ASSERT_TRUE(nodeOf(row)->checkTu);
  send(602, "Q-110", "Discrete", module->strDiscrete, {"CheckTu=0"});
  EXPECT_FALSE(nodeOf(row)->checkTu);
  send(602, "Q-110", "Discrete", module->strDiscrete, {"CheckTu=1"});
  EXPECT_TRUE(nodeOf(row)->checkTu);
  send(602, "Q-110", "Discrete", module->strDiscrete, {"~CheckTu=0"});
  EXPECT_TRUE(nodeOf(row)->checkTu);
  send(602, "Q-110", "Discrete", module->strDiscrete, {"CheckTu"});
  EXPECT_FALSE(nodeOf(row)->checkTu);
}

TEST_F(Events, CheckTuIsWrittenIntoTheRow) {
  start();
  find("Q-110");
  const auto held = [&] {
    MDRVar value{};
    module->measRecords.GetVal(seekText(module->measRecords, 0, key("Q-110"), module->moduleCodec), "CheckTu", value);
    return hasValue(value) ? int(value.flag) : -1;
  };
  ASSERT_EQ(held(), 1);
  send(602, "Q-110", "Discrete", module->strDiscrete, {"CheckTu=0"});
  EXPECT_EQ(held(), 0);
  send(602, "Q-110", "Discrete", module->strDiscrete, {"CheckTu"});
  EXPECT_EQ(held(), -1);
}

TEST_F(Events, ChangedRowIsToldToTheViews) {
  start();
  const QModelIndex row = find("P Т-1");
  QSignalSpy changed(module->treeModel, &QAbstractItemModel::dataChanged);
  send(602, "P Т-1", "Analog", module->strAnalog, {});
  EXPECT_EQ(changed.size(), 0) << "a table of its class shows nothing in the tree";
  send(602, "P Т-1", "IdentifiedObject", module->strIdentifiedObject, {"name_=P новое"});
  ASSERT_GE(changed.size(), 1);
  EXPECT_EQ(changed[0][0].toModelIndex(), row);
}

// Notes the paintings of the tree among the requests.
class PaintedChanges : public Events {
 protected:
  void SetUp() override {
    start();
    click("P Т-1");
    notes_ = std::make_unique<Notes>(app.log);
    tree()->viewport()->installEventFilter(notes_.get());
    app.log.clear();
  }

 private:
  class Notes : public QObject {
   public:
    explicit Notes(QStringList& list) : list_(list) {}
    bool eventFilter(QObject*, QEvent* event) override {
      if (event->type() == QEvent::Paint) list_ << "paint";
      return false;
    }

   private:
    QStringList& list_;
  };
  std::unique_ptr<Notes> notes_;
};

TEST_F(PaintedChanges, AreSeenBeforeTheSheetAsksTheServer) {
  send(602, "P Т-1", "IdentifiedObject", module->strIdentifiedObject, {"name_=P новая"});
  ASSERT_FALSE(app.log.isEmpty());
  EXPECT_EQ(app.log.first(), "paint");
  EXPECT_EQ(app.log.filter("LiteModel").size(), 1);
}

TEST_F(PaintedChanges, OfAUnitAreSeenBeforeTheSheetAsksTheServer) {
  send(602, "КП-1", "RemoteUnit", module->strRemoteUnit, {"StateRtu=0"});
  ASSERT_FALSE(app.log.isEmpty());
  EXPECT_EQ(app.log.first(), "paint");
}

// A measurement's sheet is filled before its row is merged: painted earlier it would keep its old look.
TEST_F(PaintedChanges, OfAMeasurementAreSeenWhenTheyAreMerged) {
  send(602, "P Т-1", "Measurement", module->strMeasurement, {"locId=1777"});
  EXPECT_EQ(app.log.count("paint"), 0);
  settle();
  EXPECT_GT(app.log.count("paint"), 0);
}

TEST_F(Events, ChangeOfTheMeasurementShownEndsWithoutItsValue) {
  start();
  click("P Т-1");
  app.log.clear();
  send(602, "P Т-1", "Measurement", module->strMeasurement, {"work_=1"});
  ASSERT_EQ(app.log.filter("LiteModel").size(), 2) << "before the merge and after";
  EXPECT_TRUE(app.log.last().contains("LiteModel")) << app.log.last().toStdString();
}

TEST_F(Events, FieldsThatAreNotCarriedAreMergedWhereAllAreWanted) {
  start();
  find("P Т-1");
  CMDArray image;
  MDACopy(image.array, module->strMeasurement.array, 0);
  MDRData* record = MDARecNew(image.array);
  put(image, record, "locId", "1777");
  MDRSetUser(MDRFldByName(image.array, "work_"), record, 1);
  Message message(602, key("P Т-1").toLatin1(), "tbl=Measurement,x", &image, image.RecPost(record));
  TEventNciParse ev(message.get(), module->moduleCodec);
  const auto hasNumber = [&](bool onlyCarried) {
    MDRData* row = MDARecEdit(seekText(module->measRecords, 0, key("P Т-1"), module->moduleCodec));
    EXPECT_NE(module->changeRecord(&module->measRecords, row, ev, &module->strMeasurement, onlyCarried), nullptr);
    const MDRVar number = intVar(1777);
    return MDARecSeekV(module->measRecords.array, 2, &number, nullptr) != nullptr;
  };
  EXPECT_FALSE(hasNumber(true));
  EXPECT_TRUE(hasNumber(false));
}

TEST_F(Events, RecordOfAnotherArrayIsNotMerged) {
  start();
  find("P Т-1");
  Message message(602, key("КП-1").toLatin1(), "tbl=RemoteUnit,x");
  TEventNciParse ev(message.get(), module->moduleCodec);
  MDRData* unit = seekText(module->tblRemoteUnit, 0, key("КП-1"), module->moduleCodec);
  EXPECT_EQ(module->changeRecord(&module->measRecords, unit, ev, &module->strMeasurement, true), nullptr);
  EXPECT_EQ(module->changeRecord(&module->measRecords, nullptr, ev, &module->strMeasurement, true), nullptr);
  EXPECT_EQ(module->changeRecord(nullptr, unit, ev, &module->strMeasurement, true), unit);
}

TEST_F(Events, OwnMovesAreForgottenWhenTheyComeBack) {
  start();
  find("P Т-1");
  module->ownMoves = QStringList{key("КП-1"), key("P Т-1"), key("КП-1")};
  send(602, "КП-1", "RemoteUnit", module->strRemoteUnit, {"SrvGroup=2"});
  EXPECT_EQ(module->ownMoves, QStringList{key("P Т-1")});
  send(602, "P Т-1", "Measurement", module->strMeasurement, {"work_=1"});
  EXPECT_TRUE(module->ownMoves.isEmpty());
}

TEST_F(Events, CalculationsAreAddedAndChanged) {
  start();
  CMDArray structure;
  MDACopy(structure.array, module->tblCalculations.array, 0);
  send(602, "Расчет", "Calculations", structure, {"KeyLink=" + key("Расчет"), "fname=RES1"});
  EXPECT_EQ(held(module->tblCalculations, "Расчет", "fname"), "absent");
  send(601, "Расчет", "Calculations", structure, {"KeyLink=" + key("Расчет"), "fname=RES1"});
  EXPECT_EQ(held(module->tblCalculations, "Расчет", "fname"), "RES1");
  send(602, "Расчет", "Calculations", structure, {"fname=RES2"});
  EXPECT_EQ(held(module->tblCalculations, "Расчет", "fname"), "RES2");
}

TEST_F(Events, DeletedCalculationStaysInTheTable) {
  start();
  CMDArray structure;
  MDACopy(structure.array, module->tblCalculations.array, 0);
  send(601, "Расчет", "Calculations", structure, {"KeyLink=" + key("Расчет"), "fname=RES1"});
  Message message(603, key("Расчет").toLatin1(), "tbl=Calculations,x");
  module->MessageData(message.get());
  EXPECT_EQ(held(module->tblCalculations, "Расчет", "fname"), "RES1");
}

TEST_F(Events, ChangedFieldIsFoundByItsNameInTheStructure) {
  start();
  CMDArray image;
  MDACopy(image.array, module->strMeasurement.array, 0);
  MDRData* record = MDARecNew(image.array);
  const MDRField* number = MDRFldByName(image.array, "locId");
  image.SetValF(record, number->number, intVar(5));
  put(image, record, "RemoteUnitKey", "U");
  Message message(602, "K", "tbl=Measurement,x", &image, image.RecPost(record));
  TEventNciParse ev(message.get(), module->moduleCodec);
  MDRVar value{};
  EXPECT_TRUE(module->FieldIsChanged(ev, "LOCID", &module->strMeasurement, value));
  EXPECT_EQ(+value.i64, 5);
  EXPECT_FALSE(module->FieldIsChanged(ev, "work_", &module->strMeasurement, value));
  EXPECT_FALSE(module->FieldIsChanged(ev, "RemoteUnitKey", &module->strMeasurement, value));
  EXPECT_EQ(module->getRemoteUnitKey(ev, &module->strMeasurement), "U");
}

TEST_F(Events, UnitsKeyIsFoundInAnyCaseOfItsNameAndWithoutAMark) {
  CMDArray structure;
  for (const char* field : {"KeyLink", "REMOTEunitKEY"}) {
    MDRFldDesc description{};
    qstrncpy(description.name, field, sizeof description.name);
    description.type = MDX_MEMO;
    MDAFldAdd(structure.array, 1, &description);
  }
  MDRData* record = MDARecNew(structure.array);
  put(structure, record, "REMOTEunitKEY", "U");
  MDRSetUser(MDRFldByNum(structure.array, 0), record, 1);
  Message message(602, "K", "tbl=Measurement,x", &structure, structure.RecPost(record));
  TEventNciParse ev(message.get(), module->moduleCodec);
  EXPECT_EQ(module->getRemoteUnitKey(ev, &structure), "U");
}

// ---- receipts --------------------------------------------------------------------------------------------

struct ReceiptCase {
  const char* name;
  int kind;
  const char* text;
  int icon;
};

void PrintTo(const ReceiptCase& row, std::ostream* out) { *out << row.name; }

class Receipts : public Events, public testing::WithParamInterface<ReceiptCase> {};

TEST_P(Receipts, AreShownForOwnCommands) {
  start();
  module->pendingTelecontrol = QList<int>{1003, 1003, 1006};
  Message message(GetParam().kind, key("Q-110").toLatin1(), "id=1003,res=0");
  module->MessageData(message.get());
  EXPECT_EQ(module->pendingTelecontrol, (QList<int>{1003, 1006}));
  CPopMessageBox* box = waitingBox();
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(box->titleText(), "Квитанция телеуправления");
  EXPECT_EQ(box->messageText(), GetParam().text);
  EXPECT_EQ(box->icon(), GetParam().icon);
  EXPECT_EQ(box->type(), 2);
  answerBox(box, 0);
}

const ReceiptCase kReceipts[] = {
    {"Done", 903, "Команда телеуправления выполнена успешно", 4},
    {"Refused", 902, "Команда телеуправления не выполнена", 3},
    {"TimedOut", 904, "Команда телеуправления не выполнена по таймауту", 3},
};

INSTANTIATE_TEST_SUITE_P(Module, Receipts, testing::ValuesIn(kReceipts),
                         [](const auto& each) { return std::string(each.param.name); });

TEST_F(Events, ReceiptOfAForeignCommandIsDropped) {
  start();
  Message message(903, key("Q-110").toLatin1(), "id=1003,res=0");
  module->MessageData(message.get());
  EXPECT_EQ(waitingBox(), nullptr);
}

TEST_F(Events, ReceiptRefreshesTheValueOfTheObjectShown) {
  start();
  click("Q-110");
  for (const auto& [name, requests] : {std::pair{"Q-110", 1}, {"Р-110", 0}}) {
    module->pendingTelecontrol = QList<int>{1003};
    app.log.clear();
    Message message(903, key(name).toLatin1(), "id=1003,res=0");
    module->MessageData(message.get());
    EXPECT_EQ(app.log.filter("ObjectHint").size(), requests) << name;
    answerBox(waitingBox(), 0);
  }
}

TEST_F(Events, ReceiptOfADoneCommandPutsTheNewValueIntoTheSheet) {
  start();
  click("Q-110");
  const QString before = shown("Текущее значение");
  ASSERT_FALSE(before.isEmpty());
  server.core()->live().set(1003, {server::systemTime(), server::Quality::kGood, 1.0});
  for (int kind : {902, 904, 903}) {
    module->pendingTelecontrol = QList<int>{1003};
    app.log.clear();
    Message message(kind, key("Q-110").toLatin1(), "id=1003,res=0");
    module->MessageData(message.get());
    answerBox(waitingBox(), 0);
    EXPECT_EQ(app.log.filter("ObjectHint").size(), kind == 903 ? 1 : 0) << kind;
    EXPECT_EQ(shown("Текущее значение") != before, kind == 903) << kind;
  }
}

class PublishedReceipts : public Events {
 protected:
  // As the server does when a command has ended.
  void publish(int kind, const char* name, const char* param) {
    wire::Event event;
    event.kind = kind;
    event.key = keyOf(name);
    event.param = param;
    server.core()->publish(std::move(event));
  }
};

TEST_F(PublishedReceipts, ComeOnceTheWindowAskedForThem) {
  start();
  module->PrepareSubEvent(true);
  const std::pair<int, const char*> texts[] = {{902, "Команда телеуправления не выполнена"},
                                               {903, "Команда телеуправления выполнена успешно"},
                                               {904, "Команда телеуправления не выполнена по таймауту"}};
  for (const auto& [kind, message] : texts) {
    module->pendingTelecontrol = QList<int>{1003};
    publish(kind, "Q-110", "id=1003,res=0");
    ASSERT_TRUE(processUntil([] { return waitingBox() != nullptr; })) << kind;
    EXPECT_EQ(waitingBox()->messageText(), message);
    answerBox(waitingBox(), 0);
    EXPECT_EQ(module->pendingTelecontrol, QList<int>());
  }
}

TEST_F(PublishedReceipts, DoNotComeBefore) {
  start();
  module->pendingTelecontrol = QList<int>{1003};
  publish(903, "Q-110", "id=1003,res=0");
  module->PrepareSubEvent(true);
  publish(902, "Q-110", "id=1003,res=0");
  ASSERT_TRUE(processUntil([] { return waitingBox() != nullptr; }));
  EXPECT_EQ(waitingBox()->messageText(), "Команда телеуправления не выполнена");
  answerBox(waitingBox(), 0);
}

TEST_F(PublishedReceipts, FindNothingAfterASecondStart) {
  start();
  module->PrepareSubEvent(true);
  module->pendingTelecontrol = QList<int>{1003};
  module->ModuleStart();
  EXPECT_EQ(module->pendingTelecontrol, QList<int>());
}

}  // namespace
}  // namespace tlm::test
