#include "tools/input/utf8.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <cstdint>

namespace qx::input {
namespace {

/// The code point at `offset`, which moves behind it; negative for a malformed sequence.
UChar32 nextCodePoint(std::string_view text, std::size_t& offset) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  UChar32 codePoint = 0;
  U8_NEXT(bytes, offset, text.size(), codePoint);
  return codePoint;
}

void append(std::u16string& out, UChar32 codePoint) {
  if (U_IS_BMP(codePoint)) {
    out.push_back(static_cast<char16_t>(codePoint));
    return;
  }
  out.push_back(static_cast<char16_t>(U16_LEAD(codePoint)));
  out.push_back(static_cast<char16_t>(U16_TRAIL(codePoint)));
}

}  // namespace

std::u16string convertUtf8(std::string_view text, const Location& start) {
  std::u16string out;
  out.reserve(text.size());
  Location place = start;
  for (std::size_t offset = 0; offset < text.size(); ++place.column) {
    const UChar32 codePoint = nextCodePoint(text, offset);
    if (codePoint < 0) {
      throw Diagnostic(place, "the text is not valid UTF-8", "save the file as UTF-8");
    }
    append(out, codePoint);
  }
  return out;
}

std::size_t codePointCount(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t offset = 0; offset < text.size(); ++count) nextCodePoint(text, offset);
  return count;
}

}  // namespace qx::input
