#include <TlmServer/Generate.h>
#include <TlmServer/ModelCheck.h>
#include <TlmServer/SampleModel.h>

#include <set>

#include "testing.h"

namespace tlm::test {
namespace {

std::unique_ptr<ModelTables> made(const GenerateOptions& options) {
  auto tables = std::make_unique<ModelTables>(Catalogue::builtIn());
  std::string error;
  EXPECT_TRUE(generateModel(options, tables.get(), &error)) << error;
  return tables;
}

GenerateOptions small(uint64_t seed = 1) {
  GenerateOptions options;
  options.units = 30;
  options.measurements = 2400;
  options.withoutUnit = 7;
  options.seed = seed;
  return options;
}

std::string packed(const ModelTables& tables) {
  std::string all;
  for (const auto& [name, rows] : tablesToStore(tables)) {
    void* bytes = nullptr;
    uint32_t length = 0;
    MDXArrayPack(rows, &bytes, &length);
    all.append(static_cast<const char*>(bytes), length);
    MDXFree(bytes);
  }
  return all;
}

MDRVar measurement(const ModelTables& tables, int key, int position, const char* field) {
  const MDArray* array = tables.table("Measurement");
  MDRVar v{};
  MDRGetVal(MDRFldByName(array, field), MDARec(array, key, position), &v);
  return v;
}

TEST(GeneratedModel, HasTheSizeThatWasAskedFor) {
  const auto tables = made(small());
  EXPECT_EQ(MDARecCount(tables->table("RemoteUnit")), 30);
  EXPECT_EQ(MDARecCount(tables->table("Measurement")), 2400);
  EXPECT_EQ(MDARecCount(tables->table("IdentifiedObject")), 2430);
}

TEST(GeneratedModel, IsTheSameForTheSameNumbers) {
  const std::string first = packed(*made(small()));
  EXPECT_EQ(packed(*made(small())), first);
  EXPECT_NE(packed(*made(small(2))), first);
}

TEST(GeneratedModel, ContradictsItselfNowhere) {
  EXPECT_EQ(checkModel(*made(small()), 10).lines, std::vector<std::string>{});
}

TEST(GeneratedModel, SpreadsMeasurementsEvenly) {
  const auto tables = made(small());
  std::map<std::string, int> counts;
  for (int i = 0; i < 2400; ++i) {
    const MDRVar v = measurement(*tables, 0, i, "RemoteUnitKey");
    ++counts[v.isNull ? "null" : std::string(v.text.data, v.text.length)];
  }
  EXPECT_EQ(counts["null"] + counts[""], 7);
  EXPECT_GT(counts["null"], 0);
  EXPECT_GT(counts[""], 0);
  counts.erase("null");
  counts.erase("");
  EXPECT_EQ(counts.size(), 30u);
  for (const auto& [unit, count] : counts) EXPECT_NEAR(count, 2393 / 30, 1);
}

TEST(GeneratedModel, HasHolesInTheNumbersOnlyWhenAsked) {
  GenerateOptions options = small();
  EXPECT_GT(int64_t{measurement(*made(options), 1, 2399, "locId").i64}, 2400);
  options.holes = false;
  EXPECT_EQ(int64_t{measurement(*made(options), 1, 2399, "locId").i64}, 2400);
}

TEST(GeneratedModel, TakesTheSmallestAndRefusesWhatIsNoSize) {
  ModelTables tables(Catalogue::builtIn());
  std::string error;
  GenerateOptions options;
  options.units = 0;
  EXPECT_FALSE(generateModel(options, &tables, &error));
  EXPECT_NE(error.find("units"), std::string::npos);
  options.units = 1;
  options.measurements = -1;
  EXPECT_FALSE(generateModel(options, &tables, &error));
  options.measurements = 3;
  options.withoutUnit = 4;
  EXPECT_FALSE(generateModel(options, &tables, &error));
  options.measurements = options.withoutUnit = 0;
  EXPECT_TRUE(generateModel(options, &tables, &error)) << error;
}

}  // namespace
}  // namespace tlm::test
