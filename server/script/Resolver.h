// Gives every name of a tree its meaning, and finds out which values come from which model table.
#ifndef TLMSERVER_SCRIPT_RESOLVER_H
#define TLMSERVER_SCRIPT_RESOLVER_H

#include "Functions.h"
#include "Syntax.h"

#include <unordered_map>
#include <vector>

namespace tlm::script {

constexpr size_t kMostVariables = 1000;
constexpr size_t kMostConstants = 50'000;
constexpr size_t kMostTables = 250;

// Variables that need no declaration; they follow the parameters.
enum class Returned : uint8_t { kNo, kScalar, kTable };

// After it, the tree has variables and numbers in place of names; the slot of a variable is its register,
// that of a literal its number among the constants, that of a call its row among the functions.
class Resolver {
 public:
  explicit Resolver(Tree* tree) : tree_(*tree) {}

  // Fails on an unknown or doubled name, a wrong number of arguments, a jump out of no loop.
  void resolve();

  uint16_t variableCount() const { return static_cast<uint16_t>(variables_.size()); }
  Returned returned(uint16_t variable) const;
  // Whether the position in the pair of a seek that the variable holds may be looked at.
  bool positionAsked(uint16_t variable) const { return variable < positionAsked_.size() && positionAsked_[variable]; }
  const std::vector<Value>& constants() const { return constants_; }

  // The model tables that the script names by literals.
  const std::vector<TableUse>& tables() const { return tables_; }
  uint16_t tableNumber(std::string_view name) const;

  // The number of the model table that the tables, records and pairs of an expression belong to, or kUnknown.
  uint16_t originOf(NodeId expression) const;

 private:
  // Of an expression that holds no table, record or pair as far as is known.
  static constexpr uint16_t kNone = 0xfffe;

  void declare(const Node& name);
  void statement(NodeId id);
  void list(NodeId first, void (Resolver::*each)(NodeId));
  void declaration(NodeId id);
  void assignment(NodeId id);
  void loop(NodeId id);
  void expression(NodeId id);
  void name(NodeId id);
  void index(NodeId id);
  void askForPosition(uint16_t variable);
  void call(NodeId id);
  void negation(NodeId id);
  void constant(NodeId id);
  void tableLiteral(const Node& literal);
  void spreadOrigins();
  uint16_t origin(NodeId expression) const;

  Tree& tree_;
  std::unordered_map<std::string_view, uint16_t> variables_;
  std::vector<Value> constants_;
  std::vector<TableUse> tables_;
  std::vector<NodeId> assignments_;
  std::vector<uint16_t> origins_;    // by variable
  std::vector<bool> positionAsked_;  // by variable
  uint16_t firstReturned_ = 0;
  int loops_ = 0;
};

}  // namespace tlm::script

#endif
