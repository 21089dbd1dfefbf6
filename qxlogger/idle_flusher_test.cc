#include "qxlogger/idle_flusher.h"

#include <gtest/gtest.h>

#include <semaphore>

namespace qx::logger {
namespace {

TEST(IdleFlusher, FlushesOnceForManyRequestsAfterItsPause) {
  std::counting_semaphore<> pauses(0);
  std::counting_semaphore<> flushes(0);
  IdleFlusher flusher([&] { pauses.acquire(); }, [&] { flushes.release(); });
  ASSERT_TRUE(flusher.isReady());
  for (int i = 0; i < 100; ++i) flusher.request();
  pauses.release();
  flushes.acquire();
  flusher.request();
  pauses.release();
  flushes.acquire();
  flusher.stop();
  EXPECT_FALSE(flushes.try_acquire());
}

TEST(IdleFlusher, StartsAgainAfterAStop) {
  std::counting_semaphore<> flushes(0);
  IdleFlusher flusher([] {}, [&] { flushes.release(); });
  ASSERT_TRUE(flusher.isReady());
  flusher.stop();
  ASSERT_TRUE(flusher.isReady());
  flusher.request();
  flushes.acquire();
}

TEST(IdleFlusher, NeverFlushesIfNeverStarted) {
  IdleFlusher flusher([] {}, [] { FAIL(); });
}

}  // namespace
}  // namespace qx::logger
