// The commands of tlmctl. Each takes its words, writes to the standard streams and returns an exit code.
#ifndef TLMCTL_COMMANDS_H
#define TLMCTL_COMMANDS_H

#include <vector>

#include "arguments.h"

namespace tlm::ctl {

struct Command {
  const char* name;
  const char* usage;
  const char* help;
  std::vector<Option> options;
  int (*run)(const Arguments& arguments);
  Operands operands = Operands::kOneFile;
};

const std::vector<Command>& commands();

int dump(const Arguments& arguments);
int addUser(const Arguments& arguments);
int listUsers(const Arguments& arguments);
int removeUser(const Arguments& arguments);
int sendValues(const Arguments& arguments);

// Says what went wrong and returns kFailed, or kUsage for what the caller typed.
int failed(const std::string& what);
const Command& commandOf(const std::string& name);  // which must be there
int misused(const Command& command, const std::string& what);

}  // namespace tlm::ctl

#endif
