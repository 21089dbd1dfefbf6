#pragma once

// The holder of a lock file. The lock is the kernel's, which does not say to whom it belongs, so
// its holder writes itself into the file. What is read there may be outdated, or written by a
// program of another user: it is good for a message, never for a decision.

#include "qxframework/automation/export.h"

#include <optional>
#include <string>

namespace qx {

/// A program that holds a lock.
struct LockHolder {
  long processId = 0;
  std::u16string program;  ///< the file name of its executable

  friend bool operator==(const LockHolder&, const LockHolder&) = default;
};

/// Writes this process into the file. A failure, such as a full disk, is ignored.
void writeLockHolder(int fd) noexcept;

/// Empties the file, ahead of the release of the lock. A failure is ignored.
void clearLockHolder(int fd) noexcept;

/// Returns the process that is written in the file. Returns nothing if there is none or if it does
/// not run any more, as far as this process can see.
std::optional<LockHolder> readLockHolder(int fd);

}  // namespace qx
