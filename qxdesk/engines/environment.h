#pragma once

// What the company objects take from the world besides the database file: time, waiting and
// randomness. Tests hand in their own.

#include <chrono>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace qx::desk {

struct CompanyEnvironment {
  /// Local time as "YYYY-MM-DD HH:MM:SS".
  std::function<std::string()> now;
  std::function<void(int milliseconds)> sleep;
  /// Time that never steps, for how long something takes.
  std::function<std::chrono::steady_clock::time_point()> clock = std::chrono::steady_clock::now;
  std::function<void(std::span<std::uint8_t>)> fillRandom;
  /// How long a statement waits for another process that writes.
  int busyTimeoutMs = 10000;
  /// How long a statement may run, unless a server sets a limit of its own; 0 for ever.
  int statementTimeoutSeconds = 600;
  /// How long a server may take to answer a new connection.
  int loginTimeoutSeconds = 15;
};

/// The machine's clock and randomness.
CompanyEnvironment systemEnvironment();

}  // namespace qx::desk
