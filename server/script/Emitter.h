// A resolved tree to instructions.
#ifndef TLMSERVER_SCRIPT_EMITTER_H
#define TLMSERVER_SCRIPT_EMITTER_H

#include "Resolver.h"

#include <span>

namespace tlm::script {

constexpr size_t kMostInstructions = 60'000;

class Emitter {
 public:
  Emitter(const Tree& tree, const Resolver& resolver, Program* program);

  void emit();

 private:
  // Jumps whose target is not known yet, chained through their target fields.
  struct Jumps {
    uint16_t last = kUnknown;
  };
  struct Loop {
    uint16_t top;
    Jumps breaks;
  };

  void statement(NodeId id);
  void statements(NodeId first);
  void assignment(const Node& node);
  bool isSeek(NodeId id) const;
  bool asksForRecord(const Node& index) const;
  void branch(const Node& node);
  void loop(const Node& node);
  void jumpBack(uint16_t top, Offset at);

  // Leaves the value in some register, or in that one.
  uint16_t operand(NodeId id);
  void into(NodeId id, uint16_t target);
  void truthInto(NodeId id, uint16_t target);
  void callInto(const Node& node, uint16_t target);
  uint16_t extraOf(const Node& call, std::span<const NodeId> arguments);

  // Jumps when the expression's truth is `sense`, else falls through.
  void jumpIf(NodeId id, bool sense, Jumps* jumps);
  void jumpIfBoth(const Node& node, bool sense, Jumps* jumps);
  void jumpIfCompared(const Node& node, bool sense, Jumps* jumps);
  bool jumpIfType(const Node& node, bool sense, Jumps* jumps);

  uint16_t here() const { return static_cast<uint16_t>(program_.code.size()); }
  Instruction& add(Op op, Offset at, uint16_t a = 0, uint16_t b = 0, uint16_t c = 0);
  void addJump(Op op, Offset at, Jumps* jumps, uint16_t b = 0, uint16_t c = 0);
  void land(const Jumps& jumps);  // the jumps lead here
  uint16_t temporary(Offset at);
  uint16_t constantRegister(const Node& node) const;

  const Tree& tree_;
  const Resolver& resolver_;
  Program& program_;
  uint16_t nextTemporary_;
  Loop* loop_ = nullptr;
};

}  // namespace tlm::script

#endif
