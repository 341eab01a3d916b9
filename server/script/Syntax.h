// The tree of a script: nodes in one vector, linked by number.
#ifndef TLMSERVER_SCRIPT_SYNTAX_H
#define TLMSERVER_SCRIPT_SYNTAX_H

#include "Failure.h"

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace tlm::script {

enum class NodeKind : uint8_t {
  // expressions
  kNull,
  kInteger,   // integer
  kFraction,  // fraction
  kText,      // text
  kName,      // text; the resolver makes it a variable or a number
  kVariable,  // slot
  kCall,      // text is the function; the arguments are a list from `first`; slot is its row once resolved
  kIndex,     // first [ second ]
  kNegate,    // - first
  kNot,       // ! first
  kAdd,       // first + second, and so on
  kSubtract,
  kMultiply,
  kDivide,
  kEqual,
  kNotEqual,
  kLess,
  kLessEqual,
  kGreater,
  kGreaterEqual,
  kAnd,
  kOr,
  // statements
  kBlock,     // a list from `first`
  kDeclare,   // a list of names from `first`
  kAssign,    // first = second
  kEvaluate,  // a call, in `first`, whose value is not used
  kIf,        // first: condition, second, third: branches
  kWhile,     // first: condition, second: body
  kBreak,
  kContinue,
  kExit,
};

using NodeId = uint32_t;
constexpr NodeId kNoNode = 0;  // node 0 is never used

struct Node {
  NodeKind kind = NodeKind::kNull;
  uint16_t depth = 1;  // levels of nodes from here down
  uint16_t slot = 0;
  Offset at = 0;
  NodeId first = kNoNode;
  NodeId second = kNoNode;
  NodeId third = kNoNode;
  NodeId next = kNoNode;  // the next one of the list that this node stands in
  std::string_view text;
  union {
    int64_t integer = 0;
    double fraction;
  };
};

struct Tree {
  std::string_view name;
  std::vector<Node> nodes;
  std::vector<Node> parameters;  // names
  NodeId body = kNoNode;
  std::deque<std::string> texts;  // texts whose backslashes have been read

  Node& operator[](NodeId id) { return nodes[id]; }
  const Node& operator[](NodeId id) const { return nodes[id]; }
};

}  // namespace tlm::script

#endif
