#pragma once

// The rules for names and descriptions that tables, fields and keys share.

#include <string>
#include <string_view>

namespace qx::desk {

/// Throws CompanyError unless the name consists of letters A to Z, digits and underscores.
void checkName(std::string_view name);
/// Throws CompanyError if `text` has more than 30 UTF-16 units.
void checkDescription(const std::string& text);
/// Returns the name of a user table without its "@", if it has one.
std::string_view bareTableName(std::string_view name);

}  // namespace qx::desk
