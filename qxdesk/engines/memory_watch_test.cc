#include "qxdesk/engines/memory_watch.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <vector>

namespace qx::desk {
namespace {

constexpr std::size_t kMost = 1000;

/// Memory as a test says, which counts the looks of the thread.
class FakeMemory {
 public:
  MemoryWatch::Resident resident() {
    return [this] { return look(); };
  }
  void grow(std::size_t bytes) {
    const std::lock_guard lock(mutex_);
    bytes_ += bytes;
  }
  /// Waits until the thread has looked that many times more.
  void awaitLooks(int count) {
    std::unique_lock lock(mutex_);
    const int wanted = looks_ + count;
    looked_.wait(lock, [&] { return looks_ >= wanted; });
  }

 private:
  std::size_t look() {
    const std::lock_guard lock(mutex_);
    ++looks_;
    looked_.notify_all();
    return bytes_;
  }

  std::mutex mutex_;
  std::condition_variable looked_;
  int looks_ = 0;
  std::size_t bytes_ = 5000;
};

class MemoryWatchTest : public testing::Test {
 protected:
  /// A call that counts its cancellations.
  auto cancelling() {
    return [this] { ++cancels; };
  }
  FakeMemory memory;
  std::atomic<int> cancels = 0;
  MemoryWatch watch{kMost, memory.resident(), {std::chrono::milliseconds(1), 100}};
};

TEST_F(MemoryWatchTest, ACallThatTakesMoreThanTheLimitIsCancelledOnce) {
  MemoryWatch::Call call(watch, cancelling());
  memory.awaitLooks(1);
  memory.grow(kMost + 1);
  memory.awaitLooks(3);
  EXPECT_TRUE(call.end());
  EXPECT_EQ(cancels, 1);
}

TEST_F(MemoryWatchTest, ACallWithinTheLimitIsLeftAlone) {
  MemoryWatch::Call call(watch, cancelling());
  memory.awaitLooks(1);
  memory.grow(kMost);
  memory.awaitLooks(2);
  EXPECT_FALSE(call.end());
  EXPECT_EQ(cancels, 0);
}

TEST_F(MemoryWatchTest, EachCallHasTheWholeLimit) {
  for (int i = 0; i < 3; ++i) {
    MemoryWatch::Call call(watch, cancelling());
    memory.awaitLooks(1);
    memory.grow(kMost);
    memory.awaitLooks(2);
    EXPECT_FALSE(call.end()) << i;
  }
  MemoryWatch::Call call(watch, cancelling());
  memory.awaitLooks(1);
  memory.grow(kMost + 1);
  memory.awaitLooks(2);
  EXPECT_TRUE(call.end());
}

TEST_F(MemoryWatchTest, GrowthBetweenCallsDoesNotCount) {
  { const MemoryWatch::Call call(watch, cancelling()); }
  memory.grow(100 * kMost);
  MemoryWatch::Call call(watch, cancelling());
  memory.awaitLooks(3);
  EXPECT_FALSE(call.end());
}

TEST_F(MemoryWatchTest, TheThreadWakesForACallHoweverShortTheOnesBeforeIt) {
  MemoryWatch sleepy(kMost, memory.resident(), {std::chrono::milliseconds(1), 0});
  for (int i = 0; i < 1000; ++i) {
    const MemoryWatch::Call call(sleepy, cancelling());
  }
  for (int i = 0; i < 3; ++i) {
    MemoryWatch::Call call(sleepy, cancelling());
    memory.awaitLooks(1);
    memory.grow(kMost + 1);
    memory.awaitLooks(2);
    EXPECT_TRUE(call.end()) << i;
  }
  EXPECT_EQ(cancels, 3);
}

TEST_F(MemoryWatchTest, ManyShortCallsNeedNoLook) {
  for (int i = 0; i < 100'000; ++i) {
    MemoryWatch::Call call(watch, cancelling());
    EXPECT_FALSE(call.end());
  }
  EXPECT_EQ(cancels, 0);
}

TEST(MemoryWatch, TheMemoryOfThisProcessGrowsWithWhatIsWritten) {
  constexpr std::size_t kBytes = 64 << 20;
  const std::size_t before = residentMemory();
  const std::vector<char> block(kBytes, 'x');
  EXPECT_GE(residentMemory(), before + kBytes / 2);
  EXPECT_EQ(block.back(), 'x');
}

TEST(MemoryWatch, TheFailureNamesTheLimit) {
  const DatabaseError error = needsTooMuchMemory(16 << 20);
  EXPECT_EQ(error.fault(), Fault::Cancelled);
  EXPECT_STREQ(error.what(), "its rows take more than 16 MB, the limit of the key memory");
}

}  // namespace
}  // namespace qx::desk
