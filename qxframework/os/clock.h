#pragma once

// Time and waiting, as the framework sees them. Code that waits asks the current clock, so that a
// test can put one in its place whose time passes without waiting.

#include "qxframework/automation/export.h"

#include <chrono>

namespace qx {

class Clock {
 public:
  virtual ~Clock() = default;
  /// The time of day; it may be set forth and back.
  virtual std::chrono::system_clock::time_point now() = 0;
  /// A time that only moves forward, for distances.
  virtual std::chrono::steady_clock::time_point monotonic() = 0;
  /// Blocks the calling thread; nothing or less returns at once.
  virtual void sleepFor(std::chrono::milliseconds duration) = 0;
};

/// The machine's clock.
QX_API Clock& systemClock();

/// The clock of this process: the machine's, unless another one was set.
QX_API Clock& currentClock();

/// Makes `clock` the current one, null the machine's; it must live until another one is set. The
/// result is the clock before.
QX_API Clock& setCurrentClock(Clock* clock);

/// A clock that stands still until it is moved; waiting moves it at once. For tests.
class ManualClock : public Clock {
 public:
  explicit ManualClock(std::chrono::system_clock::time_point start = {}) : now_(start) {}

  std::chrono::system_clock::time_point now() override { return now_; }
  std::chrono::steady_clock::time_point monotonic() override { return monotonic_; }
  void sleepFor(std::chrono::milliseconds duration) override {
    ++sleeps_;
    if (duration.count() > 0) advance(duration);
  }

  void advance(std::chrono::milliseconds duration) {
    now_ += duration;
    monotonic_ += duration;
  }
  /// Sets the time of day without any time passing.
  void setNow(std::chrono::system_clock::time_point now) { now_ = now; }
  /// How often it was waited.
  int sleeps() const { return sleeps_; }

 private:
  std::chrono::system_clock::time_point now_;
  std::chrono::steady_clock::time_point monotonic_;
  int sleeps_ = 0;
};

/// Makes a clock the current one for as long as this object lives.
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
