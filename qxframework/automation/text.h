#pragma once

// Conversions between UTF-16 and UTF-8, case mapping and comparison without case, all by ICU.
// Single code points are read and written in utf.h.

#include "qxframework/automation/export.h"

#include <string>
#include <string_view>

namespace qx {

/// Returns the UTF-8 of `text`; an unpaired surrogate becomes U+FFFD.
QX_API std::string toUtf8(std::u16string_view text);
/// Returns the UTF-16 of `text`; a malformed sequence becomes U+FFFD.
QX_API std::u16string toUtf16(std::string_view text);
/// Return `text` in lower or upper case by the rules of the root locale, by which the host compares
/// names.
QX_API std::u16string toLower(std::u16string_view text);
QX_API std::u16string toUpper(std::u16string_view text);
/// Returns `text` in upper case, mapped unit by unit so that the length stays the same. A letter
/// whose capital takes several units, or that is a pair of units itself, is not mapped.
QX_API std::u16string toUpperByUnit(std::u16string_view text);
/// Compares two texts without case, by the default case folding. Returns a value below, equal to or
/// above 0.
QX_API int compareIgnoreCase(std::u16string_view a, std::u16string_view b);
/// True if the texts are equal without case. A null text equals the empty one and no other.
QX_API bool equalsIgnoreCase(std::u16string_view a, std::u16string_view b);

/// True for the blanks that numbers and dates in a text may have around them: blank, tab and
/// no-break space. A line end is none of them.
constexpr bool isInlineBlank(char16_t unit) {
  return unit == u' ' || unit == u'\t' || unit == 0xA0;
}

}  // namespace qx
