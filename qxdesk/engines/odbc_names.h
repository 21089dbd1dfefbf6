#pragma once

// Names in statements for ODBC sources.

#include <string>
#include <string_view>

namespace qx::desk {

/// How an engine quotes a name so that it is taken literally.
struct NameStyle {
  std::string quote = "\"";  // empty if names cannot be quoted
  bool lowerCase = false;    // true if names are kept in lower case
};

/// Returns a statement of our own with its [names] in the engine's style. Text between single or
/// double quotes is left alone.
std::string withEngineNames(std::string_view sql, const NameStyle& style);

/// True if a statement has a brace outside quotes, brackets and comments, which drivers take for
/// an ODBC escape.
bool hasEscape(std::string_view sql);

}  // namespace qx::desk
