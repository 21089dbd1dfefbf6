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

// Appends the ASCII characters at the front and returns their number. Most statements have no
// others, and need no positions then.
std::size_t takeAscii(std::string& utf8, std::u16string_view text) {
  std::size_t count = 0;
  while (count < text.size() && text[count] != 0 && text[count] < 0x80) ++count;
  utf8.resize(count);
  std::transform(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(count), utf8.begin(),
                 [](char16_t unit) { return static_cast<char>(unit); });
  return count;
}

}  // namespace

// Not toUtf8() of text.h: that replaces an unpaired surrogate, and a statement would run with
// another literal than the caller wrote.
std::string statementText(std::u16string_view text) {
  std::string utf8;
  if (takeAscii(utf8, text) == text.size()) return utf8;
  utf8.clear();
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
