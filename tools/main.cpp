// tlmctl: makes, fills, shows and checks stores of models.
#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

#include "commands.h"

namespace {

using namespace tlm::ctl;

int help() {
  std::printf("usage: tlmctl COMMAND ...\n\n");
  for (const Command& command : commands()) std::printf("  %s\n      %s\n", command.usage, command.help);
  std::printf(
      "\n  --help     this text\n  --version  the version of the program\n\n"
      "Exit codes: 0 done, 1 refused or problems found, 2 a mistake in the command line.\n");
  return kDone;
}

int run(const Command& command, const std::vector<std::string>& words) {
  for (const std::string& word : words)
    if (word == "--help") return std::printf("usage: tlmctl %s\n  %s\n", command.usage, command.help), kDone;
  std::string error;
  const auto arguments = parseArguments(words, command.options, command.operands, &error);
  return arguments ? command.run(*arguments) : misused(command, error);
}

int start(int argc, char** argv) {
  const std::string first = argc > 1 ? argv[1] : "";
  if (first == "--help" || first == "help") return help();
  if (first == "--version") return std::printf("tlmctl %s\n", TLM_VERSION), kDone;
  const std::string both = argc > 2 ? first + " " + argv[2] : first;
  for (const Command& command : commands()) {
    if (first == command.name) return run(command, {argv + 2, argv + argc});
    if (both == command.name) return run(command, {argv + 3, argv + argc});
  }
  std::fprintf(stderr, first.empty() ? "tlmctl: a command is missing\n" : "tlmctl: unknown command \"%s\"\n",
               first.c_str());
  std::fprintf(stderr, "\"tlmctl --help\" lists the commands\n");
  return kUsage;
}

// What was written counts when it has left the program: a full disk behind the output shows then.
int withOutput(int code) {
  const bool written = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
  return written ? code : failed("the output cannot be written");
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);  // a reader that goes away is an error of the output, told as such
  return withOutput(start(argc, argv));
}
