#pragma once

// Stops a driver that reads more rows than this process has memory for.
//
// A driver for a server usually reads all rows of a result in one call, before the first of them
// can be counted. While such a call runs, a thread looks at the memory of this process several
// times a second. If it has grown by more than the limit since the call began, the thread cancels
// the statement on the server. A short call pays for two locks that nobody else holds; the thread
// sleeps while no statement runs.

#include "qxdesk/engines/database.h"

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace qx::desk {

/// Returns the failure of a statement whose rows take more than `most` bytes.
DatabaseError needsTooMuchMemory(std::size_t most);

/// Returns the bytes of real memory that this process takes, or 0 if the system does not say.
std::size_t residentMemory();

class MemoryWatch {
 public:
  using Resident = std::function<std::size_t()>;
  struct Pace {
    // A driver reads a few megabytes in this time.
    std::chrono::milliseconds tick{20};
    // The looks without a call after which the thread sleeps: a connection at work does not have
    // to wake it for each of its statements.
    int idleLooks = 100;
  };

  /// Starts the thread. `most` is the growth in bytes that a call may cause, as `resident` returns
  /// it; the thread calls that. Where the system has no thread left, nothing is watched.
  explicit MemoryWatch(std::size_t most) : MemoryWatch(most, residentMemory, Pace{}) {}
  MemoryWatch(std::size_t most, Resident resident, Pace pace);
  ~MemoryWatch();
  MemoryWatch(const MemoryWatch&) = delete;
  MemoryWatch& operator=(const MemoryWatch&) = delete;

  std::size_t most() const { return most_; }

  /// One call of the driver; there is one at a time. `cancel` runs in the thread, once at most, and
  /// never after end().
  class Call {
   public:
    Call(MemoryWatch& watch, std::function<void()> cancel);
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    /// Ends the watch; returns true if the call was cancelled.
    bool end();

   private:
    MemoryWatch& watch_;
  };

 private:
  void loop();
  void look();

  const std::size_t most_;
  const Resident resident_;
  const Pace pace_;
  std::mutex mutex_;
  std::condition_variable wake_;
  // All of the rest is guarded by the mutex.
  std::function<void()> cancel_;       // of the running call; empty if there is none
  std::optional<std::size_t> before_;  // the memory when the thread first saw this call
  bool cancelled_ = false;
  bool asleep_ = false;  // the thread waits for a call and not for the time
  bool ending_ = false;
  int idle_ = 0;  // looks in a row that have seen no call
  const pid_t process_;
  std::thread thread_;
};

}  // namespace qx::desk
