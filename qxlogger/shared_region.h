#pragma once

#include "qxlogger/file_api.h"

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace qx::logger {

/// What all processes that write one file set know together.
struct SharedState {
  std::uint64_t generation = 0;  ///< raised whenever the current file is another one
  std::int64_t fileSize = 0;     ///< of the current file
  std::int64_t rotateAt = 0;     ///< no rotation below this size; set where one has failed
  std::int64_t lastRecord = 0;   ///< when the last record was done with, wall clock
  std::uint64_t dropped = 0;     ///< records lost since the last one that was written
  std::int32_t dropError = 0;    ///< `errno` of the first of them
  std::uint32_t start = 0;       ///< pending bytes: those from `start` up to `end`
  std::uint32_t end = 0;
};

/// Memory that all processes writing one file set share, with its lock: a small file, mapped.
///
/// Two things make it proof against a process that is killed at any instruction. The lock tells
/// its next owner when an owner has died. And the state has two copies, of which one store says
/// which is valid, so that it is always a state that somebody has wanted. The first process to
/// open the file makes the lock anew, since one that was held at a power failure would stay held.
/// The layout of the mapping is frozen: processes of different builds share it. Another layout
/// needs another file name.
class SharedRegion {
 public:
  static constexpr std::uint32_t kPendingCapacity = 60 * 1024;

  enum class Lock { kHeld, kHeldAfterDeath, kFailed };

  static constexpr std::int64_t kLongestWait = 2'000'000'000;

  /// Null, with the `errno`, where the file cannot be made, sized, locked or mapped. The wait, in
  /// nanoseconds, is that of lock().
  static std::unique_ptr<SharedRegion> open(FileApi& files, const std::string& path, int& error,
                                            std::int64_t longestWait = kLongestWait);
  ~SharedRegion();
  SharedRegion(const SharedRegion&) = delete;
  SharedRegion& operator=(const SharedRegion&) = delete;

  /// Waits only so long for a process that holds the lock and does not run, and not at all once it
  /// has waited in vain, until it gets the lock again.
  Lock lock();
  void unlock();

  // The rest is for the holder of the lock.

  const SharedState& state() const;
  void commit(const SharedState& next);
  char* pending();
  /// Set until the state has been compared with the log file, after a crash.
  bool needsRecovery() const;
  void setNeedsRecovery(bool needs);
  /// Whether `path` still is the file of this region.
  bool isFileAt(const std::string& path) const;

 private:
  struct Layout;

  SharedRegion(FileApi& files, OpenFile file, Layout* layout, std::int64_t longestWait);
  Lock waitForLock();

  FileApi& files_;
  OpenFile file_;
  Layout* layout_;
  const std::int64_t longestWait_;
  std::atomic<bool> waitedInVain_{false};
};

}  // namespace qx::logger
