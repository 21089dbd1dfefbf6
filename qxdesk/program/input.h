#pragma once

// What the subcommands read and print.

#include <string>
#include <string_view>

namespace qx::desk {

struct Input {
  std::string name;  ///< for messages
  std::string content;
};

/// The file, or the standard input for "-". Raises a std::runtime_error with what is wrong and what
/// to do; so does print().
Input readInput(const std::string& file);

/// To the standard output, as it stands.
void print(std::string_view text);

}  // namespace qx::desk
