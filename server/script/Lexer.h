// Script text to tokens.
#ifndef TLMSERVER_SCRIPT_LEXER_H
#define TLMSERVER_SCRIPT_LEXER_H

#include "Failure.h"

#include <cstdint>
#include <string_view>

namespace tlm::script {

// describe() names them in this order.
enum class Token : uint8_t {
  kEnd,
  kName,
  kInteger,
  kFraction,
  kText,
  // words
  kVar,
  kIf,
  kElse,
  kWhile,
  kBreak,
  kContinue,
  kExit,
  kNull,
  // signs
  kOpenParen,
  kCloseParen,
  kOpenBrace,
  kCloseBrace,
  kOpenBracket,
  kCloseBracket,
  kComma,
  kSemicolon,
  kAssign,
  kEqual,
  kNotEqual,
  kLess,
  kLessEqual,
  kGreater,
  kGreaterEqual,
  kAnd,
  kOr,
  kNot,
  kPlus,
  kMinus,
  kStar,
  kSlash,
};

struct Lexeme {
  Token token = Token::kEnd;
  bool escaped = false;  // of a text: it holds backslashes that are yet to be read
  Offset at = 0;
  std::string_view text;  // of a name or number; of a text, what stands between the quotation marks
  int64_t integer = 0;
  double fraction = 0;
};

// Reads one token after another. Fails on what is none. The text must outlive what is read.
class Lexer {
 public:
  explicit Lexer(std::string_view text) : text_(text) {}

  void next(Lexeme* out);

 private:
  void skipBlanks();
  void readWord(Lexeme* out);
  void readNumber(Lexeme* out);
  void readText(Lexeme* out);
  void readSign(Lexeme* out);
  char peek(size_t ahead) const { return at_ + ahead < text_.size() ? text_[at_ + ahead] : '\0'; }

  std::string_view text_;
  size_t at_ = 0;
};

// A token as messages name it, such as "';'".
const char* describe(Token token);

}  // namespace tlm::script

#endif
