// Cuts a statement text into tokens. Names and literals come out decoded (doubled quotes undone),
// comments are skipped (block comments nest). All dialects' forms are cut alike here; whether a
// form belongs to the dialect is the parser's question, which knows what to write instead.
#pragma once

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
  std::string text;         // decoded
  std::string_view source;  // as written; points into the lexed text
  Position at;
};

// The tokens of `utf8`, the last one being End. Raises SqlError for a text that is not UTF-8, holds
// a zero character, a character that no dialect has, or a string, name or comment that is not
// closed. The tokens refer to `utf8`, which must outlive them.
std::vector<Token> lex(std::string_view utf8);

}  // namespace qx::sql
