#include "qxframework/os/clock.h"

#include <gtest/gtest.h>

namespace qx {
namespace {

using std::chrono::milliseconds;

TEST(Clock, CurrentClockIsTheSystemClockByDefault) { EXPECT_EQ(&currentClock(), &systemClock()); }

TEST(Clock, MonotonicTimeDoesNotGoBack) {
  const auto first = systemClock().monotonic();
  EXPECT_GE(systemClock().monotonic(), first);
}

TEST(Clock, SleepTakesAtLeastItsDuration) {
  const auto first = systemClock().monotonic();
  systemClock().sleepFor(milliseconds(1));
  EXPECT_GE(systemClock().monotonic() - first, milliseconds(1));
  systemClock().sleepFor(milliseconds(-1));
}

TEST(Clock, ScopeReplacesTheCurrentClockAndRestoresIt) {
  ManualClock outer;
  const ScopedClock outerScope(outer);
  {
    ManualClock inner;
    const ScopedClock innerScope(inner);
    EXPECT_EQ(&currentClock(), &inner);
  }
  EXPECT_EQ(&currentClock(), &outer);
}

TEST(Clock, SettingNullRestoresTheSystemClock) {
  ManualClock clock;
  EXPECT_EQ(&setCurrentClock(&clock), &systemClock());
  EXPECT_EQ(&setCurrentClock(nullptr), &clock);
  EXPECT_EQ(&currentClock(), &systemClock());
}

TEST(ManualClock, SleepingAdvancesItWithoutWaiting) {
  ManualClock clock(std::chrono::system_clock::time_point(milliseconds(5)));
  const auto before = clock.monotonic();
  clock.sleepFor(std::chrono::minutes(30));
  clock.sleepFor(milliseconds(-7));
  EXPECT_EQ(clock.now().time_since_epoch(), milliseconds(5) + std::chrono::minutes(30));
  EXPECT_EQ(clock.monotonic() - before, std::chrono::minutes(30));
  EXPECT_EQ(clock.sleeps(), 2);
}

TEST(Clock, AWaitEndsWhenItsEventIsReadyOrItsTimeIsOver) {
  std::promise<void> promise;
  const std::future<void> event = promise.get_future();
  EXPECT_FALSE(systemClock().waitFor(event, milliseconds(0)));
  promise.set_value();
  EXPECT_TRUE(systemClock().waitFor(event, std::chrono::hours(1)));
}

TEST(ManualClock, AWaitForAnEventAdvancesItUnlessTheEventIsReady) {
  ManualClock clock;
  const auto before = clock.monotonic();
  std::promise<void> promise;
  const std::future<void> event = promise.get_future();
  EXPECT_FALSE(clock.waitFor(event, milliseconds(7)));
  EXPECT_EQ(clock.monotonic() - before, milliseconds(7));
  promise.set_value();
  EXPECT_TRUE(clock.waitFor(event, milliseconds(7)));
  EXPECT_EQ(clock.monotonic() - before, milliseconds(7));
}

TEST(ManualClock, TimeOfDayCanJumpWithoutTimePassing) {
  ManualClock clock(std::chrono::system_clock::time_point(milliseconds(500)));
  const auto before = clock.monotonic();
  clock.setNow(std::chrono::system_clock::time_point(milliseconds(5)));
  EXPECT_EQ(clock.now().time_since_epoch(), milliseconds(5));
  EXPECT_EQ(clock.monotonic(), before);
}

}  // namespace
}  // namespace qx
