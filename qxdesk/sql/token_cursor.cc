#include "qxdesk/sql/token_cursor.h"

#include "qxdesk/sql/dialect.h"
#include "qxdesk/sql/numbers.h"
#include "qxframework/automation/utf.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace qx::sql {

TokenCursor::TokenCursor(std::vector<Token> tokens) : tokens_(std::move(tokens)) {}

const Token& TokenCursor::ahead(std::size_t distance) const {
  return tokens_[std::min(next_ + distance, tokens_.size() - 1)];
}

const Token& TokenCursor::take() {
  const Token& token = here();
  skip(1);
  return token;
}

void TokenCursor::skip(std::size_t count) { next_ = std::min(next_ + count, tokens_.size() - 1); }

bool TokenCursor::isWord(std::string_view word) const { return sql::isWord(here(), word); }

bool TokenCursor::isSymbol(std::string_view symbol) const { return sql::isSymbol(here(), symbol); }

bool TokenCursor::acceptWord(std::string_view word) {
  if (!isWord(word)) return false;
  skip(1);
  return true;
}

bool TokenCursor::acceptSymbol(std::string_view symbol) {
  if (!isSymbol(symbol)) return false;
  skip(1);
  return true;
}

void TokenCursor::expectWord(std::string_view word) {
  if (!acceptWord(word)) failExpected(word);
}

void TokenCursor::expectSymbol(std::string_view symbol) {
  if (!acceptSymbol(symbol)) failExpected("'" + std::string(symbol) + "'");
}

std::int64_t TokenCursor::expectWhole(std::string_view what) {
  const std::string& digits = here().text;
  if (here().kind != TokenKind::Number || !isWholeNumber(digits)) failExpected(what);
  std::int64_t value = 0;
  if (std::from_chars(digits.data(), digits.data() + digits.size(), value).ec != std::errc()) {
    fail("the number " + excerpt(digits) + " is too large");
  }
  skip(1);
  return value;
}

void TokenCursor::fail(const std::string& message) const { throw SqlError(message, here().at); }

void TokenCursor::failExpected(std::string_view what) const {
  if (atEnd()) fail(std::string(what) + " is expected at the end");
  // The source and not the decoded text, so that the user finds it in the statement as written.
  fail(std::string(what) + " is expected near '" + excerpt(here().source) + "'");
}

// The parser asks for dozens of words at each token; nearly all have another length.
bool isWord(const Token& token, std::string_view word) {
  return token.kind == TokenKind::Name && token.text.size() == word.size() &&
         sameName(token.text, word);
}

bool isSymbol(const Token& token, std::string_view symbol) {
  return token.kind == TokenKind::Symbol && token.text == symbol;
}

std::string excerpt(std::string_view text, int most) {
  std::size_t end = 0;
  for (int i = 0; i < most && end < text.size(); ++i) {
    const auto character = codePointAt(text, end);
    end += character ? character->length : 1;
  }
  return std::string(text.substr(0, end)) + (end < text.size() ? "..." : "");
}

}  // namespace qx::sql
