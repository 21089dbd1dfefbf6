#pragma once

#include <string_view>

namespace qx {

/// Returns the file name of `path`, which begins after the last "\\" or "/", without its extension.
std::u16string_view programName(std::u16string_view path);

}  // namespace qx
