#include "qxdesk/sql/statement_text.h"

#include "qxdesk/sql/sql_error.h"
#include "qxdesk/sql/utf8.h"

namespace qx::sql {
namespace {

constexpr char32_t kSurrogates = 0xD800;
constexpr char32_t kLowSurrogates = 0xDC00;
constexpr char32_t kBehindSurrogates = 0xE000;

bool isHigh(char32_t unit) { return unit >= kSurrogates && unit < kLowSurrogates; }
bool isLow(char32_t unit) { return unit >= kLowSurrogates && unit < kBehindSurrogates; }

// As the lexer counts: CR, LF and the pair of both end a line.
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

}  // namespace

std::string statementText(std::u16string_view text) {
  std::string utf8;
  utf8.reserve(text.size());
  Position at;
  for (std::size_t i = 0; i < text.size(); advance(at, text, i)) {
    char32_t character = text[i++];
    if (isHigh(character) && i < text.size() && isLow(text[i])) {
      const char32_t low = text[i++];
      character = 0x10000U + ((character - kSurrogates) << 10U) + (low - kLowSurrogates);
    } else if (isHigh(character) || isLow(character)) {
      throw SqlError("the statement holds half of a surrogate pair", at);
    } else if (character == 0) {
      throw SqlError("the statement holds a zero character", at);
    }
    appendUtf8(utf8, character);
  }
  return utf8;
}

}  // namespace qx::sql
