#pragma once

// Numbers in front of other text, with the rules of the C library but in UTF-16 and without errors.

#include "qxframework/automation/types.h"

#include <string_view>

namespace qx {

/// Reads a 32-bit number from the start of `text`: ASCII white space, an optional sign, then digits
/// of `base` up to the first other character. `base` is 10 or 16; for 16 an 0x may precede the
/// digits. Returns 0 without digits, and the nearer end of the 32-bit range if the number does not
/// fit.
QX_API long leadingNumber(std::u16string_view text, int base = 10);
/// Reads a decimal 64-bit number in the same way.
QX_API std::int64_t leadingNumber64(std::u16string_view text);

}  // namespace qx
