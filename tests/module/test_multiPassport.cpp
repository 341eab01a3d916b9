// Several objects at once: the merged text of each kind of field, the sheet, and what is written.
#include <QCheckBox>
#include <QLineEdit>

#include "ModuleWindow.h"
#include "RecordAccess.h"
#include "TMultiPasp.h"
#include "WorkWithData.h"

namespace tlm::test {
namespace {

constexpr char kModel[] = R"(table Archives Архив ТИ {type_=1}
table MeasurementArchGroup Часовая {aggregatedData=1;ArchivesKey=@Архив ТИ;description=Часовые}
table MeasurementArchGroup Суточная {description=Суточные}
table MeasurementUnit МВт {symbol=МВт}
table ServerGroups Группа 3 {number=3}
folder Подстанция {description=Север}
  unit КП-1 {SrvGroup=3;port=102}
    analog 1001 P Т-1 {UnitKey=@МВт;CheckArch=1;MeasurementArchGroupKey=@Суточная;work_=1;staleTime=30;highAlarm=125.5;smoothing=1;engMax=150.25;engMin=123456.789;comment=Проверено;ioAddress=7;commissioned=45000.5;primaryLocId=1009}
      analog 1101 P час {MeasurementArchGroupKey=@Часовая}
    analog 1002 Q Т-1 {UnitKey=@МВт;CheckArch=0;work_=1;staleTime=60;highAlarm=125.5;smoothing=1;engMax=150.2500001;engMin=123456.789;comment=Иначе;ioAddress=7;commissioned=45000.5;primaryLocId=1009}
    analog 1009 U Т-1
    analog 1010 I Т-1
    analog 1031 F-1 {primaryLocId=0}
    analog 1032 F-2 {primaryLocId=0}
    discrete 1003 В-110 {inversion=1;CheckTu=1}
    discrete 1004 Р-110 {inversion=1}
    discrete 1006 ЗН-110
    accumulator 1021 Wp {rollover=99999}
    accumulator 1022 Wq {rollover=88888}
  unit КП-2 {SrvGroup=3;port=2404}
folder Запад {description=Север}
)";

class Several : public ModuleWindow {
 protected:
  Several() : ModuleWindow(kModel) {}

  void select(const std::vector<const char*>& names) {
    for (const char* name : names) find(name);
    click(names.front());
    for (size_t i = 1; i < names.size(); ++i) click(find(names[i]), Qt::ControlModifier);
  }

  // What the callback says of a field for the objects selected; "false: " before the text when it says no.
  QString merged(const QString& field) {
    CMDArray records;
    QStringList keys;
    for (const QModelIndex& row : tree()->selectionModel()->selectedIndexes()) keys << keyOf(row);
    EXPECT_TRUE(GetRecByKey(module->session(), keys.join(',').toStdString(), &records));
    TMultiPasp callback(module.get(), tree(), records);
    QString value = "not reset";
    const bool known = callback.func(field, value);
    return (known ? QString() : QString("false: ")) + value;
  }
  static QString keyOf(const QModelIndex& row) { return row.data(kKeyRole).toString(); }

  Qt::CheckState check(const char* title) { return Qt::CheckState(field(title).data(Qt::CheckStateRole).toInt()); }
  QString stored(const char* name, const char* column) {
    CMDArray record;
    if (!GetRecByKey(module->session(), keyOf(name), &record)) return "unknown";
    MDRVar value{};
    record.GetVal(MDARec(record.array, 0, 0), column, value);
    if (value.type == MDX_NONE || value.isNull) return "null";
    if (value.type == MDX_BOOL) return value.flag ? "true" : "false";
    if (value.type == MDX_INT32) return QString::number(value.i32);
    if (value.type == MDX_INT64) return QString::number(qlonglong(value.i64));
    if (value.type == MDX_DOUBLE) return QString::number(value.f64);
    return module->moduleCodec->toUnicode(value.text.data, int(value.text.length));
  }
  static std::string keyOf(const char* name) { return tlm::test::keyOf(name); }
};

// ---- the callback, field by field ------------------------------------------------------------------------

TEST_F(Several, DifferingTextsAreEmpty) {
  start();
  select({"P Т-1", "Q Т-1"});
  EXPECT_EQ(merged("IdentifiedObject.name_"), "");
  EXPECT_EQ(merged("Measurement.comment"), "");
}

TEST_F(Several, DifferingFlagsArePartlyChecked) {
  start();
  select({"P Т-1", "Q Т-1"});
  EXPECT_EQ(merged("Measurement.CheckArch"), "PartiallyChecked");
  select({"В-110", "ЗН-110"});
  EXPECT_EQ(merged("Discrete.inversion"), "PartiallyChecked");
}

TEST_F(Several, DifferingNumbersAreZero) {
  start();
  select({"P Т-1", "Q Т-1"});
  EXPECT_EQ(merged("Measurement.locId"), "0");
  EXPECT_EQ(merged("Measurement.staleTime"), "0");
  select({"Wp", "Wq"});
  EXPECT_EQ(merged("Accumulator.rollover"), "0");
}

TEST_F(Several, RealNumbersAreComparedExactly) {
  start();
  select({"P Т-1", "Q Т-1"});
  EXPECT_EQ(merged("Analog.engMax"), "0");
  EXPECT_EQ(merged("Analog.highAlarm"), "125.5");
}

TEST_F(Several, ALaterDifferenceCounts) {
  start();
  select({"P Т-1", "Q Т-1", "U Т-1"});
  EXPECT_EQ(merged("Measurement.ioAddress"), "0");
}

TEST_F(Several, AnOffFlagAndNoFlagAreAlike) {
  start();
  select({"Q Т-1", "U Т-1"});
  EXPECT_EQ(merged("Measurement.CheckArch"), "false");
}

TEST_F(Several, CommonValuesAreShownAsTheModelPutsThem) {
  start();
  select({"P Т-1", "Q Т-1"});
  EXPECT_EQ(merged("IdentifiedObject.ClassName"), "Analog");
  EXPECT_EQ(merged("Measurement.ioAddress"), "7");
  EXPECT_EQ(merged("Analog.smoothing"), "Скользящее среднее");
  EXPECT_EQ(merged("Measurement.UnitKey"), "МВт");
  EXPECT_EQ(merged("measurement.UnitKey"), "МВт");
}

TEST_F(Several, EmptyReferenceIsNothing) {
  start();
  select({"P Т-1", "Q Т-1"});
  EXPECT_EQ(merged("Measurement.PSRKey"), "(нет)");
}

TEST_F(Several, FlagIsTrueOrFalse) {
  start();
  select({"P Т-1", "Q Т-1"});
  EXPECT_EQ(merged("Measurement.work_"), "true");
  EXPECT_EQ(merged("Measurement.retrans"), "false");
}

TEST_F(Several, FlagWithTextsKeepsItsText) {
  start();
  select({"В-110", "Р-110"});
  EXPECT_EQ(merged("Discrete.inversion"), "Инверсный");
}

TEST_F(Several, DateIsShownInSessionTime) {
  start();
  select({"P Т-1", "Q Т-1"});
  const QDateTime start(QDate(1899, 12, 30), QTime(0, 0), Qt::UTC);
  const double days = module->session()->MdxTimeToSesTime(45000.5);
  EXPECT_EQ(merged("Measurement.commissioned"), start.addSecs(qRound64(days * 86'400)).toString("dd.MM.yy hh:mm:ss"));
  EXPECT_TRUE(merged("Measurement.commissioned").startsWith("15.03.23 "));
  EXPECT_EQ(merged("IdentifiedObject.created"), "");
}

TEST_F(Several, MeasurementNumberBringsItsName) {
  start();
  select({"P Т-1", "Q Т-1"});
  EXPECT_EQ(merged("Measurement.primaryLocId"), "1009,U Т-1");
  for (const auto& none : {std::vector<const char*>{"U Т-1", "I Т-1"}, {"F-1", "F-2"}}) {
    select(none);
    EXPECT_EQ(merged("Measurement.primaryLocId"), "(нет)") << none.front();
  }
}

TEST_F(Several, ServerGroupIsShownByName) {
  start();
  select({"КП-1", "КП-2"});
  app.log.clear();
  EXPECT_EQ(merged("RemoteUnit.SrvGroup"), "Группа 3");
  EXPECT_EQ(merged("RemoteUnit.SrvGroup"), "Группа 3");
  EXPECT_EQ(app.log.filter("SRV_GROUPS_INFO").size(), 0) << "asked when the units were first shown";
  module->srvGroups.clear();
  merged("RemoteUnit.SrvGroup");
  EXPECT_EQ(app.log.filter("SRV_GROUPS_INFO").size(), 1);
}

TEST_F(Several, KeysAreNeverMerged) {
  start();
  select({"P Т-1", "Q Т-1"});
  EXPECT_EQ(merged("IdentifiedObject.KeyLink"), "");
  EXPECT_EQ(merged("measurement.keylink"), "");
}

TEST_F(Several, AFieldNeedsATableAndAName) {
  start();
  select({"P Т-1", "Q Т-1"});
  EXPECT_EQ(merged("locId"), "false: ");
  EXPECT_EQ(merged(""), "false: ");
}

TEST_F(Several, AFieldThatTheObjectHasNotIsNone) {
  start();
  select({"P Т-1", "Q Т-1"});
  EXPECT_EQ(merged("Measurement.color"), "false: [none]");
}

TEST_F(Several, AFieldOfAForeignTableKeepsTheRawValue) {
  start();
  select({"P Т-1", "Q Т-1"});
  EXPECT_EQ(merged("Discrete.smoothing"), "1");
}

TEST_F(Several, WithoutTheModelTheRawValueStands) {
  start();
  select({"P Т-1", "Q Т-1"});
  app.failures.add("PacketExec LiteModel", Fail::kStatus);
  EXPECT_EQ(merged("Measurement.UnitKey"), key("МВт"));
  EXPECT_EQ(merged("Analog.smoothing"), "1");
  EXPECT_EQ(merged("Measurement.work_"), "true");
  EXPECT_EQ(merged("Measurement.retrans"), "false");
  EXPECT_EQ(merged("Analog.highAlarm"), "125.5");
  EXPECT_EQ(merged("Analog.engMin"), "123457") << "six digits";
  EXPECT_EQ(merged("Analog.lowAlarm"), "0");
}

TEST_F(Several, AllAgreeingFieldsAskTheModelOnceEach) {
  start();
  select({"P Т-1", "Q Т-1"});
  app.log.clear();
  merged("Measurement.ioAddress");
  EXPECT_EQ(app.log.filter("LiteModel"), QStringList{"PacketExec LiteModel obj=" + key("Q Т-1")});
  app.log.clear();
  merged("Measurement.staleTime");
  EXPECT_EQ(app.log.filter("LiteModel"), QStringList());
}

TEST_F(Several, ObjectsThatTheRecordsLackArePassedOver) {
  start();
  select({"P Т-1", "Q Т-1", "U Т-1"});
  CMDArray records;
  ASSERT_TRUE(GetRecByKey(module->session(), (key("P Т-1") + "," + key("Q Т-1")).toStdString(), &records));
  TMultiPasp callback(module.get(), tree(), records);
  QString value;
  EXPECT_TRUE(callback.func("Measurement.ioAddress", value));
  EXPECT_EQ(value, "7");
}

TEST_F(Several, WithoutRecordsThereIsNoValue) {
  start();
  select({"P Т-1", "Q Т-1"});
  TMultiPasp callback(module.get(), tree(), CMDArray());
  QString value = "not reset";
  EXPECT_FALSE(callback.func("Measurement.ioAddress", value));
  EXPECT_EQ(value, "");
}

TEST_F(Several, TheSelectionIsReadAtEachCall) {
  start();
  select({"P Т-1", "Q Т-1"});
  CMDArray records;
  ASSERT_TRUE(GetRecByKey(module->session(), (key("P Т-1") + "," + key("Q Т-1")).toStdString(), &records));
  TMultiPasp callback(module.get(), tree(), records);
  QString value;
  callback.func("Measurement.staleTime", value);
  EXPECT_EQ(value, "0");
  const QSignalBlocker quiet(tree()->selectionModel());
  tree()->selectionModel()->select(find("Q Т-1"), QItemSelectionModel::ClearAndSelect);
  callback.func("Measurement.staleTime", value);
  EXPECT_EQ(value, "60");
}

// ---- the binding -----------------------------------------------------------------------------------------

TEST_F(Several, RowsOfOneClassAreAskedForAtOnce) {
  start();
  find("P Т-1");
  click("P Т-1");
  app.log.clear();
  click(find("Q Т-1"), Qt::ControlModifier);
  EXPECT_EQ(module->passport.currentKey, key("P Т-1"));
  EXPECT_EQ(app.log.value(0), "PacketExec LiteModel obj=" + key("P Т-1"));
  EXPECT_EQ(app.log.filter("RecByKeyLink"),
            QStringList{"PacketExec RecByKeyLink " + key("P Т-1") + "," + key("Q Т-1")});
  EXPECT_EQ(app.log.filter("ObjectHint"), QStringList());
  EXPECT_EQ(app.log.filter("SubParam"), QStringList());
  EXPECT_EQ(app.log.filter("SqlUpdate"), QStringList());
}

TEST_F(Several, SheetShowsWhatTheObjectsHaveInCommon) {
  start();
  select({"P Т-1", "Q Т-1"});
  EXPECT_EQ(shown("Наименование"), "");
  EXPECT_EQ(shown("Номер"), "0");
  EXPECT_EQ(shown("Единица измерения"), "МВт");
  EXPECT_EQ(shown("Сглаживание"), "Скользящее среднее");
  EXPECT_EQ(check("Архивирование"), Qt::PartiallyChecked);
  EXPECT_EQ(check("В работе"), Qt::Checked);
  EXPECT_EQ(check("Ретрансляция"), Qt::Unchecked);
  EXPECT_FALSE(field("Текущее значение").isValid());
}

TEST_F(Several, NumberIsLocked) {
  start();
  select({"P Т-1", "Q Т-1"});
  EXPECT_FALSE(field("Номер").flags() & Qt::ItemIsEditable);
  EXPECT_FALSE(field("Класс").flags() & Qt::ItemIsEditable);
  EXPECT_TRUE(field("Наименование").flags() & Qt::ItemIsEditable);
  click("P Т-1");
  EXPECT_TRUE(field("Номер").flags() & Qt::ItemIsEditable);
}

TEST_F(Several, OneAggregatedObjectLocksTheFieldsOfAll) {
  start();
  select({"P Т-1", "P час"});
  EXPECT_FALSE(field("Единица измерения").flags() & Qt::ItemIsEditable);
  select({"P Т-1", "Q Т-1"});
  EXPECT_TRUE(field("Единица измерения").flags() & Qt::ItemIsEditable);
}

TEST_F(Several, AnAggregatedObjectInTheMiddleLocksTheFieldsOfAll) {
  start();
  select({"P Т-1", "P час", "Q Т-1"});
  EXPECT_FALSE(field("Единица измерения").flags() & Qt::ItemIsEditable);
}

TEST_F(Several, FoldersAreMergedToo) {
  start();
  select({"Подстанция", "Запад"});
  EXPECT_EQ(module->passport.currentKey, key("Подстанция"));
  EXPECT_EQ(shown("Описание"), "Север");
  EXPECT_EQ(shown("Наименование"), "");
}

TEST_F(Several, TwoGroupsAreAHeadingOfTheFirst) {
  start();
  const QModelIndex first = find("P Т-1").parent();
  click(first);
  click(find("В-110").parent(), Qt::ControlModifier);
  EXPECT_EQ(module->passport.currentKey, "");
  EXPECT_TRUE(shown("Наименование").startsWith("Аналоговые измерения"));
}

TEST_F(Several, RecordsThatDoNotComeLeaveTheSheet) {
  start();
  select({"P Т-1"});
  find("Q Т-1");
  app.failures.add("PacketExec RecByKeyLink", Fail::kStatus);
  click(find("Q Т-1"), Qt::ControlModifier);
  EXPECT_EQ(module->passport.currentKey, key("P Т-1"));
  EXPECT_EQ(shown("Наименование"), "P Т-1");
  app.failures.clear();
  type("Примечание", "только P");
  module->actSave->trigger();
  EXPECT_EQ(stored("P Т-1", "comment"), "только P");
  EXPECT_EQ(stored("Q Т-1", "comment"), "Иначе");
}

TEST_F(Several, FirstObjectUnknownToTheServerIsShownAsNew) {
  start();
  find("Q Т-1");
  click("P Т-1");
  app.failures.add("PacketExec LiteModel", Fail::kStatus);
  click(find("Q Т-1"), Qt::ControlModifier);
  EXPECT_EQ(shown("Наименование"), "P Т-1");
  EXPECT_FALSE(module->actSave->isEnabled());
}

// ---- edits -----------------------------------------------------------------------------------------------

TEST_F(Several, AnEditIsWrittenToAllSelected) {
  start();
  select({"P Т-1", "Q Т-1", "U Т-1"});
  type("Примечание", "общее");
  EXPECT_TRUE(field("Примечание").data(Qt::FontRole).value<QFont>().bold());
  app.log.clear();
  module->actSave->trigger();
  EXPECT_EQ(app.log.filter(QRegularExpression("^(BlockBeg|SqlUpdate|BlockEnd)")),
            (QStringList{"BlockBeg", "SqlUpdate IdentifiedObject 3 records", "SqlUpdate Measurement 3 records",
                         "SqlUpdate Analog 3 records", "BlockEnd unwaited"}));
  for (const char* name : {"P Т-1", "Q Т-1", "U Т-1"}) EXPECT_EQ(stored(name, "comment"), "общее") << name;
  EXPECT_EQ(stored("I Т-1", "comment"), "null");
}

TEST_F(Several, FieldsThatWereNotEditedStayAsTheyWere) {
  start();
  select({"P Т-1", "Q Т-1"});
  type("Примечание", "общее");
  module->actSave->trigger();
  EXPECT_EQ(stored("P Т-1", "staleTime"), "30");
  EXPECT_EQ(stored("Q Т-1", "staleTime"), "60");
  EXPECT_EQ(stored("Q Т-1", "locId"), "1002");
  EXPECT_EQ(stored("Q Т-1", "name_"), "Q Т-1");
}

TEST_F(Several, AnEditThatEqualsTheFirstObjectsValueIsWrittenToo) {
  start();
  select({"P Т-1", "Q Т-1"});
  type("Время устаревания", "30");
  module->actSave->trigger();
  EXPECT_EQ(stored("Q Т-1", "staleTime"), "30");
}

TEST_F(Several, PartlyCheckedBecomesCheckedForAll) {
  start();
  select({"В-110", "ЗН-110"});
  const QModelIndex cell = field("Телеуправление");
  EXPECT_EQ(check("Телеуправление"), Qt::PartiallyChecked);
  module->ui->tV_Prop->scrollTo(cell);
  module->ui->tV_Prop->setCurrentIndex(cell);
  QTest::keyClick(module->ui->tV_Prop, Qt::Key_Space);
  EXPECT_EQ(check("Телеуправление"), Qt::Checked);
  module->actSave->trigger();
  EXPECT_EQ(stored("ЗН-110", "CheckTu"), "true");
  EXPECT_EQ(stored("В-110", "CheckTu"), "true");
}

TEST_F(Several, SavingLeavesTheSelectionAndWhatIsTypedNextGoesToTheObjectShown) {
  start();
  select({"P Т-1", "Q Т-1"});
  type("Примечание", "общее");
  module->actSave->trigger();
  ASSERT_EQ(stored("Q Т-1", "comment"), "общее");
  ASSERT_TRUE(eventsAreIn());
  EXPECT_EQ(tree()->selectionModel()->selectedIndexes().size(), 2);
  // The last of the changes moved the sheet.
  const bool isP = module->passport.currentKey == key("P Т-1");
  EXPECT_EQ(shown("Наименование"), isP ? "P Т-1" : "Q Т-1");
  type("Примечание", "снова");
  module->actSave->trigger();
  EXPECT_EQ(stored("P Т-1", "comment"), isP ? "снова" : "общее");
  EXPECT_EQ(stored("Q Т-1", "comment"), isP ? "общее" : "снова");
}

TEST_F(Several, CancelBringsTheMergedValuesBack) {
  start();
  select({"P Т-1", "Q Т-1"});
  type("Примечание", "общее");
  module->actCancel->trigger();
  EXPECT_EQ(shown("Примечание"), "");
  EXPECT_FALSE(module->passport.HasChanges());
  EXPECT_EQ(stored("P Т-1", "comment"), "Проверено");
}

TEST_F(Several, SelectingAnotherRowSavesToTheObjectsThatWereShown) {
  start();
  select({"P Т-1", "Q Т-1"});
  find("I Т-1");
  type("Примечание", "общее");
  click("I Т-1");
  EXPECT_EQ(stored("Q Т-1", "comment"), "общее");
  EXPECT_EQ(stored("I Т-1", "comment"), "null");
}

TEST_F(Several, EmptyNameIsRefusedForAll) {
  start();
  select({"P Т-1", "Q Т-1"});
  type("Наименование", "общее");
  type("Наименование", "");
  module->actSave->trigger();
  CPopMessageBox* box = waitingBox();
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(box->messageText(), "Не заполнено поле Наименование");
  answerBox(box, 0);
  EXPECT_TRUE(module->passport.HasChanges());
  module->onActCancel_Triggered();
}

TEST_F(Several, NumbersAreNotAskedFor) {
  start();
  select({"P Т-1", "Q Т-1"});
  type("Примечание", "общее");
  app.log.clear();
  module->actSave->trigger();
  EXPECT_EQ(app.log.filter("CalcExec"), QStringList());
  EXPECT_EQ(waitingBox(), nullptr);
}

TEST_F(Several, NeitherNumberCheckRuns) {
  start();
  select({"P Т-1", "Q Т-1"});
  for (const char* number : {"0", "1009"}) {
    QStringList locked{"Measurement.locId"};
    module->passport.SetNoEditableFields(locked, false);
    type("Номер", number);
    app.log.clear();
    app.refused.clear();
    module->actSave->trigger();
    EXPECT_EQ(waitingBox(), nullptr) << number;
    EXPECT_EQ(app.log.filter("SqlUpdate Measurement"), QStringList{"SqlUpdate Measurement 2 records"}) << number;
    EXPECT_TRUE(processUntil([&] { return !app.refused.isEmpty(); })) << "the server looks itself";
  }
}

TEST_F(Several, ThoseOfANewObjectAreInserted) {
  start();
  select({"P Т-1", "Q Т-1"});
  type("Примечание", "общее");
  module->passportEdited = false;
  module->newObjectInPassport = true;
  module->actSave->trigger();
  CPopMessageBox* box = waitingBox();
  ASSERT_NE(box, nullptr) << "the server has these objects";
  answerBox(box, 0);
  EXPECT_EQ(stored("Q Т-1", "comment"), "Иначе");
}

TEST_F(Several, MovingManyIsNotedForEach) {
  start();
  select({"КП-1", "КП-2"});
  type("Папка", "Запад");
  ASSERT_EQ(shown("Папка"), "Запад");
  module->actSave->trigger();
  EXPECT_EQ(module->ownMoves, (QStringList{key("КП-1"), key("КП-2")}));
  EXPECT_EQ(stored("КП-2", "RemoteUnitFolderKey"), key("Запад"));
}

// ---- changes from outside --------------------------------------------------------------------------------

TEST_F(Several, AChangeOfOneMovesTheSheetToItAlone) {
  start();
  select({"P Т-1", "Q Т-1"});
  module->UpdateData(key("Q Т-1"));
  EXPECT_EQ(module->passport.currentKey, key("Q Т-1"));
  EXPECT_EQ(shown("Наименование"), "Q Т-1");
  EXPECT_EQ(tree()->selectionModel()->selectedIndexes().size(), 2);
  type("Примечание", "только Q");
  module->actSave->trigger();
  EXPECT_EQ(stored("Q Т-1", "comment"), "только Q");
  EXPECT_EQ(stored("P Т-1", "comment"), "Проверено");
}

TEST_F(Several, AChangeOfTheFirstsClassTableShowsItAlone) {
  start();
  select({"P Т-1", "Q Т-1"});
  module->UpdateTlmPassportMeas(key("P Т-1"), "Analog", true);
  EXPECT_EQ(shown("Наименование"), "P Т-1");
  EXPECT_TRUE(field("Номер").flags() & Qt::ItemIsEditable);
  type("Примечание", "только P");
  module->actSave->trigger();
  EXPECT_EQ(stored("P Т-1", "comment"), "только P");
  EXPECT_EQ(stored("Q Т-1", "comment"), "Иначе");
}

TEST_F(Several, AKeysReleaseShowsTheCurrentRow) {
  start();
  select({"P Т-1", "Q Т-1"});
  tree()->setFocus();
  QTest::keyRelease(tree(), Qt::Key_Down);
  EXPECT_EQ(module->passport.currentKey, key("Q Т-1"));
  EXPECT_EQ(shown("Наименование"), "Q Т-1");
}

TEST_F(Several, AnEditOfTheFirstAloneStaysItsOwnBesideThatOfAll) {
  start();
  select({"P Т-1", "Q Т-1"});
  type("Примечание", "общее");
  module->UpdateTlmPassportMeas(key("P Т-1"), "Analog", true);
  EXPECT_EQ(shown("Наименование"), "P Т-1");
  type("Время устаревания", "77");
  app.log.clear();
  module->actSave->trigger();
  EXPECT_EQ(waitingBox(), nullptr);
  EXPECT_EQ(stored("P Т-1", "comment"), "общее");
  EXPECT_EQ(stored("Q Т-1", "comment"), "общее");
  EXPECT_EQ(stored("P Т-1", "staleTime"), "77");
  EXPECT_EQ(stored("Q Т-1", "staleTime"), "60");
}

TEST_F(Several, ACalculationOfOneIsNotSpreadOverAll) {
  start();
  select({"P Т-1", "Q Т-1"});
  type("Примечание", "общее");
  module->UpdateTlmPassportMeas(key("P Т-1"), "Analog", true);
  auto* page = module->ui->tabWidget_prop->widget(1)->findChild<QAbstractItemView*>();
  ASSERT_NE(page, nullptr);
  const QAbstractItemModel* rows = page->model();
  for (int column = 0; column < rows->columnCount(); ++column)
    if (page->model()->flags(rows->index(0, column)) & Qt::ItemIsUserCheckable)
      page->model()->setData(rows->index(0, column), Qt::Checked, Qt::CheckStateRole);
  app.log.clear();
  module->actSave->trigger();
  EXPECT_EQ(app.log.filter("SqlUpdate Calculations"), QStringList{"SqlUpdate Calculations 1 records"});
  EXPECT_EQ(stored("Q Т-1", "comment"), "общее");
}

TEST_F(Several, AChangeOfAnotherObjectMovesTheSheetThere) {
  start();
  select({"P Т-1", "Q Т-1"});
  module->UpdateTlmPassport(find("U Т-1"));
  EXPECT_EQ(module->passport.currentKey, key("U Т-1"));
  type("Примечание", "только U");
  module->actSave->trigger();
  EXPECT_EQ(stored("U Т-1", "comment"), "только U");
  EXPECT_EQ(stored("Q Т-1", "comment"), "Иначе");
}

TEST_F(Several, AnEditOfAnotherObjectTravelsBesideThoseOfAll) {
  start();
  select({"P Т-1", "Q Т-1"});
  type("Примечание", "общее");
  module->UpdateTlmPassport(find("U Т-1"));
  type("Примечание", "только U");
  module->actSave->trigger();
  EXPECT_EQ(stored("P Т-1", "comment"), "общее");
  EXPECT_EQ(stored("Q Т-1", "comment"), "общее");
  EXPECT_EQ(stored("U Т-1", "comment"), "только U");
}

}  // namespace
}  // namespace tlm::test
