#pragma once

// A lock that the processes of a machine share by its name. It is a lock on a file, so the kernel
// releases it when its holder ends, even if the holder is killed.
//
// A child that is forked while the lock is held keeps it held until it ends or calls exec.
//
// Its holder writes its process and its program into the file, for the messages of those that wait.

#include "qxframework/automation/export.h"
#include "qxframework/os/lock_holder.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

namespace qx {

/// Reports that a thread waits for a mutex: who has it, if that is known, and for how long it has
/// waited.
using MutexNotice =
    std::function<void(const std::optional<LockHolder>& holder, std::chrono::seconds waited)>;

/// A recursive mutex, not locked at first: the thread that holds it may lock it again through the
/// same object and unlocks it as often. Two objects of one name exclude each other, also within one
/// process. Works with std::lock_guard.
class QX_API NamedMutex {
 public:
  /// Opens or creates the mutex in `folder`, which is runtimeFolder() (shared_file.h) if not given.
  /// Throws std::system_error if that fails.
  explicit NamedMutex(std::u16string_view name);
  NamedMutex(std::u16string_view name, const std::filesystem::path& folder);
  ~NamedMutex();
  NamedMutex(const NamedMutex&) = delete;
  NamedMutex& operator=(const NamedMutex&) = delete;

  /// Waits without a time limit, in the order in which the kernel serves those that wait. Throws
  /// std::system_error if locking fails.
  void lock();
  /// The same, and calls `notice` on this thread after two seconds and then each minute. What it
  /// throws is ignored. The time is that of the current clock.
  void lock(const MutexNotice& notice);
  /// Returns false if another thread, object or process holds it.
  bool try_lock();
  /// Undoes one lock(). Only the thread that holds the mutex may call it.
  void unlock();

 private:
  struct State;
  void lockBy(const std::function<void(int fd)>& take);
  std::unique_ptr<State> state_;
};

}  // namespace qx
