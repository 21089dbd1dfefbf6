#pragma once

// Class and interface identities as text.

#include "qxframework/automation/types.h"

#include <optional>
#include <string>
#include <string_view>

namespace qx {

/// Returns the brace form "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" in upper case.
QX_API std::u16string guidText(const GUID& guid);
/// Reads the brace form in upper or lower case. Returns nothing for any other text.
QX_API std::optional<GUID> guidFromText(std::u16string_view text);

}  // namespace qx
