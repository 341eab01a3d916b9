// What a run may use: steps, time, memory and rows.
#include "ScriptModel.h"

#include <gtest/gtest.h>

#include <chrono>

namespace script_test {
namespace {

using tlm::server::ScriptBudget;

constexpr char kEndless[] = "f()\n{\n  var a;\n  a = 0;\n  while (a < 1) a = a * 2;\n}\n";

constexpr char kRows[] = R"(f(n)
{
  var i, r;
  result = CTblNew();
  CTblFldAdd(result, "a", fld_Int32, 0);
  CTblFldAdd(result, "b", fld_Char, 32);
  i = 0;
  while (i < n) {
    r = CTblRecNew(result);
    CRecFldPut(r, 0, i);
    CTblRecPost(r);
    i = i + 1;
  }
}
)";

TEST(Budget, EndlessLoopEndsByItsSteps) {
  ScriptBudget budget;
  budget.steps = 100'000;
  const Answer answer = run(ScriptModel(), kEndless, {}, budget);
  EXPECT_EQ(answer.status, tlm::wire::kBudgetSpent);
  EXPECT_EQ(answer.error, "line 5, column 3: the script has used up its 100000 steps");
}

TEST(Budget, EndlessLoopEndsByItsTime) {
  ScriptBudget budget;
  budget.steps = INT64_MAX;
  budget.milliseconds = 20;
  const auto start = std::chrono::steady_clock::now();
  const Answer answer = run(ScriptModel(), kEndless, {}, budget);
  EXPECT_EQ(answer.status, tlm::wire::kBudgetSpent);
  EXPECT_EQ(answer.error, "line 5, column 3: the script has used up its 20 milliseconds");
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
}

TEST(Budget, EndsOnTheStepThatIsTooMuch) {
  // A pass of the loop is three instructions: the condition, the sum and the jump back.
  const char script[] = "f(n) { var i; i = 0; while (i < n) i = i + 1; Result = i; }";
  ScriptBudget budget;
  budget.steps = 300;
  EXPECT_EQ(toText(run(ScriptModel(), script, {int64_t{100}}, budget).scalar), "100");
  EXPECT_EQ(run(ScriptModel(), script, {int64_t{101}}, budget).status, tlm::wire::kBudgetSpent);
}

TEST(Budget, AScriptWithoutALoopNeedsNoSteps) {
  ScriptBudget budget;
  budget.steps = 0;
  EXPECT_EQ(toText(run(ScriptModel(), "f() { Result = 5; }", {}, budget).scalar), "5");
}

TEST(Budget, RowsAreCounted) {
  ScriptBudget budget;
  budget.rows = 1000;
  EXPECT_EQ(run(ScriptModel(), kRows, {int64_t{1000}}, budget).rows.size(), 1000u);
  const Answer answer = run(ScriptModel(), kRows, {int64_t{1001}}, budget);
  EXPECT_EQ(answer.status, tlm::wire::kBudgetSpent);
  EXPECT_EQ(answer.error, "line 9, column 9: the script has used up its 1000 rows");
  EXPECT_FALSE(answer.isTable);
}

TEST(Budget, BytesOfRowsAreCounted) {
  ScriptBudget budget;
  budget.bytes = 100'000;
  const Answer answer = run(ScriptModel(), kRows, {int64_t{1'000'000}}, budget);
  EXPECT_EQ(answer.status, tlm::wire::kBudgetSpent);
  EXPECT_EQ(answer.error, "line 9, column 9: the script has used up its 100000 bytes of memory");
}

// The count of bytes is an estimate; it has to stay near what the table really takes.
TEST(Budget, BytesComeNearTheTableThatTheyCount) {
  std::string error;
  const auto script = tlm::server::Script::compile(kRows, &error);
  ASSERT_TRUE(script) << error;
  constexpr int kCount = 20'000;
  const auto runWith = [&](size_t bytes, CVar* result) {
    CVar arguments;
    CVarInit(&arguments, 1);
    CVarSetArr(&arguments, 1);
    CVarSetInt(&arguments.items[0], kCount);
    ScriptBudget budget;
    budget.bytes = bytes;
    const ScriptModel model;
    const auto outcome = script->run(model.tables(), &arguments, budget, result);
    CVarClear(&arguments, 1);
    return outcome.status;
  };
  CVar result;
  CVarInit(&result, 1);
  ASSERT_EQ(runWith(size_t{1} << 30, &result), tlm::wire::kOk);
  const size_t taken = MDAMemory(*result.table);
  EXPECT_EQ(runWith(taken / 2, &result), tlm::wire::kBudgetSpent) << taken;
  EXPECT_EQ(runWith(taken * 3, &result), tlm::wire::kOk) << taken;
  CVarClear(&result, 1);
}

TEST(Budget, BytesOfTextsAreCounted) {
  const char script[] =
      "f(text)\n{\n  var t, r;\n  t = CTblNew();\n  CTblFldAdd(t, \"a\", fld_Memo, 0);\n  r = CTblRecNew(t);\n"
      "  while (1) CRecFldPut(r, 0, text);\n}\n";
  ScriptBudget budget;
  budget.bytes = 10'000'000;
  const Answer answer = run(ScriptModel(), script, {std::string(1'000'000, 'x')}, budget);
  EXPECT_EQ(answer.status, tlm::wire::kBudgetSpent);
  EXPECT_EQ(answer.error, "line 7, column 13: the script has used up its 10000000 bytes of memory");
}

TEST(Budget, TablesAreLimited) {
  ScriptBudget budget;
  budget.bytes = size_t{1} << 30;
  const Answer answer = run(ScriptModel(), "f() { var t; while (1) t = CTblNew(); }", {}, budget);
  EXPECT_EQ(answer.status, tlm::wire::kBudgetSpent);
  EXPECT_NE(answer.error.find("the script has used up its tables"), std::string::npos);
}

TEST(Budget, LongTextsCostStepsWhenTheyAreCompared) {
  const std::string text(1'000'000, '7');
  ScriptBudget budget;
  budget.steps = 50'000;
  for (const char* expression : {"a == b", "a <= b", "cmp(a, b) == 0"}) {
    const std::string script =
        std::string("f(a, b) { var i; i = 0; while (i < 100 && ") + expression + ") i = i + 1; Result = i; }";
    EXPECT_EQ(toText(run(ScriptModel(), script, {std::string("7"), std::string("7")}, budget).scalar), "100");
    EXPECT_EQ(run(ScriptModel(), script, {text, text}, budget).status, tlm::wire::kBudgetSpent) << expression;
  }
}

TEST(Budget, ALongSearchInATextCostsSteps) {
  const std::string text(200'000, 'a');
  ScriptBudget budget;
  budget.steps = 1'000'000;
  const Answer answer = run(ScriptModel(), "f(text, part) { Result = posi(text, part); }",
                            {text, std::string(100'000, 'a') + "b"}, budget);
  EXPECT_EQ(answer.status, tlm::wire::kBudgetSpent);
}

}  // namespace
}  // namespace script_test
