#include "../../server/src/scriptCache.h"

#include <gtest/gtest.h>

namespace tlm::server {
namespace {

int64_t resultOf(const Script& script) {
  CVar result;
  CVarInit(&result, 1);
  const auto outcome = script.run([](std::string_view) -> MDArray* { return nullptr; }, nullptr, {}, &result);
  const int64_t number = outcome.status == wire::kOk && result.type == CVAR_INT ? result.i64 : -1;
  CVarClear(&result, 1);
  return number;
}

TEST(ScriptCache, CompilesATextOnceWhateverItsFunctionIsCalled) {
  ScriptCache cache;
  std::string error;
  const auto first = cache.compiled("fAAA()\n{ Result = 7; }", &error);
  const auto second = cache.compiled("fBBB()\n{ Result = 7; }", &error);
  ASSERT_NE(first, nullptr) << error;
  EXPECT_EQ(first, second);
  EXPECT_EQ(cache.compilations(), 1u);
  EXPECT_EQ(resultOf(*second), 7);
}

TEST(ScriptCache, TellsBodiesApart) {
  ScriptCache cache;
  std::string error;
  EXPECT_EQ(resultOf(*cache.compiled("f()\n{ Result = 7; }", &error)), 7);
  EXPECT_EQ(resultOf(*cache.compiled("f()\n{ Result = 8; }", &error)), 8);
  EXPECT_EQ(cache.size(), 2u);
}

TEST(ScriptCache, TellsParametersApart) {
  ScriptCache cache;
  std::string error;
  EXPECT_EQ(cache.compiled("f(a)\n{ Result = 7; }", &error)->parameterCount(), 1);
  EXPECT_EQ(cache.compiled("f(a, b)\n{ Result = 7; }", &error)->parameterCount(), 2);
}

TEST(ScriptCache, KeepsTheNameWhereTheTextUsesItAgain) {
  EXPECT_EQ(ScriptCache::keyOf("fA(x){ Result = 1; }"), "(x){ Result = 1; }");
  EXPECT_EQ(ScriptCache::keyOf("fA(x){ Result = fA; }"), "fA(x){ Result = fA; }");
  EXPECT_EQ(ScriptCache::keyOf("no function"), "no function");
  EXPECT_EQ(ScriptCache::keyOf(""), "");
}

TEST(ScriptCache, DoesNotKeepFaults) {
  ScriptCache cache;
  for (int i = 0; i < 2; ++i) {
    std::string error;
    EXPECT_EQ(cache.compiled("f() { Result = ; }", &error), nullptr);
    EXPECT_NE(error, "");
  }
  EXPECT_EQ(cache.size(), 0u);
}

TEST(ScriptCache, ForgetsWhatWasNotAskedForTheLongest) {
  ScriptCache cache(2);
  std::string error;
  cache.compiled("f() { Result = 1; }", &error);
  cache.compiled("f() { Result = 2; }", &error);
  cache.compiled("f() { Result = 1; }", &error);
  cache.compiled("f() { Result = 3; }", &error);
  EXPECT_EQ(cache.size(), 2u);
  EXPECT_EQ(cache.compilations(), 3u);
  cache.compiled("f() { Result = 1; }", &error);
  EXPECT_EQ(cache.compilations(), 3u);
  cache.compiled("f() { Result = 2; }", &error);
  EXPECT_EQ(cache.compilations(), 4u);
}

}  // namespace
}  // namespace tlm::server
