// The selection and the sheet.
#include <QLineEdit>
#include <QMenu>

#include "ModuleWindow.h"
#include "PassportFields.h"

namespace tlm::test {
namespace {

constexpr char kModel[] = R"(table Archives Архив ТИ {type_=1}
table MeasurementArchGroup Часовая {aggregatedData=1;ArchivesKey=@Архив ТИ}
folder Подстанция
  unit КП-1
    analog 1001 P
      analog 1101 P час {MeasurementArchGroupKey=@Часовая}
    discrete 1003 Q
    accumulator 1004 Wp
    string 1005 Режим
  unit КП-2
)";

class Passport : public ModuleWindow {
 protected:
  Passport() : ModuleWindow(kModel) {}

  QStringList locked(const char* className, bool aggregated = false) {
    const PassportForm* form = passportForm(className);
    return form ? lockedFields(*form, aggregated) : QStringList{"none"};
  }
};

TEST_F(Passport, ShowsTheObjectThatWasClicked) {
  start();
  click("P");
  EXPECT_EQ(module->passport.currentKey, key("P"));
  EXPECT_EQ(shown("Наименование"), "P");
  EXPECT_EQ(module->currentRowName, "1001");
}

TEST_F(Passport, AsksForModelThenValueThenSubscribes) {
  start();
  const QModelIndex row = find("P");
  app.log.clear();
  click(row);
  EXPECT_EQ(
      app.log.filter(QRegularExpression("LiteModel|ObjectHint|SubParam")),
      (QStringList{"PacketExec LiteModel obj=" + key("P"), "PacketExec ObjectHint " + key("P"), "SubParam 1001"}));
}

TEST_F(Passport, SubscribesToTheLiveValueOfSomeClasses) {
  start();
  const std::pair<const char*, const char*> rows[] = {{"P", "SubParam 1001"}, {"Q", "SubParam 1003"},
                                                      {"Wp", "SubParam"},     {"Режим", "SubParam 1005"},
                                                      {"КП-1", "SubParam"},   {"Подстанция", "SubParam"}};
  for (const auto& [name, subscription] : rows) {
    const QModelIndex row = find(name);
    app.log.clear();
    click(row);
    EXPECT_EQ(app.log.filter("SubParam"), QStringList{subscription}) << name;
  }
}

TEST_F(Passport, TiesTheLiveValueByTheNameOfTheClass) {
  start();
  click("P");
  const auto asked = [&](const char* className) {
    app.log.clear();
    module->FieldIsChanged(QString(className));
    return app.log.filter("SubParam");
  };
  for (const char* live : {"Analog", "ANALOG", "discrete", "Acumulator", "acumulator", "stringMEASUREMENT"})
    EXPECT_EQ(asked(live), QStringList{"SubParam 1001"}) << live;
  for (const char* other : {"Accumulator", "RemoteUnit", ""}) EXPECT_EQ(asked(other), QStringList{"SubParam"}) << other;
  module->passport.SetDeclare("heading", 1, QString());
  EXPECT_EQ(asked("Analog"), QStringList()) << "the sheet has no number";
}

TEST_F(Passport, DeclaresAGroupWithTheNumberOfItsRows) {
  start();
  const QModelIndex group = find("Q").parent();
  app.log.clear();
  click(group);
  EXPECT_EQ(module->passport.currentKey, "");
  EXPECT_EQ(app.log.filter("LiteModel"), QStringList());
  QStringList fields;
  module->passport.GetPassportFields(fields);
  EXPECT_EQ(fields, QStringList());
}

TEST_F(Passport, DeclaresASelectionOfSeveralKinds) {
  start();
  click("P");
  click(find("Подстанция"), Qt::ControlModifier);
  EXPECT_EQ(module->passport.currentKey, "");
  EXPECT_FALSE(module->actAgregData->isEnabled());
}

TEST_F(Passport, AggregatedDataIsOffForTwoRowsAndOnForOne) {
  start();
  click("P");
  EXPECT_TRUE(module->actAgregData->isEnabled());
  click(find("Q"), Qt::ControlModifier);
  EXPECT_FALSE(module->actAgregData->isEnabled());
  click("P");
  EXPECT_TRUE(module->actAgregData->isEnabled());
}

TEST_F(Passport, AggregatedDataIsOffWhereTheClassHasNone) {
  start();
  click("Q");
  EXPECT_FALSE(module->actAgregData->isEnabled());
  click("P час");
  EXPECT_FALSE(module->actAgregData->isEnabled());
}

TEST_F(Passport, ARowClickedInItsNumberCountsOnce) {
  start();
  const QModelIndex row = find("P");
  click(row.sibling(row.row(), 1));
  EXPECT_EQ(module->passport.currentKey, key("P"));
}

TEST_F(Passport, LocksTheFieldsOfEachClass) {
  EXPECT_EQ(locked("RemoteUnit"), (QStringList{"IdentifiedObject.KeyLink", "IdentifiedObject.ClassName"}));
  EXPECT_EQ(locked("remoteunitfolder"), (QStringList{"RemoteUnitFolder.KeyLink"}));
  for (const char* kind : {"Analog", "DISCRETE", "accumulator", "StringMeasurement"})
    EXPECT_EQ(locked(kind), (QStringList{"IdentifiedObject.KeyLink", "IdentifiedObject.ClassName"})) << kind;
  EXPECT_EQ(locked("Analog", true),
            (QStringList{"IdentifiedObject.KeyLink", "IdentifiedObject.ClassName", "Measurement.RemoteUnitKey",
                         "Measurement.primaryLocId", "Measurement.UnitKey", "Measurement.PSRKey",
                         "Measurement.TerminalKey", "Measurement.MeasurementArchGroupKey"}));
  EXPECT_EQ(locked(""), QStringList{"none"});
  EXPECT_EQ(locked("Terminal"), QStringList{"none"});
}

TEST_F(Passport, LocksTheClassInTheSheet) {
  start();
  click("P");
  ASSERT_TRUE(field("Класс").isValid());
  EXPECT_FALSE(field("Класс").flags() & Qt::ItemIsEditable);
  EXPECT_TRUE(field("Наименование").flags() & Qt::ItemIsEditable);
  EXPECT_TRUE(field("Оборудование").flags() & Qt::ItemIsEditable);
  click("P час");
  EXPECT_FALSE(field("Оборудование").flags() & Qt::ItemIsEditable);
}

TEST_F(Passport, LocksWhatStandsInTheSheetInItsSpelling) {
  QStringList result;
  module->CheckFieldsAtPassport({"Measurement.LocId", "A.b"}, {"measurement.locid", "A.B", "C.d", "a.b"}, result);
  EXPECT_EQ(result, (QStringList{"Measurement.LocId", "A.b", "A.b"}));
}

// ---- the records of an object that the server does not know ----------------------------------------------

struct Prepared {
  CMDArray first, second;
  QStringList noEdit, tables;
  QList<CMDArray*> arrays;
};

QString text(const CMDArray& array, const char* name) {
  MDRVar value{};
  array.GetVal(MDARec(array.array, 0, 0), name, value);
  if (value.type == MDX_NONE || value.isNull) return "-";
  if (value.type == MDX_INT64) return QString::number(value.i64);
  return QTextCodec::codecForName("Windows-1251")->toUnicode(value.text.data, int(value.text.length));
}

TEST_F(Passport, PreparesTheRecordsOfAMeasurement) {
  start();
  Prepared p;
  module->PrepareCmdArrayForPassport(&p.first, &p.second, "Analog", p.noEdit, p.tables, p.arrays, nodeOf(find("P")),
                                     false);
  EXPECT_EQ(p.tables, (QStringList{"IdentifiedObject", "Measurement"}));
  ASSERT_EQ(p.arrays, (QList<CMDArray*>{&p.first, &p.second}));
  EXPECT_EQ(MDARecCount(p.first.array), 1);
  EXPECT_EQ(MDRGetFlags(MDARec(p.first.array, 0, 0)), MDX_REC_INSERT);
  EXPECT_EQ(text(p.first, "KeyLink"), key("P"));
  EXPECT_EQ(text(p.first, "ClassName"), "Analog");
  EXPECT_EQ(text(p.first, "name_"), "P");
  EXPECT_EQ(text(p.second, "KeyLink"), key("P"));
  EXPECT_EQ(text(p.second, "locId"), "1001");
  EXPECT_EQ(text(p.second, "RemoteUnitKey"), key("КП-1"));
  EXPECT_EQ(text(p.second, "UnitKey"), "-");
}

TEST_F(Passport, PreparesTheRecordsOfAUnitAndOfAFolder) {
  start();
  Prepared unit;
  module->PrepareCmdArrayForPassport(&unit.first, &unit.second, "RemoteUnit", unit.noEdit, unit.tables, unit.arrays,
                                     nodeOf(find("КП-1")), false);
  EXPECT_EQ(unit.tables, (QStringList{"IdentifiedObject", "RemoteUnit"}));
  EXPECT_EQ(text(unit.first, "name_"), "КП-1");
  EXPECT_EQ(text(unit.second, "RemoteUnitFolderKey"), key("Подстанция"));
  Prepared folder;
  module->PrepareCmdArrayForPassport(&folder.first, &folder.second, "RemoteUnitFolder", folder.noEdit, folder.tables,
                                     folder.arrays, nodeOf(find("Подстанция")), false);
  EXPECT_EQ(folder.tables, QStringList{"RemoteUnitFolder"});
  EXPECT_EQ(text(folder.first, "caption"), "Подстанция");
  EXPECT_EQ(text(folder.first, "ParentKey"), "-");
}

TEST_F(Passport, PreparesEmptyRecordsWithoutANode) {
  start();
  Prepared p;
  module->PrepareCmdArrayForPassport(&p.first, &p.second, "Discrete", p.noEdit, p.tables, p.arrays, nullptr, true);
  EXPECT_EQ(p.noEdit.size(), 8);
  EXPECT_EQ(MDARecCount(p.second.array), 1);
  EXPECT_EQ(text(p.second, "KeyLink"), "-");
}

TEST_F(Passport, PreparesNothingForAnUnknownClass) {
  start();
  Prepared p;
  module->PrepareCmdArrayForPassport(&p.first, &p.second, "", p.noEdit, p.tables, p.arrays, nodeOf(find("P")), false);
  EXPECT_TRUE(p.noEdit.isEmpty() && p.tables.isEmpty() && p.arrays.isEmpty());
}

// ---- display again, failures -----------------------------------------------------------------------------

TEST_F(Passport, ObjectTheServerDoesNotGiveIsShownAsNew) {
  start();
  click("Q");
  const QModelIndex row = find("P");
  app.failures.add("PacketExec LiteModel", Fail::kStatus);
  click(row);
  EXPECT_EQ(shown("Наименование"), "P");
  EXPECT_FALSE(module->actSave->isEnabled());
  module->UpdateTlmPassport(row);
  EXPECT_TRUE(module->actSave->isEnabled());
}

TEST_F(Passport, RedisplayOfNothingDoesNothing) {
  start();
  click("P");
  app.log.clear();
  module->UpdateTlmPassport(QModelIndex());
  module->UpdateTlmPassportMeas("", "Measurement", true);
  module->UpdateTlmPassportMeas(key("P"), "", true);
  EXPECT_EQ(app.log, QStringList());
}

TEST_F(Passport, MeasurementIsShownAgainWithOrWithoutItsValue) {
  start();
  click("P");
  app.log.clear();
  module->UpdateTlmPassportMeas(key("P"), "Analog", false);
  EXPECT_EQ(app.log, QStringList{"PacketExec LiteModel obj=" + key("P")});
  app.log.clear();
  module->UpdateTlmPassportMeas(key("P"), "Analog", true);
  EXPECT_EQ(app.log, (QStringList{"PacketExec LiteModel obj=" + key("P"), "PacketExec ObjectHint " + key("P")}));
}

TEST_F(Passport, WarnsInTheSharedBox) {
  module->onSignMessage("Проверьте значение");
  CPopMessageBox* box = waitingBox();
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(box->titleText(), "Предупреждение");
  EXPECT_EQ(box->messageText(), "Проверьте значение");
  EXPECT_EQ(box->icon(), 4);
  EXPECT_EQ(box->type(), 2);
  answerBox(box, 0);
  EXPECT_FALSE(box->isVisible());
}

TEST_F(Passport, KeepsTheArgumentsOfTheOpenSelectionList) {
  module->onSelectValuesVisible("a", "b", "c", "d", "e");
  QString joined;
  for (const QString& argument : module->selectValuesArgs) joined += argument;
  EXPECT_EQ(joined, "abcde");
  module->onSelectValuesClosed();
  for (const QString& argument : module->selectValuesArgs) EXPECT_EQ(argument, "");
}

TEST_F(Passport, EditTurnsSaveOn) {
  start();
  module->onPasspChanged();
  EXPECT_TRUE(module->actSave->isEnabled());
  EXPECT_TRUE(module->passportEdited);
  module->onActCancel_Triggered();
}

TEST_F(Passport, EditOfANewObjectKeepsItNew) {
  start();
  module->newObjectInPassport = true;
  module->onPasspChanged();
  EXPECT_FALSE(module->passportEdited);
  module->newObjectInPassport = false;
}

}  // namespace
}  // namespace tlm::test
