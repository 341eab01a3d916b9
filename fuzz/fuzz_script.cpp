// The script compiler on any bytes; what compiles is run on a small model with a small budget.
#include <TlmServer/Script.h>

#include <cstdlib>
#include <string>
#include <string_view>

namespace {

using namespace tlm::server;

MDRVar textVar(std::string_view text) {
  MDRVar var{};
  var.type = MDX_TEXT;
  var.text.length = static_cast<uint32_t>(text.size());
  var.text.data = text.data();
  return var;
}

void addRow(MDArray* table, const char* field, const std::string& key, int64_t number) {
  MDRData* const record = MDARecNew(table);
  const MDRVar keyVar = textVar(key);
  MDRSetVal(MDRFldByNum(table, 0), record, &keyVar);
  MDRVar var{};
  var.type = MDX_INT64;
  var.i64 = number;
  if (const MDRField* const named = MDRFldByName(table, field)) MDRSetVal(named, record, &var);
  const MDRVar unit = textVar(number % 3 ? "u1" : "");
  if (const MDRField* const owner = MDRFldByName(table, "RemoteUnitKey"); owner && number % 5)
    MDRSetVal(owner, record, &unit);
  MDARecPost(record, nullptr);
}

const ModelTables& model() {
  static const ModelTables tables(Catalogue::builtIn());
  static const bool filled = [] {
    for (int i = 1; i <= 200; ++i) {
      const std::string key = "m" + std::to_string(i);
      addRow(tables.table("Measurement"), "locId", key, i + i / 7);
      addRow(tables.table("IdentifiedObject"), "created", key, i);
      if (i % 2) addRow(tables.table("Discrete"), "CheckTu", key, 1);
    }
    return true;
  }();
  (void)filled;
  return tables;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string error;
  const auto script = Script::compile({reinterpret_cast<const char*>(data), size}, &error);
  if (!script) {
    if (error.rfind("line ", 0) != 0) std::abort();
    return 0;
  }
  CVar arguments, result;
  CVarInit(&arguments, 1);
  CVarInit(&result, 1);
  CVarSetArr(&arguments, script->parameterCount());
  for (int i = 0; i < script->parameterCount(); ++i)
    i % 2 ? CVarSetStr(&arguments.items[i], "u1", 2) : CVarSetInt(&arguments.items[i], i + 3);
  ScriptBudget budget;
  budget.steps = 20'000;
  budget.rows = 1000;
  budget.bytes = 1 << 20;
  const auto outcome = script->run(model(), &arguments, budget, &result);
  if ((outcome.status == tlm::wire::kOk) != outcome.error.empty()) std::abort();
  if (outcome.status != tlm::wire::kOk && result.type != CVAR_NULL) std::abort();
  CVarClear(&result, 1);
  CVarClear(&arguments, 1);
  return 0;
}
