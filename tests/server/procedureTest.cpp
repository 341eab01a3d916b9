#include "fixture.h"

namespace tlm::server::test {
namespace {

std::string packed(CVar* value) {
  void* bytes = nullptr;
  uint32_t length = 0;
  EXPECT_GE(CVarToBuff(value, &bytes, &length), 0);
  std::string text(static_cast<const char*>(bytes), length);
  MDXFree(bytes);
  CVarClear(value, 1);
  return text;
}

std::string arrayOfText(const std::string& text) {
  CVar value;
  CVarInit(&value, 1);
  CVarSetArr(&value, 1);
  CVarSetStr(value.items, text.data(), static_cast<int>(text.size()));
  return packed(&value);
}

std::string arrayOfInt(int64_t number) {
  CVar value;
  CVarInit(&value, 1);
  CVarSetArr(&value, 1);
  CVarSetInt(value.items, number);
  return packed(&value);
}

class ProcedureTest : public ServerTest {
 protected:
  wire::Reply forms(const std::string& body) const {
    return core->execute(wire::Request{wire::RequestKind::kProcedure, "SrvReq_ObjectForms", body}, {"tester"});
  }
  wire::Reply script(const std::string& text, const std::string& arguments = {}) const {
    return core->execute(wire::Request{wire::RequestKind::kScript, text, arguments}, {"tester"});
  }
  static Table tableIn(const wire::Reply& reply) {
    EXPECT_EQ(reply.status, wire::kOk) << reply.payload.value_or("");
    CVar value;
    CVarInit(&value, 1);
    EXPECT_GE(CVarFromBuffN(&value, reply.payload->data(), reply.payload->size()), 0);
    EXPECT_EQ(value.type, CVAR_TABLE);
    Table table = value.type == CVAR_TABLE ? tableOf(*value.table) : Table{};
    CVarClear(&value, 1);
    return table;
  }
};

TEST_F(ProcedureTest, FormsOfAnObjectComeWithFileCaptionAndOrder) {
  ASSERT_EQ(
      status(
          {Update("ObjectForms")
               .insert(key("F1"),
                       {{"ObjectKey", key("A1")}, {"file_", "a.frm"}, {"caption", ru("Схема")}, {"order_", number(2)}})
               .insert(key("F2"),
                       {{"ObjectKey", key("A1")}, {"file_", "b.frm"}, {"caption", "B"}, {"order_", number(1)}})
               .insert(key("F3"), {{"ObjectKey", key("D1")}, {"file_", "c.frm"}})}),
      wire::kOk);
  const Table table = tableIn(forms(arrayOfText(key("A1"))));
  EXPECT_EQ(table.columns, (std::vector<std::string>{"file", "caption", "order"}));
  ASSERT_EQ(table.rows.size(), 2u);
  EXPECT_EQ(table.rows[0].at("file"), "a.frm");
  EXPECT_EQ(table.rows[0].at("caption"), ru("Схема"));
  EXPECT_EQ(table.rows[0].at("order"), "2");
}

TEST_F(ProcedureTest, AMeasurementHasTheFormsOfItsUnitToo) {
  const std::string unit = field("Measurement", key("A1"), "RemoteUnitKey");
  ASSERT_EQ(status({Update("ObjectForms")
                        .insert(key("F1"), {{"ObjectKey", unit}, {"file_", "unit.svg"}, {"order_", number(1)}})
                        .insert(key("F2"), {{"ObjectKey", key("A1")}, {"file_", "own.svg"}, {"order_", number(2)}})}),
            wire::kOk);
  const Table table = tableIn(forms(arrayOfText(key("A1"))));
  ASSERT_EQ(table.rows.size(), 2u);
  EXPECT_EQ(table.rows[0].at("file"), "own.svg");
  EXPECT_EQ(table.rows[1].at("file"), "unit.svg");
  EXPECT_EQ(tableIn(forms(arrayOfText(unit))).rows.size(), 1u);
}

TEST_F(ProcedureTest, TheArgumentMayBeATextOfItsOwn) {
  CVar value;
  CVarInit(&value, 1);
  CVarSetStr(&value, key("A1").c_str(), 32);
  EXPECT_TRUE(tableIn(forms(packed(&value))).rows.empty());
}

TEST_F(ProcedureTest, AnObjectWithoutFormsGetsATableWithoutRows) {
  EXPECT_TRUE(tableIn(forms(arrayOfText(key("A1")))).rows.empty());
}

TEST_F(ProcedureTest, WrongArgumentsAreMalformed) {
  EXPECT_EQ(forms("").status, wire::kMalformed);
  EXPECT_EQ(forms("garbage").status, wire::kMalformed);
  EXPECT_EQ(forms(arrayOfInt(5)).status, wire::kMalformed);
}

TEST_F(ProcedureTest, AnUnknownProcedureHasAStatus) {
  EXPECT_EQ(core->execute(wire::Request{wire::RequestKind::kProcedure, "Nothing", ""}, {}).status,
            wire::kUnknownRequest);
}

TEST_F(ProcedureTest, AScriptAnswersWithItsScalar) {
  const wire::Reply reply = script(
      "f1(locid)\n{\n  var t, r;\n  Result = 0;\n  t = _ModelTableByName(\"Measurement\");\n"
      "  r = CTblRecSeek(t, 1, locid);\n  if (type(r[0]) == var_Rec) Result = 1;\n}\n",
      arrayOfInt(1002));
  ASSERT_EQ(reply.status, wire::kOk) << reply.payload.value_or("");
  CVar value;
  CVarInit(&value, 1);
  ASSERT_GE(CVarFromBuffN(&value, reply.payload->data(), reply.payload->size()), 0);
  EXPECT_EQ(value.type, CVAR_INT);
  EXPECT_EQ(value.i64, 1);
  CVarClear(&value, 1);
}

TEST_F(ProcedureTest, AScriptThatIsNoScriptHasAStatusAndAText) {
  const wire::Reply reply = script("this is no script");
  EXPECT_EQ(reply.status, wire::kScriptError);
  EXPECT_NE(reply.payload.value_or("").find("line 1"), std::string::npos);
}

TEST_F(ProcedureTest, AScriptThatNeverEndsIsEnded) {
  options.budget.steps = 10'000;
  reopen(options);
  EXPECT_EQ(script("f1()\n{\n  var i;\n  i = 0;\n  while (i < 1) { i = 0; }\n}\n").status, wire::kBudgetSpent);
}

TEST_F(ProcedureTest, ScriptArgumentsThatCannotBeReadAreMalformed) {
  EXPECT_EQ(script("f1() { }", "garbage").status, wire::kMalformed);
}

}  // namespace
}  // namespace tlm::server::test
