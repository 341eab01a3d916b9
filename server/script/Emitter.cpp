#include "Emitter.h"

#include <algorithm>

namespace tlm::script {
namespace {

// The most that one script may take of registers: their numbers are 16 bits wide.
constexpr uint16_t kMostRegisters = 60'000;

Op arithmetic(NodeKind kind) {
  switch (kind) {
    case NodeKind::kAdd:
      return Op::kAdd;
    case NodeKind::kSubtract:
      return Op::kSubtract;
    case NodeKind::kMultiply:
      return Op::kMultiply;
    case NodeKind::kDivide:
      return Op::kDivide;
    default:
      return Op::kIndex;
  }
}

// A comparison as a jump. The order ones come as less and less-or-equal with the operands in either order.
struct Comparison {
  Op ifTrue;
  Op ifFalse;
  bool swapped;
};

Comparison comparison(NodeKind kind) {
  switch (kind) {
    case NodeKind::kEqual:
      return {Op::kJumpIfEqual, Op::kJumpIfNotEqual, false};
    case NodeKind::kNotEqual:
      return {Op::kJumpIfNotEqual, Op::kJumpIfEqual, false};
    case NodeKind::kLess:
      return {Op::kJumpIfLess, Op::kJumpIfNotLess, false};
    case NodeKind::kLessEqual:
      return {Op::kJumpIfLessEqual, Op::kJumpIfNotLessEqual, false};
    case NodeKind::kGreater:
      return {Op::kJumpIfLess, Op::kJumpIfNotLess, true};
    default:
      return {Op::kJumpIfLessEqual, Op::kJumpIfNotLessEqual, true};
  }
}

bool isTruth(NodeKind kind) { return kind == NodeKind::kNot || (kind >= NodeKind::kEqual && kind <= NodeKind::kOr); }

}  // namespace

Emitter::Emitter(const Tree& tree, const Resolver& resolver, Program* program)
    : tree_(tree), resolver_(resolver), program_(*program) {
  program_.variables = resolver.variableCount();
  program_.constants = resolver.constants();
  program_.tables = resolver.tables();
  program_.code.reserve(tree.nodes.size() / 2);
  nextTemporary_ = static_cast<uint16_t>(program_.variables + program_.constants.size());
  program_.registers = nextTemporary_;
}

void Emitter::emit() {
  statement(tree_.body);
  add(Op::kExit, tree_[tree_.body].at);
}

// ---- statements -----------------------------------------------------------------------------------

void Emitter::statements(NodeId first) {
  for (NodeId id = first; id; id = tree_[id].next) statement(id);
}

void Emitter::statement(NodeId id) {
  const Node& node = tree_[id];
  const uint16_t temporaries = nextTemporary_;
  switch (node.kind) {
    case NodeKind::kBlock:
      statements(node.first);
      break;
    case NodeKind::kAssign:
      assignment(node);
      break;
    case NodeKind::kIf:
      branch(node);
      break;
    case NodeKind::kWhile:
      loop(node);
      break;
    case NodeKind::kBreak:
      addJump(Op::kJump, node.at, &loop_->breaks);
      break;
    case NodeKind::kContinue:
      jumpBack(loop_->top, node.at);
      break;
    case NodeKind::kExit:
      add(Op::kExit, node.at);
      break;
    case NodeKind::kEvaluate:
      into(node.first, temporary(node.at));
      break;
    default:
      break;
  }
  nextTemporary_ = temporaries;
}

bool Emitter::isSeek(NodeId id) const {
  return tree_[id].kind == NodeKind::kCall && functionAt(tree_[id].slot).op == Op::kSeek;
}

bool Emitter::asksForRecord(const Node& index) const {
  const Node& part = tree_[index.second];
  return index.kind == NodeKind::kIndex && part.kind == NodeKind::kInteger && part.integer == 0;
}

void Emitter::assignment(const Node& node) {
  const uint16_t variable = tree_[node.first].slot;
  into(node.second, variable);
  if (isSeek(node.second) && !resolver_.positionAsked(variable)) program_.code.back().op = Op::kFind;
  const Returned returned = resolver_.returned(variable);
  if (returned == Returned::kNo) return;
  add(returned == Returned::kScalar ? Op::kReturnScalar : Op::kReturnTable, node.at, 0, variable);
}

void Emitter::branch(const Node& node) {
  Jumps otherwise, end;
  jumpIf(node.first, false, &otherwise);
  statement(node.second);
  if (node.third) addJump(Op::kJump, node.at, &end);
  land(otherwise);
  if (!node.third) return;
  statement(node.third);
  land(end);
}

void Emitter::loop(const Node& node) {
  Loop inner{here(), {}};
  Loop* const outer = std::exchange(loop_, &inner);
  Jumps end;
  jumpIf(node.first, false, &end);
  statement(node.second);
  jumpBack(inner.top, node.at);
  land(end);
  land(inner.breaks);
  loop_ = outer;
}

// A pass costs as many steps as the loop has instructions up to here.
void Emitter::jumpBack(uint16_t top, Offset at) {
  Instruction& jump = add(Op::kLoop, at);
  jump.d = static_cast<uint16_t>(here() - top);
  jump.e = top;
}

// ---- expressions ----------------------------------------------------------------------------------

uint16_t Emitter::constantRegister(const Node& node) const {
  return static_cast<uint16_t>(program_.variables + node.slot);
}

uint16_t Emitter::operand(NodeId id) {
  const Node& node = tree_[id];
  switch (node.kind) {
    case NodeKind::kVariable:
      return node.slot;
    case NodeKind::kNull:
    case NodeKind::kInteger:
    case NodeKind::kFraction:
    case NodeKind::kText:
      return constantRegister(node);
    default: {
      const uint16_t target = temporary(node.at);
      into(id, target);
      return target;
    }
  }
}

void Emitter::into(NodeId id, uint16_t target) {
  const Node& node = tree_[id];
  if (isTruth(node.kind)) return truthInto(id, target);
  const uint16_t temporaries = nextTemporary_;
  switch (node.kind) {
    case NodeKind::kCall:
      callInto(node, target);
      break;
    case NodeKind::kNegate: {
      const uint16_t value = operand(node.first);
      add(Op::kNegate, node.at, target, value);
      break;
    }
    case NodeKind::kAdd:
    case NodeKind::kSubtract:
    case NodeKind::kMultiply:
    case NodeKind::kDivide:
    case NodeKind::kIndex: {
      const uint16_t left = operand(node.first);
      if (isSeek(node.first) && asksForRecord(node)) program_.code.back().op = Op::kFind;
      const uint16_t right = operand(node.second);
      add(arithmetic(node.kind), node.at, target, left, right);
      break;
    }
    default:
      add(Op::kMove, node.at, target, operand(id));
  }
  nextTemporary_ = temporaries;
}

void Emitter::truthInto(NodeId id, uint16_t target) {
  const Offset at = tree_[id].at;
  Jumps no, end;
  jumpIf(id, false, &no);
  add(Op::kTruth, at, target, 1);
  addJump(Op::kJump, at, &end);
  land(no);
  add(Op::kTruth, at, target, 0);
  land(end);
}

void Emitter::callInto(const Node& node, uint16_t target) {
  const Function& function = functionAt(node.slot);
  if (function.op == Op::kModelTable && tree_[node.first].kind == NodeKind::kText) {
    add(Op::kKnownTable, node.at, target, resolver_.tableNumber(tree_[node.first].text));
    return;
  }
  uint16_t registers[4] = {};
  NodeId arguments[4] = {};
  int count = 0;
  for (NodeId id = node.first; id; id = tree_[id].next, ++count) {
    arguments[count] = id;
    registers[count] = operand(id);
  }
  const uint16_t extra = extraOf(node, arguments);
  Instruction& call = add(function.op, node.at, target, registers[0], registers[1]);
  call.d = function.op == Op::kFieldGet ? extra : registers[2];
  call.e = function.op == Op::kFieldAdd ? registers[3] : extra;
}

// The number of the field use or key use of a call that has one.
uint16_t Emitter::extraOf(const Node& call, std::span<const NodeId> arguments) {
  const Op op = functionAt(call.slot).op;
  const bool field = op == Op::kFieldGet;
  if (!field && op != Op::kSeek && op != Op::kRecord) return 0;
  const uint16_t table = resolver_.originOf(arguments[0]);
  const Node& second = tree_[arguments[1]];
  if (field) {
    const bool literal = second.kind == NodeKind::kText;
    program_.fields.push_back({literal ? second.text : std::string_view(), literal ? table : kUnknown, second.at});
    return static_cast<uint16_t>(program_.fields.size() - 1);
  }
  const bool literal = second.kind == NodeKind::kInteger && second.integer >= 0 && second.integer < kUnknown;
  program_.keys.push_back(
      {table, literal ? static_cast<uint16_t>(second.integer) : kUnknown, op == Op::kSeek, second.at});
  return static_cast<uint16_t>(program_.keys.size() - 1);
}

// ---- conditions -----------------------------------------------------------------------------------

void Emitter::jumpIf(NodeId id, bool sense, Jumps* jumps) {
  const Node& node = tree_[id];
  if (node.kind == NodeKind::kNot) return jumpIf(node.first, !sense, jumps);
  if (node.kind == NodeKind::kAnd || node.kind == NodeKind::kOr) return jumpIfBoth(node, sense, jumps);
  const uint16_t temporaries = nextTemporary_;
  if (isTruth(node.kind))
    jumpIfCompared(node, sense, jumps);
  else
    addJump(sense ? Op::kJumpIfTrue : Op::kJumpIfFalse, node.at, jumps, operand(id));
  nextTemporary_ = temporaries;
}

void Emitter::jumpIfBoth(const Node& node, bool sense, Jumps* jumps) {
  const bool decides = node.kind == NodeKind::kOr;  // the truth of the left side that decides alone
  if (sense == decides) {
    jumpIf(node.first, sense, jumps);
    jumpIf(node.second, sense, jumps);
    return;
  }
  Jumps past;
  jumpIf(node.first, decides, &past);
  jumpIf(node.second, sense, jumps);
  land(past);
}

void Emitter::jumpIfCompared(const Node& node, bool sense, Jumps* jumps) {
  if (jumpIfType(node, sense, jumps)) return;
  const Comparison row = comparison(node.kind);
  const uint16_t left = operand(node.first);
  const uint16_t right = operand(node.second);
  addJump(sense ? row.ifTrue : row.ifFalse, node.at, jumps, row.swapped ? right : left, row.swapped ? left : right);
}

// type(x) == number, the commonest question of all, is one instruction.
bool Emitter::jumpIfType(const Node& node, bool sense, Jumps* jumps) {
  if (node.kind != NodeKind::kEqual && node.kind != NodeKind::kNotEqual) return false;
  const Node& call = tree_[node.first];
  const Node& number = tree_[node.second];
  if (call.kind != NodeKind::kCall || functionAt(call.slot).op != Op::kType) return false;
  if (number.kind != NodeKind::kInteger || number.integer < 0 || number.integer > UINT8_MAX) return false;
  const bool ifType = sense == (node.kind == NodeKind::kEqual);
  addJump(ifType ? Op::kJumpIfType : Op::kJumpIfNotType, node.at, jumps, operand(call.first),
          static_cast<uint16_t>(number.integer));
  return true;
}

// ---- instructions ---------------------------------------------------------------------------------

Instruction& Emitter::add(Op op, Offset at, uint16_t a, uint16_t b, uint16_t c) {
  if (program_.code.size() == kMostInstructions) fail(at, "the script has too many statements");
  return program_.code.emplace_back(Instruction{op, a, b, c, 0, 0, at});
}

void Emitter::addJump(Op op, Offset at, Jumps* jumps, uint16_t b, uint16_t c) {
  add(op, at, 0, b, c).e = jumps->last;
  jumps->last = static_cast<uint16_t>(here() - 1);
}

void Emitter::land(const Jumps& jumps) {
  for (uint16_t at = jumps.last; at != kUnknown;) at = std::exchange(program_.code[at].e, here());
}

uint16_t Emitter::temporary(Offset at) {
  if (nextTemporary_ >= kMostRegisters) fail(at, "the script has too many values");
  program_.registers = std::max<uint16_t>(program_.registers, nextTemporary_ + 1);
  return nextTemporary_++;
}

}  // namespace tlm::script
