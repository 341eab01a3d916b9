// The compiler: limits, and texts that are no scripts.
#include "ScriptModel.h"

#include <data/MeasScripts.h>

#include <gtest/gtest.h>

#include <random>

namespace script_test {
namespace {

using tlm::server::Script;

const char* const kMeasScripts[] = {kScriptFreeLocId,        kScriptLocIdIsBusy,          kScriptNameInUnit,
                                    kScriptUnitMeasurements, kScriptUnitlessMeasurements, kScriptFreeFromGiven,
                                    kScriptFreeInRange};

std::string named(const char* text) {
  std::string script = text;
  return script.replace(script.find("%1"), 2, "0123456789ABCDEF0123456789ABCDEF");
}

std::string repeated(const std::string& part, size_t count) {
  std::string text;
  for (size_t i = 0; i < count; ++i) text += part;
  return text;
}

std::string errorOf(const std::string& text) {
  std::string error;
  return Script::compile(text, &error) ? "" : error;
}

std::string inBody(const std::string& body) { return "f() { var a; " + body + " }"; }

TEST(Compile, TellsNameAndParameters) {
  std::string error;
  const auto script = Script::compile("f_12AB(a, b, c) {}", &error);
  ASSERT_TRUE(script) << error;
  EXPECT_EQ(script->name(), "f_12AB");
  EXPECT_EQ(script->parameterCount(), 3);
}

TEST(Compile, TakesTheMeasurementScripts) {
  const int parameters[] = {0, 1, 2, 1, 0, 2, 4};
  for (size_t i = 0; i < std::size(kMeasScripts); ++i) {
    std::string error;
    const auto script = Script::compile(named(kMeasScripts[i]), &error);
    ASSERT_TRUE(script) << i << ": " << error;
    EXPECT_EQ(script->parameterCount(), parameters[i]) << i;
  }
}

TEST(Compile, MeasurementScriptsHoldOnePlaceForTheName) {
  for (const char* script : kMeasScripts) {
    const std::string text = script;
    EXPECT_EQ(text.rfind("f%1(", 0), 0u);
    EXPECT_EQ(text.find('%', 2), std::string::npos);
    for (const char c : text) EXPECT_LT(static_cast<unsigned char>(c), 0x80);
  }
}

TEST(Compile, EndOfAnEmptyTextIsNamed) {
  EXPECT_EQ(errorOf(""), "line 1, column 1: expected a name as the function's name, found the end of the script");
  EXPECT_EQ(errorOf("\n\n  "), "line 3, column 3: expected a name as the function's name, found the end of the script");
}

TEST(Compile, RefusesDeepParentheses) {
  EXPECT_EQ(errorOf(inBody("a = " + repeated("(", 100) + "1" + repeated(")", 100) + ";")), "");
  EXPECT_NE(errorOf(inBody("a = " + repeated("(", 100'000))).find("nested too deep"), std::string::npos);
}

TEST(Compile, RefusesDeepBlocks) {
  EXPECT_EQ(errorOf(inBody(repeated("{", 150) + repeated("}", 150))), "");
  EXPECT_NE(errorOf(inBody(repeated("{", 300'000))).find("nested too deep"), std::string::npos);
}

TEST(Compile, RefusesDeepChains) {
  for (const char* part : {"!", "- ", "if (1) ", "while (1) ", "if (1) ; else ", "a = -(", "posi(\"\", "})
    EXPECT_NE(errorOf(inBody(repeated(part, 10'000))), "") << part;
  EXPECT_NE(errorOf(inBody("a = 1" + repeated(" + 1", 10'000) + ";")).find("nested too deep"), std::string::npos);
  EXPECT_NE(errorOf(inBody("a = a" + repeated("[0]", 10'000) + ";")).find("nested too deep"), std::string::npos);
}

TEST(Compile, RefusesLongScripts) {
  EXPECT_NE(errorOf(inBody(repeated(" ", (1 << 20) + 1))).find("longer than 1 MiB"), std::string::npos);
  EXPECT_EQ(errorOf(inBody(repeated(" ", 1'000'000))), "");
}

TEST(Compile, RefusesTooManyOfEverything) {
  std::string variables = "f() { var v0";
  std::string numbers = "a = 0;";
  for (int i = 1; i < 100'000; ++i) {
    if (i < 2000) variables += ", v" + std::to_string(i);
    numbers += "a=" + std::to_string(i) + ";";
  }
  EXPECT_NE(errorOf(variables + "; }").find("too many variables"), std::string::npos);
  EXPECT_NE(errorOf(inBody(numbers)).find("too many numbers and texts"), std::string::npos);
  EXPECT_NE(errorOf(inBody(repeated("a=1;", 100'000))).find("too many statements"), std::string::npos);
  std::string tables;
  for (int i = 0; i < 300; ++i) tables += "a = _ModelTableByName(\"T" + std::to_string(i) + "\");";
  EXPECT_NE(errorOf(inBody(tables)).find("too many model tables"), std::string::npos);
}

TEST(Compile, LongScriptWithinTheLimitsRuns) {
  const ScriptModel model;
  const Answer answer = run(model, inBody("a = 0;" + repeated("a=a+1;", 50'000) + "Result = a;"));
  EXPECT_EQ(answer.error, "");
  EXPECT_EQ(toText(answer.scalar), "50000");
}

TEST(Compile, LongNamesAreCutInMessages) {
  EXPECT_LT(errorOf(inBody("a = " + repeated("x", 500'000) + ";")).size(), 200u);
}

// Scripts with pieces cut out, doubled, swapped and bytes changed: each gives a script or a message that
// begins with a place, and what compiles ends within its budget.
TEST(Compile, DamagedScriptsNeverCrash) {
  ScriptModel model;
  for (int i = 1; i < 40; ++i) model.whole("m" + std::to_string(i), int64_t{i * 2}, i % 3 ? Cell("u1") : Cell());
  std::mt19937 random(20240607);
  const auto below = [&random](size_t bound) { return std::uniform_int_distribution<size_t>(0, bound - 1)(random); };
  tlm::server::ScriptBudget budget;
  budget.steps = 20'000;
  budget.rows = 500;
  int compiled = 0;
  for (int round = 0; round < 4000; ++round) {
    std::string text = named(kMeasScripts[below(std::size(kMeasScripts))]);
    const size_t edits = 1 + below(3);
    for (size_t edit = 0; edit < edits; ++edit) {
      const size_t at = below(text.size()), length = std::min(1 + below(12), text.size() - at);
      switch (below(4)) {
        case 0:
          text.erase(at, length);
          break;
        case 1:
          text.insert(below(text.size()), text.substr(at, length));
          break;
        case 2:
          text[at] = static_cast<char>(below(256));
          break;
        default:
          std::swap(text[at], text[below(text.size())]);
      }
    }
    std::string error;
    const auto script = Script::compile(text, &error);
    if (!script) {
      EXPECT_EQ(error.rfind("line ", 0), 0u) << text;
      continue;
    }
    ++compiled;
    const Row arguments(script->parameterCount(), Cell(int64_t{3}));
    const Answer answer = run(model, text, arguments, budget);
    EXPECT_EQ(answer.status == tlm::wire::kOk, answer.error.empty());
  }
  EXPECT_GT(compiled, 100);
}

}  // namespace
}  // namespace script_test
