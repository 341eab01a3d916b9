#include "Parser.h"

#include <algorithm>

namespace tlm::script {

// Counts how deep the parser stands, so that no text can use up the stack.
class Parser::Nesting {
 public:
  explicit Nesting(Parser* parser) : parser_(parser) {
    if (++parser_->nesting_ > kDeepestNesting) fail(parser_->here_.at, "nested too deep");
  }
  ~Nesting() { --parser_->nesting_; }
  Nesting(const Nesting&) = delete;
  Nesting& operator=(const Nesting&) = delete;

 private:
  Parser* parser_;
};

struct Parser::Operator {
  int rank;  // what binds tighter has the higher rank
  Token token;
  NodeKind kind;

  static const Operator* of(Token token);
};

const Parser::Operator* Parser::Operator::of(Token token) {
  static constexpr Operator kOperators[] = {
      {1, Token::kOr, NodeKind::kOr},           {2, Token::kAnd, NodeKind::kAnd},
      {3, Token::kEqual, NodeKind::kEqual},     {3, Token::kNotEqual, NodeKind::kNotEqual},
      {4, Token::kLess, NodeKind::kLess},       {4, Token::kLessEqual, NodeKind::kLessEqual},
      {4, Token::kGreater, NodeKind::kGreater}, {4, Token::kGreaterEqual, NodeKind::kGreaterEqual},
      {5, Token::kPlus, NodeKind::kAdd},        {5, Token::kMinus, NodeKind::kSubtract},
      {6, Token::kStar, NodeKind::kMultiply},   {6, Token::kSlash, NodeKind::kDivide},
  };
  if (token < Token::kEqual) return nullptr;
  for (const Operator& op : kOperators)
    if (op.token == token) return &op;
  return nullptr;
}

Parser::Parser(std::string_view text) : lexer_(text) {
  if (text.size() > kLongestScript) fail(kLongestScript, "the script is longer than 1 MiB");
  tree_.nodes.reserve(16 + text.size() / 6);
  tree_.nodes.emplace_back();
}

Tree Parser::parse() {
  advance();
  tree_.name = expectName("as the function's name").text;
  parseParameters();
  if (!is(Token::kOpenBrace)) fail(here_.at, "expected '{' before the function's body, found " + found());
  tree_.body = parseBlock();
  if (!is(Token::kEnd)) fail(here_.at, "expected the end of the script, found " + found());
  return std::move(tree_);
}

void Parser::parseParameters() {
  expect(Token::kOpenParen, "after the function's name");
  if (accept(Token::kCloseParen)) return;
  do {
    const Name name = expectName("as a parameter");
    Node& node = tree_.parameters.emplace_back();
    node.kind = NodeKind::kName;
    node.at = name.at;
    node.text = name.text;
  } while (accept(Token::kComma));
  expect(Token::kCloseParen, "after the parameters");
}

// ---- statements -----------------------------------------------------------------------------------

NodeId Parser::parseStatement() {
  const Nesting nesting(this);
  switch (here_.token) {
    case Token::kOpenBrace:
      return parseBlock();
    case Token::kVar:
      return parseDeclaration();
    case Token::kIf:
      return parseIf();
    case Token::kWhile:
      return parseWhile();
    case Token::kBreak:
      return parseWordStatement(NodeKind::kBreak);
    case Token::kContinue:
      return parseWordStatement(NodeKind::kContinue);
    case Token::kExit:
      return parseWordStatement(NodeKind::kExit);
    case Token::kSemicolon: {
      const NodeId empty = add(NodeKind::kBlock, here_.at);
      advance();
      return empty;
    }
    default:
      return parseAssignmentOrCall();
  }
}

NodeId Parser::parseBlock() {
  const NodeId block = add(NodeKind::kBlock, here_.at);
  const Offset open = here_.at;
  advance();
  NodeId last = kNoNode;
  while (!accept(Token::kCloseBrace)) {
    if (is(Token::kEnd)) fail(open, "this '{' is not closed");
    append(block, &last, parseStatement());
  }
  return block;
}

NodeId Parser::parseDeclaration() {
  const NodeId declaration = add(NodeKind::kDeclare, here_.at);
  advance();
  NodeId last = kNoNode;
  do {
    const Name name = expectName("after 'var'");
    const NodeId node = add(NodeKind::kName, name.at);
    tree_[node].text = name.text;
    append(declaration, &last, node);
  } while (accept(Token::kComma));
  expect(Token::kSemicolon, "after the declaration");
  return declaration;
}

NodeId Parser::parseCondition() {
  expect(Token::kOpenParen, "before the condition");
  const NodeId condition = parseExpression();
  expect(Token::kCloseParen, "after the condition");
  return condition;
}

NodeId Parser::parseIf() {
  const Offset at = here_.at;
  advance();
  const NodeId condition = parseCondition();
  const NodeId then = parseStatement();
  const NodeId otherwise = accept(Token::kElse) ? parseStatement() : kNoNode;
  return add(NodeKind::kIf, at, condition, then, otherwise);
}

NodeId Parser::parseWhile() {
  const Offset at = here_.at;
  advance();
  const NodeId condition = parseCondition();
  return add(NodeKind::kWhile, at, condition, parseStatement());
}

NodeId Parser::parseWordStatement(NodeKind kind) {
  const NodeId statement = add(kind, here_.at);
  const char* const word = describe(here_.token);
  advance();
  if (!accept(Token::kSemicolon)) fail(here_.at, std::string("expected ';' after ") + word + ", found " + found());
  return statement;
}

NodeId Parser::parseAssignmentOrCall() {
  const Offset at = here_.at;
  const NodeId left = parseExpression();
  if (is(Token::kAssign)) {
    if (tree_[left].kind != NodeKind::kName) fail(here_.at, "only a variable can be assigned");
    advance();
    const NodeId right = parseExpression();
    expect(Token::kSemicolon, "after the assignment");
    return add(NodeKind::kAssign, at, left, right);
  }
  if (tree_[left].kind != NodeKind::kCall) fail(here_.at, "expected '=' or a call, found " + found());
  expect(Token::kSemicolon, "after the call");
  return add(NodeKind::kEvaluate, at, left);
}

// ---- expressions ----------------------------------------------------------------------------------

NodeId Parser::parseBinary(int lowestRank) {
  const Nesting nesting(this);
  NodeId left = parseUnary();
  for (;;) {
    const Operator* op = Operator::of(here_.token);
    if (!op || op->rank <= lowestRank) return left;
    const Offset at = here_.at;
    advance();
    const NodeId right = parseBinary(op->rank);
    left = add(op->kind, at, left, right);
  }
}

NodeId Parser::parseUnary() {
  if (!is(Token::kMinus) && !is(Token::kNot)) return parsePostfix();
  const Nesting nesting(this);
  const NodeKind kind = is(Token::kMinus) ? NodeKind::kNegate : NodeKind::kNot;
  const Offset at = here_.at;
  advance();
  return add(kind, at, parseUnary());
}

NodeId Parser::parsePostfix() {
  NodeId value = parsePrimary();
  while (is(Token::kOpenBracket)) {
    const Offset at = here_.at;
    advance();
    const NodeId index = parseExpression();
    expect(Token::kCloseBracket, "after the index");
    value = add(NodeKind::kIndex, at, value, index);
  }
  return value;
}

NodeId Parser::parsePrimary() {
  switch (here_.token) {
    case Token::kNull:
      return parseLeaf(NodeKind::kNull);
    case Token::kInteger:
      return parseLeaf(NodeKind::kInteger);
    case Token::kFraction:
      return parseLeaf(NodeKind::kFraction);
    case Token::kText:
      return parseLeaf(NodeKind::kText);
    case Token::kName: {
      const Name name{here_.text, here_.at};
      const NodeId leaf = parseLeaf(NodeKind::kName);
      return is(Token::kOpenParen) ? parseCall(name) : leaf;
    }
    case Token::kOpenParen: {
      advance();
      const NodeId inner = parseExpression();
      expect(Token::kCloseParen, "after the expression");
      return inner;
    }
    default:
      fail(here_.at, "expected an expression, found " + found());
  }
}

NodeId Parser::parseLeaf(NodeKind kind) {
  const NodeId leaf = add(kind, here_.at);
  Node& node = tree_[leaf];
  if (kind == NodeKind::kFraction)
    node.fraction = here_.fraction;
  else if (kind == NodeKind::kInteger)
    node.integer = here_.integer;
  else
    node.text = textOf(here_);
  advance();
  return leaf;
}

NodeId Parser::parseCall(const Name& name) {
  const NodeId call = add(NodeKind::kCall, name.at);
  tree_[call].text = name.text;
  advance();
  if (accept(Token::kCloseParen)) return call;
  NodeId last = kNoNode;
  do append(call, &last, parseExpression());
  while (accept(Token::kComma));
  expect(Token::kCloseParen, "after the arguments");
  return call;
}

// ---- nodes and tokens -----------------------------------------------------------------------------

NodeId Parser::add(NodeKind kind, Offset at, NodeId first, NodeId second, NodeId third) {
  int depth = 0;
  for (const NodeId child : {first, second, third})
    if (child) depth = std::max<int>(depth, tree_[child].depth);
  if (depth >= 2 * kDeepestNesting) fail(at, "nested too deep");
  Node& node = tree_.nodes.emplace_back();
  node.kind = kind;
  node.depth = static_cast<uint16_t>(depth + 1);
  node.at = at;
  node.first = first;
  node.second = second;
  node.third = third;
  return static_cast<NodeId>(tree_.nodes.size() - 1);
}

void Parser::append(NodeId list, NodeId* last, NodeId item) {
  (*last ? tree_[*last].next : tree_[list].first) = item;
  *last = item;
  const int depth = tree_[item].depth + 1;
  if (depth > 2 * kDeepestNesting) fail(tree_[item].at, "nested too deep");
  tree_[list].depth = std::max(tree_[list].depth, static_cast<uint16_t>(depth));
}

std::string_view Parser::textOf(const Lexeme& lexeme) {
  if (lexeme.token != Token::kText || !lexeme.escaped) return lexeme.text;
  std::string text;
  for (size_t i = 0; i < lexeme.text.size(); ++i) {
    char c = lexeme.text[i];
    if (c == '\\') {
      switch (lexeme.text[++i]) {
        case '"':
          c = '"';
          break;
        case '\\':
          c = '\\';
          break;
        case 'n':
          c = '\n';
          break;
        case 't':
          c = '\t';
          break;
        default:
          fail(lexeme.at + static_cast<Offset>(i), "a text knows \\\", \\\\, \\n and \\t only");
      }
    }
    text += c;
  }
  return tree_.texts.emplace_back(std::move(text));
}

bool Parser::accept(Token token) {
  if (!is(token)) return false;
  advance();
  return true;
}

void Parser::expect(Token token, const char* where) {
  if (!is(token)) failExpected(token, where);
  advance();
}

Parser::Name Parser::expectName(const char* where) {
  if (!is(Token::kName)) failExpected(Token::kName, where);
  const Name name{here_.text, here_.at};
  advance();
  return name;
}

void Parser::failExpected(Token token, const char* where) const {
  fail(here_.at, std::string("expected ") + describe(token) + " " + where + ", found " + found());
}

std::string Parser::found() const { return is(Token::kName) ? quoted(here_.text) : std::string(describe(here_.token)); }

}  // namespace tlm::script
