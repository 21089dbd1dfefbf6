#pragma once

// The memory that processes writing the same log files share.

#include "qxlogger/file_api.h"

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace qx::logger {

/// The state of one file set that all its writers share. Times are in nanoseconds, wall clock.
struct SharedState {
  std::uint64_t generation = 0;  ///< raised whenever another file becomes the current one
  std::int64_t fileSize = 0;     ///< of the current file
  std::int64_t rotateAt = 0;     ///< no rotation below this size; set after one has failed
  std::int64_t lastRecord = 0;   ///< the time at which the last record was finished
  std::uint64_t dropped = 0;     ///< records lost since the last one that was written
  std::int32_t dropError = 0;    ///< `errno` of the first of them
  std::uint32_t start = 0;       ///< pending bytes: those from `start` up to `end`
  std::uint32_t end = 0;
};

/// Memory that all processes writing one file set share, with its lock: a small file, mapped.
///
/// Two things protect it against a process that is killed at any instruction. The lock reports to
/// its next owner that an owner has died. And the state has two copies and a single number that
/// says which one is valid, so a commit is never half done. The first process to open the file
/// initialises the lock, because a lock that was held at a power failure would remain held. The
/// layout of the mapping is frozen, because processes of different builds share it: another layout
/// needs another file name.
///
/// A process that uses a mapping dies if someone shortens the file. Only its user and root can: the
/// file has mode 0600, and one of another user or with a second name is not opened. Its space is
/// taken before the first use, so a full disk ends no process.
class SharedRegion {
 public:
  /// The size of the buffer for pending records, in bytes.
  static constexpr std::uint32_t kPendingCapacity = 60 * 1024;

  /// The result of lock(): held, held after an owner has died, or not held.
  enum class Lock { kHeld, kHeldAfterDeath, kFailed };

  /// The limit of lock()'s wait unless another is given, in nanoseconds.
  static constexpr std::int64_t kLongestWait = 2'000'000'000;

  /// Opens or creates the region at `path`. Returns null, and the `errno` in `error`, if the file
  /// cannot be created, sized, locked or mapped. `longestWait`, in nanoseconds, limits lock().
  static std::unique_ptr<SharedRegion> open(FileApi& files, const std::string& path, int& error,
                                            std::int64_t longestWait = kLongestWait);
  ~SharedRegion();
  SharedRegion(const SharedRegion&) = delete;
  SharedRegion& operator=(const SharedRegion&) = delete;

  /// Locks the region. Waits for at most the limit, because the owner may be a stopped process;
  /// after a wait that failed, fails at once until the lock is free again.
  Lock lock();
  void unlock();

  // The remaining operations require the lock.

  /// Returns the valid state, which the next commit() does not change but the one after it does.
  const SharedState& state() const {
    return layout_->states[layout_->valid.load(std::memory_order_relaxed) & 1];
  }
  /// Replaces the state in one step: not even a kill at any point leaves a mixed state.
  void commit(const SharedState& next) {
    const std::uint32_t other = 1 - (layout_->valid.load(std::memory_order_relaxed) & 1);
    layout_->states[other] = next;
    // The release order makes the state visible before the index that points to it.
    layout_->valid.store(other, std::memory_order_release);
  }
  /// Returns the buffer of kPendingCapacity bytes.
  char* pending() { return layout_->pending; }
  /// True after a crash, until the state has been compared with the log file.
  bool needsRecovery() const { return layout_->needsRecovery != 0; }
  void setNeedsRecovery(bool needs) { layout_->needsRecovery = needs ? 1 : 0; }
  /// True if `path` still names the file of this region.
  bool isFileAt(const std::string& path) const;

 private:
  // Frozen, as the class comment says.
  struct Layout {
    std::atomic<std::uint64_t> magic;
    std::atomic<std::uint32_t> needsRecovery;
    std::atomic<std::uint32_t> valid;  // the index of the valid state
    pthread_mutex_t mutex;
    SharedState states[2];
    char pending[kPendingCapacity];
  };

  SharedRegion(FileApi& files, OpenFile file, Layout* layout, std::int64_t longestWait);
  Lock waitForLock();

  FileApi& files_;
  OpenFile file_;
  Layout* layout_;
  const std::int64_t longestWait_;
  std::atomic<bool> waitedInVain_{false};
};

}  // namespace qx::logger
