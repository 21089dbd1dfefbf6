#pragma once

// The shape of a statement: its text without the values of its literals. A run of an add-on sends a
// few dozen shapes over and over, so what was found out about one statement serves the next one of
// its shape, with other values.
//
// A shape keeps of a literal what decides how it is translated: its kind, and whether a text has a
// "[". A number of very many digits is part of the shape as it is. Which of the
// other literals an engine takes as parameters is known once a statement of the shape was
// translated (Translation::parameters); the others have to be equal.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx::sql {

/// A literal that is not part of the shape.
struct ShapeLiteral {
  std::size_t at = 0;       ///< of its first byte in the statement, which may be an N
  std::string_view source;  ///< a number, or a text without its quotes but with inner ones doubled
  bool operator==(const ShapeLiteral& other) const { return source == other.source; }
};

struct StatementShape {
  std::string key;
  std::vector<ShapeLiteral> literals;
};

/// The longest statement that has a shape. Longer ones are rarely repeated and take much memory.
constexpr std::size_t kMaxShapeBytes = 4096;

/// Finds the shape of a statement; `shape` refers to `utf8`. Returns false if it has none: it is
/// too long, it has a comment, or it is a text that lex() may refuse.
bool findShape(std::string_view utf8, StatementShape& shape);

/// Returns the value of a literal text.
std::string valueOf(const ShapeLiteral& text);

}  // namespace qx::sql
