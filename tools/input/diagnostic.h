#pragma once

// What a tool refuses in its input: where it stands, what is wrong and what to do about it.

#include <cstddef>
#include <stdexcept>
#include <string>

namespace qx::input {

/// A place in an input file; line and column count from 1, 0 means the file as a whole. Columns
/// count code points.
struct Location {
  std::string file;
  std::size_t line = 0;
  std::size_t column = 0;
};

/// Raised for every refused input; `what()` reads "file:line:column: error: problem; remedy".
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
