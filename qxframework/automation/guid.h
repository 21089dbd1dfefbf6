#pragma once

#include "qxframework/automation/types.h"

#include <optional>
#include <string>
#include <string_view>

namespace qx {

/// The brace form "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" in upper case.
QX_API std::u16string guidText(const GUID& guid);
/// Reads the brace form, in any case.
QX_API std::optional<GUID> guidFromText(std::u16string_view text);

}  // namespace qx
