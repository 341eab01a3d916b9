#include "fixture.h"

#include <set>

namespace tlm::server::test {
namespace {

std::string errorOf(const std::string& catalogue) {
  std::string error;
  return Catalogue::parse(catalogue, &error) ? "" : error;
}

const std::string kGoodTable = "table T \"Таблица\"\n  keys KeyLink\n  field KeyLink GUID \"Ключ\"\n";

std::string names(const std::vector<const TableDef*>& chain) {
  std::string text;
  for (const TableDef* def : chain) text += (text.empty() ? "" : ",") + def->name;
  return text;
}

TEST(Catalogue, BuiltInIsReadWhole) {
  const Catalogue& catalogue = Catalogue::builtIn();
  for (const char* name : {"Tables", "Fields", "FieldsType", "IdentifiedObject", "Measurement", "Analog", "Discrete",
                           "Accumulator", "StringMeasurement", "RemoteUnit", "RemoteUnitFolder", "Calculations",
                           "MeasurementArchGroup", "Archives", "Terminal", "Dublies", "ObjectForms", "ServerGroups"}) {
    EXPECT_TRUE(catalogue.table(name)) << name;
  }
}

TEST(Catalogue, ChainsRunFromTheTopTableToTheClass) {
  const Catalogue& catalogue = Catalogue::builtIn();
  EXPECT_EQ(names(catalogue.chain("Analog")), "IdentifiedObject,Measurement,Analog");
  EXPECT_EQ(names(catalogue.chain("RemoteUnit")), "IdentifiedObject,RemoteUnit");
  EXPECT_EQ(names(catalogue.chain("RemoteUnitFolder")), "RemoteUnitFolder");
  EXPECT_EQ(names(catalogue.chain("nothing")), "");
}

TEST(Catalogue, MeasurementKeysHaveTheirNumbers) {
  EXPECT_EQ(Catalogue::builtIn().table("Measurement")->keys,
            (std::vector<std::string>{"KeyLink", "locId", "primaryLocId", "RemoteUnitKey"}));
}

TEST(Catalogue, FieldNamesOfAChainAreDistinctButForTheKey) {
  const Catalogue& catalogue = Catalogue::builtIn();
  for (const TableDef& def : catalogue.tables()) {
    std::set<std::string> seen;
    for (const TableDef* one : catalogue.chain(def.name)) {
      for (const FieldDef& field : one->fields) {
        if (field.name != "KeyLink") {
          EXPECT_TRUE(seen.insert(field.name).second) << def.name << "." << field.name;
        }
      }
    }
  }
}

TEST(Catalogue, ReferencesNameTablesThatAreThere) {
  const Catalogue& catalogue = Catalogue::builtIn();
  for (const TableDef& def : catalogue.tables()) {
    for (const FieldDef& field : def.fields) {
      if (field.declared == "GUID_REF") {
        EXPECT_TRUE(catalogue.table(paramValue(field.param, "REF"))) << field.name;
      }
      if (field.declared == "ENUM") {
        EXPECT_FALSE(paramValue(field.param, "ENUM").empty()) << field.name;
      }
    }
  }
}

TEST(Catalogue, AnAnalogShowsBetweenFortyAndSeventyFields) {
  size_t fields = 0;
  for (const TableDef* def : Catalogue::builtIn().chain("Analog")) fields += def->fields.size();
  EXPECT_GE(fields, 40u);
  EXPECT_LE(fields, 70u);
}

TEST(Catalogue, TitlesAreGivenForEveryTableAndField) {
  for (const TableDef& def : Catalogue::builtIn().tables()) {
    EXPECT_FALSE(def.title.empty()) << def.name;
    for (const FieldDef& field : def.fields) EXPECT_FALSE(field.title.empty()) << def.name << "." << field.name;
  }
}

TEST(Catalogue, TitlesFitTheCodePage) {
  for (const TableDef& def : Catalogue::builtIn().tables()) {
    for (const FieldDef& field : def.fields) {
      EXPECT_EQ(fromCodePage(toCodePage(field.title)), field.title);
      EXPECT_EQ(fromCodePage(toCodePage(field.param)), field.param);
    }
  }
}

TEST(Catalogue, DescribesItselfInItsOwnTables) {
  const ModelTables tables(Catalogue::builtIn());
  const Table described = tableOf(tables.table("Tables"));
  EXPECT_EQ(described.rows.size(), Catalogue::builtIn().tables().size());
  std::map<std::string, Row> byName;
  for (const Row& row : described.rows) byName[row.at("nameLat")] = row;
  EXPECT_EQ(byName["Analog"]["parent"], byName["Measurement"]["KeyLink"]);
  EXPECT_EQ(byName["Measurement"]["parent"], byName["IdentifiedObject"]["KeyLink"]);
  EXPECT_EQ(byName["IdentifiedObject"]["parent"], "-");
  EXPECT_EQ(byName["Discrete"]["nameLoc"], ru("Дискретный сигнал"));
}

TEST(Catalogue, RowsOfFieldsAreFoundByTableAndNameWithTheirType) {
  const ModelTables tables(Catalogue::builtIn());
  const MDArray* fields = tables.table("Fields");
  const std::string tableKey = Catalogue::tableKey("Measurement");
  MDRVar values[2]{};
  values[0].type = values[1].type = MDX_TEXT;
  values[0].text.length = 32;
  values[0].text.data = tableKey.data();
  values[1].text.length = 5;
  values[1].text.data = "locId";
  const MDRData* row = MDARecSeekV(fields, 1, values, nullptr);
  ASSERT_TRUE(row);
  MDRVar value{};
  MDRGetVal(MDRFldByName(fields, "FieldsTypeKey"), row, &value);
  EXPECT_EQ(textOfValue(value), Catalogue::typeKey("INTEGER"));
  MDRGetVal(MDRFldByName(fields, "pos"), row, &value);
  EXPECT_EQ(textOfValue(value), "1");
}

TEST(Catalogue, KeysOfItsRowsAreTheSameAtEveryStart) {
  EXPECT_EQ(Catalogue::tableKey("Analog"), Catalogue::tableKey("Analog"));
  EXPECT_EQ(Catalogue::tableKey("Analog").size(), kKeyLength);
  EXPECT_NE(Catalogue::fieldKey("Analog", "scale_"), Catalogue::fieldKey("Analog", "offset_"));
}

TEST(Catalogue, KeysOfItsRowsAreDistinct) {
  const ModelTables tables(Catalogue::builtIn());
  std::set<std::string> keys;
  size_t rows = 0;
  for (const char* name : {"Tables", "Fields", "FieldsType"}) {
    for (const Row& row : tableOf(tables.table(name)).rows) {
      keys.insert(row.at("KeyLink"));
      ++rows;
    }
  }
  EXPECT_EQ(keys.size(), rows);
}

TEST(Catalogue, DeclaredTypesStandInFieldsType) {
  const ModelTables tables(Catalogue::builtIn());
  std::set<std::string> declared;
  for (const Row& row : tableOf(tables.table("FieldsType")).rows) declared.insert(row.at("nameLoc"));
  for (const char* name : {"BOOLEAN", "DATETIME", "ENUM", "GUID_REF", "INTEGER", "TEXT", "GUID", "DOUBLE"})
    EXPECT_TRUE(declared.count(name)) << name;
}

TEST(CatalogueParser, TakesAStoredTypeBehindAColon) {
  std::string error;
  const auto catalogue =
      Catalogue::parse(kGoodTable + "field a INTEGER:int64 \"А\" Meas=1\nfield b TEXT:16 \"Б\"\n", &error);
  ASSERT_TRUE(catalogue) << error;
  const TableDef& def = *catalogue->table("T");
  EXPECT_EQ(def.fields[1].type, MDX_INT64);
  EXPECT_EQ(def.fields[1].param, "Meas=1");
  EXPECT_EQ(def.fields[2].type, MDX_TEXT);
  EXPECT_EQ(def.fields[2].size, 16);
}

TEST(CatalogueParser, SaysTheLineOfAnUnknownType) {
  EXPECT_EQ(errorOf(kGoodTable + "field a NUMBER \"А\"\n"), "line 4: unknown type \"NUMBER\"");
}

TEST(CatalogueParser, RefusesAFieldThatStandsTwice) {
  EXPECT_EQ(errorOf(kGoodTable + "field keylink GUID \"Ключ\"\n"), "line 4: field keylink stands twice");
}

TEST(CatalogueParser, RefusesATableThatStandsTwice) {
  EXPECT_EQ(errorOf(kGoodTable + kGoodTable), "line 4: table T stands twice");
}

TEST(CatalogueParser, RefusesAParentThatComesLater) {
  EXPECT_EQ(errorOf("table T \"Т\" parent=U\n"), "line 1: the parent U must stand before");
}

TEST(CatalogueParser, RefusesAMissingTitle) {
  EXPECT_EQ(errorOf(kGoodTable + "field a TEXT\n"), "line 4: the title in quotation marks is missing");
}

TEST(CatalogueParser, RefusesAKeyOverAnUnknownField) {
  EXPECT_NE(errorOf("table T \"Т\"\nkeys KeyLink, other\nfield KeyLink GUID \"К\"\n").find("unknown field other"),
            std::string::npos);
}

TEST(CatalogueParser, RefusesATableThatDoesNotBeginWithItsKey) {
  EXPECT_NE(errorOf("table T \"Т\"\nkeys KeyLink\nfield a TEXT \"А\"\n").find("field 0 must be KeyLink"),
            std::string::npos);
}

TEST(CatalogueParser, RefusesAFieldBeforeTheFirstTable) {
  EXPECT_EQ(errorOf("field a TEXT \"А\"\n"), "line 1: \"field\" before the first table");
}

TEST(ParamValue, TakesTheValueOfOnePart) {
  EXPECT_EQ(paramValue("ENUM=\"0=a,1=b\";REF=Tables", "ENUM"), "0=a,1=b");
  EXPECT_EQ(paramValue("ENUM=\"0=a,1=b\";REF=Tables", "REF"), "Tables");
  EXPECT_EQ(paramValue("REF=Tables", "EF"), "");
}

TEST(CodePage, RussianTextGoesThereAndBack) {
  EXPECT_EQ(toCodePage("Ёж №1 — «А»"),
            "\xA8\xE6 \xB9"
            "1 \x97 \xAB\xC0\xBB");
  EXPECT_EQ(fromCodePage(toCodePage("Ёж №1 — «А»")), "Ёж №1 — «А»");
}

TEST(CodePage, WhatItLacksBecomesAQuestionMark) {
  EXPECT_EQ(toCodePage("\xE4\xB8\xAD"
                       "x\xFF"),
            "?x?");
  EXPECT_EQ(toCodePage("\xD0"), "?");
}

}  // namespace
}  // namespace tlm::server::test
