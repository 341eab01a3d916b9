#include "Resolver.h"

#include <algorithm>

namespace tlm::script {

void Resolver::resolve() {
  variables_.reserve(32);
  assignments_.reserve(64);
  for (const Node& parameter : tree_.parameters) declare(parameter);
  firstReturned_ = variableCount();
  variables_.emplace("Result", firstReturned_);
  variables_.emplace("result", static_cast<uint16_t>(firstReturned_ + 1));
  statement(tree_.body);
  spreadOrigins();
}

Returned Resolver::returned(uint16_t variable) const {
  if (variable == firstReturned_) return Returned::kScalar;
  return variable == firstReturned_ + 1 ? Returned::kTable : Returned::kNo;
}

void Resolver::declare(const Node& name) {
  if (findFunction(name.text) >= 0) fail(name.at, quoted(name.text) + " is the name of a function");
  if (findNumber(name.text)) fail(name.at, quoted(name.text) + " is the name of a number");
  if (name.text == "Result" || name.text == "result") fail(name.at, quoted(name.text) + " needs no declaration");
  if (variables_.size() == kMostVariables) fail(name.at, "too many variables");
  if (!variables_.emplace(name.text, variableCount()).second) fail(name.at, quoted(name.text) + " is declared already");
}

// ---- statements -----------------------------------------------------------------------------------

void Resolver::list(NodeId first, void (Resolver::*each)(NodeId)) {
  for (NodeId id = first; id; id = tree_[id].next) (this->*each)(id);
}

void Resolver::statement(NodeId id) {
  const Node& node = tree_[id];
  switch (node.kind) {
    case NodeKind::kBlock:
      return list(node.first, &Resolver::statement);
    case NodeKind::kDeclare:
      return list(node.first, &Resolver::declaration);
    case NodeKind::kAssign:
      return assignment(id);
    case NodeKind::kWhile:
      return loop(id);
    case NodeKind::kIf:
      expression(node.first);
      statement(node.second);
      if (node.third) statement(node.third);
      return;
    case NodeKind::kBreak:
    case NodeKind::kContinue:
      if (!loops_)
        fail(node.at, node.kind == NodeKind::kBreak ? "'break' outside a loop" : "'continue' outside a loop");
      return;
    case NodeKind::kEvaluate:
      return call(node.first);
    default:
      return;
  }
}

void Resolver::declaration(NodeId id) { declare(tree_[id]); }

void Resolver::assignment(NodeId id) {
  const Node& node = tree_[id];
  name(node.first);
  if (tree_[node.first].kind != NodeKind::kVariable)
    fail(tree_[node.first].at, quoted(tree_[node.first].text) + " is the name of a number");
  expression(node.second);
  const NodeKind kind = tree_[node.second].kind;
  if (kind == NodeKind::kVariable || kind == NodeKind::kCall || kind == NodeKind::kIndex) assignments_.push_back(id);
}

void Resolver::loop(NodeId id) {
  expression(tree_[id].first);
  ++loops_;
  statement(tree_[id].second);
  --loops_;
}

// ---- expressions ----------------------------------------------------------------------------------

void Resolver::expression(NodeId id) {
  const Node& node = tree_[id];
  switch (node.kind) {
    case NodeKind::kNull:
    case NodeKind::kInteger:
    case NodeKind::kFraction:
    case NodeKind::kText:
      return constant(id);
    case NodeKind::kName:
      name(id);
      if (node.kind == NodeKind::kVariable) askForPosition(node.slot);
      return;
    case NodeKind::kNegate:
      return negation(id);
    case NodeKind::kIndex:
      return index(id);
    case NodeKind::kCall:
      call(id);
      if (!functionAt(node.slot).givesValue) fail(node.at, std::string(node.text) + " gives no value");
      return;
    default:
      expression(node.first);
      if (node.second) expression(node.second);
  }
}

void Resolver::name(NodeId id) {
  Node& node = tree_[id];
  const auto variable = variables_.find(node.text);
  if (variable != variables_.end()) {
    node.kind = NodeKind::kVariable;
    node.slot = variable->second;
  } else if (const NamedNumber* number = findNumber(node.text)) {
    node.kind = NodeKind::kInteger;
    node.integer = number->value;
    constant(id);
  } else {
    const bool function = findFunction(node.text) >= 0;
    fail(node.at,
         function ? quoted(node.text) + " is the name of a function" : "unknown variable " + quoted(node.text));
  }
}

void Resolver::negation(NodeId id) {
  Node& node = tree_[id];
  const Node& inner = tree_[node.first];
  if (inner.kind == NodeKind::kInteger || inner.kind == NodeKind::kFraction) {
    node.kind = inner.kind;
    if (inner.kind == NodeKind::kInteger)
      node.integer = -inner.integer;
    else
      node.fraction = -inner.fraction;
    return constant(id);
  }
  expression(node.first);
}

// The first part of a variable's pair is the one use that does without its position.
void Resolver::index(NodeId id) {
  const Node& node = tree_[id];
  const Node& part = tree_[node.second];
  const bool first = part.kind == NodeKind::kInteger && part.integer == 0;
  if (first && tree_[node.first].kind == NodeKind::kName)
    name(node.first);
  else
    expression(node.first);
  expression(node.second);
}

void Resolver::askForPosition(uint16_t variable) {
  if (positionAsked_.size() <= variable) positionAsked_.resize(variable + size_t{1});
  positionAsked_[variable] = true;
}

void Resolver::call(NodeId id) {
  Node& node = tree_[id];
  const int row = findFunction(node.text);
  if (row < 0) fail(node.at, "unknown function " + quoted(node.text));
  node.slot = static_cast<uint16_t>(row);
  int given = 0;
  for (NodeId argument = node.first; argument; argument = tree_[argument].next, ++given) expression(argument);
  const Function& function = functionAt(row);
  if (given != function.parameters)
    fail(node.at, std::string(function.name) + " takes " + std::to_string(function.parameters) + " arguments, " +
                      std::to_string(given) + " given");
  if (function.op == Op::kModelTable && tree_[node.first].kind == NodeKind::kText) tableLiteral(tree_[node.first]);
}

void Resolver::constant(NodeId id) {
  Node& node = tree_[id];
  Value value;
  if (node.kind == NodeKind::kInteger) value = Value::of(node.integer);
  if (node.kind == NodeKind::kFraction) value = Value::of(node.fraction);
  if (node.kind == NodeKind::kText) value = Value::of(node.text);
  const auto same = [&value](const Value& other) {
    if (value.kind != other.kind) return false;
    return value.kind == Kind::kText ? value.text() == other.text() : value.integer == other.integer;
  };
  constexpr size_t kLooked = 64;  // a script with many literals may hold one twice
  const auto end = constants_.begin() + static_cast<ptrdiff_t>(std::min(constants_.size(), kLooked));
  const auto found = std::find_if(constants_.begin(), end, same);
  if (found != end) {
    node.slot = static_cast<uint16_t>(found - constants_.begin());
    return;
  }
  if (constants_.size() == kMostConstants) fail(node.at, "too many numbers and texts");
  node.slot = static_cast<uint16_t>(constants_.size());
  constants_.push_back(value);
}

// ---- model tables ---------------------------------------------------------------------------------

uint16_t Resolver::tableNumber(std::string_view name) const {
  for (size_t i = 0; i < tables_.size(); ++i)
    if (tables_[i].name == name) return static_cast<uint16_t>(i);
  return kUnknown;
}

void Resolver::tableLiteral(const Node& literal) {
  if (tableNumber(literal.text) != kUnknown) return;
  if (tables_.size() == kMostTables) fail(literal.at, "too many model tables");
  tables_.push_back({literal.text, literal.at});
}

uint16_t Resolver::originOf(NodeId expression) const {
  const uint16_t known = origin(expression);
  return known == kNone ? kUnknown : known;
}

uint16_t Resolver::origin(NodeId expression) const {
  const Node& node = tree_[expression];
  if (node.kind == NodeKind::kVariable) return origins_[node.slot];
  if (node.kind == NodeKind::kIndex) return origin(node.first);
  if (node.kind != NodeKind::kCall) return kNone;
  switch (functionAt(node.slot).op) {
    case Op::kModelTable: {
      const Node& table = tree_[node.first];
      return table.kind == NodeKind::kText ? tableNumber(table.text) : kUnknown;
    }
    case Op::kTableNew:
      return kUnknown;
    case Op::kSeek:
    case Op::kRecord:
    case Op::kRecordNew:
      return origin(node.first);
    default:
      return kNone;
  }
}

// A variable has an origin when all that is assigned to it has the same. What one variable passes to
// another takes a round each; scripts that need many rounds go without.
void Resolver::spreadOrigins() {
  origins_.assign(variables_.size(), kNone);
  constexpr int kMostRounds = 8;
  bool changed = true;
  for (int round = 0; changed && round < kMostRounds; ++round) {
    changed = false;
    for (const NodeId id : assignments_) {
      uint16_t& known = origins_[tree_[tree_[id].first].slot];
      const uint16_t assigned = origin(tree_[id].second);
      if (assigned == kNone || assigned == known || known == kUnknown) continue;
      known = known == kNone ? assigned : kUnknown;
      changed = true;
    }
  }
  if (changed) origins_.assign(variables_.size(), kUnknown);
}

}  // namespace tlm::script
