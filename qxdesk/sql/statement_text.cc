#include "qxdesk/sql/statement_text.h"

#include "qxdesk/sql/sql_error.h"
#include "qxframework/automation/utf.h"

#include <algorithm>

namespace qx::sql {
namespace {

// Counts as the lexer does, so that a refusal names the same place in either: CR, LF and the pair
// of both end a line, and a surrogate pair is one character.
void advance(Position& at, std::u16string_view text, std::size_t next) {
  const char16_t unit = text[next - 1];
  const bool pair = unit == u'\r' && next < text.size() && text[next] == u'\n';
  if ((unit == u'\n' || unit == u'\r') && !pair) {
    ++at.line;
    at.column = 1;
  } else {
    ++at.column;
  }
}

// True for a text of ASCII characters other than zero. It does not stop early: without a branch in
// the loop the compiler uses vector instructions.
bool isPlain(std::u16string_view text) {
  char16_t seen = 0;
  char16_t zeros = 0;
  for (const char16_t unit : text) {
    seen |= unit;
    zeros |= unit == 0 ? 1 : 0;
  }
  return seen < 0x80 && zeros == 0;
}

}  // namespace

// Not toUtf8() of text.h: that replaces an unpaired surrogate, and a statement would run with
// another literal than the caller wrote.
std::string statementText(std::u16string_view text) {
  std::string utf8;
  // Most statements, which need no positions.
  if (isPlain(text)) {
    utf8.resize(text.size());
    std::transform(text.begin(), text.end(), utf8.begin(),
                   [](char16_t unit) { return static_cast<char>(unit); });
    return utf8;
  }
  utf8.reserve(text.size());
  Position at;
  for (std::size_t i = 0; i < text.size(); advance(at, text, i)) {
    const std::optional<CodePoint> character = codePointAt(text, i);
    if (!character) throw SqlError("the statement holds half of a surrogate pair", at);
    if (character->value == 0) throw SqlError("the statement holds a zero character", at);
    appendCodePoint(utf8, character->value);
    i += character->length;
  }
  return utf8;
}

}  // namespace qx::sql
