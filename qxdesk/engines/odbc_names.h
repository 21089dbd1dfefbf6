#pragma once

#include <string>
#include <string_view>

namespace qx::desk {

/// How an engine writes a name that it is to take as it stands.
struct NameStyle {
  std::string quote = "\"";  // empty where names cannot be quoted
  bool lowerCase = false;    // names are kept in lower case
};

/// A statement of our own with its [names] in the engine's style. What stands in single or double
/// quotes stays as it is.
std::string withEngineNames(std::string_view sql, const NameStyle& style);

/// Whether a statement has a brace outside of quotes, brackets and comments: what drivers take for
/// an escape of theirs.
bool hasEscape(std::string_view sql);

}  // namespace qx::desk
