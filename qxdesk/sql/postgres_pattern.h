// LIKE patterns for PostgreSQL, whose own LIKE knows no sets such as [a-z]: a pattern with sets
// becomes a regular expression, here where it is a literal, else by a query that the server runs.
#pragma once

#include <string>
#include <string_view>

namespace qx::sql {

// `escape` is one character, or empty for none.

// The pattern with a backslash before what stands for itself.
std::string escapedByBackslash(std::string_view pattern, std::string_view escape);

// The regular expression of a pattern that may have sets; it holds for the whole text.
std::string postgresRegex(std::string_view pattern, std::string_view escape);

// A query in brackets that makes such an expression of the pattern between its two texts.
struct PatternQuery {
  std::string before;
  std::string after;
};
PatternQuery postgresPatternQuery(std::string_view escape);

}  // namespace qx::sql
