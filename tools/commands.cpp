#include "commands.h"

#include <TlmServer/Catalogue.h>
#include <TlmServer/Generate.h>
#include <TlmServer/ModelCheck.h>
#include <TlmServer/SampleModel.h>
#include <TlmServer/SqliteStore.h>

#include <algorithm>
#include <cstdio>
#include <limits>

namespace tlm::ctl {
namespace {

using namespace tlm::server;

constexpr size_t kShownProblems = 100;

int tell(const ModelTables& tables, const std::string& file) {
  std::printf("%s: %d folders, %d units, %d measurements\n", file.c_str(),
              MDARecCount(tables.table("RemoteUnitFolder")), MDARecCount(tables.table("RemoteUnit")),
              MDARecCount(tables.table("Measurement")));
  return kDone;
}

int makeStore(const ModelTables& tables, const std::string& file, const FinishStore& finish = {}) {
  std::string error;
  if (!createSqliteStore(file, Catalogue::builtIn(), tablesToStore(tables), &error, nullptr, finish))
    return failed(error);
  return tell(tables, file);
}

bool addOperator(Store& store, std::string* error) { return addSampleUser(store, Catalogue::builtIn(), error); }

int create(const Arguments& arguments) {
  ModelTables tables(Catalogue::builtIn(), ModelTables::Keys::kLater);
  std::string error;
  if (arguments.has("--empty")) return makeStore(tables, arguments.file);
  if (!loadBuiltInSample(&tables, &error)) return failed(error);
  return makeStore(tables, arguments.file, addOperator);
}

int generate(const Arguments& arguments) {
  std::string error;
  const auto units = numberOption(arguments, "--units", 1, kMaxGenerated, &error);
  const auto measurements = units ? numberOption(arguments, "--measurements", 0, kMaxGenerated, &error) : units;
  const auto seed =
      measurements ? numberOption(arguments, "--seed", 0, std::numeric_limits<uint64_t>::max(), &error) : measurements;
  if (!seed) return misused(commandOf("generate"), error);
  GenerateOptions options;
  options.units = static_cast<int>(*units);
  options.measurements = static_cast<int>(*measurements);
  options.seed = *seed;
  ModelTables tables(Catalogue::builtIn(), ModelTables::Keys::kLater);
  if (!generateModel(options, &tables, &error)) return failed(error);
  return makeStore(tables, arguments.file);
}

bool loadTables(Store& store, ModelTables* tables, std::string* error) {
  for (const TableDef& table : tables->catalogue().tables())
    if (!Catalogue::describesItself(table.name) && !store.load(table.name, tables->table(table.name), error))
      return false;
  tables->makeKeys();
  return true;
}

size_t show(const std::vector<std::string>& problems) {
  for (const std::string& line : problems) std::printf("%s\n", line.c_str());
  return problems.size();
}

int conclude(size_t problems) {
  std::printf(problems == 0 ? "no problems\n" : "%zu problems\n", problems);
  return problems == 0 ? kDone : kFailed;
}

int check(const Arguments& arguments) {
  std::string error;
  const auto store = readSqliteStore(arguments.file, Catalogue::builtIn(), &error);
  if (!store) return failed(error);
  const size_t broken = show(checkSqliteStore(*store));
  const size_t missing = show(missingInSqliteStore(*store));
  if (missing > 0) return conclude(broken + missing);  // a model in parts would contradict itself everywhere
  ModelTables tables(Catalogue::builtIn(), ModelTables::Keys::kLater);
  if (!loadTables(*store, &tables, &error)) return failed(error);
  const ModelProblems problems = checkModel(tables, kShownProblems);
  show(problems.lines);
  if (problems.count > problems.lines.size()) std::printf("... and %zu more\n", problems.count - problems.lines.size());
  tell(tables, arguments.file);
  return conclude(broken + problems.count);
}

}  // namespace

const std::vector<Command>& commands() {
  static const std::vector<Command> all = {
      {"create",
       "create FILE [--empty]",
       "make a store with the sample model, or without rows",
       {{"--empty", nullptr, false}},
       create},
      {"generate",
       "generate --units U --measurements N --seed S FILE",
       "make a store with a generated model; the same numbers give the same model",
       {{"--units", "a number", true}, {"--measurements", "a number", true}, {"--seed", "a number", true}},
       generate},
      {"dump",
       "dump --table T [--columns A,B,...] FILE",
       "write the rows of a table, in order of arrival, as text",
       {{"--table", "the name of a table", true}, {"--columns", "names of columns, joined by commas", false}},
       dump},
      {"check", "check FILE", "look for damage in a store and for contradictions in its model", {}, check},
      {"user add",
       "user add --name N [--control] [--values] FILE",
       "add a user of a store, or replace him: one who may command, or who may hand in values from the field;\n"
       "      the password is read from the standard input",
       {{"--name", "the name", true}, {"--control", nullptr, false}, {"--values", nullptr, false}},
       addUser},
      {"user list", "user list FILE", "write the users of a store: name, and what they may", {}, listUsers},
      {"user remove",
       "user remove --name N FILE",
       "remove a user of a store",
       {{"--name", "the name", true}},
       removeUser},
      {"value",
       "value --server ADDRESS [--user N] [--password-file F] [KEY VALUE [--quality Q] [--time T]]",
       "hand a value from the field to a running server, or each line \"KEY VALUE [QUALITY [TIME]]\" of the standard\n"
       "      input. KEY is the measurement's key or number; VALUE stands in quotation marks when it has blanks, and "
       "is -\n"
       "      for the last one with another quality; QUALITY is good, old or invalid; TIME is "
       "2026-11-21T07:05:10.250Z,\n"
       "      with another offset than Z, or milliseconds since 1970. The user needs the right to hand in values; "
       "without\n"
       "      options his name is in TLM_USER and his password in TLM_PASSWORD, or asked for at the terminal",
       {{"--server", "HOST:PORT or unix:PATH", true},
        {"--user", "the name", false},
        {"--password-file", "a file whose first line it is", false},
        {"--quality", "good, old or invalid", false},
        {"--time", "when it was measured", false}},
       sendValues,
       Operands::kWords}};
  return all;
}

int failed(const std::string& what) {
  std::fprintf(stderr, "tlmctl: %s\n", what.c_str());
  return kFailed;
}

const Command& commandOf(const std::string& name) {
  return *std::find_if(commands().begin(), commands().end(), [&](const Command& c) { return name == c.name; });
}

int misused(const Command& command, const std::string& what) {
  std::fprintf(stderr, "tlmctl %s: %s\nusage: tlmctl %s\n", command.name, what.c_str(), command.usage);
  return kUsage;
}

}  // namespace tlm::ctl
