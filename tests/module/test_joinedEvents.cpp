// Records that come and go by event, and the two events by which the server announces one new object.
#include "Colleague.h"
#include "EventWindow.h"

namespace tlm::test {
namespace {

class Joined : public EventWindow {
 protected:
  // The first event of an object.
  void announce(const QString& objectKey, const QStringList& fields) {
    sendKey(601, objectKey, "IdentifiedObject", module->strIdentifiedObject, fields);
  }
  void start() {
    ModuleWindow::start();
    module->keyLinkIncomplete.clear();
    module->keyLinkIncompleteInfo.clear();
  }
  void waiting(const QStringList& keys, const QStringList& infos) {
    module->keyLinkIncomplete = keys;
    module->keyLinkIncompleteInfo = infos;
  }
  QStringList keys() { return module->keyLinkIncomplete; }
  QStringList infos() { return module->keyLinkIncompleteInfo; }
  QModelIndex row(const char* name) { return module->treeModel->findByKey(key(name)); }
  QString text() { return treeText(*module->treeModel); }
  MDRData* record(const CMDArray& array, const char* name) {
    return seekText(array, 0, key(name), module->moduleCodec);
  }
  QString unit() { return "RemoteUnitKey=" + key("КП-1"); }
  void loadUnit() { ASSERT_TRUE(module->AddMeasForRTU(row("КП-1"), QString(), false, QString())); }
};

// ---- FillKeyLinkIncomplete -------------------------------------------------------------------------------

TEST_F(Joined, FirstEventOfTheFiveClassesWaits) {
  start();
  QStringList expected;
  for (const char* name : {"RemoteUnit", "Analog", "Discrete", "Accumulator", "StringMeasurement", "aNALOG"}) {
    announce(name, {QString("ClassName=") + name, "name_=Новый"});
    expected += QString("%1,%1,Новый").arg(name);
    EXPECT_EQ(keys().last(), name);
  }
  EXPECT_EQ(infos(), expected);
  EXPECT_EQ(keys().size(), 6);
}

TEST_F(Joined, FirstEventOfAnyOtherClassIsForgotten) {
  start();
  announce("A", {"ClassName=RemoteUnitFolder", "name_=Папка"});
  announce("B", {"ClassName=Terminal", "name_=Полюс"});
  announce("C", {"ClassName=", "name_=Без класса"});
  announce("D", {"ClassName", "name_=Без класса"});
  EXPECT_EQ(keys(), QStringList());
  EXPECT_EQ(infos(), QStringList());
}

TEST_F(Joined, FirstEventWithoutFieldsWaitsWithoutAClass) {
  start();
  sendBare(601, "A", "IdentifiedObject");
  EXPECT_EQ(keys(), QStringList{"A"});
  EXPECT_EQ(infos(), QStringList{"A,,"});
}

TEST_F(Joined, ClassIsFoundInAnyCaseAndTheNameInItsOwnOnly) {
  start();
  CMDArray structure;
  for (const char* field : {"KeyLink", "CLASSNAME", "NAME_"}) {
    MDRFldDesc description{};
    qstrncpy(description.name, field, sizeof description.name);
    description.type = MDX_MEMO;
    MDAFldAdd(structure.array, 1, &description);
  }
  MDACopy(module->strIdentifiedObject.array, structure.array, 0);
  announce("A", {"CLASSNAME=Analog", "NAME_=Новый"});
  EXPECT_EQ(infos(), QStringList{"A,Analog,"});
}

// ---- AddKeyLinkIncomplete --------------------------------------------------------------------------------

TEST_F(Joined, SecondEventWritesClassAndName) {
  start();
  loadUnit();
  waiting({"x", key("P Т-1")}, {"x,Analog,x", key("P Т-1") + ",Discrete,Мощность"});
  EXPECT_TRUE(module->AddKeyLinkIncomplete(key("P Т-1"), record(module->measRecords, "P Т-1"), &module->measRecords));
  EXPECT_EQ(held(module->measRecords, "P Т-1", "ClassName"), "Discrete");
  MDRVar name{};
  module->measRecords.GetVal(record(module->measRecords, "P Т-1"), "name_", name);
  EXPECT_EQ(QByteArray(name.text.data, int(name.text.length)), "\xCC\xEE\xF9\xED\xEE\xF1\xF2\xFC");
  EXPECT_EQ(keys(), QStringList{"x"});
  EXPECT_EQ(infos(), QStringList{"x,Analog,x"});
}

TEST_F(Joined, KeyThatDoesNotWaitInItsExactCaseIsNotJoined) {
  start();
  waiting({"abc"}, {"abc,Analog,А"});
  EXPECT_FALSE(module->AddKeyLinkIncomplete("ABC", nullptr, &module->measRecords));
  EXPECT_FALSE(module->AddKeyLinkIncomplete("ab", nullptr, &module->measRecords));
  EXPECT_EQ(keys(), QStringList{"abc"});
}

TEST_F(Joined, EntryIsTheFirstInAnyCaseAndMustBeginWithTheKey) {
  start();
  waiting({"abc", "ABC"}, {"abc,Analog,А", "ABC,Analog,Б"});
  EXPECT_FALSE(module->AddKeyLinkIncomplete("ABC", nullptr, &module->measRecords));
  EXPECT_EQ(keys(), (QStringList{"abc", "ABC"}));
  waiting({"abc"}, {"abcd,Analog,А"});
  EXPECT_FALSE(module->AddKeyLinkIncomplete("abc", nullptr, &module->measRecords));
  EXPECT_EQ(infos(), QStringList{"abcd,Analog,А"});
}

TEST_F(Joined, NameWithACommaIsNotUnderstoodAndNoLongerWaits) {
  start();
  loadUnit();
  waiting({key("P Т-1")}, {key("P Т-1") + ",Analog,P, Т-1"});
  EXPECT_FALSE(module->AddKeyLinkIncomplete(key("P Т-1"), record(module->measRecords, "P Т-1"), &module->measRecords));
  EXPECT_EQ(held(module->measRecords, "P Т-1", "name_"), "P Т-1");
  EXPECT_EQ(keys(), QStringList());
  EXPECT_EQ(infos(), QStringList());
}

TEST_F(Joined, EmptyPartsCount) {
  start();
  waiting({"A", "B"}, {"A,,", "B,Analog"});
  EXPECT_TRUE(module->AddKeyLinkIncomplete("A", nullptr, &module->measRecords));
  EXPECT_FALSE(module->AddKeyLinkIncomplete("B", nullptr, &module->measRecords));
  EXPECT_EQ(keys(), QStringList());
}

TEST_F(Joined, RowOfAnotherArrayIsNotWritten) {
  start();
  waiting({"A"}, {"A,Analog,А"});
  EXPECT_TRUE(module->AddKeyLinkIncomplete("A", record(module->tblRemoteUnit, "КП-1"), &module->measRecords));
  EXPECT_EQ(held(module->tblRemoteUnit, "КП-1", "name_"), "КП-1");
}

TEST_F(Joined, FieldsThatTheArrayHasNotArePassedOver) {
  start();
  waiting({"A"}, {"A,Analog,А"});
  EXPECT_TRUE(
      module->AddKeyLinkIncomplete("A", record(module->tblRemoteUnitFolder, "ОРУ-110"), &module->tblRemoteUnitFolder));
  EXPECT_EQ(held(module->tblRemoteUnitFolder, "ОРУ-110", "caption"), "ОРУ-110");
}

// ---- the add of a measurement ----------------------------------------------------------------------------

TEST_F(Joined, MeasurementOfAnOpenUnitGetsRowClassNameAndNode) {
  start();
  loadUnit();
  announce(key("А"), {"ClassName=Analog", "name_=А"});
  send(601, "А", "Measurement", module->strMeasurement, {"KeyLink=" + key("А"), "locId=1009", unit()});
  EXPECT_EQ(row("А").parent(), row("P Т-1").parent());
  EXPECT_EQ(numberOf(row("А")), "1009");
  EXPECT_EQ(row("А").data().toString(), "А");
  EXPECT_EQ(keys(), QStringList());
}

TEST_F(Joined, OpenUnitIsKnownInAnyCase) {
  start();
  loadUnit();
  for (QString& each : module->loadedRemoteUnits) each = each.toLower();
  announce(key("А"), {"ClassName=Analog", "name_=А"});
  send(601, "А", "Measurement", module->strMeasurement, {"KeyLink=" + key("А"), unit()});
  EXPECT_TRUE(row("А").isValid());
}

// A key may get the memory of one that was taken off the list.
TEST(LoadedUnits, AreKnownWhateverStoodInTheirPlace) {
  QStringList list{"first"};
  LoadedUnits units(list);
  for (int i = 0; i < 1000; ++i) {
    const QString number = QString("%1").arg(i, 32, 10, QChar('0'));
    list.append(number + "");
    ASSERT_TRUE(units.contains(number));
    list.removeLast();
    const QString next = QString("%1").arg(i, 32, 16, QChar('A'));
    list.append(next + "");
    ASSERT_TRUE(units.contains(next)) << i;
    ASSERT_FALSE(units.contains(number)) << i;
    list.removeLast();
  }
}

TEST_F(Joined, MeasurementOfAUnitNotOpenedIsLeftToItsOpening) {
  start();
  announce(key("А"), {"ClassName=Analog", "name_=А"});
  announce(key("Б"), {"ClassName=Analog", "name_=Б"});
  send(601, "А", "Measurement", module->strMeasurement, {"KeyLink=" + key("А"), unit()});
  EXPECT_EQ(held(module->measRecords, "А", "name_"), "absent");
  EXPECT_EQ(keys(), QStringList{key("Б")});
  EXPECT_EQ(infos(), QStringList{key("Б") + ",Analog,Б"});
}

TEST_F(Joined, EntryThatIsNotOfTheKeyStaysWhenTheUnitIsNotOpened) {
  start();
  waiting({key("А")}, {"other,Analog,А"});
  send(601, "А", "Measurement", module->strMeasurement, {"KeyLink=" + key("А"), unit()});
  EXPECT_EQ(keys(), QStringList{key("А")});
}

TEST_F(Joined, MeasurementWithoutAUnitIsLeftAndItsEntryStays) {
  start();
  announce(key("А"), {"ClassName=Analog", "name_=А"});
  for (const QString& link : {QString("RemoteUnitKey"), QString("RemoteUnitKey=")})
    send(601, "А", "Measurement", module->strMeasurement, {"KeyLink=" + key("А"), link});
  EXPECT_EQ(held(module->measRecords, "А", "name_"), "absent");
  EXPECT_EQ(keys(), QStringList{key("А")});
}

TEST_F(Joined, LinkIsReadByItsPositionNotedAtTheStart) {
  start();
  loadUnit();
  module->numfieldRTUKey = MDRFldByName(module->strMeasurement.array, "PSRKey")->number;
  announce(key("А"), {"ClassName=Analog", "name_=А"});
  send(601, "А", "Measurement", module->strMeasurement, {"KeyLink=" + key("А"), unit()});
  EXPECT_EQ(held(module->measRecords, "А", "name_"), "absent");
}

TEST_F(Joined, MeasurementThatIsHereIsMergedAndPaintedAgain) {
  start();
  loadUnit();
  const QString before = text();
  announce(key("P Т-1"), {"ClassName=Analog", "name_=P новое"});
  send(601, "P Т-1", "Measurement", module->strMeasurement, {"locId=1777", "~work_=0"});
  EXPECT_EQ(shownName("P Т-1"), "P новое");
  EXPECT_EQ(numberOf(row("P Т-1")), "1777");
  EXPECT_EQ(row("P Т-1").data(Qt::ForegroundRole).value<QColor>(), QColor(Qt::black));
  EXPECT_EQ(text().count('\n'), before.count('\n'));
}

TEST_F(Joined, ObjectsOwnTableFirstMakesARowWithoutANodeAndTheNextOneUsesTheEntry) {
  start();
  loadUnit();
  const QString before = text();
  send(601, "А", "Measurement", module->strMeasurement, {"KeyLink=" + key("А"), "locId=1009", unit()});
  announce(key("А"), {"ClassName=Analog", "name_=А"});
  EXPECT_EQ(text(), before);
  EXPECT_EQ(held(module->measRecords, "А", "RemoteUnitKey"), key("КП-1"));
  EXPECT_EQ(keys(), QStringList{key("А")});
  send(601, "А", "Measurement", module->strMeasurement, {"locId=1009"});
  EXPECT_TRUE(row("А").isValid());
  EXPECT_EQ(keys(), QStringList());
}

TEST_F(Joined, ClassTableOfANewObjectMatchesNoBranch) {
  start();
  loadUnit();
  const QString before = text();
  announce(key("А"), {"ClassName=Analog", "name_=А"});
  send(601, "А", "Analog", module->strAnalog, {"KeyLink=" + key("А")});
  EXPECT_EQ(text(), before);
  EXPECT_EQ(keys(), QStringList{key("А")});
}

// ---- the other tables ------------------------------------------------------------------------------------

TEST_F(Joined, UnitIsAddedByBothEvents) {
  start();
  send(601, "КП-9", "RemoteUnit", module->strRemoteUnit,
       {"KeyLink=" + key("КП-9"), "SrvGroup=1", "RemoteUnitFolderKey=" + key("ОРУ-110")});
  EXPECT_EQ(held(module->tblRemoteUnit, "КП-9", "RemoteUnitFolderKey"), key("ОРУ-110"));
  EXPECT_FALSE(row("КП-9").isValid());
  announce(key("КП-9"), {"ClassName=RemoteUnit", "name_=КП-9"});
  send(601, "КП-9", "RemoteUnit", module->strRemoteUnit, {});
  EXPECT_EQ(row("КП-9").parent(), row("ОРУ-110"));
  EXPECT_EQ(shownName("КП-9"), "КП-9");
}

TEST_F(Joined, UnitWithACommaInItsNameGetsNoNode) {
  start();
  announce(key("КП-9"), {"ClassName=RemoteUnit", "name_=КП-9, резерв"});
  send(601, "КП-9", "RemoteUnit", module->strRemoteUnit, {"KeyLink=" + key("КП-9")});
  EXPECT_FALSE(row("КП-9").isValid());
  EXPECT_EQ(held(module->tblRemoteUnit, "КП-9", "name_"), "");
}

TEST_F(Joined, FolderIsAddedByItsOneEvent) {
  start();
  send(601, "Я", "RemoteUnitFolder", module->strRemoteUnitFolder,
       {"KeyLink=" + key("Я"), "caption=Я", "ParentKey=" + key("ОРУ-110")});
  EXPECT_EQ(row("Я").parent(), row("ОРУ-110"));
}

TEST_F(Joined, RowsOfTablesComeChangeAndGo) {
  start();
  send(601, "Новая", "Tables", module->tblTables, {"KeyLink=" + key("Новая"), "nameLat=New"});
  EXPECT_EQ(held(module->tblTables, "Новая", "nameLat"), "New");
  send(602, "Новая", "Tables", module->tblTables, {"nameLat=Newer"});
  EXPECT_EQ(held(module->tblTables, "Новая", "nameLat"), "Newer");
  sendBare(603, key("Новая"), "tables");
  EXPECT_EQ(held(module->tblTables, "Новая", "nameLat"), "absent");
}

TEST_F(Joined, DeletedRowOfTablesLeavesTheTreeAlone) {
  start();
  const QString before = text();
  send(601, "КП-1", "Tables", module->tblTables, {"KeyLink=" + key("КП-1"), "nameLat=New"});
  sendBare(603, key("КП-1"), "Tables");
  EXPECT_EQ(text(), before);
}

TEST_F(Joined, DeletedKeyThatTheArrayHasNotLeavesItsNodeAlone) {
  start();
  loadUnit();
  const QString before = text();
  sendBare(603, key("ОРУ-110"), "RemoteUnit");
  sendBare(603, key("КП-1"), "Measurement");
  sendBare(603, key("P Т-1"), "RemoteUnitFolder");
  EXPECT_EQ(text(), before);
}

TEST_F(Joined, DeleteWithoutACommaInItsTextIsDropped) {
  start();
  const QString before = text();
  Message message(603, key("КП-1").toLatin1(), "tbl=RemoteUnit");
  module->MessageData(message.get());
  EXPECT_EQ(text(), before);
}

TEST_F(Joined, DeletedRowsGoWithTheirNodesInAnyCaseOfTheTable) {
  start();
  loadUnit();
  const std::tuple<const char*, const char*, const CMDArray*> rows[] = {
      {"P Т-1", "MEASUREMENT", &module->measRecords},
      {"КП-1", "remoteunit", &module->tblRemoteUnit},
      {"ОРУ-110", "RemoteUnitFOLDER", &module->tblRemoteUnitFolder}};
  for (const auto& [name, table, array] : rows) {
    sendBare(603, key(name), table);
    EXPECT_FALSE(row(name).isValid()) << name;
    EXPECT_EQ(record(*array, name), nullptr) << name;
    EXPECT_EQ(array->code, 0) << name;
  }
}

TEST_F(Joined, AddedRowIsMergedIntoTheOneThatIsHere) {
  start();
  const int before = MDARecCount(module->tblRemoteUnit.array);
  send(601, "КП-1", "RemoteUnit", module->strRemoteUnit, {"SrvGroup=7", "~StateRtu=0"});
  EXPECT_EQ(MDARecCount(module->tblRemoteUnit.array), before);
  MDRVar group{};
  module->tblRemoteUnit.GetVal(record(module->tblRemoteUnit, "КП-1"), "SrvGroup", group);
  EXPECT_EQ(+group.i32, 7);
  EXPECT_EQ(row("КП-1").data(Qt::ForegroundRole).value<QColor>(), QColor(Qt::black));
}

// ---- the server's own events -----------------------------------------------------------------------------

class ByServer : public Joined {
 protected:
  void commit(Colleague& other) {
    ASSERT_TRUE(other.commit());
    ASSERT_TRUE(eventsAreIn());
  }
};

TEST_F(ByServer, NewMeasurementOfAnOpenUnitIsShown) {
  start();
  loadUnit();
  Colleague other(*server.core());
  other.add("Analog", key("А"), {"name_=А", "locId=1009", unit()});
  commit(other);
  EXPECT_EQ(row("А").parent(), row("P Т-1").parent());
  EXPECT_EQ(numberOf(row("А")), "1009");
  EXPECT_EQ(keys(), QStringList());
}

TEST_F(ByServer, NewMeasurementWithACommaInItsNameIsNotShownUntilTheTreeIsLoadedAgain) {
  start();
  loadUnit();
  const QString before = text();
  Colleague other(*server.core());
  other.add("Analog", key("А"), {"name_=А, Б", "locId=1009", unit()});
  commit(other);
  EXPECT_EQ(text(), before);
  EXPECT_EQ(held(module->measRecords, "А", "name_"), "");
  EXPECT_EQ(keys(), QStringList());
}

TEST_F(ByServer, NewMeasurementWithoutAUnitIsNotShown) {
  start();
  const QString before = text();
  Colleague other(*server.core());
  other.add("Analog", key("А"), {"name_=А", "locId=1009"});
  commit(other);
  EXPECT_EQ(text(), before);
  EXPECT_EQ(held(module->measRecords, "А", "name_"), "absent");
}

}  // namespace
}  // namespace tlm::test
