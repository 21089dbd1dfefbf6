#pragma once

// Numbers as form documents, batch documents and scripts write them.

#include "qxframework/automation/export.h"

#include <optional>
#include <string_view>

namespace qx {

/// Returns the value of a text that is a decimal number with an optional sign and nothing else.
/// Returns nothing for any other text and for a number that does not fit into 32 bits.
QX_API std::optional<long> decimalNumber(std::u16string_view text);

}  // namespace qx
