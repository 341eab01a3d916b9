#include "fixture.h"

#include <TlmWire/liteModel.h>

#include <optional>
#include <random>

namespace tlm::server::test {
namespace {

class LiteModelTest : public ServerTest {
 protected:
  wire::LiteModelBlock model(const std::string& objectKey) const {
    const wire::Reply reply = packet("LiteModel", "obj=" + objectKey + std::string(1, '\0'));
    EXPECT_EQ(reply.status, wire::kOk);
    EXPECT_FALSE(reply.payload);
    wire::LiteModelBlock block;
    EXPECT_TRUE(reply.text && wire::readLiteModel(reply.text->data(), reply.text->size(), &block));
    return block;
  }

  static std::string names(const wire::LiteModelBlock& block) {
    std::string text;
    for (const wire::LiteTable& table : block.tables) text += (text.empty() ? "" : ",") + table.name;
    return text;
  }

  static Table table(const wire::LiteModelBlock& block, const std::string& name) {
    for (const wire::LiteTable& one : block.tables) {
      if (one.name == name) return tableOf(wire::Reply{wire::kOk, one.packed, std::nullopt});
    }
    return {};
  }

  static std::optional<Row> row(const wire::LiteModelBlock& block, const std::string& name, const std::string& rowKey) {
    for (const Row& one : table(block, name).rows) {
      if (one.at("KeyLink") == rowKey) return one;
    }
    return std::nullopt;
  }
};

TEST_F(LiteModelTest, BringsTheTablesOfTheChainFirst) {
  const wire::LiteModelBlock block = model(key("A1"));
  EXPECT_EQ(block.key, key("A1"));
  EXPECT_EQ(block.className, "Analog");
  EXPECT_EQ(names(block), "IdentifiedObject,Measurement,Analog,MeasurementUnit,Tables,Fields,FieldsType");
}

TEST_F(LiteModelTest, BringsTheObjectsOwnRowsWhole) {
  const wire::LiteModelBlock block = model(key("A1"));
  const Table measurement = table(block, "Measurement");
  EXPECT_EQ(measurement.columns.size(), Catalogue::builtIn().table("Measurement")->fields.size());
  EXPECT_EQ(row(block, "Measurement", key("A1"))->at("locId"), "1001");
  EXPECT_EQ(row(block, "IdentifiedObject", key("A1"))->at("name_"), "name A1");
  EXPECT_TRUE(row(block, "Analog", key("A1")));
}

TEST_F(LiteModelTest, BringsKeyAndTextOfTheRowsReferredTo) {
  const Table units = table(model(key("A1")), "MeasurementUnit");
  EXPECT_EQ(units.columns, (std::vector<std::string>{"KeyLink", "symbol"}));
  ASSERT_EQ(units.rows.size(), 1u);
  EXPECT_EQ(units.rows[0].at("symbol"), ru("МВт"));
}

TEST_F(LiteModelTest, BringsTheNameOfAUnitReferredToThroughItsObject) {
  const auto unit = row(model(key("A1")), "IdentifiedObject", key("Unit"));
  ASSERT_TRUE(unit);
  EXPECT_EQ(unit->at("name_"), ru("ПС Северная"));
  EXPECT_EQ(unit->at("ClassName"), "RemoteUnit");
}

TEST_F(LiteModelTest, BringsTheMeasurementBehindANumber) {
  ASSERT_EQ(status({Update("Measurement").update(key("A1"), {{"primaryLocId", number(1002)}})}), wire::kOk);
  const wire::LiteModelBlock block = model(key("A1"));
  EXPECT_EQ(row(block, "Measurement", key("D1"))->at("locId"), "1002");
  EXPECT_EQ(row(block, "IdentifiedObject", key("D1"))->at("name_"), "name D1");
}

TEST_F(LiteModelTest, AMeasurementThatNamesItselfStandsOnce) {
  ASSERT_EQ(status({Update("Measurement").update(key("A1"), {{"primaryLocId", number(1001)}})}), wire::kOk);
  const Table measurement = table(model(key("A1")), "Measurement");
  ASSERT_EQ(measurement.rows.size(), 1u);
  EXPECT_EQ(measurement.rows[0].at("work_"), "true");
}

TEST_F(LiteModelTest, AReferenceToNothingBringsNothing) {
  ASSERT_EQ(
      status({Update("Measurement").update(key("A1"), {{"primaryLocId", number(77)}, {"UnitKey", key("absent")}})}),
      wire::kOk);
  EXPECT_EQ(names(model(key("A1"))), "IdentifiedObject,Measurement,Analog,Tables,Fields,FieldsType");
}

TEST_F(LiteModelTest, MeasurementsAreFoundByNumberThroughKeyOne) {
  const wire::LiteModelBlock block = model(key("A1"));
  const CMDArray array;
  ASSERT_EQ(MDXArrayUnPackN(array.array, block.tables[1].packed.data(), block.tables[1].packed.size(), 0), 0);
  MDRVar number{};
  number.type = MDX_INT32;
  number.i32 = 1001;
  EXPECT_TRUE(MDARecSeekV(array.array, 1, &number, nullptr));
}

TEST_F(LiteModelTest, DescribesTheFieldsOfItsChainAndNoOthers) {
  const wire::LiteModelBlock block = model(key("A1"));
  size_t fields = 0;
  for (const TableDef* def : Catalogue::builtIn().chain("Analog")) fields += def->fields.size();
  EXPECT_EQ(table(block, "Fields").rows.size(), fields);
  EXPECT_EQ(row(block, "Fields", Catalogue::fieldKey("Measurement", "UnitKey"))->at("param"), "REF=MeasurementUnit");
  EXPECT_TRUE(row(block, "Tables", Catalogue::tableKey("MeasurementUnit")));
  EXPECT_FALSE(row(block, "Tables", Catalogue::tableKey("Discrete")));
}

TEST_F(LiteModelTest, OfAFolderBringsItsRowAndItsParent) {
  const wire::LiteModelBlock block = model(key("Sub"));
  EXPECT_EQ(names(block), "RemoteUnitFolder,Tables,Fields,FieldsType");
  EXPECT_EQ(row(block, "RemoteUnitFolder", key("Root"))->at("caption"), ru("Сети"));
}

TEST_F(LiteModelTest, IsCompact) {
  const wire::Reply reply = packet("LiteModel", "obj=" + key("A1"));
  EXPECT_LT(reply.text->size(), 40'000u);
}

TEST_F(LiteModelTest, OfAnUnknownObjectHasAStatus) {
  EXPECT_EQ(packet("LiteModel", "obj=" + key("absent")).status, wire::kNotFound);
  EXPECT_EQ(packet("LiteModel", "obj=").status, wire::kNotFound);
}

TEST_F(LiteModelTest, WithoutItsPrefixIsMalformed) {
  EXPECT_EQ(packet("LiteModel", key("A1")).status, wire::kMalformed);
}

TEST(LiteModelBlock, ReadsWhatItWrote) {
  const wire::LiteModelBlock block{"key", "Analog", {{"A", std::string("\0\1", 2)}, {"B", ""}}};
  const std::string bytes = wire::writeLiteModel(block);
  wire::LiteModelBlock read;
  ASSERT_TRUE(wire::readLiteModel(bytes.data(), bytes.size(), &read));
  EXPECT_EQ(read.key, "key");
  EXPECT_EQ(read.className, "Analog");
  ASSERT_EQ(read.tables.size(), 2u);
  EXPECT_EQ(read.tables[0].packed, std::string("\0\1", 2));
}

TEST(LiteModelBlock, RefusesEveryCutAndEveryTail) {
  const std::string bytes = wire::writeLiteModel({"key", "Analog", {{"A", "packed"}}});
  wire::LiteModelBlock read;
  for (size_t length = 0; length < bytes.size(); ++length) {
    EXPECT_FALSE(wire::readLiteModel(bytes.data(), length, &read)) << length;
    EXPECT_TRUE(read.tables.empty());
  }
  const std::string longer = bytes + "x";
  EXPECT_FALSE(wire::readLiteModel(longer.data(), longer.size(), &read));
  EXPECT_FALSE(wire::readLiteModel(nullptr, 5, &read));
}

TEST(LiteModelBlock, RefusesCountsThatTheBytesCannotHold) {
  std::string bytes = wire::writeLiteModel({"", "", {}});
  bytes.replace(bytes.size() - 4, 4, "\xFF\xFF\xFF\x7F");
  wire::LiteModelBlock read;
  EXPECT_FALSE(wire::readLiteModel(bytes.data(), bytes.size(), &read));
}

TEST(LiteModelBlock, SurvivesRandomChanges) {
  const std::string bytes = wire::writeLiteModel({"key", "Analog", {{"A", "packed"}, {"B", "more"}}});
  std::mt19937 random(7);
  for (int i = 0; i < 20000; ++i) {
    std::string changed = bytes;
    for (int n = 0; n < 3; ++n) changed[random() % changed.size()] = static_cast<char>(random());
    wire::LiteModelBlock read;
    if (!wire::readLiteModel(changed.data(), changed.size(), &read)) {
      EXPECT_TRUE(read.tables.empty());
    }
  }
}

}  // namespace
}  // namespace tlm::server::test
