// What a script is compiled to: instructions over numbered registers.
//
// Registers hold first the variables (the parameters, Result, result, then the declared ones), then the
// constants of the script, then the intermediate values, so that an operand is always a register.
#ifndef TLMSERVER_SCRIPT_PROGRAM_H
#define TLMSERVER_SCRIPT_PROGRAM_H

#include "Failure.h"
#include "Value.h"

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace tlm::script {

enum class Op : uint16_t {
  kExit,
  kMove,          // a = b
  kTruth,         // a = the number b
  kReturnScalar,  // the call returns Result; b is the value, to be checked
  kReturnTable,   // the call returns result; b is the value, to be checked
  kAdd,           // a = b + c, and so on
  kSubtract,
  kMultiply,
  kDivide,
  kNegate,  // a = -b
  kIndex,   // a = b[c]
  // jumps to e
  kJump,
  kLoop,        // backwards; d is what one pass costs
  kJumpIfTrue,  // b
  kJumpIfFalse,
  kJumpIfEqual,  // b, c
  kJumpIfNotEqual,
  kJumpIfLess,
  kJumpIfNotLess,
  kJumpIfLessEqual,
  kJumpIfNotLessEqual,
  kJumpIfType,  // type of b is the number c (not a register)
  kJumpIfNotType,
  // functions: a = f(b, c, d, e)
  kKnownTable,  // a = the model table whose number among the run's tables is b
  kModelTable,  // from here on in the order of Machine::kFunctions
  kTableNew,
  kFieldAdd,
  kCount,
  kSeek,    // e: walk
  kRecord,  // e: walk
  kRecordNew,
  kRecordPost,
  kFieldGet,  // d: field use
  kFieldPut,
  kType,
  kToInt,
  kCompareTexts,
  kFindText,
  kFind,  // a seek of which only the record is asked for
};

struct Instruction {
  Op op = Op::kExit;
  uint16_t a = 0, b = 0, c = 0, d = 0, e = 0;
  Offset at = 0;
};

constexpr uint16_t kUnknown = 0xffff;

// A model table that the script names by a literal.
struct TableUse {
  std::string_view name;
  Offset at;
};

// A field that the script names by a literal; `table` is a number in Program::tables or kUnknown.
struct FieldUse {
  std::string_view name;  // empty when the name is computed
  uint16_t table;
  Offset at;
};

// A place that reads or seeks by a key; both are known or kUnknown.
struct KeyUse {
  uint16_t table;
  uint16_t key;
  bool seeks;
  Offset at;
};

struct Program {
  std::string text;
  std::string name;
  int parameters = 0;
  std::vector<Instruction> code;
  uint16_t variables = 0;
  std::vector<Value> constants;
  uint16_t registers = 0;  // variables, constants and intermediate values
  std::vector<TableUse> tables;
  std::vector<FieldUse> fields;
  std::vector<KeyUse> keys;
  std::deque<std::string> texts;  // texts whose backslashes have been read
};

}  // namespace tlm::script

#endif
