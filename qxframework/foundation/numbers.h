#pragma once

#include "qxframework/automation/types.h"

#include <string_view>

namespace qx {

/// The number at the front of `text` by the standard conversion of text to a 32-bit number: leading
/// white space, an optional sign, then digits of `base` (10 or 16, for 16 with an optional 0x) up
/// to the first other character. No digits give 0; a number that does not fit gives the nearest end
/// of the 32-bit range.
QX_API long leadingNumber(std::u16string_view text, int base = 10);
/// The same for a decimal 64-bit number.
QX_API std::int64_t leadingNumber64(std::u16string_view text);

}  // namespace qx
