// The model of one object, from blocks of the server and from foreign bytes.
#include <TlmWire/liteModel.h>

#include "fixture.h"

#include <random>

namespace tlm::test {
namespace {

QString u8(const char* text) { return QString::fromUtf8(text); }

class LiteModel : public PassportTest {
 protected:
  TModelRecord record(const char* name, int chainPosition) {
    TModelRecord records[3];
    EXPECT_TRUE(load(&model_, key(name)));
    EXPECT_GT(model_.GetRecordsByKey(keyOf(name), records), chainPosition);
    return records[chainPosition];
  }
};

TEST_F(LiteModel, IsEmptyUntilItIsLoadedAndAfterClear) {
  EXPECT_TRUE(model_.IsEmpty());
  ASSERT_TRUE(load(&model_, key("P Т-1")));
  EXPECT_FALSE(model_.IsEmpty());
  model_.Clear();
  EXPECT_TRUE(model_.IsEmpty());
}

TEST_F(LiteModel, GivesTheRowsOfTheChainInItsOrder) {
  ASSERT_TRUE(load(&model_, key("P Т-1")));
  TModelRecord records[3];
  ASSERT_EQ(model_.GetRecordsByKey(keyOf("P Т-1"), records), 3);
  EXPECT_EQ(records[0].table->Name(), "IdentifiedObject");
  EXPECT_EQ(records[1].table->Name(), "Measurement");
  EXPECT_EQ(records[2].table->Name(), "Analog");
  EXPECT_EQ(model_.GetRecordsByKey(std::string(32, '0'), records), 0);
}

TEST_F(LiteModel, GivesTheRowsOfAnObjectThatItRefersTo) {
  ASSERT_TRUE(load(&model_, key("Q Т-1")));
  TModelRecord records[3];
  ASSERT_GE(model_.GetRecordsByKey(keyOf("P Т-1"), records), 1);
  EXPECT_EQ(model_.TextValue(records[0], "name_"), u8("P Т-1"));
}

TEST_F(LiteModel, FindsTablesWithoutRegardToCase) {
  ASSERT_TRUE(load(&model_, key("P Т-1")));
  EXPECT_TRUE(model_.GetTableByName("measurement"));
  EXPECT_FALSE(model_.GetTableByName("Discrete"));
}

TEST_F(LiteModel, ShowsEachTypeAsText) {
  const TModelRecord row = record("P Т-1", 1);
  EXPECT_EQ(model_.TextValue(row, "locId"), "1001");
  EXPECT_EQ(model_.TextValue(row, "CheckArch"), "1");
  EXPECT_EQ(model_.TextValue(row, "UnitKey"), u8("МВт"));
  EXPECT_EQ(model_.TextValue(row, "RemoteUnitKey"), u8("ПС Северная"));
  EXPECT_EQ(model_.TextValue(row, "MeasurementCategoryKey"), "");
  EXPECT_EQ(model_.TextValue(row, "comment"), u8("Проверено"));
  EXPECT_EQ(model_.TextValue(record("P Т-1", 2), "smoothing"), u8("Скользящее среднее"));
  EXPECT_EQ(model_.TextValue(record("P Т-1", 2), "highAlarm"), "125.5");
  EXPECT_EQ(model_.TextValue(record("В-110", 2), "inversion"), u8("Инверсный"));
}

TEST_F(LiteModel, SaysNoneForAFieldThatTheObjectHasNot) {
  EXPECT_EQ(model_.TextValue(record("P Т-1", 1), "nothing"), "[none]");
  EXPECT_EQ(model_.TextValue({}, "locId"), "[none]");
}

TEST_F(LiteModel, DescribesFields) {
  ASSERT_TRUE(load(&model_, key("P Т-1")));
  QString params, title, declared;
  ASSERT_TRUE(model_.FldParams("measurement", "PRIMARYLOCID", params, &title, &declared));
  EXPECT_EQ(params, "Meas=1");
  EXPECT_EQ(title, u8("Основное измерение"));
  EXPECT_EQ(declared, "INTEGER");
  EXPECT_FALSE(model_.FldParams("Measurement", "nothing", params));
}

TEST_F(LiteModel, RefusesForeignBytesAndIsEmptyThen) {
  wire::LiteModelBlock block;
  block.key = std::string(32, 'A');
  block.className = "Analog";
  block.tables.push_back({"Analog", "no array"});
  const std::string bytes = wire::writeLiteModel(block);
  ASSERT_TRUE(load(&model_, key("P Т-1")));
  EXPECT_FALSE(model_.LoadFromBuff(bytes.data(), int(bytes.size())));
  EXPECT_TRUE(model_.IsEmpty());
  EXPECT_FALSE(model_.LoadFromBuff(nullptr, 0));
  std::mt19937 random(7);
  for (int i = 0; i < 200; ++i) {
    std::string noise(random() % 300, '\0');
    for (char& c : noise) c = char(random());
    EXPECT_FALSE(model_.LoadFromBuff(noise.data(), int(noise.size())));
  }
}

}  // namespace
}  // namespace tlm::test
