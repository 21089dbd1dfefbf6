#pragma once

// The entry of a statement from the caller's UTF-16 into the front end.

#include <string>
#include <string_view>

namespace qx::sql {

/// Returns the UTF-8 of a statement. Throws SqlError for an unpaired surrogate, which no engine
/// keeps, and for a zero character, which some drivers take for the end of the statement.
std::string statementText(std::u16string_view text);

}  // namespace qx::sql
