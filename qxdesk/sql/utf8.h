// Reading and writing UTF-8 one character at a time.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace qx::sql {

struct Utf8Character {
  char32_t value;
  std::size_t length;  // in bytes
};

// The character that starts at `offset`; nothing when the bytes there are no valid UTF-8 (overlong
// forms, surrogates and values above U+10FFFF included) or the text ends.
std::optional<Utf8Character> readUtf8(std::string_view text, std::size_t offset);

void appendUtf8(std::string& text, char32_t character);

}  // namespace qx::sql
