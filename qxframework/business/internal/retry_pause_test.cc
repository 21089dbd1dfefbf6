#include "qxframework/business/internal/retry_pause.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace qx {
namespace {

class RetryPause : public testing::Test {
 protected:
  ~RetryPause() override { setRetryRandom({}); }
  static std::vector<long> pauses(double random) {
    setRetryRandom([random] { return random; });
    std::vector<long> found;
    for (int tries = 1; tries <= 10; ++tries)
      found.push_back(static_cast<long>(retryPause(tries).count()));
    return found;
  }
};

TEST_F(RetryPause, GrowsUpTo200Milliseconds) {
  EXPECT_THAT(pauses(0.5), testing::ElementsAre(5, 10, 20, 40, 80, 160, 200, 200, 200, 200));
}

TEST_F(RetryPause, IsRandomBetweenAHalfAndOneAndAHalfOfIt) {
  EXPECT_THAT(pauses(0), testing::ElementsAre(2, 5, 10, 20, 40, 80, 100, 100, 100, 100));
  EXPECT_THAT(pauses(0.999), testing::ElementsAre(7, 14, 29, 59, 119, 239, 299, 299, 299, 299));
}

TEST_F(RetryPause, DoesNotOverflowAfterManyTries) {
  setRetryRandom([] { return 0.5; });
  EXPECT_EQ(retryPause(2'000'000'000).count(), 200);
}

TEST_F(RetryPause, DiffersFromTryToTryWithTheProcessesOwnRandom) {
  setRetryRandom({});
  std::vector<long> found;
  for (int i = 0; i < 20; ++i) found.push_back(static_cast<long>(retryPause(20).count()));
  EXPECT_THAT(found, testing::Each(testing::AllOf(testing::Ge(100), testing::Lt(300))));
  EXPECT_NE(found, std::vector<long>(20, found[0]));
}

}  // namespace
}  // namespace qx
