#pragma once

// Reading and writing UTF-8 and UTF-16 one code point at a time. Whole texts are converted in
// text.h.

#include "qxframework/automation/export.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace qx {

/// The character that replaces malformed sequences.
inline constexpr char32_t kReplacementCharacter = 0xFFFD;

/// A code point and the number of units that it takes: bytes of UTF-8, or 16-bit units of UTF-16.
struct CodePoint {
  char32_t value;
  std::size_t length;
};

/// Returns the code point that starts at `offset`. Returns nothing at the end of the text and for
/// bytes that are not well-formed: overlong forms, surrogates, values above U+10FFFF, a sequence
/// that is cut off.
QX_API std::optional<CodePoint> codePointAt(std::string_view utf8, std::size_t offset);
/// Returns the code point that starts at `offset`. Returns nothing at the end of the text and for
/// an unpaired surrogate.
QX_API std::optional<CodePoint> codePointAt(std::u16string_view utf16, std::size_t offset);

/// Appends a code point. A surrogate or a value above U+10FFFF is appended as U+FFFD.
QX_API void appendCodePoint(std::string& utf8, char32_t value);
QX_API void appendCodePoint(std::u16string& utf16, char32_t value);

}  // namespace qx
