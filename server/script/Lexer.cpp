#include "Lexer.h"

#include <array>
#include <charconv>
#include <iterator>

namespace tlm::script {
namespace {

enum CharClass : uint8_t { kOther, kBlank, kLetter, kDigit, kQuote, kSignChar };

constexpr std::array<uint8_t, 256> makeClasses() {
  std::array<uint8_t, 256> classes{};
  for (int c = 'a'; c <= 'z'; ++c) classes[c] = classes[c - 'a' + 'A'] = kLetter;
  for (int c = '0'; c <= '9'; ++c) classes[c] = kDigit;
  for (const char c : {' ', '\t', '\r', '\n'}) classes[static_cast<uint8_t>(c)] = kBlank;
  for (const char c : {'(', ')', '{', '}', '[', ']', ',', ';', '=', '!', '<', '>', '&', '|', '+', '-', '*', '/'})
    classes[static_cast<uint8_t>(c)] = kSignChar;
  classes['_'] = kLetter;
  classes['"'] = kQuote;
  return classes;
}

constexpr std::array<uint8_t, 256> kClasses = makeClasses();

uint8_t classOf(char c) { return kClasses[static_cast<uint8_t>(c)]; }
bool isWordChar(char c) { return classOf(c) == kLetter || classOf(c) == kDigit; }

struct Word {
  std::string_view text;
  Token token;
};

constexpr Word kWords[] = {{"if", Token::kIf},       {"var", Token::kVar},          {"else", Token::kElse},
                           {"exit", Token::kExit},   {"null", Token::kNull},        {"while", Token::kWhile},
                           {"break", Token::kBreak}, {"continue", Token::kContinue}};

constexpr size_t kShortestWord = 2, kLongestWord = 8;

Token wordToken(std::string_view text) {
  if (text.size() < kShortestWord || text.size() > kLongestWord) return Token::kName;
  for (const Word& word : kWords)
    if (word.text == text) return word.token;
  return Token::kName;
}

// A sign, alone and with the character that makes it a longer one.
struct Sign {
  char first;
  Token alone;  // kEnd: stands for nothing alone
  char second;  // 0: none
  Token both;
};

constexpr Sign kSigns[] = {
    {'(', Token::kOpenParen, 0, Token::kEnd},
    {')', Token::kCloseParen, 0, Token::kEnd},
    {';', Token::kSemicolon, 0, Token::kEnd},
    {',', Token::kComma, 0, Token::kEnd},
    {'=', Token::kAssign, '=', Token::kEqual},
    {'[', Token::kOpenBracket, 0, Token::kEnd},
    {']', Token::kCloseBracket, 0, Token::kEnd},
    {'{', Token::kOpenBrace, 0, Token::kEnd},
    {'}', Token::kCloseBrace, 0, Token::kEnd},
    {'+', Token::kPlus, 0, Token::kEnd},
    {'-', Token::kMinus, 0, Token::kEnd},
    {'<', Token::kLess, '=', Token::kLessEqual},
    {'>', Token::kGreater, '=', Token::kGreaterEqual},
    {'!', Token::kNot, '=', Token::kNotEqual},
    {'&', Token::kEnd, '&', Token::kAnd},
    {'|', Token::kEnd, '|', Token::kOr},
    {'*', Token::kStar, 0, Token::kEnd},
    {'/', Token::kSlash, 0, Token::kEnd},
};

std::string describeChar(char c) {
  const auto byte = static_cast<uint8_t>(c);
  if (byte >= 0x20 && byte < 0x7f) return std::string("'") + c + "'";
  constexpr char kHex[] = "0123456789abcdef";
  return std::string("byte 0x") + kHex[byte >> 4] + kHex[byte & 15];
}

}  // namespace

void Lexer::skipBlanks() {
  while (at_ < text_.size()) {
    if (classOf(text_[at_]) == kBlank) {
      ++at_;
    } else if (text_[at_] == '/' && peek(1) == '/') {
      const size_t end = text_.find('\n', at_);
      at_ = end == std::string_view::npos ? text_.size() : end;
    } else {
      return;
    }
  }
}

void Lexer::next(Lexeme* out) {
  skipBlanks();
  out->at = static_cast<Offset>(at_);
  if (at_ == text_.size()) {
    out->token = Token::kEnd;
    return;
  }
  switch (classOf(text_[at_])) {
    case kLetter:
      return readWord(out);
    case kDigit:
      return readNumber(out);
    case kQuote:
      return readText(out);
    case kSignChar:
      return readSign(out);
    default:
      fail(out->at, "unexpected " + describeChar(text_[at_]));
  }
}

void Lexer::readWord(Lexeme* out) {
  const size_t start = at_;
  while (at_ < text_.size() && isWordChar(text_[at_])) ++at_;
  out->text = text_.substr(start, at_ - start);
  out->token = wordToken(out->text);
}

void Lexer::readNumber(Lexeme* out) {
  const size_t start = at_;
  while (classOf(peek(0)) == kDigit) ++at_;
  out->token = Token::kInteger;
  if (peek(0) == '.' && classOf(peek(1)) == kDigit) {
    out->token = Token::kFraction;
    for (++at_; classOf(peek(0)) == kDigit;) ++at_;
  }
  if (isWordChar(peek(0))) fail(static_cast<Offset>(at_), "a number runs into " + describeChar(peek(0)));
  out->text = text_.substr(start, at_ - start);
  const char* const end = out->text.data() + out->text.size();
  const auto read = out->token == Token::kInteger ? std::from_chars(out->text.data(), end, out->integer)
                                                  : std::from_chars(out->text.data(), end, out->fraction);
  if (read.ec != std::errc()) fail(out->at, "the number is too large");
}

void Lexer::readText(Lexeme* out) {
  const size_t start = ++at_;
  out->token = Token::kText;
  out->escaped = false;
  while (at_ < text_.size() && text_[at_] != '"' && text_[at_] != '\n') {
    if (text_[at_] == '\\') {
      out->escaped = true;
      ++at_;
      if (at_ == text_.size() || text_[at_] == '\n') break;
    }
    ++at_;
  }
  if (peek(0) != '"') fail(out->at, "the text is not closed on its line");
  out->text = text_.substr(start, at_ - start);
  ++at_;
}

void Lexer::readSign(Lexeme* out) {
  const char c = text_[at_];
  const Sign* sign = kSigns;
  while (sign->first != c) ++sign;
  const bool longer = sign->second && peek(1) == sign->second;
  out->token = longer ? sign->both : sign->alone;
  if (out->token == Token::kEnd) fail(out->at, "unexpected " + describeChar(c));
  at_ += longer ? 2 : 1;
}

const char* describe(Token token) {
  static constexpr const char* kNames[] = {"the end of the script",
                                           "a name",
                                           "a number",
                                           "a number",
                                           "a text",
                                           "'var'",
                                           "'if'",
                                           "'else'",
                                           "'while'",
                                           "'break'",
                                           "'continue'",
                                           "'exit'",
                                           "'null'",
                                           "'('",
                                           "')'",
                                           "'{'",
                                           "'}'",
                                           "'['",
                                           "']'",
                                           "','",
                                           "';'",
                                           "'='",
                                           "'=='",
                                           "'!='",
                                           "'<'",
                                           "'<='",
                                           "'>'",
                                           "'>='",
                                           "'&&'",
                                           "'||'",
                                           "'!'",
                                           "'+'",
                                           "'-'",
                                           "'*'",
                                           "'/'"};
  static_assert(std::size(kNames) == static_cast<size_t>(Token::kSlash) + 1);
  return kNames[static_cast<size_t>(token)];
}

}  // namespace tlm::script
