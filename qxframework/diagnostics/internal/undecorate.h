#pragma once

// The readable forms of the names that the compiler gives to functions.

#include <string>

namespace qx::diagnostics {

/// Returns the full signature of a mangled name, such as "Shop::sell(int) const", or `name` itself
/// if it is not a mangled one.
std::string fullSignature(const std::string& name);

/// Returns the qualified name in a signature, without its result, parameters and qualifiers:
/// "Shop::sell" for "Shop::sell(int) const".
std::string nameOnly(const std::string& signature);

}  // namespace qx::diagnostics
