#pragma once

// Numbers as scripts and batch documents write them.

#include <optional>
#include <string_view>

namespace qx::screens {

/// Returns the value of a text that is a decimal number with an optional sign and nothing else.
/// Returns nothing for any other text and for a number that does not fit into 32 bits.
std::optional<long> decimalNumber(std::u16string_view text);

}  // namespace qx::screens
