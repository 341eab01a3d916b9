// The check of a model finds each kind of contradiction; the check of a store finds damage.
#include <TlmServer/Generate.h>
#include <TlmServer/ModelCheck.h>

#include <functional>

#include "testing.h"

namespace tlm::test {
namespace {

class CheckTest : public ::testing::Test {
 protected:
  void SetUp() override {
    GenerateOptions options;
    options.units = 100;
    options.measurements = 400;
    std::string error;
    ASSERT_TRUE(generateModel(options, &tables_, &error)) << error;
    ASSERT_EQ(checkModel(tables_, 10).count, 0u);
  }

  MDRData* row(const char* table, int position = 0) { return MDARec(tables_.table(table), 0, position); }
  void set(const char* table, MDRData* record, const char* field, const MDRVar& value) {
    ASSERT_EQ(MDRSetVal(MDRFldByName(tables_.table(table), field), record, &value), 0);
  }
  std::string keyText(const char* table, MDRData* record) {
    MDRVar v{};
    MDRGetVal(MDRFldByNum(tables_.table(table), 0), record, &v);
    return {v.text.data, v.text.length};
  }
  void expectProblem(const std::string& words, size_t count = 1) {
    const ModelProblems problems = checkModel(tables_, 100);
    EXPECT_EQ(problems.count, count);
    bool found = false;
    for (const std::string& line : problems.lines) found = found || line.find(words) != std::string::npos;
    EXPECT_TRUE(found) << words << "; first: " << (problems.lines.empty() ? "" : problems.lines[0]);
  }

  ModelTables tables_{Catalogue::builtIn()};
};

TEST_F(CheckTest, DanglingLink) {
  set("Measurement", row("Measurement"), "UnitKey", textVar(std::string(32, 'F')));
  expectProblem("UnitKey points at no MeasurementUnit");
}

TEST_F(CheckTest, AnEmptyLinkIsNone) {
  set("Measurement", row("Measurement"), "UnitKey", textVar(""));
  EXPECT_EQ(checkModel(tables_, 10).count, 0u);
}

TEST_F(CheckTest, DoubledNumber) {
  MDRVar number{};
  MDRGetVal(MDRFldByName(tables_.table("Measurement"), "locId"), row("Measurement"), &number);
  set("Measurement", row("Measurement", 5), "locId", number);
  expectProblem("the number stands twice");
}

TEST_F(CheckTest, MissingNumber) {
  set("Measurement", row("Measurement"), "locId", intVar(0));
  expectProblem("no number");
}

TEST_F(CheckTest, DoubledKey) {
  const std::string key = keyText("StateTexts", row("StateTexts"));
  set("StateTexts", MDARecEdit(row("StateTexts", 1)), "KeyLink", textVar(key));
  const ModelProblems problems = checkModel(tables_, 100);
  ASSERT_GE(problems.count, 1u);
  EXPECT_NE(problems.lines[0].find("stands twice"), std::string::npos) << problems.lines[0];
}

TEST_F(CheckTest, KeyThatIsTooShort) {
  MDRData* record = MDARecNew(tables_.table("StateTexts"));
  set("StateTexts", record, "KeyLink", textVar("short"));
  MDARecPost(record, nullptr);
  expectProblem("not of 32 characters");
}

TEST_F(CheckTest, MissingRowOfTheOwnClass) {
  MDARecDel(row("Discrete"));
  expectProblem("the row in Discrete is missing");
}

TEST_F(CheckTest, RowsWithoutTheirObject) {
  const std::string unit = keyText("RemoteUnit", row("RemoteUnit"));
  const MDRVar seek = textVar(unit);
  MDARecDel(MDARecSeekV(tables_.table("IdentifiedObject"), 0, &seek, nullptr));
  expectProblem("RemoteUnit " + unit + ": the row in IdentifiedObject is missing");
}

TEST_F(CheckTest, ARowInAClassThatTheObjectIsNot) {
  MDRData* record = MDARecNew(tables_.table("Analog"));
  set("Analog", record, "KeyLink", textVar(keyText("Discrete", row("Discrete"))));
  MDARecPost(record, nullptr);
  expectProblem("a row in Analog, and the class is Discrete");
}

TEST_F(CheckTest, UnknownClass) {
  const std::string unit = keyText("RemoteUnit", row("RemoteUnit"));
  const MDRVar seek = textVar(unit);
  set("IdentifiedObject", MDARecSeekV(tables_.table("IdentifiedObject"), 0, &seek, nullptr), "ClassName",
      textVar("Gadget"));
  expectProblem("the class \"Gadget\" is unknown");
}

TEST_F(CheckTest, FoldersThatStandInEachOther) {
  MDRData* a = row("RemoteUnitFolder", 0);
  MDRData* b = row("RemoteUnitFolder", 1);
  set("RemoteUnitFolder", a, "ParentKey", textVar(keyText("RemoteUnitFolder", b)));
  set("RemoteUnitFolder", b, "ParentKey", textVar(keyText("RemoteUnitFolder", a)));
  expectProblem("ParentKey leads back to the row itself", 2);
}

TEST_F(CheckTest, AFolderInItself) {
  MDRData* folder = row("RemoteUnitFolder");
  set("RemoteUnitFolder", folder, "ParentKey", textVar(keyText("RemoteUnitFolder", folder)));
  expectProblem("ParentKey leads back to the row itself");
}

TEST_F(CheckTest, NumberOfAMeasurementThatIsNotThere) {
  set("Measurement", row("Measurement"), "primaryLocId", intVar(999999));
  expectProblem("primaryLocId points at no measurement (999999)");
}

TEST_F(CheckTest, ServerGroupThatIsNotThere) {
  set("RemoteUnit", row("RemoteUnit"), "SrvGroup", intVar(99));
  expectProblem("SrvGroup names no server group (99)");
}

TEST_F(CheckTest, CountsAllAndShowsTheFirst) {
  for (int i = 0; i < 10; ++i) set("Measurement", row("Measurement", i), "primaryLocId", intVar(999999));
  const ModelProblems problems = checkModel(tables_, 3);
  EXPECT_EQ(problems.count, 10u);
  EXPECT_EQ(problems.lines.size(), 3u);
}

TEST(CheckedStore, ASoundOneHasNoProblems) {
  const Folder folder;
  EXPECT_EQ(checkSqliteStore(*createSmall(folder)), std::vector<std::string>{});
}

}  // namespace
}  // namespace tlm::test
