// Where a statement text went wrong. Every refusal of this folder is a SqlError: its text says what
// is wrong or what to write instead, and ends with the place, counted in characters from 1.
#pragma once

#include <stdexcept>
#include <string>

namespace qx::sql {

struct Position {
  int line = 1;
  int column = 1;
};

struct SqlError : std::runtime_error {
  // `message` without the place, which is appended as " (line 3, column 14)".
  SqlError(const std::string& message, Position at);

  int line;
  int column;
};

}  // namespace qx::sql
