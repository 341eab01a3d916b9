// Tokens to a tree.
#ifndef TLMSERVER_SCRIPT_PARSER_H
#define TLMSERVER_SCRIPT_PARSER_H

#include "Lexer.h"
#include "Syntax.h"

namespace tlm::script {

// Limits of a script's text. They keep every walk over the tree within a small stack.
constexpr size_t kLongestScript = size_t{1} << 20;
constexpr int kDeepestNesting = 200;

// Reads the one function that `text` is. Fails where it is none. The tree refers to the text.
class Parser {
 public:
  explicit Parser(std::string_view text);

  Tree parse();

 private:
  class Nesting;
  struct Operator;
  struct Name {
    std::string_view text;
    Offset at;
  };

  void parseParameters();
  NodeId parseStatement();
  NodeId parseBlock();
  NodeId parseDeclaration();
  NodeId parseIf();
  NodeId parseWhile();
  NodeId parseWordStatement(NodeKind kind);
  NodeId parseAssignmentOrCall();
  NodeId parseCondition();
  NodeId parseExpression() { return parseBinary(0); }
  NodeId parseBinary(int lowestRank);
  NodeId parseUnary();
  NodeId parsePostfix();
  NodeId parsePrimary();
  NodeId parseCall(const Name& name);
  NodeId parseLeaf(NodeKind kind);

  NodeId add(NodeKind kind, Offset at, NodeId first = kNoNode, NodeId second = kNoNode, NodeId third = kNoNode);
  void append(NodeId list, NodeId* last, NodeId item);
  std::string_view textOf(const Lexeme& lexeme);

  bool is(Token token) const { return here_.token == token; }
  bool accept(Token token);
  void expect(Token token, const char* where);
  Name expectName(const char* where);
  [[noreturn]] void failExpected(Token token, const char* where) const;
  void advance() { lexer_.next(&here_); }
  std::string found() const;

  Lexer lexer_;
  Lexeme here_;
  Tree tree_;
  int nesting_ = 0;
};

}  // namespace tlm::script

#endif
