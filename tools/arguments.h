// The command line of tlmctl, taken apart.
#ifndef TLMCTL_ARGUMENTS_H
#define TLMCTL_ARGUMENTS_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tlm::ctl {

enum ExitCode { kDone = 0, kFailed = 1, kUsage = 2 };

// What a command accepts.
struct Option {
  const char* name;   // "--units"
  const char* value;  // what stands for its value in the help, or null when it takes none
  bool required;
};

struct Arguments {
  std::map<std::string, std::string> options;
  std::string file;
  std::vector<std::string> words;  // of a command that takes other things than a file

  bool has(const std::string& option) const { return options.count(option) > 0; }
};

enum class Operands { kOneFile, kWords };

// Takes "--name value", "--name=value" and one FILE or any other words, in any order; behind "--" no option is looked
// for, and a negative number is none. Nothing, with a message in *error, for an unknown or doubled option, a missing
// value, a missing required option, and any other number of files.
std::optional<Arguments> parseArguments(const std::vector<std::string>& words, const std::vector<Option>& options,
                                        Operands operands, std::string* error);

// A decimal number from `low` to `high`; nothing, with a message that names the option, for anything else.
std::optional<uint64_t> numberOption(const Arguments& arguments, const std::string& option, uint64_t low, uint64_t high,
                                     std::string* error);

}  // namespace tlm::ctl

#endif
