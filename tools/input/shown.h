#pragma once

// Input text in messages.

#include <string>
#include <string_view>

namespace qx::input {

/// Returns UTF-8 text with a question mark for each control character, so that it stays within the
/// line of a message.
std::string shown(std::string_view text);

}  // namespace qx::input
