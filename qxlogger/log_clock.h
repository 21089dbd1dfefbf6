#pragma once

#include <cstdint>

namespace qx::logger {

/// The time as the logging component sees it; handed in, so that tests can set it.
class LogClock {
 public:
  virtual ~LogClock() = default;
  /// Nanoseconds of a clock that never goes back. Good to a few milliseconds, and very cheap.
  virtual std::int64_t coarseNanoseconds() = 0;
  /// Nanoseconds since 1970-01-01 UTC.
  virtual std::int64_t wallNanoseconds() = 0;

  static LogClock& system();
};

inline constexpr std::int64_t kNanosecondsPerMillisecond = 1'000'000;
inline constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

}  // namespace qx::logger
