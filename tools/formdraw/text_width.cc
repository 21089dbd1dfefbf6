#include "tools/formdraw/text_width.h"

#include <unicode/uchar.h>

namespace qx::formdraw {
namespace {

constexpr long kNarrowPixels = 4;
constexpr long kPixels = 5;
constexpr std::u16string_view kNarrow = u"iIjlftr.,:;'`!|()[]{}/-\" \u00A0";

bool isNarrow(char32_t character) {
  return character <= 0xFFFF && kNarrow.find(static_cast<char16_t>(character)) != kNarrow.npos;
}

bool combines(char32_t character) {
  constexpr unsigned kMarks = U_GC_MN_MASK | U_GC_ME_MASK | U_GC_CF_MASK;
  return (U_GET_GC_MASK(static_cast<UChar32>(character)) & kMarks) != 0;
}

bool isWide(char32_t character) {
  const int width = u_getIntPropertyValue(static_cast<UChar32>(character), UCHAR_EAST_ASIAN_WIDTH);
  return width == U_EA_WIDE || width == U_EA_FULLWIDTH;
}

}  // namespace

long pixelsAtLeast(std::u16string_view text) {
  long pixels = 0;
  forEachCharacter(text, [&](char32_t character) {
    const long each = isNarrow(character) ? kNarrowPixels : kPixels;
    pixels += each * static_cast<long>(cellsOf(character));
  });
  return pixels;
}

std::size_t cellsOf(char32_t character) {
  if (combines(character)) return 0;
  return isWide(character) ? 2 : 1;
}

std::size_t cellsOf(std::u16string_view text) {
  std::size_t cells = 0;
  forEachCharacter(text, [&](char32_t character) { cells += cellsOf(character); });
  return cells;
}

}  // namespace qx::formdraw
