#pragma once

// Time and waiting. Code that reads the time or waits uses the current clock, so that a test can
// replace it by a clock whose time passes without waiting.

#include "qxframework/automation/export.h"

#include <chrono>
#include <future>

namespace qx {

/// A source of time, and a way to wait.
class Clock {
 public:
  virtual ~Clock() = default;
  /// Returns the time of day. It jumps when the machine's clock is set.
  virtual std::chrono::system_clock::time_point now() = 0;
  /// Returns a time that never goes back, for measuring intervals.
  virtual std::chrono::steady_clock::time_point monotonic() = 0;
  /// Blocks the calling thread. Returns at once if `duration` is zero or negative.
  virtual void sleepFor(std::chrono::milliseconds duration) = 0;
  /// Blocks the calling thread until `event` is ready or `limit` has passed. Returns true if it is
  /// ready.
  virtual bool waitFor(const std::future<void>& event, std::chrono::milliseconds limit) {
    return event.wait_for(limit) == std::future_status::ready;
  }
};

/// Returns the machine's clock, which lives as long as the process.
QX_API Clock& systemClock();

/// Returns the clock of this process: the machine's, unless another one was set.
QX_API Clock& currentClock();

/// Makes `clock`, or the machine's clock if it is null, the current one and returns the previous
/// one. `clock` must live until another one is set.
QX_API Clock& setCurrentClock(Clock* clock);

/// A clock for tests. It advances only by advance() and by the two waits, which return at once.
class ManualClock : public Clock {
 public:
  explicit ManualClock(std::chrono::system_clock::time_point start = {}) : now_(start) {}

  std::chrono::system_clock::time_point now() override { return now_; }
  std::chrono::steady_clock::time_point monotonic() override { return monotonic_; }
  void sleepFor(std::chrono::milliseconds duration) override {
    ++sleeps_;
    if (duration.count() > 0) advance(duration);
  }
  bool waitFor(const std::future<void>& event, std::chrono::milliseconds limit) override {
    if (Clock::waitFor(event, {})) return true;
    sleepFor(limit);
    return Clock::waitFor(event, {});
  }

  void advance(std::chrono::milliseconds duration) {
    now_ += duration;
    monotonic_ += duration;
  }
  /// Sets the time of day without any time passing.
  void setNow(std::chrono::system_clock::time_point now) { now_ = now; }
  /// Returns the number of calls of sleepFor() so far.
  int sleeps() const { return sleeps_; }

 private:
  std::chrono::system_clock::time_point now_;
  std::chrono::steady_clock::time_point monotonic_;
  int sleeps_ = 0;
};

/// Makes a clock the current one while this object lives, then restores the previous one.
class ScopedClock {
 public:
  explicit ScopedClock(Clock& clock) : before_(setCurrentClock(&clock)) {}
  ~ScopedClock() { setCurrentClock(&before_); }
  ScopedClock(const ScopedClock&) = delete;
  ScopedClock& operator=(const ScopedClock&) = delete;

 private:
  Clock& before_;
};

}  // namespace qx
