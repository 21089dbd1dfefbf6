#pragma once

// The difference of two states as a JSON Patch (RFC 6902) with the operations add, remove and
// replace. It is small where the state changes often: one operation for a text, for a new form and
// for a message that pushes the oldest one out.

#include <nlohmann/json_fwd.hpp>

namespace qx::screens {

/// Returns the operations that make `to` of `from`; an empty array if both are equal.
nlohmann::json differenceOf(const nlohmann::json& from, const nlohmann::json& to);

}  // namespace qx::screens
