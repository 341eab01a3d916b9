// Runs every file of cases/: one file, one case, named for the file. What is expected stands in its comments:
//
//   // arguments: 1, "text", null          values for the function's parameters
//   // expect: 3                           what Result is
//   // expect row: 10, "FreeLocId"         a row of result, in order
//   // expect no rows                      result is a table without rows
//   // expect error: line 2, column 5: ... the whole message; stands on the line that it names
//   // expect budget: line 2, column 5: ...
//
// The model of the cases: measurements a1, a2, a3 of the unit "u1" with the numbers 1, 2, 5; b1 of the unit ""
// with 6; n1 without a unit with 7; each but a3 has an object named "name <key>"; a2 is a discrete with CheckTu.
#include "ScriptModel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace script_test {
namespace {

struct Expectation {
  std::string error;
  int errorLine = 0;
  int32_t status = tlm::wire::kOk;
  std::optional<std::string> scalar;
  std::vector<std::string> rows;
  bool table = false;
  Row arguments;
};

std::optional<std::string> after(const std::string& line, const std::string& mark) {
  const size_t at = line.find("// " + mark);
  if (at == std::string::npos) return std::nullopt;
  return line.substr(at + 3 + mark.size());
}

Cell parseCell(const std::string& text) {
  if (text == "null") return {};
  if (text.front() == '"') return text.substr(1, text.size() - 2);
  if (text.find('.') != std::string::npos) return std::stod(text);
  return int64_t{std::stoll(text)};
}

Row parseRow(const std::string& text) {
  Row row;
  std::istringstream parts(text);
  for (std::string part; std::getline(parts >> std::ws, part, ',');) row.push_back(parseCell(part));
  return row;
}

Expectation readExpectation(const std::string& text) {
  Expectation expected;
  std::istringstream lines(text);
  int number = 0;
  for (std::string line; std::getline(lines, line);) {
    ++number;
    if (const auto row = after(line, "arguments: ")) expected.arguments = parseRow(*row);
    if (const auto scalar = after(line, "expect: ")) expected.scalar = *scalar;
    if (const auto row = after(line, "expect row: ")) expected.rows.push_back(*row);
    if (after(line, "expect no rows") || after(line, "expect row: ")) expected.table = true;
    const auto error = after(line, "expect error: ");
    const auto budget = after(line, "expect budget: ");
    if (!error && !budget) continue;
    expected.error = error ? *error : *budget;
    expected.errorLine = number;
    expected.status = error ? tlm::wire::kScriptError : tlm::wire::kBudgetSpent;
  }
  return expected;
}

std::vector<std::string> caseNames() {
  std::vector<std::string> names;
  for (const auto& file : std::filesystem::directory_iterator(SCRIPT_CASES))
    if (file.path().extension() == ".script") names.push_back(file.path().stem());
  std::sort(names.begin(), names.end());
  return names;
}

class ScriptCase : public testing::TestWithParam<std::string> {};

TEST_P(ScriptCase, DoesWhatItsCommentsSay) {
  std::ifstream file(std::string(SCRIPT_CASES) + "/" + GetParam() + ".script", std::ios::binary);
  const std::string text((std::istreambuf_iterator<char>(file)), {});
  const Expectation expected = readExpectation(text);
  ASSERT_TRUE(expected.scalar || expected.table || !expected.error.empty()) << "the case expects nothing";

  ScriptModel model;
  model.whole("a1", int64_t{1}, "u1").whole("a2", int64_t{2}, "u1").measurement("a3", int64_t{5}, "u1");
  model.whole("b1", int64_t{6}, "").whole("n1", int64_t{7}, {}).discrete("a2", int64_t{1});
  tlm::server::ScriptBudget budget;
  budget.steps = 1'000'000;
  budget.rows = 1000;
  budget.bytes = 1 << 20;
  const Answer answer = run(model, text, expected.arguments, budget);

  EXPECT_EQ(answer.error, expected.error);
  EXPECT_EQ(answer.status, expected.status);
  if (expected.errorLine) {
    EXPECT_EQ(expected.error.rfind("line " + std::to_string(expected.errorLine) + ",", 0), 0u)
        << "the expectation stands on another line than the one it names";
  }
  if (expected.scalar) {
    EXPECT_EQ(toText(answer.scalar), *expected.scalar);
  }
  EXPECT_EQ(answer.isTable, expected.table);
  EXPECT_EQ(answer.texts(), expected.rows);
}

INSTANTIATE_TEST_SUITE_P(Files, ScriptCase, testing::ValuesIn(caseNames()),
                         [](const auto& file) { return file.param; });

}  // namespace
}  // namespace script_test
