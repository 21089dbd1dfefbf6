#pragma once

#include <string_view>

namespace qx::dbdef {

/// What stands in `path` behind the last "\\" or "/" and ahead of the last "." there.
std::u16string_view programName(std::u16string_view path);

}  // namespace qx::dbdef
