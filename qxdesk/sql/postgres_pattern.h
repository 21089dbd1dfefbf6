#pragma once

// LIKE patterns for PostgreSQL, whose own LIKE has no sets such as [a-z]. A literal pattern with
// sets becomes a regular expression here; for any other pattern the server makes the expression in
// a query.

#include <string>
#include <string_view>

namespace qx::sql {

// In all three functions `escape` is one character, or empty if there is none.

/// Returns the pattern with a backslash before each character that stands for itself.
std::string escapedByBackslash(std::string_view pattern, std::string_view escape);

/// Returns a regular expression that matches the same whole texts as the pattern, sets included.
std::string postgresRegex(std::string_view pattern, std::string_view escape);

/// The texts before and after a pattern that make a query in brackets, which returns the pattern's
/// regular expression.
struct PatternQuery {
  std::string before;
  std::string after;
};
PatternQuery postgresPatternQuery(std::string_view escape);

}  // namespace qx::sql
