#pragma once

// The rules for names and descriptions that tables, fields and keys share.

#include <cstddef>
#include <string>
#include <string_view>

namespace qx::desk {

/// The most characters of a name. Server types may allow tables fewer.
inline constexpr std::size_t kMaxTableName = 19;
inline constexpr std::size_t kMaxFieldName = 50;
inline constexpr std::size_t kMaxKeyName = 10;

/// Throws CompanyError unless the name consists of letters A to Z, digits and underscores.
void checkName(std::string_view name);
/// Throws CompanyError if `text` has more than 30 UTF-16 units.
void checkDescription(const std::string& text);
/// Throws CompanyError if `name`, read from the dictionary table `dictionary`, is empty, longer
/// than `longest` or breaks the rule of checkName(). The company writes no such name, and it must
/// not get into a statement.
void checkStoredName(std::string_view name, std::size_t longest, std::string_view dictionary);
/// Returns the name of a user table without its "@", if it has one.
std::string_view bareTableName(std::string_view name);

}  // namespace qx::desk
