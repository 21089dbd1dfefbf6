#pragma once

// Everything that the company objects take from the world besides the database: time, waiting and
// randomness. Tests hand in their own.

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace qx::desk {

/// The limit of memory if a company is not given another one.
inline constexpr std::size_t kUsualMemoryMegabytes = 1024;

struct CompanyEnvironment {
  /// Local time in the stored form, "YYYY-MM-DD HH:MM:SS".
  std::function<std::string()> now;
  std::function<void(int milliseconds)> sleep;
  /// Waits while `word`, which other processes share, is `value`, at most for the given time; may
  /// return sooner. wakeWaiters() ends it.
  std::function<void(const std::atomic<std::uint32_t>& word, std::uint32_t value,
                     std::chrono::milliseconds most)>
      awaitChange;
  /// A clock that is never set back, for measuring how long something takes.
  std::function<std::chrono::steady_clock::time_point()> clock = std::chrono::steady_clock::now;
  std::function<void(std::span<std::uint8_t>)> fillRandom;
  /// The time that a statement waits for another process that writes.
  int busyTimeoutMs = 10000;
  /// The time for which a connection outside of a transaction that has read the highest code of a
  /// table stops the others that want to, until it inserts a row.
  int drawTimeoutMs = 2000;
  /// The time for which a connection to a server that adds row after row to a table goes on before
  /// it lets the others that wait draw from it.
  int codeTurnMs = 30;
  /// The time without a statement after which it lets the others draw at once. It is not measured
  /// by `clock`, since a thread waits for it.
  int codeIdleMs = 1;
  /// The time that a statement may run, unless a server sets a limit of its own; 0 is no limit.
  int statementTimeoutSeconds = 600;
  /// The memory that the rows of a statement may take, and that the embedded engine may take for
  /// all its work in this process. A driver may let the process grow by as much while it reads.
  std::size_t memoryBytes = kUsualMemoryMegabytes << 20;
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

/// Wakes those in all processes who wait for a change of `word`.
void wakeWaiters(std::atomic<std::uint32_t>& word);

}  // namespace qx::desk
