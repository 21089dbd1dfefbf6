#pragma once

// Everything that the company objects take from the world besides the database: time, waiting and
// randomness. Tests hand in their own.

#include <chrono>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace qx::desk {

struct CompanyEnvironment {
  /// Local time in the stored form, "YYYY-MM-DD HH:MM:SS".
  std::function<std::string()> now;
  std::function<void(int milliseconds)> sleep;
  /// A clock that is never set back, for measuring how long something takes.
  std::function<std::chrono::steady_clock::time_point()> clock = std::chrono::steady_clock::now;
  std::function<void(std::span<std::uint8_t>)> fillRandom;
  /// The time that a statement waits for another process that writes.
  int busyTimeoutMs = 10000;
  /// The time that a statement may run, unless a server sets a limit of its own; 0 is no limit.
  int statementTimeoutSeconds = 600;
  /// The time that a program may do nothing within a transaction, unless a server sets a limit of
  /// its own: after it a server ends the connection.
  int idleTransactionSeconds = 900;
  /// The name of this program for others that wait for it; at most 63 bytes are of use.
  std::string program;
  /// The time that a server may take to answer a new connection.
  int loginTimeoutSeconds = 15;
};

/// Returns the machine's clock and randomness.
CompanyEnvironment systemEnvironment();

}  // namespace qx::desk
