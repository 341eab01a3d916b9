#include <TlmServer/Script.h>

#include "Emitter.h"
#include "Machine.h"
#include "Parser.h"

#include <new>

namespace tlm::server {

using script::Failure;
using script::Program;

namespace {

// Tells the steps of a run however it ends.
class StepsTold {
 public:
  StepsTold(const script::Machine& machine, int64_t* steps) : machine_(machine), steps_(*steps) {}
  ~StepsTold() { steps_ = machine_.stepsTaken(); }
  StepsTold(const StepsTold&) = delete;
  StepsTold& operator=(const StepsTold&) = delete;

 private:
  const script::Machine& machine_;
  int64_t& steps_;
};

}  // namespace

Script::Script(std::unique_ptr<Program> program) : program_(std::move(program)) {}
Script::~Script() = default;

const std::string& Script::name() const { return program_->name; }
int Script::parameterCount() const { return program_->parameters; }

std::unique_ptr<Script> Script::compile(std::string_view text, std::string* error) {
  auto program = std::make_unique<Program>();
  program->text = text;
  try {
    script::Tree tree = script::Parser(program->text).parse();
    script::Resolver resolver(&tree);
    resolver.resolve();
    script::Emitter(tree, resolver, program.get()).emit();
    program->name = tree.name;
    program->parameters = static_cast<int>(tree.parameters.size());
    program->texts = std::move(tree.texts);
  } catch (const Failure& failure) {
    *error = script::describe(text, failure.at, failure.text);
    return nullptr;
  }
  return std::unique_ptr<Script>(new Script(std::move(program)));
}

Script::Outcome Script::run(const ModelTables& tables, const CVar* arguments, const ScriptBudget& budget,
                            CVar* result) const {
  return run([&tables](std::string_view name) { return tables.table(name); }, arguments, budget, result);
}

Script::Outcome Script::run(const TableSource& tables, const CVar* arguments, const ScriptBudget& budget,
                            CVar* result) const {
  CVarClear(result, 1);
  int64_t steps = 0;
  try {
    script::Machine machine(*program_, tables, budget);
    {
      const StepsTold told(machine, &steps);
      machine.setArguments(arguments);
      machine.execute();
      machine.giveResult(result);
    }
    return {wire::kOk, {}, steps};
  } catch (const Failure& failure) {
    return {failure.status, script::describe(program_->text, failure.at, failure.text), steps};
  } catch (const std::bad_alloc&) {
    return {wire::kBudgetSpent, "no memory is left for the script", steps};
  }
}

}  // namespace tlm::server
