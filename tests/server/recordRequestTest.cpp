#include "fixture.h"

#include <set>

namespace tlm::server::test {
namespace {

using RecordRequestTest = ServerTest;
using Names = std::vector<std::string>;

std::string keyBody(const std::string& table, int64_t key, const std::vector<Value>& values) {
  CMDArray array;
  Fields fields{{"tblname", table}, {"idxnum", key}};
  const auto add = [&](const std::string& name, uint8_t type, uint8_t size) {
    MDRFldDesc desc{};
    name.copy(desc.name, sizeof desc.name - 1);
    desc.type = type;
    desc.size = size;
    MDAFldAdd(array.array, 1, &desc);
  };
  add("tblname", MDX_TEXT, 32);
  add("idxnum", MDX_INT32, 0);
  for (size_t i = 0; i < values.size(); ++i) {
    add("fld_" + std::to_string(i), std::holds_alternative<int64_t>(values[i]) ? MDX_INT32 : MDX_MEMO, 0);
  }
  MDRData* record = MDARecNew(array.array);
  const auto put = [&](int number, const Value& value) {
    MDRVar v{};
    if (const auto* text = std::get_if<std::string>(&value)) {
      v.type = MDX_TEXT;
      v.text.length = static_cast<uint32_t>(text->size());
      v.text.data = text->data();
    } else if (const auto* integer = std::get_if<int64_t>(&value)) {
      v.type = MDX_INT64;
      v.i64 = *integer;
    } else {
      return;
    }
    MDRSetVal(MDRFldByNum(array.array, number), record, &v);
  };
  put(0, table);
  put(1, key);
  for (size_t i = 0; i < values.size(); ++i) put(static_cast<int>(i) + 2, values[i]);
  EXPECT_GE(MDRRecPack(array.array, record, 1, 1), 0);
  return {reinterpret_cast<const char*>(record->packed), record->packedLength};
}

TEST_F(RecordRequestTest, TableRecordsOfANameAloneBringsAllItsColumns) {
  const Table table = tableOf(packet("TableRecords", "RemoteUnitFolder"));
  EXPECT_EQ(table.columns, (Names{"KeyLink", "caption", "ParentKey", "description", "orderNo"}));
  ASSERT_EQ(table.rows.size(), 2u);
  EXPECT_EQ(table.rows[0].at("caption"), ru("Сети"));
  EXPECT_EQ(table.rows[0].at("ParentKey"), "-");
  EXPECT_EQ(table.rows[1].at("ParentKey"), key("Root"));
}

TEST_F(RecordRequestTest, TableRecordsBringsTheNamedColumnsInTheirOrder) {
  const Table table = tableOf(packet("TableRecords", "Tables,KeyLink,nameLat,nameLoc,parent,param"));
  EXPECT_EQ(table.columns, (Names{"KeyLink", "nameLat", "nameLoc", "parent", "param"}));
  EXPECT_EQ(table.rows.size(), Catalogue::builtIn().tables().size());
}

TEST_F(RecordRequestTest, TableRecordsJoinsColumnsOfTheParentTables) {
  const Table table =
      tableOf(packet("TableRecords", "RemoteUnit,KeyLink,RemoteUnitFolderKey,SrvGroup,StateRtu,name_,ClassName"));
  EXPECT_EQ(table.columns, (Names{"KeyLink", "RemoteUnitFolderKey", "SrvGroup", "StateRtu", "name_", "ClassName"}));
  ASSERT_EQ(table.rows.size(), 1u);
  EXPECT_EQ(table.rows[0].at("name_"), ru("ПС Северная"));
  EXPECT_EQ(table.rows[0].at("ClassName"), "RemoteUnit");
  EXPECT_EQ(table.rows[0].at("SrvGroup"), "1");
  EXPECT_EQ(table.rows[0].at("StateRtu"), "true");
}

TEST_F(RecordRequestTest, TableRecordsJoinsAcrossTwoParents) {
  const Table table = tableOf(packet("TableRecords", "Analog,KeyLink,locId,name_"));
  ASSERT_EQ(table.rows.size(), 1u);
  EXPECT_EQ(table.rows[0].at("locId"), "1001");
  EXPECT_EQ(table.rows[0].at("name_"), "name A1");
}

TEST_F(RecordRequestTest, TableRecordsOfAnUnknownTableHasAStatus) {
  EXPECT_EQ(packet("TableRecords", "Nothing").status, wire::kUnknownTable);
  EXPECT_EQ(packet("TableRecords", "").status, wire::kUnknownTable);
}

TEST_F(RecordRequestTest, TableRecordsOfAnUnknownColumnHasAStatus) {
  EXPECT_EQ(packet("TableRecords", "RemoteUnit,KeyLink,colour").status, wire::kUnknownField);
  EXPECT_EQ(packet("TableRecords", "RemoteUnit,").status, wire::kUnknownField);
}

TEST_F(RecordRequestTest, TableRecordsOfAnEmptyTableIsATableWithoutRows) {
  const Table table = tableOf(packet("TableRecords", "Dublies"));
  EXPECT_FALSE(table.columns.empty());
  EXPECT_TRUE(table.rows.empty());
}

TEST_F(RecordRequestTest, TheStartUpReadOfEightTablesTravelsInOneBlock) {
  std::vector<wire::Request> requests;
  for (const char* body : {"Fields", "RemoteUnit,KeyLink,RemoteUnitFolderKey,SrvGroup,StateRtu,name_,ClassName",
                           "RemoteUnitFolder", "Tables,KeyLink,nameLat,nameLoc,parent,param", "FieldsType",
                           "MeasurementArchGroup", "Archives", "Calculations"})
    requests.push_back({wire::RequestKind::kPacket, "TableRecords", body});
  const wire::BlockReply reply = block(requests);
  EXPECT_EQ(reply.whole.status, wire::kOk);
  ASSERT_EQ(reply.each.size(), 8u);
  for (const wire::Reply& one : reply.each) EXPECT_FALSE(tableOf(one).columns.empty());
}

TEST_F(RecordRequestTest, TableStructureHasTheFieldsAndNoRows) {
  const Table table = tableOf(packet("TableStructure", "Measurement"));
  EXPECT_EQ(table.columns.size(), Catalogue::builtIn().table("Measurement")->fields.size());
  EXPECT_EQ(table.columns[1], "locId");
  EXPECT_TRUE(table.rows.empty());
}

TEST_F(RecordRequestTest, TableStructureOfAnUnknownTableHasAStatus) {
  EXPECT_EQ(packet("TableStructure", "Nothing").status, wire::kUnknownTable);
}

TEST_F(RecordRequestTest, RecByKeyLinkBringsOneRowWithTheColumnsOfTheWholeChain) {
  const Table table = tableOf(packet("RecByKeyLink", key("A1")));
  ASSERT_EQ(table.rows.size(), 1u);
  EXPECT_EQ(table.columns[0], "KeyLink");
  size_t fields = 0;
  for (const TableDef* def : Catalogue::builtIn().chain("Analog")) fields += def->fields.size();
  EXPECT_EQ(table.columns.size(), fields - 2);  // the key stands once
  EXPECT_EQ(std::set<std::string>(table.columns.begin(), table.columns.end()).size(), table.columns.size());
  EXPECT_EQ(table.rows[0].at("KeyLink"), key("A1"));
  EXPECT_EQ(table.rows[0].at("ClassName"), "Analog");
  EXPECT_EQ(table.rows[0].at("locId"), "1001");
  EXPECT_EQ(table.rows[0].at("scale_"), "-");
}

TEST_F(RecordRequestTest, RecByKeyLinkOfAUnitTellsItsPrefix) {
  const Table table = tableOf(packet("RecByKeyLink", key("Unit")));
  EXPECT_EQ(table.rows.at(0).at("prefName"), "true");
  EXPECT_EQ(table.rows.at(0).at("name_"), ru("ПС Северная"));
}

TEST_F(RecordRequestTest, RecByKeyLinkOfAFolderBringsItsRow) {
  EXPECT_EQ(tableOf(packet("RecByKeyLink", key("Sub"))).rows.at(0).at("caption"), ru("Север"));
}

TEST_F(RecordRequestTest, RecByKeyLinkKeepsTheOrderAskedAndLeavesOutTheAbsent) {
  ASSERT_EQ(status(newMeasurement("A2", "Analog", 2001)), wire::kOk);
  ASSERT_EQ(status(newMeasurement("A3", "Analog", 2002)), wire::kOk);
  const Table table =
      tableOf(packet("RecByKeyLink", key("A3") + "," + key("absent") + "," + key("A1") + "," + key("A2")));
  ASSERT_EQ(table.rows.size(), 3u);
  EXPECT_EQ(table.rows[0].at("KeyLink"), key("A3"));
  EXPECT_EQ(table.rows[1].at("KeyLink"), key("A1"));
  EXPECT_EQ(table.rows[2].at("KeyLink"), key("A2"));
}

TEST_F(RecordRequestTest, RecByKeyLinkOfTwoClassesHasTheColumnsOfBoth) {
  const Table table = tableOf(packet("RecByKeyLink", key("A1") + "," + key("D1")));
  EXPECT_EQ(table.rows.at(0).at("CheckTu"), "-");
  EXPECT_EQ(table.rows.at(1).at("scale_"), "-");
}

TEST_F(RecordRequestTest, RecByKeyLinkTakesANumberBehindAHash) {
  EXPECT_EQ(tableOf(packet("RecByKeyLink", "#1002")).rows.at(0).at("KeyLink"), key("D1"));
}

TEST_F(RecordRequestTest, RecByKeyLinkOfNothingKnownHasAStatus) {
  EXPECT_EQ(packet("RecByKeyLink", key("absent")).status, wire::kNotFound);
  EXPECT_EQ(packet("RecByKeyLink", "#77").status, wire::kNotFound);
  EXPECT_EQ(packet("RecByKeyLink", "#x").status, wire::kNotFound);
  EXPECT_EQ(packet("RecByKeyLink", "").status, wire::kNotFound);
}

TEST_F(RecordRequestTest, RecByKeyFindsAllRowsOfAValue) {
  const Table table = tableOf(packet("RecByKey", keyBody("Measurement", 3, {key("Unit")})));
  EXPECT_EQ(table.rows.size(), 4u);
  EXPECT_EQ(table.columns.size(), Catalogue::builtIn().table("Measurement")->fields.size());
}

TEST_F(RecordRequestTest, RecByKeyFindsAnInt64KeyByAnInt32) {
  const Table table = tableOf(packet("RecByKey", keyBody("Measurement", 1, {number(1003)})));
  ASSERT_EQ(table.rows.size(), 1u);
  EXPECT_EQ(table.rows[0].at("KeyLink"), key("C1"));
}

TEST_F(RecordRequestTest, RecByKeySeeksByAKeyOfTwoFields) {
  const Table table = tableOf(packet("RecByKey", keyBody("Fields", 1, {Catalogue::tableKey("Discrete"), "CheckTu"})));
  ASSERT_EQ(table.rows.size(), 1u);
  EXPECT_EQ(table.rows[0].at("nameLoc"), ru("Телеуправление"));
}

TEST_F(RecordRequestTest, RecByKeyOfNoSuchValueIsATableWithoutRows) {
  EXPECT_TRUE(tableOf(packet("RecByKey", keyBody("Measurement", 1, {number(7)}))).rows.empty());
}

TEST_F(RecordRequestTest, RecByKeyChecksTableKeyAndValues) {
  EXPECT_EQ(packet("RecByKey", keyBody("Nothing", 0, {key("A1")})).status, wire::kUnknownTable);
  EXPECT_EQ(packet("RecByKey", keyBody("Measurement", 9, {key("A1")})).status, wire::kUnknownField);
  EXPECT_EQ(packet("RecByKey", keyBody("Measurement", -1, {key("A1")})).status, wire::kUnknownField);
  EXPECT_EQ(packet("RecByKey", keyBody("Measurement", 1, {})).status, wire::kMalformed);
  EXPECT_EQ(packet("RecByKey", keyBody("Measurement", 1, {"text"})).status, wire::kMalformed);
  EXPECT_EQ(packet("RecByKey", keyBody("Fields", 1, {Catalogue::tableKey("Discrete")})).status, wire::kMalformed);
}

TEST_F(RecordRequestTest, AnUnknownRequestHasAStatus) {
  EXPECT_EQ(packet("Nothing", "").status, wire::kUnknownRequest);
  EXPECT_EQ(packet("tablerecords", "Fields").status, wire::kUnknownRequest);
}

TEST_F(RecordRequestTest, AnAnswerOverTheLimitOfSizeHasAStatus) {
  options.maxReplyBytes = 100;
  reopen(options);
  EXPECT_EQ(packet("TableRecords", "Fields").status, wire::kTooLarge);
}

}  // namespace
}  // namespace tlm::server::test
