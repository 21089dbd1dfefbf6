#include "qxframework/automation/utf.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <cstdint>

namespace qx {
namespace {

// The unsafe macros write a surrogate or a value above U+10FFFF without complaint, as malformed
// text.
UChar32 scalarOrReplacement(char32_t value) {
  const bool surrogate = value >= 0xD800 && value <= 0xDFFF;
  return static_cast<UChar32>(surrogate || value > 0x10FFFF ? kReplacementCharacter : value);
}

}  // namespace

std::optional<CodePoint> codePointAt(std::string_view utf8, std::size_t offset) {
  if (offset >= utf8.size()) return std::nullopt;
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(utf8.data());
  std::size_t end = offset;
  UChar32 value = 0;
  // Checks the sequence up to the end of the text; the value is negative if it is malformed.
  U8_NEXT(bytes, end, utf8.size(), value);
  if (value < 0) return std::nullopt;
  return CodePoint{static_cast<char32_t>(value), end - offset};
}

std::optional<CodePoint> codePointAt(std::u16string_view utf16, std::size_t offset) {
  if (offset >= utf16.size()) return std::nullopt;
  std::size_t end = offset;
  UChar32 value = 0;
  // Reads an unpaired surrogate as itself.
  U16_NEXT(utf16.data(), end, utf16.size(), value);
  if (U_IS_SURROGATE(value)) return std::nullopt;
  return CodePoint{static_cast<char32_t>(value), end - offset};
}

void appendCodePoint(std::string& utf8, char32_t value) {
  char bytes[U8_MAX_LENGTH];
  std::size_t length = 0;
  U8_APPEND_UNSAFE(bytes, length, scalarOrReplacement(value));
  utf8.append(bytes, length);
}

void appendCodePoint(std::u16string& utf16, char32_t value) {
  char16_t units[U16_MAX_LENGTH];
  std::size_t length = 0;
  U16_APPEND_UNSAFE(units, length, scalarOrReplacement(value));
  utf16.append(units, length);
}

}  // namespace qx
