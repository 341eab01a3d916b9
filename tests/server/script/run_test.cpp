// Runs as their caller sees them: ownership, repetition, threads.
#include "ScriptModel.h"

#include <gtest/gtest.h>

#include <thread>

namespace script_test {
namespace {

using tlm::server::Script;

std::unique_ptr<Script> compiled(std::string_view text) {
  std::string error;
  auto script = Script::compile(text, &error);
  EXPECT_TRUE(script) << error;
  return script;
}

class Run : public testing::Test {
 protected:
  Run() { CVarInit(&result_, 1); }
  ~Run() override { CVarClear(&result_, 1); }

  Script::Outcome run(const Script& script, const CVar* arguments = nullptr) {
    return script.run(model_.tables(), arguments, {}, &result_);
  }

  ScriptModel model_;
  CVar result_;
};

TEST_F(Run, NoArgumentsMayBeNull) {
  EXPECT_EQ(run(*compiled("f() { Result = 3; }")).status, tlm::wire::kOk);
  EXPECT_EQ(result_.type, CVAR_INT);
  EXPECT_EQ(result_.i64, 3);
}

TEST_F(Run, ArgumentsMustBeAList) {
  CVar number;
  CVarInit(&number, 1);
  CVarSetInt(&number, 3);
  const auto outcome = run(*compiled("f(a) { Result = 3; }"), &number);
  EXPECT_EQ(outcome.status, tlm::wire::kScriptError);
  EXPECT_EQ(outcome.error, "line 1, column 1: the arguments are not a list");
}

TEST_F(Run, AnArgumentMayNotBeATable) {
  CVar list;
  CVarInit(&list, 1);
  CVarSetArr(&list, 1);
  MDArray* table = nullptr;
  MDACreate(&table, 0);
  CVarSetTable(&list.items[0], table);
  const auto outcome = run(*compiled("f(a) { Result = 3; }"), &list);
  EXPECT_EQ(outcome.status, tlm::wire::kScriptError);
  EXPECT_EQ(outcome.error, "line 1, column 1: argument 1 is neither a number nor a text nor null");
  CVarClear(&list, 1);
}

TEST_F(Run, TheTableBelongsToTheResult) {
  const auto script = compiled(
      "f() { var other, r; other = CTblNew(); result = CTblNew(); CTblFldAdd(result, \"a\", fld_Memo, 0);"
      " r = CTblRecNew(result); CRecFldPut(r, 0, \"text\"); CTblRecPost(r); }");
  ASSERT_EQ(run(*script).status, tlm::wire::kOk);
  ASSERT_EQ(result_.type, CVAR_TABLE);
  EXPECT_EQ(MDARecCount(*result_.table), 1);
  MDRVar var{};
  MDRGetVal(MDRFldByNum(*result_.table, 0), MDARec(*result_.table, 0, 0), &var);
  EXPECT_EQ(std::string(var.text.data, var.text.length), "text");
}

TEST_F(Run, AFailureLeavesNoOldResult) {
  ASSERT_EQ(run(*compiled("f() { result = CTblNew(); }")).status, tlm::wire::kOk);
  ASSERT_EQ(result_.type, CVAR_TABLE);
  EXPECT_EQ(run(*compiled("f() { Result = 1; Result = 1 / 0; }")).status, tlm::wire::kScriptError);
  EXPECT_EQ(result_.type, CVAR_NULL);
}

TEST_F(Run, ATextResultIsACopy) {
  model_.object("k", "Analog", "a name that stands in the table");
  const auto script =
      compiled("f() { Result = CRecFldGet(CTblRec(_ModelTableByName(\"IdentifiedObject\"), 0, 0), \"name_\"); }");
  ASSERT_EQ(run(*script).status, tlm::wire::kOk);
  MDAClearAll(model_.tables().table("IdentifiedObject"));
  EXPECT_EQ(std::string(result_.text, result_.length), "a name that stands in the table");
}

TEST_F(Run, SeesTheTablesAsTheyAreAtEachRun) {
  const auto script = compiled("f() { Result = CTblRecCount(_ModelTableByName(\"Measurement\")); }");
  run(*script);
  EXPECT_EQ(result_.i64, 0);
  model_.numbers({1, 2});
  run(*script);
  EXPECT_EQ(result_.i64, 2);
}

TEST_F(Run, TablesMayComeFromAFunction) {
  MDArray* table = nullptr;
  MDACreate(&table, 0);
  const auto script = compiled("f() { Result = CTblRecCount(_ModelTableByName(\"Mine\")); }");
  const tlm::server::TableSource source = [table](std::string_view name) { return name == "Mine" ? table : nullptr; };
  EXPECT_EQ(script->run(source, nullptr, {}, &result_).status, tlm::wire::kOk);
  EXPECT_EQ(result_.i64, 0);
  EXPECT_EQ(script->run([](std::string_view) -> MDArray* { return nullptr; }, nullptr, {}, &result_).error,
            "line 1, column 47: no model table \"Mine\"");
  MDADestroy(table);
}

TEST_F(Run, OneScriptRunsInSeveralThreads) {
  std::vector<int64_t> numbers;
  for (int64_t i = 1; i <= 5000; ++i) numbers.push_back(i);
  model_.numbers(numbers);
  const auto script = compiled(R"(f(first) {
    var t, i, n, sum;
    t = _ModelTableByName("Measurement");
    n = CTblRecCount(t);
    sum = 0;
    i = first;
    while (i < n) {
      sum = sum + CRecFldGet(CTblRec(t, 1, i), "locId");
      i = i + 1;
    }
    Result = sum;
  })");
  std::vector<int64_t> sums(8);
  std::vector<std::thread> threads;
  for (int64_t i = 0; i < 8; ++i)
    threads.emplace_back([&, i] {
      CVar list, result;
      CVarInit(&list, 1);
      CVarInit(&result, 1);
      CVarSetArr(&list, 1);
      CVarSetInt(&list.items[0], i);
      script->run(model_.tables(), &list, {}, &result);
      sums[i] = result.type == CVAR_INT ? result.i64 : -1;
      CVarClear(&list, 1);
      CVarClear(&result, 1);
    });
  for (std::thread& thread : threads) thread.join();
  for (int64_t i = 0; i < 8; ++i) EXPECT_EQ(sums[i], 5000 * 5001 / 2 - i * (i + 1) / 2) << i;
}

}  // namespace
}  // namespace script_test
