// The server's script language: one function, run against the model tables, which it only reads.
#ifndef TLMSERVER_SCRIPT_H
#define TLMSERVER_SCRIPT_H

#include <TlmMdx/mdx.h>
#include <TlmServer/Core.h>
#include <TlmServer/ModelTables.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace tlm::script {
struct Program;
}

namespace tlm::server {

// The model table of a name, or null.
using TableSource = std::function<MDArray*(std::string_view name)>;

// A compiled script. May be run from several threads at once.
class Script {
 public:
  // Null with "line L, column C: ..." in *error when the text is no script.
  static std::unique_ptr<Script> compile(std::string_view text, std::string* error);
  ~Script();
  Script(const Script&) = delete;
  Script& operator=(const Script&) = delete;

  const std::string& name() const;
  int parameterCount() const;

  struct Outcome {
    int32_t status = wire::kOk;  // kOk, kScriptError or kBudgetSpent
    std::string error;
    int64_t steps = 0;  // taken of the budget; more than it had when they were what ran out
  };

  // Runs the function with the elements of `arguments` (an array value, or null). `result`, which the caller
  // has initialised, takes the scalar or the table that the script assigned and owns it; CVAR_NULL when it
  // assigned none or failed. The tables must not change during the run.
  Outcome run(const ModelTables& tables, const CVar* arguments, const ScriptBudget& budget, CVar* result) const;
  Outcome run(const TableSource& tables, const CVar* arguments, const ScriptBudget& budget, CVar* result) const;

 private:
  explicit Script(std::unique_ptr<script::Program> program);
  std::unique_ptr<script::Program> program_;
};

}  // namespace tlm::server

#endif
