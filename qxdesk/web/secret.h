#pragma once

#include <string>
#include <string_view>

namespace qx::web {

/// Returns 256 random bits of the kernel as 64 hexadecimal digits. Throws std::system_error if the
/// kernel has none to give.
std::string makeSecret();

/// Compares a secret with what a stranger claims it to be. The time depends on the length of
/// `claimed` only, so that it does not show how much of a guess is right.
bool isSecret(std::string_view secret, std::string_view claimed);

}  // namespace qx::web
