// The way of a statement from the caller's UTF-16 into the front end.
#pragma once

#include <string>
#include <string_view>

namespace qx::sql {

// UTF-8 of a statement. Raises SqlError, with its place, for half of a surrogate pair, which no
// engine keeps, and for a zero character, which some drivers take for the end of the statement.
std::string statementText(std::u16string_view text);

}  // namespace qx::sql
