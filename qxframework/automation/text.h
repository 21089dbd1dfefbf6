#pragma once

// Conversions between UTF-16 and UTF-8, and case mapping, all by ICU.

#include "qxframework/automation/export.h"

#include <string>
#include <string_view>

namespace qx {

/// UTF-8 of `text`; an unpaired surrogate becomes U+FFFD.
QX_API std::string toUtf8(std::u16string_view text);
/// UTF-16 of `text`; a malformed sequence becomes U+FFFD.
QX_API std::u16string toUtf16(std::string_view text);
/// Lower and upper case by the rules of the root locale, as the host compares names.
QX_API std::u16string toLower(std::u16string_view text);
QX_API std::u16string toUpper(std::u16string_view text);
/// Upper case unit by unit: a letter whose capital takes more than one unit stays as it is, and so
/// does one that is a pair of units. The length stays the same.
QX_API std::u16string toUpperByUnit(std::u16string_view text);
/// Equality without case, by simple case folding.
QX_API bool equalsIgnoreCase(std::u16string_view a, std::u16string_view b);

}  // namespace qx
