#pragma once

// Conversion of input text that refuses a malformed sequence with its place.

#include "tools/input/diagnostic.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace qx::input {

/// Converts `text`, a part of one line that begins at `start`, to UTF-16. Throws Diagnostic with
/// the place of the first malformed sequence.
std::u16string convertUtf8(std::string_view text, const Location& start);

/// Returns the number of code points in `text`, for columns. Each malformed byte counts as one.
std::size_t codePointCount(std::string_view text);

}  // namespace qx::input
