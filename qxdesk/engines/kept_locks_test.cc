#include "qxdesk/engines/kept_locks.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <future>
#include <semaphore>

namespace qx::desk {
namespace {

using TimePoint = KeptLocks::TimePoint;
using std::chrono::milliseconds;

TimePoint now() { return std::chrono::steady_clock::now(); }

/// Joins the locks as long as it lives.
class TestKeeper final : public KeptLocks::Keeper {
 public:
  explicit TestKeeper(KeptLocks& locks) : locks_(locks) { locks_.join(*this); }
  ~TestKeeper() override { locks_.leave(*this); }
  std::optional<TimePoint> giveUpDue(TimePoint time) override { return onDue(time); }
  bool yield(std::string_view database, std::int64_t key) override {
    asked = std::string(database) + " " + std::to_string(key);
    return heldByCaller;
  }

  std::function<std::optional<TimePoint>(TimePoint)> onDue = [](TimePoint) {
    return std::optional<TimePoint>();
  };
  std::string asked;
  bool heldByCaller = false;

 private:
  KeptLocks& locks_;
};

class KeptLocksTest : public testing::Test {
 protected:
  // The thread looks once for each lock and sleeps then.
  KeptLocks locks{KeptLocks::Pace{milliseconds(0), milliseconds(0)}};
};

TEST_F(KeptLocksTest, AKeptLockIsGivenUpWhenItIsDue) {
  const TimePoint due = now() + milliseconds(2);
  std::promise<TimePoint> called;
  TestKeeper keeper(locks);
  keeper.onDue = [&](TimePoint time) {
    called.set_value(time);
    return std::nullopt;
  };
  ASSERT_TRUE(locks.isReady());
  locks.watch(due);
  EXPECT_GE(called.get_future().get(), due);
  locks.stop();
}

TEST_F(KeptLocksTest, AKeeperThatStillKeepsItsLockIsCalledAgain) {
  std::promise<void> done;
  int calls = 0;
  TestKeeper keeper(locks);
  keeper.onDue = [&](TimePoint time) -> std::optional<TimePoint> {
    if (++calls < 3) return time + milliseconds(1);
    done.set_value();
    return std::nullopt;
  };
  ASSERT_TRUE(locks.isReady());
  locks.watch(now());
  done.get_future().wait();
  locks.stop();
}

TEST_F(KeptLocksTest, TheThreadIsWokenForALockThatIsDueSooner) {
  std::promise<void> called;
  TestKeeper keeper(locks);
  keeper.onDue = [&](TimePoint) {
    called.set_value();
    return std::optional<TimePoint>();
  };
  ASSERT_TRUE(locks.isReady());
  locks.watch(now() + std::chrono::hours(1));
  locks.watch(now());
  called.get_future().wait();
  locks.stop();
}

TEST_F(KeptLocksTest, TheThreadThatSleepsIsWokenForEachLock) {
  std::counting_semaphore<> calls{0};
  TestKeeper keeper(locks);
  keeper.onDue = [&](TimePoint) {
    calls.release();
    return std::optional<TimePoint>();
  };
  ASSERT_TRUE(locks.isReady());
  for (int i = 0; i < 1000; ++i) {
    locks.watch(now());
    calls.acquire();
  }
  locks.stop();
}

TEST(KeptLocksPace, TheThreadLooksAFewTimesMoreBeforeItSleeps) {
  KeptLocks locks({std::chrono::hours(1), milliseconds(1)});
  std::counting_semaphore<> calls{0};
  TestKeeper keeper(locks);
  keeper.onDue = [&](TimePoint) {
    calls.release();
    return std::optional<TimePoint>();
  };
  ASSERT_TRUE(locks.isReady());
  locks.watch(now());
  for (int i = 0; i < 3; ++i) calls.acquire();
  locks.stop();
}

TEST_F(KeptLocksTest, AllKeepersButTheAskingOneYieldALock) {
  TestKeeper asking(locks);
  TestKeeper other(locks);
  asking.heldByCaller = true;
  EXPECT_FALSE(locks.wouldWaitForItself(asking, "company", 7));
  EXPECT_EQ(asking.asked, "");
  EXPECT_EQ(other.asked, "company 7");
  other.heldByCaller = true;
  EXPECT_TRUE(locks.wouldWaitForItself(asking, "company", 7));
}

TEST_F(KeptLocksTest, AKeeperThatHasLeftIsNotAsked) {
  TestKeeper asking(locks);
  {
    TestKeeper other(locks);
    other.heldByCaller = true;
  }
  EXPECT_FALSE(locks.wouldWaitForItself(asking, "company", 7));
}

TEST_F(KeptLocksTest, NothingIsKeptAfterTheStop) {
  EXPECT_TRUE(locks.isReady());
  locks.stop();
  EXPECT_FALSE(locks.isReady());
}

// The child has neither the thread of its parent nor the right to use its connections.
TEST(KeptLocksOfProcess, AForkedProcessHasAThreadOfItsOwnAndNoKeepers) {
  KeptLocks& locks = KeptLocks::ofProcess();
  TestKeeper asking(locks);
  TestKeeper other(locks);
  other.heldByCaller = true;
  ASSERT_TRUE(locks.isReady());
  const pid_t child = fork();
  if (child == 0) {
    alarm(60);  // ends a child that waits for the parent's thread
    KeptLocks& own = KeptLocks::ofProcess();
    if (own.wouldWaitForItself(asking, "company", 7)) _exit(1);
    std::counting_semaphore<> calls{0};
    TestKeeper keeper(own);
    keeper.onDue = [&](TimePoint) {
      calls.release();
      return std::optional<TimePoint>();
    };
    if (!own.isReady()) _exit(2);
    own.watch(now());
    calls.acquire();
    own.stop();
    _exit(0);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(locks.wouldWaitForItself(asking, "company", 7));
}

}  // namespace
}  // namespace qx::desk
