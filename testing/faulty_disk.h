#pragma once

// The disk under the SQLite files of this process, between the engine and the operating system. A
// test counts the changes of files, lets the disk be full, or ends the process in the middle of
// them.

#include <functional>

namespace qx::test {

/// While it lives, all files that the engine opens in this process are on this disk; there is one
/// at a time. Files that are still open at its end go on without it.
class FaultyDisk {
 public:
  FaultyDisk();
  ~FaultyDisk();
  FaultyDisk(const FaultyDisk&) = delete;
  FaultyDisk& operator=(const FaultyDisk&) = delete;

  /// The writes, truncations and deletions so far; those that were refused count, too.
  int changes = 0;
  /// While true, every write fails as on a disk without space. Truncations and deletions succeed.
  bool full = false;
  /// Called before each change with its number, from 1; it may set `full` or end the process.
  std::function<void(int number)> beforeChange;
};

}  // namespace qx::test
