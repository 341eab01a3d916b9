// What the requests of a block have together: one budget of scripts and one limit of size.
#include "fixture.h"

#include "../../server/src/catalogueParts.h"
#include "../../server/src/requests.h"

namespace tlm::server::test {
namespace {

using std::chrono::microseconds;

wire::Request request(const std::string& name, const std::string& body = {}) {
  return {wire::RequestKind::kPacket, name, body};
}

wire::Request script(const std::string& text) { return {wire::RequestKind::kScript, text, {}}; }

// A pass is three steps.
wire::Request passes(int count, const std::string& then = "Result = i;") {
  return script("f()\n{\n  var i;\n  i = 0;\n  while (i < " + std::to_string(count) + ") i = i + 1;\n  " + then +
                "\n}");
}

wire::Request endless() { return script("f()\n{\n  while (1) ;\n}"); }
wire::Request withoutLoop() { return script("f()\n{\n  Result = 5;\n}"); }

using Statuses = std::vector<int32_t>;
Statuses statuses(const wire::BlockReply& reply) {
  Statuses all{reply.whole.status};
  for (const wire::Reply& one : reply.each) all.push_back(one.status);
  return all;
}

constexpr char kNothingLeft[] = "the scripts of the block have used up their steps or their time";

class BlockScriptTest : public ServerTest {
 protected:
  void open(int64_t steps) {
    options.budget.steps = steps;
    reopen(options);
  }
};

TEST_F(BlockScriptTest, WhatOneScriptLeavesOfTheStepsGoesToTheNext) {
  open(300);
  EXPECT_EQ(statuses(block({passes(60), passes(40)})), (Statuses{wire::kOk, wire::kOk, wire::kOk}));
  EXPECT_EQ(statuses(block({passes(60), passes(41)})), (Statuses{wire::kOk, wire::kOk, wire::kBudgetSpent}));
}

TEST_F(BlockScriptTest, AScriptThatGoesBeyondWhatIsLeftIsToldHowMuchThatWas) {
  open(300);
  const wire::BlockReply reply = block({passes(60), endless()});
  EXPECT_EQ(reply.each.back().payload, "line 3, column 3: the script has used up its 120 steps");
}

TEST_F(BlockScriptTest, AScriptThatFindsNothingLeftIsNotBegun) {
  open(300);
  EXPECT_EQ(statuses(block({passes(99), withoutLoop()})), (Statuses{wire::kOk, wire::kOk, wire::kOk}));
  const wire::BlockReply reply = block({passes(100), withoutLoop(), script("no script")});
  EXPECT_EQ(statuses(reply), (Statuses{wire::kOk, wire::kOk, wire::kBudgetSpent, wire::kBudgetSpent}));
  EXPECT_EQ(reply.each.back().payload, kNothingLeft);
}

TEST_F(BlockScriptTest, AScriptThatFailsHasUsedItsSteps) {
  open(300);
  EXPECT_EQ(statuses(block({passes(60, "Result = 1 / 0;"), passes(41)})),
            (Statuses{wire::kOk, wire::kScriptError, wire::kBudgetSpent}));
}

TEST_F(BlockScriptTest, AfterAnEndlessScriptNoOtherRuns) {
  open(100'000);
  EXPECT_EQ(statuses(block({endless(), withoutLoop()})), (Statuses{wire::kOk, wire::kBudgetSpent, wire::kBudgetSpent}));
}

TEST_F(BlockScriptTest, ScriptsOfABlockShareTheirTime) {
  options.budget.milliseconds = 20;
  open(INT64_MAX);
  const wire::BlockReply reply = block({endless(), withoutLoop()});
  EXPECT_EQ(statuses(reply), (Statuses{wire::kOk, wire::kBudgetSpent, wire::kBudgetSpent}));
  EXPECT_EQ(reply.each[0].payload, "line 3, column 3: the script has used up its 20 milliseconds");
  EXPECT_EQ(reply.each[1].payload, kNothingLeft);
}

TEST_F(BlockScriptTest, EachScriptHasTheRowsAndTheMemoryWhole) {
  const wire::Request rows = script(
      "f()\n{\n  var i, r;\n  result = CTblNew();\n  CTblFldAdd(result, \"a\", fld_Int32, 0);\n  i = 0;\n"
      "  while (i < 100) { r = CTblRecNew(result); CTblRecPost(r); i = i + 1; }\n}");
  options.budget.rows = 150;
  options.budget.bytes = 25'000;
  reopen(options);
  EXPECT_EQ(statuses(block({rows, rows, rows})), (Statuses{wire::kOk, wire::kOk, wire::kOk, wire::kOk}));
  options.budget.bytes = 5'000;
  reopen(options);
  EXPECT_EQ(statuses(block({rows})), (Statuses{wire::kOk, wire::kBudgetSpent})) << "memory is what is counted here";
}

TEST_F(BlockScriptTest, TheNextCallHasAWholeBudget) {
  open(300);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(statuses(block({passes(100)})), (Statuses{wire::kOk, wire::kOk}));
  for (int i = 0; i < 2; ++i) EXPECT_EQ(core->execute(passes(100), {}).status, wire::kOk);
}

TEST_F(BlockScriptTest, RequestsThatAreNoScriptsNeedNoBudget) {
  open(300);
  EXPECT_EQ(statuses(block({endless(), request("TableStructure", "Fields"), endless()})),
            (Statuses{wire::kOk, wire::kBudgetSpent, wire::kOk, wire::kBudgetSpent}));
}

ScriptBudget small() {
  ScriptBudget budget;
  budget.steps = 100;
  budget.milliseconds = 2;
  return budget;
}

TEST(ScriptAllowance, HasStepsLeftUntilTheLastIsTaken) {
  ScriptAllowance allowance(small());
  EXPECT_EQ(allowance.left().steps, 100);
  allowance.take(99, {});
  EXPECT_EQ(allowance.left().steps, 1);
  EXPECT_FALSE(allowance.spent());
  allowance.take(1, {});
  EXPECT_EQ(allowance.left().steps, 0);
  EXPECT_TRUE(allowance.spent());
}

TEST(ScriptAllowance, NeverHasLessThanNothing) {
  ScriptAllowance allowance(small());
  allowance.take(1'000, std::chrono::hours(1));
  EXPECT_EQ(allowance.left().steps, 0);
  EXPECT_EQ(allowance.left().milliseconds, 0);
  EXPECT_TRUE(allowance.spent());
}

TEST(ScriptAllowance, CountsTimeFinerThanItIsGiven) {
  ScriptAllowance allowance(small());
  allowance.take(0, microseconds(900));
  EXPECT_EQ(allowance.left().milliseconds, 2);
  allowance.take(0, microseconds(900));
  EXPECT_EQ(allowance.left().milliseconds, 1);
  allowance.take(0, microseconds(199));
  EXPECT_FALSE(allowance.spent());
  allowance.take(0, microseconds(1));
  EXPECT_EQ(allowance.left().milliseconds, 0);
  EXPECT_TRUE(allowance.spent());
}

class BlockSizeTest : public ServerTest {
 protected:
  void open(size_t replyBytes) {
    options.maxReplyBytes = replyBytes;
    reopen(options);
  }
  size_t bytesOf(const wire::Request& asked) const {
    const wire::Reply reply = core->execute(asked, {});
    EXPECT_EQ(reply.status, wire::kOk);
    return reply.payload.value_or("").size() + reply.text.value_or("").size();
  }

  const wire::Request large = request("LiteModel", "obj=" + key("A1"));
  const wire::Request little = request("SRV_GROUPS_INFO");
  const wire::Request text = request("MeasParams", "locId=1001");
};

TEST_F(BlockSizeTest, AnswersAreGivenAsLongAsTheyFit) {
  const size_t both = bytesOf(large) + bytesOf(little);
  open(both);
  EXPECT_EQ(statuses(block({large, little})), (Statuses{wire::kOk, wire::kOk, wire::kOk}));
  open(both - 1);
  const wire::BlockReply reply = block({large, little});
  EXPECT_EQ(statuses(reply), (Statuses{wire::kOk, wire::kOk, wire::kTooLarge}));
  EXPECT_EQ(reply.each[0].text, core->execute(large, {}).text);
  EXPECT_EQ(reply.each[1].payload, "the answers of the block are over the limit of size");
}

TEST_F(BlockSizeTest, BehindTheFirstThatDoesNotFitNoneIsGiven) {
  open(bytesOf(large) + 2 * bytesOf(little));
  EXPECT_EQ(statuses(block({large, little, large, little})),
            (Statuses{wire::kOk, wire::kOk, wire::kOk, wire::kTooLarge, wire::kTooLarge}));
}

TEST_F(BlockSizeTest, AnAnswerThatIsTooLargeByItselfLeavesTheOthersTheirRoom) {
  open(bytesOf(large) - 1);
  const wire::BlockReply reply = block({large, little});
  EXPECT_EQ(statuses(reply), (Statuses{wire::kOk, wire::kTooLarge, wire::kOk}));
  EXPECT_EQ(reply.each[0].payload, "the answer is over the limit of size");
}

TEST_F(BlockSizeTest, TextsBesideThePayloadCountToo) {
  const size_t bytes = bytesOf(text);
  open(2 * bytes - 1);
  EXPECT_EQ(statuses(block({text, text})), (Statuses{wire::kOk, wire::kOk, wire::kTooLarge}));
  open(2 * bytes);
  EXPECT_EQ(statuses(block({text, text})), (Statuses{wire::kOk, wire::kOk, wire::kOk}));
  open(bytes - 1);
  EXPECT_EQ(core->execute(text, {}).status, wire::kTooLarge);
}

TEST_F(BlockSizeTest, OneAnswerMayBeAsLargeAsTheLimit) {
  const size_t bytes = bytesOf(large);
  open(bytes);
  EXPECT_EQ(core->execute(large, {}).status, wire::kOk);
  EXPECT_EQ(statuses(block({large})), (Statuses{wire::kOk, wire::kOk}));
}

TEST_F(BlockSizeTest, WhatABlockWroteStaysWrittenThoughItsAnswersDoNotFit) {
  open(bytesOf(large) + 1);
  const Update change = Update("IdentifiedObject").update(key("A1"), {{"name_", "renamed"}});
  const std::string identity = key("block");
  for (int i = 0; i < 2; ++i) {  // sent again, it is answered again
    const wire::BlockReply reply = block({large, large, change}, identity);
    EXPECT_EQ(statuses(reply), (Statuses{wire::kOk, wire::kOk, wire::kTooLarge, wire::kOk}));
    EXPECT_EQ(reply.each[1].payload, "written, but the answers do not fit");
    EXPECT_FALSE(reply.each[2].payload);
  }
  EXPECT_EQ(field("IdentifiedObject", key("A1"), "name_"), "renamed");
}

TEST_F(BlockSizeTest, WhatDoesNotFitAnyMoreIsNotWorkedOut) {
  options.maxReplyBytes = bytesOf(little);
  const ModelTables tables(Catalogue::builtIn());
  const CatalogueParts parts(tables);
  LiveValues live;
  ScriptCache scripts;
  ScriptAllowance allowance(options.budget);
  const std::vector<wire::Request> requests{little, little, endless()};
  const auto replies = answerAll({tables, live, parts, options, scripts, allowance, kNow}, requests);
  ASSERT_EQ(replies.size(), 3u);
  EXPECT_EQ(replies[0].status, wire::kOk);
  EXPECT_EQ(replies[2].status, wire::kTooLarge);
  EXPECT_EQ(scripts.compilations(), 0u);
}

}  // namespace
}  // namespace tlm::server::test
