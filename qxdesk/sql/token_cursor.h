#pragma once

// The tokens of one statement and the place that the parser has reached in them. All parts of the
// parser read through one cursor, so that a refusal names the same place whichever part finds it:
// that of the token which does not fit.

#include "qxdesk/sql/lexer.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qx::sql {

class TokenCursor {
 public:
  /// Takes tokens that end with End, as lex() returns them.
  explicit TokenCursor(std::vector<Token> tokens);

  /// Returns the next token. References to tokens are valid as long as the cursor.
  const Token& here() const { return tokens_[next_]; }
  /// Returns the token `distance` places after here(), or End if the text is shorter.
  const Token& ahead(std::size_t distance) const;
  /// Returns the next token and steps over it; End stays the next one.
  const Token& take();
  /// Steps over `count` tokens, but never over End.
  void skip(std::size_t count);

  bool atEnd() const { return here().kind == TokenKind::End; }
  bool isWord(std::string_view word) const;
  bool isSymbol(std::string_view symbol) const;

  /// Steps over the word or symbol if it is next. Returns whether it was.
  bool acceptWord(std::string_view word);
  bool acceptSymbol(std::string_view symbol);
  /// Steps over the word or symbol. Throws SqlError if another token is next.
  void expectWord(std::string_view word);
  void expectSymbol(std::string_view symbol);
  /// Returns the whole number that is next and steps over it. Throws SqlError if another token is
  /// next, naming `what` as expected, and for a number beyond 64 bits.
  std::int64_t expectWhole(std::string_view what);

  /// Throws SqlError with the place of the next token.
  [[noreturn]] void fail(const std::string& message) const;
  /// Throws SqlError: `what` is expected near the next token, or at the end.
  [[noreturn]] void failExpected(std::string_view what) const;

 private:
  std::vector<Token> tokens_;
  std::size_t next_ = 0;
};

/// True for a plain name that is `word`, in any case. A name in quotes or brackets is never a
/// keyword.
bool isWord(const Token& token, std::string_view word);

bool isSymbol(const Token& token, std::string_view symbol);

/// Returns the beginning of a text for a message, `most` characters with "..." if there are more. A
/// byte that is not UTF-8 counts as a character.
std::string excerpt(std::string_view text, int most = 24);
/// The same with room for any value that a user may have typed.
inline std::string valueExcerpt(std::string_view text) { return excerpt(text, 100); }

}  // namespace qx::sql
