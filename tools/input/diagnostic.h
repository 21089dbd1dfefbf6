#pragma once

// Errors in the input of a tool: the place, the problem and the remedy.

#include <cstddef>
#include <stdexcept>
#include <string>

namespace qx::input {

/// A place in an input file. Line and column count from 1, columns in code points; line 0 means the
/// file as a whole.
struct Location {
  std::string file;
  std::size_t line = 0;
  std::size_t column = 0;
};

/// Thrown for refused input. `what()` returns "file:line:column: error: problem; remedy".
class Diagnostic : public std::runtime_error {
 public:
  Diagnostic(const Location& location, const std::string& problem, const std::string& remedy)
      : std::runtime_error(text(location) + ": error: " + problem + "; " + remedy) {}

 private:
  static std::string text(const Location& location) {
    if (location.line == 0) return location.file;
    return location.file + ":" + std::to_string(location.line) + ":" +
           std::to_string(location.column);
  }
};

}  // namespace qx::input
