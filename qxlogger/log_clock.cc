#include "qxlogger/log_clock.h"

#include <ctime>

namespace qx::logger {
namespace {

std::int64_t read(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return std::int64_t{time.tv_sec} * kNanosecondsPerSecond + time.tv_nsec;
}

class SystemClock final : public LogClock {
 public:
  std::int64_t coarseNanoseconds() override { return read(CLOCK_MONOTONIC_COARSE); }
  std::int64_t wallNanoseconds() override { return read(CLOCK_REALTIME); }
};

}  // namespace

LogClock& LogClock::system() {
  // Never destroyed, because destructors of statics still write log records.
  static auto* const clock = new SystemClock;
  return *clock;
}

}  // namespace qx::logger
