#pragma once

// What the company objects take from the world besides the database file: time, waiting and
// randomness. Tests hand in their own.

#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace qx::desk {

struct CompanyEnvironment {
  /// Local time as "YYYY-MM-DD HH:MM:SS".
  std::function<std::string()> now;
  std::function<void(int milliseconds)> sleep;
  std::function<void(std::span<std::uint8_t>)> fillRandom;
  /// How long a statement waits for another process that writes.
  int busyTimeoutMs = 10000;
  /// How long a statement may run on a server that sets no limit of its own; 0 for ever.
  int statementTimeoutSeconds = 600;
  /// How long a server may take to answer a new connection.
  int loginTimeoutSeconds = 15;
};

/// The machine's clock and randomness.
CompanyEnvironment systemEnvironment();

}  // namespace qx::desk
