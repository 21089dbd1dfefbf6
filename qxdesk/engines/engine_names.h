#pragma once

// Names in our own statements: from brackets to the quotes of an engine.

#include <string>
#include <string_view>

namespace qx::desk {

/// How an engine quotes a name so that it is taken literally.
struct NameStyle {
  std::string quote = "\"";  // empty if names cannot be quoted
  bool lowerCase = false;    // true if names are kept in lower case
};

/// Returns a name between the given quotes, with those in it doubled. Throws DatabaseError for a
/// name of more than letters, digits, "_" and "@" if `quote` is empty: it would be read as other
/// SQL.
std::string quotedName(std::string_view name, std::string_view quote = "\"");

/// Returns a statement of our own with its [names] in the engine's style; a "]" in a name is
/// doubled. Text between single or double quotes is left alone. Throws DatabaseError like
/// quotedName().
std::string withEngineNames(std::string_view sql, const NameStyle& style);

/// True if a statement has a brace outside quotes, brackets and comments, which drivers take for
/// an ODBC escape.
bool hasEscape(std::string_view sql);

}  // namespace qx::desk
