#pragma once

#include <string>
#include <string_view>

namespace qx {

struct Dialect;

/// Returns the SELECT of a user table's highest code, which CQXUtil::GetNextCodeValue runs.
std::u16string highestCodeQuery(const Dialect& dialect, std::u16string_view table);

}  // namespace qx
