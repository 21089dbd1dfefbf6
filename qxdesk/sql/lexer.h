#pragma once

// Cuts a statement text into tokens. Names and literals come out decoded (doubled quotes undone),
// comments are skipped (block comments nest). All dialects' forms are cut alike here. The parser
// decides which of them the dialect has, since it can say what to write instead.

#include "qxdesk/sql/sql_error.h"

#include <string>
#include <string_view>
#include <vector>

namespace qx::sql {

enum class TokenKind {
  Name,         // plain: a keyword, a function or a name
  AtName,       // @T
  BracketName,  // [x]
  QuotedName,   // "x"
  Text,         // 'x' or N'x'
  Number,
  Symbol,
  End,
};

struct Token {
  TokenKind kind = TokenKind::End;
  std::string text;         ///< decoded
  std::string_view source;  ///< as written; points into the lexed text
  Position at;
  int literal = -1;  ///< which literal of the statement's shape this is, from 0; -1: none
};

/// Returns the tokens of `utf8`, the last one being End. They refer to `utf8`, which must outlive
/// them. Throws SqlError for a text that is not UTF-8, for a zero character, for a character that
/// no dialect has, and for a string, name or comment that is not closed.
std::vector<Token> lex(std::string_view utf8);

}  // namespace qx::sql
