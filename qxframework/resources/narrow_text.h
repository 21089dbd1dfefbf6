#pragma once

// The encodings of embedded XML.

#include <string>
#include <string_view>

namespace qx {

/// Returns the text of a resource, up to the first zero unit. Bytes that begin with FF FE or FE FF
/// are copied as 16-bit units, without a swap and with the mark. All others are UTF-8, or
/// ISO-8859-1 if they are not well-formed UTF-8.
std::u16string textOfResource(std::string_view bytes);

}  // namespace qx
