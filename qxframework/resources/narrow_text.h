#pragma once

#include <string>
#include <string_view>

namespace qx {

/// The text of a resource's bytes, up to the first zero unit. Bytes that begin with FF FE or FE FF
/// are 16-bit units as they stand, without a swap and with the mark; any other are UTF-8, or
/// ISO-8859-1 if they are not well-formed UTF-8.
std::u16string textOfResource(std::string_view bytes);

}  // namespace qx
