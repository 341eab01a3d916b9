#include "ModuleFixture.h"
#include "RecordAccess.h"

#include <array>
#include <cstdlib>

namespace tlm::test {
namespace {

constexpr const char* kModel = R"(
    table Archives Аналоговый {type_=1}
    table Archives Срезовый {type_=5}
    table Archives Дискретный {type_=2}
    table Archives Счетный {type_=3}
    table Archives Строковый {type_=4}
    table Archives Никакой {type_=0}
    table Archives Новый {type_=6}
    table MeasurementArchGroup Г1 {aggregatedData=1;ArchivesKey=@Срезовый}
    table MeasurementArchGroup Г2 {aggregatedData=1;ArchivesKey=@Аналоговый}
    table MeasurementArchGroup Г3 {aggregatedData=1;ArchivesKey=@Счетный}
    table MeasurementArchGroup Г4 {aggregatedData=1;ArchivesKey=@Никакой}
    table MeasurementArchGroup Г5 {aggregatedData=1;ArchivesKey=@Новый}
    table MeasurementArchGroup Г6 {aggregatedData=1}
    table MeasurementArchGroup Г7 {aggregatedData=0;ArchivesKey=@Дискретный}
    table MeasurementArchGroup Г8 {ArchivesKey=@Строковый}
    folder Папка
      unit КП
        analog 1001 P
        discrete 1002 Q
)";

struct CatalogueTest : ModuleFixture {
  void SetUp() override { serve(kModel); }
};

struct TableKeys {
  CMDArray CTlmMeasConfig::*table;
  const char* request;
  QStringList keys;
};

const std::array<TableKeys, 8>& expectedTables() {
  using M = CTlmMeasConfig;
  static const std::array<TableKeys, 8> tables = {{
      {&M::tblFields, "Fields", {"KeyLink", "TablesKey;nameLat", "TablesKey;pos"}},
      {&M::tblRemoteUnit,
       "RemoteUnit,KeyLink,RemoteUnitFolderKey,SrvGroup,StateRtu,name_,ClassName",
       {"KeyLink", "RemoteUnitFolderKey"}},
      {&M::tblRemoteUnitFolder, "RemoteUnitFolder", {"KeyLink", "ParentKey"}},
      {&M::tblTables, "Tables,KeyLink,nameLat,nameLoc,parent,param", {"KeyLink", "nameLat"}},
      {&M::tblFieldsType, "FieldsType", {"KeyLink"}},
      {&M::tblArchGroup, "MeasurementArchGroup", {"KeyLink", "aggregatedName", "aggregatedData"}},
      {&M::tblArchives, "Archives", {"KeyLink"}},
      {&M::tblCalculations, "Calculations", {"KeyLink", "fname", "fnamee"}},
  }};
  return tables;
}

QStringList keysOf(const CMDArray& table) {
  QStringList keys;
  for (int i = 0; i < MDAKeyCount(table.array); ++i) keys.append(MDAKeyExpr(table.array, i));
  return keys;
}

TEST_F(CatalogueTest, TheReferenceTablesTravelInOneBlock) {
  app->log.clear();
  module->loadMdxTables();
  QStringList expected{"BlockBeg"};
  for (const TableKeys& row : expectedTables()) expected.append(QString("PacketExec TableRecords ") + row.request);
  expected.append("BlockEnd");
  EXPECT_EQ(app->log, expected);
}

TEST_F(CatalogueTest, EachTableHasExactlyTheKeysOfTheModule) {
  module->loadMdxTables();
  for (const TableKeys& row : expectedTables()) EXPECT_EQ(keysOf(module.get()->*row.table), row.keys) << row.request;
  EXPECT_EQ(MDARecCount(module->tblRemoteUnit.array), 1);
  EXPECT_EQ(MDARecCount(module->tblArchives.array), 7);
  EXPECT_GT(MDARecCount(module->tblFields.array), 100);
}

TEST_F(CatalogueTest, NamesOfFieldsAndAggregatesAreSoughtInAnyCase) {
  module->loadMdxTables();
  EXPECT_EQ(*MDAKeyFlags(module->tblFields.array, 1) & MDX_KEY_NOCASE, unsigned(MDX_KEY_NOCASE));
  EXPECT_EQ(*MDAKeyFlags(module->tblArchGroup.array, 1) & MDX_KEY_NOCASE, unsigned(MDX_KEY_NOCASE));
  EXPECT_EQ(*MDAKeyFlags(module->tblFields.array, 2) & MDX_KEY_NOCASE, 0u);
  EXPECT_NE(GetFldRec(&module->tblFields, &module->tblTables, "Measurement", "LOCID"), nullptr);
}

TEST_F(CatalogueTest, ATableWithoutAPayloadLeavesTheOthers) {
  app->failures.add("PacketExec TableRecords Fields", Fail::kEmptyPayload, 1);
  module->loadMdxTables();
  EXPECT_EQ(MDARecCount(module->tblFields.array), 0);
  EXPECT_EQ(MDARecCount(module->tblRemoteUnit.array), 1);
  EXPECT_EQ(MDARecCount(module->tblArchives.array), 7);
}

TEST_F(CatalogueTest, ABlockThatFailsLeavesAllTablesEmpty) {
  const std::pair<const char*, Fail> rows[] = {{"PacketExec TableRecords Archives", Fail::kRefuseToSend},
                                               {"BlockEnd", Fail::kRefuseToSend},
                                               {"BlockEnd", Fail::kTimeOut},
                                               {"BlockEnd", Fail::kNoReply},
                                               {"BlockEnd", Fail::kStatus}};
  for (const auto& [call, fail] : rows) {
    app->failures.clear();
    app->failures.add(call, fail);
    module->loadMdxTables();
    for (const TableKeys& row : expectedTables())
      EXPECT_EQ(MDARecCount((module.get()->*row.table).array), 0) << call << " " << row.request;
  }
}

TEST_F(CatalogueTest, ARequestThatIsRefusedDropsTheBlock) {
  app->failures.add("PacketExec TableRecords RemoteUnit,", Fail::kRefuseToSend);
  app->log.clear();
  module->loadMdxTables();
  EXPECT_EQ(app->log.last(), "BlockEnd drop");
  EXPECT_EQ(app->log.filter("PacketExec").size(), 2);
}

TEST_F(CatalogueTest, TheStructuresAreAskedForInOrder) {
  app->log.clear();
  module->GetStructTables();
  QStringList expected;
  for (const char* table : {"Analog", "Discrete", "Accumulator", "StringMeasurement", "IdentifiedObject", "Measurement",
                            "RemoteUnit", "RemoteUnitFolder"})
    expected.append(QString("PacketExec TableStructure ") + table);
  EXPECT_EQ(app->log, expected);
  EXPECT_GE(module->GetPosFieldAtCMDArray(&module->strMeasurement, "RemoteUnitKey"), 0);
  EXPECT_GE(module->GetPosFieldAtCMDArray(&module->strRemoteUnitFolder, "caption"), 0);
}

TEST_F(CatalogueTest, AStructureThatFailsLeavesTheOthers) {
  app->failures.add("PacketExec TableStructure Discrete", Fail::kStatus);
  module->GetStructTables();
  EXPECT_EQ(MDAFldCount(module->strDiscrete.array), 0);
  EXPECT_GT(MDAFldCount(module->strAnalog.array), 0);
  EXPECT_GT(MDAFldCount(module->strRemoteUnit.array), 0);
}

TEST_F(CatalogueTest, EachClassHasItsChainOfStructures) {
  module->FillTableStructures();
  module->FillTableStructures();  // a second run does not double
  EXPECT_EQ(module->tableNames,
            (QStringList{"RemoteUnitFolder", "RemoteUnit", "Analog", "Accumulator", "Discrete", "StringMeasurement"}));
  EXPECT_EQ(module->tableLists.value(2), "IdentifiedObject,Measurement,Analog");
  CTlmMeasConfig& m = *module;
  EXPECT_EQ(m.tableStructs[0], (QList<CMDArray*>{&m.strRemoteUnitFolder}));
  EXPECT_EQ(m.tableStructs[1], (QList<CMDArray*>{&m.strIdentifiedObject, &m.strRemoteUnit}));
  EXPECT_EQ(m.tableStructs[2], (QList<CMDArray*>{&m.strIdentifiedObject, &m.strMeasurement, &m.strAnalog}));
  EXPECT_EQ(m.tableStructs[3], (QList<CMDArray*>{&m.strIdentifiedObject, &m.strMeasurement, &m.strAccumulator}));
  EXPECT_EQ(m.tableStructs[4], (QList<CMDArray*>{&m.strIdentifiedObject, &m.strMeasurement, &m.strDiscrete}));
  EXPECT_EQ(m.tableStructs[5], (QList<CMDArray*>{&m.strIdentifiedObject, &m.strMeasurement, &m.strStringMeasurement}));
}

TEST_F(CatalogueTest, ClassesWithAggregatesFollowTheArchivesOfMarkedGroups) {
  module->loadMdxTables();
  module->FillClassesEnabledAgreg();
  QStringList classes = module->classesEnabledAgreg;
  EXPECT_EQ(classes.size(), 2) << classes.join(',').toStdString();
  EXPECT_TRUE(classes.contains("Analog"));
  EXPECT_TRUE(classes.contains("Accumulator"));
  module->FillClassesEnabledAgreg();
  EXPECT_EQ(module->classesEnabledAgreg, classes);
}

TEST_F(CatalogueTest, WithoutReferenceTablesNoClassHasAggregates) {
  module->classesEnabledAgreg = QStringList{"Analog"};
  module->FillClassesEnabledAgreg();
  EXPECT_TRUE(module->classesEnabledAgreg.isEmpty());
}

TEST_F(CatalogueTest, PositionsOfFieldsIgnoreCase) {
  module->loadMdxTables();
  EXPECT_EQ(module->GetPosFieldAtCMDArray(&module->tblRemoteUnit, "KeyLink"), 0);
  EXPECT_EQ(module->GetPosFieldAtCMDArray(&module->tblRemoteUnit, "remoteunitfolderkey"), 1);
  EXPECT_EQ(module->GetPosFieldAtCMDArray(&module->tblRemoteUnit, "нет"), -1);
  EXPECT_EQ(module->GetPosFieldAtCMDArray(&module->tblRemoteUnit, QString()), -1);
  EXPECT_EQ(module->GetPosFieldAtCMDArray(nullptr, "KeyLink"), -1);
  CMDArray none;
  EXPECT_EQ(module->GetPosFieldAtCMDArray(&none, "KeyLink"), -1);
}

TEST_F(CatalogueTest, AncestorsOfATableAreFollowedByKeyAndName) {
  module->loadMdxTables();
  CMDArray* tables = &module->tblTables;
  QString parent;
  ASSERT_TRUE(GetParentTableKey(tables, "Analog", parent, false));
  EXPECT_EQ(GetNameTableByKey(tables, parent), "Measurement");
  QString grandparent;
  ASSERT_TRUE(GetParentTableKey(tables, parent, grandparent, true));
  EXPECT_EQ(GetNameTableByKey(tables, grandparent), "IdentifiedObject");
  QString none = "как было";
  EXPECT_FALSE(GetParentTableKey(tables, grandparent, none, true));
  EXPECT_FALSE(GetParentTableKey(tables, "NoSuchTable", none, false));
  CMDArray empty;
  EXPECT_FALSE(GetParentTableKey(&empty, "Analog", none, false));
  EXPECT_EQ(none, "как было");
  EXPECT_EQ(GetNameTableByKey(tables, "нет"), QString());
}

TEST_F(CatalogueTest, DeclaredTypesOfFields) {
  module->loadMdxTables();
  CTlmMeasConfig& m = *module;
  const auto typeOf = [&](const char* table, const char* field) {
    return GetTypeField(&m.tblFields, &m.tblTables, &m.tblFieldsType, table, field);
  };
  EXPECT_EQ(typeOf("Measurement", "work_"), "BOOLEAN");
  EXPECT_EQ(typeOf("Measurement", "commissioned"), "DATETIME");
  EXPECT_EQ(typeOf("Measurement", "priority"), "ENUM");
  EXPECT_EQ(typeOf("Measurement", "UnitKey"), "GUID_REF");
  EXPECT_EQ(typeOf("Measurement", "locId"), "INTEGER");
  EXPECT_EQ(typeOf("Measurement", "нет"), QString());
  EXPECT_EQ(typeOf("Нет", "locId"), QString());
  CMDArray empty;
  EXPECT_EQ(GetTypeField(&empty, &m.tblTables, &m.tblFieldsType, "Measurement", "locId"), QString());
  EXPECT_EQ(GetTypeField(&m.tblFields, &m.tblTables, &empty, "Measurement", "locId"), QString());
  EXPECT_EQ(GetFldRec(&m.tblFields, &m.tblTables, "Measurement", "нет"), nullptr);
}

TEST_F(CatalogueTest, NamesOutOfAnObjectModel) {
  module->getLiteModel(key("P"), module->liteModel);
  CLiteModel* model = &module->liteModel;
  EXPECT_EQ(GetNameByKey(key("P"), model), "P");
  EXPECT_EQ(GetNameByKey(key("P"), nullptr), QString());
  EXPECT_EQ(GetNameByKey(QString(), model), QString());
  EXPECT_EQ(GetNameByKey("00000000000000000000000000000000", model), QString());
  QString found = "как было";
  EXPECT_EQ(GetNameByLocId(1001, "Measurement", nullptr, found), QString());
  EXPECT_EQ(GetNameByLocId(1001, "NoSuchTable", model, found), QString());
  EXPECT_EQ(GetNameByLocId(77, "Measurement", model, found), QString());
  EXPECT_EQ(found, "как было");
  EXPECT_EQ(GetNameByLocId(1001, "Measurement", model, found), "P");
  EXPECT_EQ(found, key("P"));
}

// ---- texts ----------------------------------------------------------------------------------------------

TEST(ServerGroupName, IsWhatFollowsTheNumber) {
  QStringList groups{"0=Текущая группа сервера", "17=Семнадцатая", "7=Седьмая=да"};
  EXPECT_EQ(GetServerGroup("7", &groups), "Седьмая=да");
  EXPECT_EQ(GetServerGroup("17", &groups), "Семнадцатая");
  EXPECT_EQ(GetServerGroup("0", &groups), "Текущая группа сервера");
  EXPECT_EQ(GetServerGroup("не число", &groups), "Текущая группа сервера");
  EXPECT_EQ(GetServerGroup("1", &groups), QString());
  QStringList none;
  EXPECT_EQ(GetServerGroup("7", &none), QString());
  EXPECT_EQ(GetServerGroup("7", nullptr), QString());
}

TEST(ParamText, IsReadByItsName) {
  const std::tuple<const char*, const char*, const char*> rows[] = {
      {"REF", "REF=Tables;MIN=0", "Tables"},
      {"MIN", "REF=Tables;MIN=0", "0"},
      {"MAX", "REF=Tables", ""},
      {"ENUM", "ENUM=\"0=Нет,1=Да\"", "\"0=Нет,1=Да\""},  // with commas the tail stays as it stands
      {"UNIT", "UNIT=\"кВт\"", ""},                       // cut at the first quotation mark
      {"UNIT", "UNIT=кВт\" прочее", "кВт"},
      {"REF", "REF=;MIN=0", ";MIN=0"},         // a separator at the very start does not cut
      {"REF", "ref=Tables;MIN=0", "=Tables"},  // found in another case only
  };
  for (const auto& [name, text, value] : rows)
    EXPECT_EQ(ParseParam(name, text), QString::fromUtf8(value)) << name << " in " << text;
}

TEST(Doubles, CompareByWholePartsThenHundredths) {
  const auto compare = [](double a, double b) { return compDoubleOb(&a, &b); };
  EXPECT_EQ(compare(5.9, 2.1), 3);
  EXPECT_EQ(compare(2.1, 5.9), -3);
  EXPECT_EQ(compare(1.75, 1.5), 25);
  EXPECT_EQ(compare(1.5, 1.75), -25);
  EXPECT_EQ(compare(1.501, 1.5), 0);
  double values[] = {3.5, 1.25, 3.25, -2};
  std::qsort(values, 4, sizeof(double), compDoubleOb);
  EXPECT_EQ(std::vector<double>(values, values + 4), (std::vector<double>{-2, 1.25, 3.25, 3.5}));
}

}  // namespace
}  // namespace tlm::test
