#include "qxframework/os/clock.h"

#include <atomic>
#include <thread>

namespace qx {
namespace {

class SystemClock : public Clock {
 public:
  std::chrono::system_clock::time_point now() override { return std::chrono::system_clock::now(); }
  std::chrono::steady_clock::time_point monotonic() override {
    return std::chrono::steady_clock::now();
  }
  void sleepFor(std::chrono::milliseconds duration) override {
    std::this_thread::sleep_for(duration);
  }
};

// Null means the machine's clock.
std::atomic<Clock*> g_current{nullptr};

}  // namespace

Clock& systemClock() {
  // Never destroyed, because destructors of statics and ending threads still read the time.
  static auto* clock = new SystemClock;
  return *clock;
}

Clock& currentClock() {
  Clock* clock = g_current.load(std::memory_order_acquire);
  return clock != nullptr ? *clock : systemClock();
}

Clock& setCurrentClock(Clock* clock) {
  Clock* before = g_current.exchange(clock, std::memory_order_acq_rel);
  return before != nullptr ? *before : systemClock();
}

}  // namespace qx
