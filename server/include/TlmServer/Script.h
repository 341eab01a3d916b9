// The server's script language: one function, run against the model tables, which it only reads.
#ifndef TLMSERVER_SCRIPT_H
#define TLMSERVER_SCRIPT_H

#include <TlmMdx/mdx.h>
#include <TlmServer/Core.h>
#include <TlmServer/ModelTables.h>

#include <memory>
#include <string>
#include <string_view>

namespace tlm::server {

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
  };

  // Runs the function with the elements of `arguments` (an array value, or null). `result` takes the scalar
  // or the table that the script assigned; CVAR_NULL when it assigned none. The tables must not change
  // during the run.
  Outcome run(const ModelTables& tables, const CVar* arguments, const ScriptBudget& budget, CVar* result) const;

 private:
  struct Program;
  explicit Script(std::unique_ptr<Program> program);
  std::unique_ptr<Program> program_;
};

}  // namespace tlm::server

#endif
