#pragma once

// A guard in front of the TOML parser: each dot of a key is a table in a table, and the parser
// works on them by recursion, so that a key of some ten thousand dots would overflow the stack.

#include "qxframework/automation/text_place.h"

#include <optional>
#include <string_view>

namespace qx {

/// The deepest key that is read; a configuration needs a few levels.
inline constexpr int kDeepestTomlKey = 32;

/// Returns the place at which a key of `toml` gets more than kDeepestTomlKey levels, or nothing.
/// The text need not be correct TOML.
std::optional<TextPlace> findDeepKey(std::string_view toml);

}  // namespace qx
