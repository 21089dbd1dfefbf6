#pragma once

#include <pthread.h>
#include <semaphore.h>

#include <atomic>
#include <functional>

namespace qx::logger {

/// Writes out what a flood of records has left pending, a moment after its last record: a thread
/// that sleeps until a record is left pending, then pauses, then flushes.
class IdleFlusher {
 public:
  /// `pause` and `flush` are called on the flusher's thread.
  IdleFlusher(std::function<void()> pause, std::function<void()> flush);
  ~IdleFlusher();
  IdleFlusher(const IdleFlusher&) = delete;
  IdleFlusher& operator=(const IdleFlusher&) = delete;

  /// Starts the thread at the first call. False if there is none: nothing may be left pending.
  bool isReady() { return state_.load(std::memory_order_acquire) == State::kRunning || start(); }

  /// Asks for a flush after a pause from now.
  void request();

  /// Ends the thread after what it is doing.
  void stop();

  /// For the child of a fork, which has no such thread. It gets one of its own when it needs it.
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
