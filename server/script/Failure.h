// How compiling and running end early: one exception that never leaves the script's public functions.
#ifndef TLMSERVER_SCRIPT_FAILURE_H
#define TLMSERVER_SCRIPT_FAILURE_H

#include <TlmWire/messages.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace tlm::script {

// A place in a script's text: a byte offset.
using Offset = uint32_t;

struct Failure {
  int32_t status;  // wire::kScriptError or wire::kBudgetSpent
  Offset at;
  std::string text;
};

[[noreturn]] inline void fail(Offset at, std::string text) { throw Failure{wire::kScriptError, at, std::move(text)}; }
[[noreturn]] inline void failBudget(Offset at, std::string text) {
  throw Failure{wire::kBudgetSpent, at, std::move(text)};
}

// "line L, column C: ..." for a place of the text; both count from 1, a column is a byte.
std::string describe(std::string_view text, Offset at, std::string_view message);

// The word in quotation marks, cut to a length that fits a message.
std::string quoted(std::string_view word);

}  // namespace tlm::script

#endif
