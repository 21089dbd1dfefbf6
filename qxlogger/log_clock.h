#pragma once

// The time for the logging component.

#include <cstdint>

namespace qx::logger {

/// A source of time, passed in so that tests can set it.
class LogClock {
 public:
  virtual ~LogClock() = default;
  /// Returns nanoseconds of a clock that never goes back. Exact to a few milliseconds only, but
  /// very cheap.
  virtual std::int64_t coarseNanoseconds() = 0;
  /// Returns nanoseconds since 1970-01-01 UTC.
  virtual std::int64_t wallNanoseconds() = 0;

  /// Returns the machine's clock, which lives as long as the process.
  static LogClock& system();
};

inline constexpr std::int64_t kNanosecondsPerMillisecond = 1'000'000;
inline constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

}  // namespace qx::logger
