#include "qxdesk/web/rate_limit.h"

#include <gtest/gtest.h>

namespace qx::web {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

/// Returns how many of `tries` events at one time are allowed.
int allowed(RateLimit& limit, RateLimit::Time now, int tries) {
  int count = 0;
  for (int i = 0; i < tries; ++i) count += limit.allow(now) ? 1 : 0;
  return count;
}

TEST(RateLimit, AllowsTheBurstAndThenTheRate) {
  RateLimit limit(200, 400);
  const RateLimit::Time start{seconds(1000)};
  EXPECT_EQ(allowed(limit, start, 1000), 400);
  EXPECT_EQ(allowed(limit, start + milliseconds(5), 10), 1);
  EXPECT_EQ(allowed(limit, start + milliseconds(505), 1000), 100);
  EXPECT_EQ(allowed(limit, start + seconds(60), 1000), 400);
}

TEST(RateLimit, GainsNothingFromAClockThatGoesBack) {
  RateLimit limit(200, 400);
  const RateLimit::Time start{seconds(1000)};
  EXPECT_EQ(allowed(limit, start, 1000), 400);
  EXPECT_EQ(allowed(limit, start - seconds(10), 10), 0);
  EXPECT_EQ(allowed(limit, start, 10), 0);
}

TEST(RateLimit, CountsFromAnyTime) {
  RateLimit limit(1, 2);
  EXPECT_EQ(allowed(limit, RateLimit::Time::max(), 10), 2);
}

}  // namespace
}  // namespace qx::web
