#pragma once

// Checked conversion of input text: a malformed sequence is refused with its place.

#include "tools/input/diagnostic.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace qx::input {

/// UTF-16 of `text`, which begins at `start`. Throws Diagnostic at the first malformed sequence.
std::u16string convertUtf8(std::string_view text, const Location& start);

/// Number of code points in `text`, for columns.
std::size_t codePointCount(std::string_view text);

}  // namespace qx::input
