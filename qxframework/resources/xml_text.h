#pragma once

// Plain text as content of XML.

#include "qxframework/automation/export.h"

#include <string>
#include <string_view>

namespace qx {

/// Returns `text` with each & " ' < > replaced by its XML entity. An entity that the text already
/// contains is escaped once more.
QX_API std::u16string escapeXml(std::u16string_view text);

}  // namespace qx
