#pragma once

// Input and output of the subcommands.

#include <string>
#include <string_view>

namespace qx::desk {

struct Input {
  std::string name;  ///< for messages
  std::string content;
};

/// Reads the file, or the standard input for "-". Throws std::runtime_error with the problem and
/// the remedy; so does print().
Input readInput(const std::string& file);

/// Writes the text to the standard output, unchanged.
void print(std::string_view text);

/// Writes the text to the file, which is replaced if it exists. Throws as print() does.
void write(const std::string& file, std::string_view text);

}  // namespace qx::desk
