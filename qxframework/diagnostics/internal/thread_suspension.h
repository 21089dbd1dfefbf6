#pragma once

// Stops another thread of this process, so that its stack can be walked: a signal makes the thread
// store its registers and wait. A call such as poll() in the thread may therefore return EINTR.

#include "qxframework/diagnostics/exception_context.h"

#include <chrono>

namespace qx::diagnostics {

/// Holds one thread. There is one suspension at a time; walks take turns.
///
/// The thread may hold a lock that the walk needs, such as the allocator's. It therefore goes on by
/// itself after kLongestHold; the walk reads its stack through calls that cannot fault, and so only
/// its result suffers.
class ThreadSuspension {
 public:
  static constexpr std::chrono::milliseconds kLongestHold{2000};
  /// The time within which a thread must answer. One that blocks the signal never does.
  static constexpr std::chrono::milliseconds kLongestWait{1000};

  ThreadSuspension() = default;
  ~ThreadSuspension() { resume(); }
  ThreadSuspension(const ThreadSuspension&) = delete;
  ThreadSuspension& operator=(const ThreadSuspension&) = delete;

  /// Stops a thread of this process and stores its registers. Returns false if it has ended, does
  /// not answer or is the calling thread; then nothing is held.
  bool suspend(pid_t thread, CONTEXT& context);
  void resume();

 private:
  std::uint32_t ticket_ = 0;  // 0: nothing is held
};

}  // namespace qx::diagnostics
