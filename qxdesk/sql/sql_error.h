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

/// The refusal of a statement that writes what a company keeps itself.
struct ProtectedTable : SqlError {
  ProtectedTable(const std::string& message, const std::string& theTable, bool theRow, Position at)
      : SqlError(message, at), table(theTable), oneRow(theRow) {}

  std::string table;
  bool oneRow;  ///< true if the statement may change the table's row, but not in this way
};

}  // namespace qx::sql
