#pragma once

// A background thread that writes out the end of a flood of records.

#include <pthread.h>
#include <semaphore.h>

#include <atomic>
#include <functional>

namespace qx::logger {

/// Flushes pending records a moment after they came: a thread that sleeps until a record is left
/// pending, then pauses, then flushes. It uses a semaphore, because request() is called by
/// processes that fork: a mutex could be held by a thread that the child does not have.
class IdleFlusher {
 public:
  /// Starts no thread yet. `pause` and `flush` will be called on the flusher's thread.
  IdleFlusher(std::function<void()> pause, std::function<void()> flush);
  ~IdleFlusher();
  IdleFlusher(const IdleFlusher&) = delete;
  IdleFlusher& operator=(const IdleFlusher&) = delete;

  /// Starts the thread at the first call. Returns false if that fails, or another thread is just
  /// doing it; then nothing may be left pending.
  bool isReady() { return state_.load(std::memory_order_acquire) == State::kRunning || start(); }

  /// Requests a flush after a pause. Requests during the pause are served by the same flush.
  void request();

  /// Ends the thread after the flush that it is doing, if any.
  void stop();

  /// Called in the child of a fork, which has no flusher thread. isReady() starts a new one there.
  void forgetThread();

 private:
  enum class State { kNone, kStarting, kRunning };

  bool start();
  void run();
  static void* entry(void* self);

  const std::function<void()> pause_;
  const std::function<void()> flush_;
  std::atomic<State> state_{State::kNone};
  std::atomic<bool> requested_{false};
  std::atomic<bool> stopped_{false};
  sem_t wake_{};
  pthread_t thread_{};
};

}  // namespace qx::logger
