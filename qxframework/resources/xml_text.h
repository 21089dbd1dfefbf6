#pragma once

#include "qxframework/automation/export.h"

#include <string>
#include <string_view>

namespace qx {

/// `text` with & " ' < > replaced by the five entities, the ampersand first.
QX_API std::u16string escapeXml(std::u16string_view text);

}  // namespace qx
