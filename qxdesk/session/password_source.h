#pragma once

// Where a password comes from that must not be on a command line, which every user of the machine
// can read.

#include <stdexcept>
#include <string>
#include <string_view>

namespace qx::desk {

/// what() is a clause that names the fault and the remedy, without the password.
class PasswordSourceError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Reads the first line of the source: "file:PATH" a file that only this user can read, "env:NAME"
/// a variable of the environment, "fd:NUMBER" an open descriptor, such as a pipe of the shell,
/// which is read once and remembered. Throws PasswordSourceError, also for an empty line.
std::string readPassword(std::string_view source);

}  // namespace qx::desk
