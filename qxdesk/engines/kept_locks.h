#pragma once

// The locks of a server that connections of this process keep for a moment after the statement that
// needed them, since the next one is likely to need them again. The connection's own thread may
// then do anything, also nothing; so one thread for the process gives these locks up in time.
//
// It also answers whether a connection that is about to wait for a lock would wait for another
// connection of its own process.

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string_view>
#include <thread>
#include <vector>

namespace qx::desk {

class KeptLocks {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// A connection that keeps locks. Its functions are called from other threads, one call at a
  /// time and none after leave(). They wait for no call that the connection's own thread makes.
  class Keeper {
   public:
    virtual ~Keeper() = default;
    /// Gives up what is kept and due by `now`. Returns when to call again; nothing if nothing is
    /// kept.
    virtual std::optional<TimePoint> giveUpDue(TimePoint now) = 0;
    /// Gives the lock up if it is only kept. Returns true if the connection holds it for work that
    /// the calling thread has begun.
    virtual bool yield(std::string_view database, std::int64_t key) = 0;
  };

  /// Returns the object of this process. A process made by fork() has its own, without keepers.
  static KeptLocks& ofProcess();

  /// A connection that adds row after row keeps its lock many times in a second. The thread is not
  /// woken for each time: it looks with this pause until nothing was kept for some time.
  struct Pace {
    std::chrono::milliseconds linger{50};
    std::chrono::milliseconds pause{5};
  };

  KeptLocks() : KeptLocks(Pace{}) {}
  explicit KeptLocks(Pace pace) : pace_(pace) {}
  ~KeptLocks();
  KeptLocks(const KeptLocks&) = delete;
  KeptLocks& operator=(const KeptLocks&) = delete;

  void join(Keeper& keeper);
  /// Returns when no call of the keeper is running.
  void leave(Keeper& keeper);
  /// Starts the thread if it does not run yet. Returns false if locks must not be kept: the system
  /// has no thread left, or the process is ending.
  bool isReady();
  /// Has giveUpDue() called at a time, or earlier.
  void watch(TimePoint due);
  /// Makes all other keepers yield a lock. Returns true if one of them holds it for the calling
  /// thread, which would wait in vain for itself.
  bool wouldWaitForItself(const Keeper& asking, std::string_view database, std::int64_t key);
  /// Ends the thread for good.
  void stop();

 private:
  friend struct ForkOfKeptLocks;

  void loop();
  std::optional<TimePoint> look();

  Pace pace_;

  // Held while the keepers are called. The one below is never held for long.
  std::timed_mutex looking_;
  std::vector<Keeper*> keepers_;

  std::mutex mutex_;
  std::condition_variable wake_;
  std::optional<TimePoint> next_;  // when to look
  TimePoint lastWatch_;
  bool started_ = false;
  bool ending_ = false;
  std::thread thread_;
};

}  // namespace qx::desk
