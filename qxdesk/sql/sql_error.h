#pragma once

// The refusal of a statement text. Every refusal of this folder is a SqlError: its text says what
// is wrong or what to write instead, and ends with the place.

#include <stdexcept>
#include <string>

namespace qx::sql {

/// A place in a statement, counted in lines and characters from 1.
struct Position {
  int line = 1;
  int column = 1;
};

struct SqlError : std::runtime_error {
  /// Takes `message` without the place, which is appended as " (line 3, column 14)".
  SqlError(const std::string& message, Position at);

  int line;
  int column;
};

}  // namespace qx::sql
