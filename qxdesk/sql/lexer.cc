#include "qxdesk/sql/lexer.h"

#include "qxframework/automation/ascii.h"
#include "qxframework/automation/utf.h"

#include <array>
#include <cstdio>

namespace qx::sql {
namespace {

constexpr std::array<std::string_view, 5> kLongSymbols = {"<=", ">=", "<>", "!=", "||"};
constexpr std::string_view kSymbols = "=<>+-*/%().,;";

// Beyond ASCII every character may be part of a name but blanks, controls and invisible ones: a
// name with one of those in it would look like another name, or like two.
bool startsName(char32_t c) {
  if (c < 0x80) return isLetter(c) || c == '_';
  return c > 0xA0 && c != 0xAD && (c < 0x2000 || c > 0x206F) && c != 0x3000 && c != 0xFEFF;
}

bool continuesName(char32_t c) {
  return startsName(c) || isDigit(c) || c == '$' || c == '#' || c == '@';
}

std::string codePoint(char32_t c) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "U+%04X", static_cast<unsigned>(c));
  return text.data();
}

class Lexer {
 public:
  explicit Lexer(std::string_view text) : text_(text) {}

  std::vector<Token> run() {
    std::vector<Token> tokens;
    // Statements have a token in six to eight bytes; moving tokens costs more than some memory.
    tokens.reserve(text_.size() / 4 + 1);
    do {
      skipBlanksAndComments();
      tokens.push_back(next());
    } while (tokens.back().kind != TokenKind::End);
    return tokens;
  }

 private:
  // Returns the next character; 0 at the end. A zero character within the text cannot be confused
  // with that, since it is refused: SQLite and some drivers take it for the end of the statement.
  char32_t peek() {
    if (offset_ >= text_.size()) return 0;
    if (isPlain(text_[offset_])) return static_cast<unsigned char>(text_[offset_]);
    const auto character = codePointAt(text_, offset_);
    if (!character) throw SqlError("the statement is not valid UTF-8", at_);
    if (character->value == 0) throw SqlError("the statement holds a zero character", at_);
    return character->value;
  }

  // True for ASCII without controls, of which nearly every statement is: characters of one byte
  // that end no line.
  static bool isPlain(char c) { return c >= ' ' && c < 0x7F; }

  void advancePlain(std::size_t count) {
    offset_ += count;
    at_.column += static_cast<int>(count);
  }

  bool atEnd() const { return offset_ >= text_.size(); }

  bool startsWith(std::string_view prefix) const {
    return text_.substr(offset_, prefix.size()) == prefix;
  }

  // CR, LF and the pair of both end a line. Columns count characters and not bytes, as editors do.
  void advance() {
    if (offset_ < text_.size() && isPlain(text_[offset_])) return advancePlain(1);
    const char32_t c = peek();
    offset_ += codePointAt(text_, offset_)->length;
    if (c == '\n' || (c == '\r' && !startsWith("\n"))) {
      ++at_.line;
      at_.column = 1;
    } else {
      ++at_.column;
    }
  }

  void advance(std::size_t count) {
    for (; count > 0; --count) advance();
  }

  void skipBlanksAndComments() {
    for (;;) {
      // Before symbols are cut, since - and / are symbols too.
      if (startsWith("--")) {
        while (!atEnd() && peek() != '\n' && peek() != '\r') advance();
      } else if (startsWith("/*")) {
        skipBlockComment();
      } else if (!atEnd() && isSpace(peek())) {
        advance();
      } else {
        return;
      }
    }
  }

  // Comments nest, as in PostgreSQL but not in SQLite. They end here and reach neither engine, so
  // that both run the same text.
  void skipBlockComment() {
    const Position start = at_;
    int open = 0;
    do {
      if (atEnd()) throw SqlError("the comment is not closed; */ is missing", start);
      if (startsWith("/*")) {
        ++open;
        advance(2);
      } else if (startsWith("*/")) {
        --open;
        advance(2);
      } else {
        advance();
      }
    } while (open > 0);
  }

  Token next() {
    Token token;
    token.at = at_;
    const std::size_t start = offset_;
    if (!atEnd()) fill(token);
    token.source = text_.substr(start, offset_ - start);
    return token;
  }

  void fill(Token& token) {
    const char32_t c = peek();
    // N'x' before names, which may begin with N.
    if (c == '\'' || startsWith("N'") || startsWith("n'")) {
      token.kind = TokenKind::Text;
      if (c != '\'') advance();
      token.text = enclosed('\'', token.at, "the string is not closed; ' is missing");
    } else if (c == '[') {
      token.kind = TokenKind::BracketName;
      token.text = named(enclosed(']', token.at, "the name is not closed; ] is missing"), token.at);
    } else if (c == '"') {
      token.kind = TokenKind::QuotedName;
      token.text =
          named(enclosed('"', token.at, "the name is not closed; \" is missing"), token.at);
    } else if (startsName(c) || c == '@') {
      token.kind = c == '@' ? TokenKind::AtName : TokenKind::Name;
      token.text = plainName();
    } else {
      fillNumberOrSymbol(token);
    }
  }

  void fillNumberOrSymbol(Token& token) {
    const char32_t c = peek();
    // .5 is a number, but the point of T0.a is not.
    const bool pointFirst = c == '.' && offset_ + 1 < text_.size() && isDigit(at(1));
    if (isDigit(c) || pointFirst) {
      token.kind = TokenKind::Number;
      token.text = number(token.at);
    } else {
      token.kind = TokenKind::Symbol;
      token.text = symbol();
    }
  }

  char at(std::size_t distance) const { return text_[offset_ + distance]; }

  // Returns the text between the next character and `close`, which is content if it is doubled. An
  // unclosed text is reported where its token starts, not at the end of the statement.
  std::string enclosed(char close, Position start, const char* unclosed) {
    std::string content;
    advance();
    for (;;) {
      if (atEnd()) throw SqlError(unclosed, start);
      const std::size_t from = offset_;
      const bool closes = peek() == static_cast<unsigned char>(close);
      advance();
      if (closes) {
        if (atEnd() || at(0) != close) return content;
        advance();
      }
      content.append(text_.substr(from, closes ? 1 : offset_ - from));
    }
  }

  static std::string named(std::string name, Position start) {
    if (name.empty()) throw SqlError("a name must not be empty", start);
    return name;
  }

  std::string plainName() {
    const std::size_t start = offset_;
    advance();
    while (!atEnd() && continuesName(peek())) advance();
    return std::string(text_.substr(start, offset_ - start));
  }

  void skipDigits() {
    while (!atEnd() && isDigit(peek())) advance();
  }

  void skipExponent() {
    // An e without digits is no exponent; number() then refuses it as a name.
    std::size_t digit = 1;
    if (startsWith("e+") || startsWith("e-") || startsWith("E+") || startsWith("E-")) digit = 2;
    const bool exponent = (startsWith("e") || startsWith("E")) && offset_ + digit < text_.size() &&
                          isDigit(at(digit));
    if (!exponent) return;
    advance(digit);
    skipDigits();
  }

  std::string number(Position start) {
    const std::size_t from = offset_;
    skipDigits();
    if (startsWith(".")) {
      advance();
      skipDigits();
    }
    skipExponent();
    // "SELECT 1a" would otherwise be the number 1 under the name a, and 1.2.3 two numbers.
    if (!atEnd() && (continuesName(peek()) || peek() == '.')) {
      throw SqlError("a blank or an operator is expected after the number " +
                         std::string(text_.substr(from, offset_ - from)),
                     start);
    }
    return std::string(text_.substr(from, offset_ - from));
  }

  std::string symbol() {
    for (const std::string_view longSymbol : kLongSymbols) {
      if (startsWith(longSymbol)) {
        advance(longSymbol.size());
        return std::string(longSymbol);
      }
    }
    const char32_t c = peek();
    if (c >= 0x80 || kSymbols.find(static_cast<char>(c)) == std::string_view::npos) {
      throw SqlError("unexpected character " + described(c), at_);
    }
    advance();
    return std::string(1, static_cast<char>(c));
  }

  static std::string described(char32_t c) {
    if (c > ' ' && c < 0x7F) return "'" + std::string(1, static_cast<char>(c)) + "'";
    return codePoint(c);
  }

  std::string_view text_;
  std::size_t offset_ = 0;
  Position at_;
};

}  // namespace

std::vector<Token> lex(std::string_view utf8) { return Lexer(utf8).run(); }

}  // namespace qx::sql
