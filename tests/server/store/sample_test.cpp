#include <TlmServer/CodePage.h>
#include <TlmServer/ModelCheck.h>
#include <TlmServer/SampleModel.h>
#include <TlmServer/Users.h>

#include <functional>
#include <set>

#include "testing.h"

namespace tlm::test {
namespace {

const ModelTables& sample() {
  static const auto tables = [] {
    auto made = std::make_unique<ModelTables>(Catalogue::builtIn());
    std::string error;
    EXPECT_TRUE(loadBuiltInSample(made.get(), &error)) << error;
    return made;
  }();
  return *tables;
}

MDRVar valueOf(const std::string& table, const MDRData* record, const char* field) {
  MDRVar v{};
  MDRGetVal(MDRFldByName(sample().table(table), field), record, &v);
  return v;
}

std::string textOf(const MDRVar& v) { return v.isNull ? "null" : fromCodePage({v.text.data, v.text.length}); }

std::string textOf(const std::string& table, const MDRData* record, const char* field) {
  return textOf(valueOf(table, record, field));
}

int64_t numberOf(const std::string& table, const MDRData* record, const char* field) {
  const MDRVar v = valueOf(table, record, field);
  return v.isNull ? 0 : v.type == MDX_INT64 ? v.i64 : v.type == MDX_BOOL ? v.flag : v.i32;
}

using Test = std::function<bool(const MDRData*)>;

int countOf(const std::string& table, const Test& test) {
  const MDArray* array = sample().table(table);
  int count = 0;
  for (int i = 0; i < MDARecCount(array); ++i) count += test(MDARec(array, 0, i)) ? 1 : 0;
  return count;
}

const MDRData* byKey(const std::string& table, const MDRVar& key) {
  return MDARecSeekV(sample().table(table), 0, &key, nullptr);
}

const MDRData* objectOf(const MDRData* measurement) {
  return byKey("IdentifiedObject", valueOf("Measurement", measurement, "KeyLink"));
}

bool isAggregated(const MDRData* measurement) {
  const MDRVar group = valueOf("Measurement", measurement, "MeasurementArchGroupKey");
  const MDRData* row = group.isNull ? nullptr : byKey("MeasurementArchGroup", group);
  return numberOf("Measurement", measurement, "primaryLocId") != 0 && row &&
         numberOf("MeasurementArchGroup", row, "aggregatedData") != 0;
}

const MDRData* primaryOf(const MDRData* measurement) {
  const MDRVar number = intVar(numberOf("Measurement", measurement, "primaryLocId"));
  return MDARecSeekV(sample().table("Measurement"), 1, &number, nullptr);
}

TEST(Sample, HasTheSizeOfARealNetwork) {
  EXPECT_EQ(MDARecCount(sample().table("RemoteUnitFolder")), 13);
  EXPECT_EQ(MDARecCount(sample().table("RemoteUnit")), 150);
  EXPECT_NEAR(MDARecCount(sample().table("Measurement")), 8000, 500);
  for (const char* table : {"Analog", "Discrete", "Accumulator", "StringMeasurement", "PowerSystemResource", "Terminal",
                            "Calculations", "Dublies", "ObjectForms", "ServerGroups", "BaseVoltage"})
    EXPECT_GT(MDARecCount(sample().table(table)), 0) << table;
}

TEST(Sample, ContradictsItselfNowhere) {
  const ModelProblems problems = checkModel(sample(), 20);
  EXPECT_EQ(problems.lines, std::vector<std::string>{});
}

TEST(Sample, IsTheSameBuiltInAndAsFiles) {
  ModelTables files(Catalogue::builtIn(), ModelTables::Keys::kLater);
  std::string error;
  ASSERT_TRUE(loadSample(TLM_SAMPLE_FOLDER, &files, &error)) << error;
  for (const auto& [name, rows] : tablesToStore(files))
    EXPECT_EQ(MDARecCount(rows), MDARecCount(sample().table(name))) << name;
}

TEST(Sample, HasNestedFoldersAndAnEmptyOne) {
  std::set<std::string> used;
  countOf("RemoteUnitFolder", [&](auto r) { return used.insert(textOf("RemoteUnitFolder", r, "ParentKey")).second; });
  countOf("RemoteUnit", [&](auto r) { return used.insert(textOf("RemoteUnit", r, "RemoteUnitFolderKey")).second; });
  const int empty =
      countOf("RemoteUnitFolder", [&](auto r) { return !used.count(textOf("RemoteUnitFolder", r, "KeyLink")); });
  EXPECT_EQ(empty, 1);
  const int third = countOf("RemoteUnitFolder", [](auto r) {
    const MDRVar parent = valueOf("RemoteUnitFolder", r, "ParentKey");
    return !parent.isNull && !valueOf("RemoteUnitFolder", byKey("RemoteUnitFolder", parent), "ParentKey").isNull;
  });
  EXPECT_GE(third, 1);
}

TEST(Sample, HasUnitsOfEveryCase) {
  const auto folder = [](const char* wanted) {
    return countOf("RemoteUnit", [&](auto r) { return textOf("RemoteUnit", r, "RemoteUnitFolderKey") == wanted; });
  };
  EXPECT_GE(folder("null"), 1);
  EXPECT_GE(folder(""), 1);
  EXPECT_GE(countOf("RemoteUnit", [](auto r) { return numberOf("RemoteUnit", r, "StateRtu") == 0; }), 1);
  EXPECT_GE(countOf("RemoteUnit", [](auto r) { return numberOf("RemoteUnit", r, "prefName") != 0; }), 1);
  std::set<std::string> filled;
  countOf("Measurement", [&](auto r) { return filled.insert(textOf("Measurement", r, "RemoteUnitKey")).second; });
  EXPECT_GE(countOf("RemoteUnit", [&](auto r) { return !filled.count(textOf("RemoteUnit", r, "KeyLink")); }), 1);
}

TEST(Sample, HasMeasurementsWithoutAUnitOfBothKinds) {
  for (const char* wanted : {"null", ""})
    EXPECT_GE(countOf("Measurement", [&](auto r) { return textOf("Measurement", r, "RemoteUnitKey") == wanted; }), 5);
}

TEST(Sample, HasAggregatedMeasurementsOfEveryClass) {
  std::set<std::string> classes;
  countOf("Measurement", [&](auto r) {
    return isAggregated(r) && classes.insert(textOf("IdentifiedObject", objectOf(r), "ClassName")).second;
  });
  EXPECT_EQ(classes.size(), 4u);
}

TEST(Sample, HasTheOddCasesOfAggregation) {
  EXPECT_GE(countOf("Measurement",
                    [](auto r) {
                      return isAggregated(r) && textOf("Measurement", r, "RemoteUnitKey") !=
                                                    textOf("Measurement", primaryOf(r), "RemoteUnitKey");
                    }),
            1);
  EXPECT_GE(countOf("Measurement",
                    [](auto r) { return numberOf("Measurement", r, "primaryLocId") != 0 && !isAggregated(r); }),
            1);
}

TEST(Sample, HasMissingNamesAndSwitchedOffMeasurements) {
  for (const char* wanted : {"null", ""})
    EXPECT_GE(countOf("IdentifiedObject", [&](auto r) { return textOf("IdentifiedObject", r, "name_") == wanted; }), 1);
  EXPECT_GE(countOf("Measurement",
                    [](auto r) {
                      const MDRVar v = valueOf("Measurement", r, "work_");
                      return !v.isNull && !v.flag;
                    }),
            20);
}

TEST(Sample, HasHolesInTheNumbering) {
  const MDArray* array = sample().table("Measurement");
  int holes = 0;
  for (int i = 1; i < MDARecCount(array); ++i)
    holes += numberOf("Measurement", MDARec(array, 1, i), "locId") -
                 numberOf("Measurement", MDARec(array, 1, i - 1), "locId") >
             1;
  EXPECT_GT(holes, 50);
}

TEST(Sample, HasEveryKindOfArchiveAndGroupsOfAggregatedData) {
  std::set<int64_t> types;
  countOf("Archives", [&](auto r) { return types.insert(numberOf("Archives", r, "type_")).second; });
  EXPECT_EQ(types, (std::set<int64_t>{0, 1, 2, 3, 4, 5}));
  EXPECT_GE(countOf("MeasurementArchGroup",
                    [](auto r) { return numberOf("MeasurementArchGroup", r, "aggregatedData") != 0; }),
            5);
}

TEST(Sample, CalculationsAreFoundByTheNumberOfTheirMeasurement) {
  const std::string name = "RES101";
  const MDRVar value = textVar(name);
  EXPECT_TRUE(MDARecSeekV(sample().table("Calculations"), 1, &value, nullptr));
}

TEST(Sample, GoesIntoAStoreAndComesBack) {
  const Folder folder;
  std::string error;
  auto store = createSampleStore(folder.file("model.tlm"), Catalogue::builtIn(), &error);
  ASSERT_TRUE(store) << error;
  CMDArray rows;
  Catalogue::makeFields(*Catalogue::builtIn().table("Measurement"), rows.array);
  ASSERT_TRUE(store->load("Measurement", rows.array, &error)) << error;
  EXPECT_EQ(MDARecCount(rows.array), MDARecCount(sample().table("Measurement")));
  EXPECT_EQ(store->lastSequence(), 0);
}

TEST(Sample, IsMadeWhereNoStoreIsAndOpenedWhereOneIs) {
  const Folder folder;
  std::string error;
  bool made = false;
  auto store = openOrCreateSampleStore(folder.file("model.tlm"), Catalogue::builtIn(), &made, &error);
  ASSERT_TRUE(store) << error;
  EXPECT_TRUE(made);
  std::vector<User> users;
  EXPECT_TRUE(listUsers(*store, Catalogue::builtIn(), &users, &error));
  EXPECT_EQ(users.size(), 1u);
  const std::string identity = store->identity();
  store.reset();
  store = openOrCreateSampleStore(folder.file("model.tlm"), Catalogue::builtIn(), &made, &error);
  ASSERT_TRUE(store) << error;
  EXPECT_FALSE(made);
  EXPECT_EQ(store->identity(), identity);
}

// ---- the reader ----

struct Wrong {
  const char* name;
  const char* text;
  const char* error;
};

class WrongFile : public ::testing::TestWithParam<Wrong> {};

TEST_P(WrongFile, IsToldWithFileAndLine) {
  ModelTables tables(Catalogue::builtIn());
  std::string error;
  EXPECT_FALSE(readModelFiles({{"a.tsv", GetParam().text}}, &tables, &error));
  EXPECT_EQ(error, GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    Sample, WrongFile,
    ::testing::Values(
        Wrong{"NoKind", "rows\nKeyLink\nx\n", "a.tsv:3: \"rows\" is no kind of rows"},
        Wrong{"UnknownTable", "table Nothing\nKeyLink\nx\n", "a.tsv:3: unknown class \"Nothing\""},
        Wrong{"CatalogueTable", "table Tables\nKeyLink\nx\n", "a.tsv:3: unknown class \"Tables\""},
        Wrong{"UnknownColumn", "table Archives\nKeyLink\tsize\nx\t1\n", "a.tsv:3: the class has no field \"size\""},
        Wrong{"NoKey", "# comment\ntable Archives\nKeyLink\tname_\n\tx\n", "a.tsv:4: a row without a key"},
        Wrong{"DoubledKey", "table Archives\nKeyLink\nx\nx\n", "a.tsv:4: the key \"x\" stands twice"},
        Wrong{"DoubledNumber", "table Analog\nKeyLink\tlocId\nx\t5\ny\t5\n", "a.tsv:4: the number 5 stands twice"},
        Wrong{"TooManyCells", "table Archives\nKeyLink\nx\t1\n", "a.tsv:3: more cells than columns"},
        Wrong{"NoNumber", "table Archives\nKeyLink\ttype_\nx\tone\n",
              "a.tsv:3: type_: \"one\" is no number that it can hold"},
        Wrong{"NoBoolean", "table RemoteUnit\nKeyLink\tStateRtu\nx\t2\n",
              "a.tsv:3: StateRtu: \"2\" is no number that it can hold"},
        Wrong{"TooLarge", "table Archives\nKeyLink\ttype_\nx\t5000000000\n",
              "a.tsv:3: type_ cannot hold \"5000000000\""},
        Wrong{"NoDouble", "table BaseVoltage\nKeyLink\tnominal\nx\t1,5\n", "a.tsv:3: nominal: \"1,5\" is no number"},
        Wrong{"NoDate", "table RemoteUnit\nKeyLink\tinstalled\nx\t2020-13-01\n",
              "a.tsv:3: installed: \"2020-13-01\" is no date"},
        Wrong{"NoReference", "table RemoteUnit\nKeyLink\tRemoteUnitFolderKey\nx\tнет\n",
              "a.tsv:3: there is no RemoteUnitFolder \"нет\""},
        Wrong{"NoClassBeforeTheName", "table ObjectForms\nKeyLink\tObjectKey\nx\ty\n",
              "a.tsv:3: ObjectKey needs a class before the name"},
        Wrong{"NoProfile", "measurements\nlocId\tClassName\tprofile\n1\tAnalog\tp\n", "a.tsv:3: unknown profile \"p\""},
        Wrong{"NotInThePage", "table Archives\nKeyLink\tname_\nx\tм²\n",
              "a.tsv:3: \"м²\" has characters that Windows-1251 lacks"},
        Wrong{"UnknownEscape", "table Archives\nKeyLink\tname_\nx\ta\\b\n", "a.tsv:3: an unknown escape in \"a\\b\""}),
    [](const auto& wrong) { return wrong.param.name; });

TEST(SampleReader, UndoesEscapesAndTellsEmptyFromNull) {
  ModelTables tables(Catalogue::builtIn());
  std::string error;
  ASSERT_TRUE(readModelFiles(
      {{"a.tsv", "table Archives\r\nKeyLink\tname_\tlocation\r\nx\ta\\tb\\n\\\\\t\"\"\r\ny\r\n"}}, &tables, &error))
      << error;
  const MDArray* array = tables.table("Archives");
  std::set<std::string> seen;
  for (int i = 0; i < 2; ++i)
    for (const char* field : {"name_", "location"}) {
      MDRVar v{};
      MDRGetVal(MDRFldByName(array, field), MDARec(array, 0, i), &v);
      seen.insert(textOf(v));
    }
  EXPECT_EQ(seen, (std::set<std::string>{"null", "", "a\tb\n\\"}));
}

TEST(SampleReader, ARowsOwnCellsWinOverItsProfile) {
  ModelTables tables(Catalogue::builtIn());
  std::string error;
  const std::vector<ModelFile> files = {
      {"m.tsv", "measurements\nlocId\tClassName\tprofile\tdecimals\n1\tAnalog\tp\t\n2\tAnalog\tp\t5\n"},
      {"p.tsv", "profiles\nprofile\tdecimals\tengMax\np\t3\t10.5\n"}};
  ASSERT_TRUE(readModelFiles(files, &tables, &error)) << error;
  const MDArray* array = tables.table("Analog");
  std::multiset<int> decimals;
  for (int i = 0; i < 2; ++i) {
    MDRVar v{};
    MDRGetVal(MDRFldByName(array, "decimals"), MDARec(array, 0, i), &v);
    decimals.insert(int32_t{v.i32});
  }
  EXPECT_EQ(decimals, (std::multiset<int>{3, 5}));
}

TEST(SampleReader, ReadsDatesAsDays) {
  ModelTables tables(Catalogue::builtIn());
  std::string error;
  ASSERT_TRUE(
      readModelFiles({{"a.tsv", "table RemoteUnit\nKeyLink\tinstalled\nx\t2000-01-01T12:00\n"}}, &tables, &error));
  MDRVar v{};
  MDRGetVal(MDRFldByName(tables.table("RemoteUnit"), "installed"), MDARec(tables.table("RemoteUnit"), 0, 0), &v);
  EXPECT_EQ(double{v.f64}, 36526.5);
}

TEST(SampleReader, AFolderWithoutFilesIsAnError) {
  const Folder folder;
  ModelTables tables(Catalogue::builtIn());
  std::string error;
  EXPECT_FALSE(loadSample(folder.path(), &tables, &error));
  EXPECT_FALSE(loadSample(folder.file("nowhere"), &tables, &error));
  EXPECT_NE(error.find("nowhere"), std::string::npos);
}

}  // namespace
}  // namespace tlm::test
