// The functions and numbers that every script knows by name.
#ifndef TLMSERVER_SCRIPT_FUNCTIONS_H
#define TLMSERVER_SCRIPT_FUNCTIONS_H

#include "Program.h"

#include <string_view>

namespace tlm::script {

struct Function {
  std::string_view name;
  Op op;
  int parameters;
  bool givesValue;
};

struct NamedNumber {
  std::string_view name;
  int64_t value;
};

// The row of a function, or -1; case is respected.
int findFunction(std::string_view name);
const Function& functionAt(int row);

// Null when there is no number of that name.
const NamedNumber* findNumber(std::string_view name);

}  // namespace tlm::script

#endif
