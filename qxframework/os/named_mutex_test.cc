#include "qxframework/os/named_mutex.h"

#include "qxframework/os/clock.h"
#include "qxframework/os/shared_file.h"
#include "qxframework/os/test_support.h"
#include "testing/scoped_variable.h"
#include "testing/temp_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include <cerrno>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <vector>

namespace qx {
namespace {

class NamedMutexTest : public testing::Test {
 protected:
  bool isFree() {
    NamedMutex mutex(u"Start", folder_.path());
    const bool taken = mutex.try_lock();
    if (taken) mutex.unlock();
    return taken;
  }

  test::TempFolder folder_;
};

TEST_F(NamedMutexTest, IsNotLockedAtFirst) {
  const NamedMutex mutex(u"Start", folder_.path());
  EXPECT_TRUE(isFree());
}

TEST_F(NamedMutexTest, TwoObjectsInOneProcessExcludeEachOther) {
  NamedMutex mutex(u"Start", folder_.path());
  mutex.lock();
  EXPECT_FALSE(isFree());
  mutex.unlock();
  EXPECT_TRUE(isFree());
}

TEST_F(NamedMutexTest, DifferentNamesDoNotExcludeEachOther) {
  NamedMutex mutex(u"Start", folder_.path());
  const std::lock_guard lock(mutex);
  NamedMutex other(u"start", folder_.path());
  EXPECT_TRUE(other.try_lock());
  other.unlock();
}

TEST_F(NamedMutexTest, ItsThreadCanLockItAgain) {
  NamedMutex mutex(u"Start", folder_.path());
  mutex.lock();
  EXPECT_TRUE(mutex.try_lock());
  mutex.unlock();
  EXPECT_FALSE(isFree());
  mutex.unlock();
  EXPECT_TRUE(isFree());
}

TEST_F(NamedMutexTest, ThreadsThatShareAnObjectExcludeEachOther) {
  NamedMutex mutex(u"Start", folder_.path());
  mutex.lock();
  std::thread([&] { EXPECT_FALSE(mutex.try_lock()); }).join();
  mutex.unlock();
  std::thread([&] {
    EXPECT_TRUE(mutex.try_lock());
    mutex.unlock();
  }).join();
}

TEST_F(NamedMutexTest, WaitsForTheOtherProcessToUnlock) {
  NamedMutex mutex(u"Start", folder_.path());
  mutex.lock();
  ChildProcess child([this](const ChildProcess::End& parent) {
    NamedMutex own(u"Start", folder_.path());
    parent.say(own.try_lock() ? 'f' : 't');
    own.lock();
    parent.say('l');
    parent.hear();
    own.unlock();
    parent.say('u');
    parent.hear();
  });
  EXPECT_EQ(child.end().hear(), 't');
  mutex.unlock();
  EXPECT_EQ(child.end().hear(), 'l');
  EXPECT_FALSE(isFree());
  child.end().say('g');
  EXPECT_EQ(child.end().hear(), 'u');
  EXPECT_TRUE(isFree());
}

TEST_F(NamedMutexTest, AKilledHolderReleasesIt) {
  ChildProcess child([this](const ChildProcess::End& parent) {
    NamedMutex own(u"Start", folder_.path());
    own.lock();
    parent.say('l');
    parent.hear();
  });
  ASSERT_EQ(child.end().hear(), 'l');
  EXPECT_FALSE(isFree());
  child.kill();
  EXPECT_TRUE(isFree());
}

extern "C" void ignoreSignal(int) {}

TEST_F(NamedMutexTest, ASignalDoesNotEndTheWait) {
  NamedMutex mutex(u"Start", folder_.path());
  mutex.lock();
  struct sigaction action {};
  action.sa_handler = ignoreSignal;  // without SA_RESTART: system calls are interrupted
  struct sigaction before {};
  ASSERT_EQ(sigaction(SIGUSR1, &action, &before), 0);
  ChildProcess child([this](const ChildProcess::End& parent) {
    NamedMutex own(u"Start", folder_.path());
    parent.say('w');
    own.lock();
    parent.say('l');
    own.unlock();
  });
  ASSERT_EQ(child.end().hear(), 'w');
  // The signal may arrive during the wait or just before it; either way the child gets the lock.
  child.signal(SIGUSR1);
  mutex.unlock();
  EXPECT_EQ(child.end().hear(), 'l');
  sigaction(SIGUSR1, &before, nullptr);
}

/// A clock whose first waits end at once, without the event. Then it lets the holder go and waits
/// for the event without a limit.
class WaitingClock : public ManualClock {
 public:
  WaitingClock(int timeouts, std::function<void()> letGo)
      : timeouts_(timeouts), letGo_(std::move(letGo)) {}
  bool waitFor(const std::future<void>& event, std::chrono::milliseconds) override {
    if (timeouts_-- > 0) return false;
    letGo_();
    event.wait();
    return true;
  }

 private:
  int timeouts_;
  std::function<void()> letGo_;
};

class NamedMutexNotices : public NamedMutexTest {
 protected:
  struct Notice {
    std::optional<LockHolder> holder;
    long seconds;
    bool operator==(const Notice&) const = default;
  };
  MutexNotice noting() {
    return [this](const std::optional<LockHolder>& holder, std::chrono::seconds waited) {
      notices_.push_back({holder, static_cast<long>(waited.count())});
    };
  }
  /// Waits for `mutex` until `timeouts` waits have ended, then calls `letGo`.
  void waitFor(NamedMutex& mutex, int timeouts, std::function<void()> letGo,
               const MutexNotice& notice) {
    WaitingClock clock(timeouts, std::move(letGo));
    const ScopedClock scope(clock);
    mutex.lock(notice);
  }

  const LockHolder self_{getpid(), u"qxframework_os_test"};
  std::vector<Notice> notices_;
};

TEST_F(NamedMutexNotices, NameTheHolderAfterTwoSecondsAndThenEachMinute) {
  NamedMutex holder(u"Start", folder_.path());
  NamedMutex mutex(u"Start", folder_.path());
  holder.lock();
  waitFor(
      mutex, 3, [&] { holder.unlock(); }, noting());
  EXPECT_THAT(notices_,
              testing::ElementsAre(Notice{self_, 2}, Notice{self_, 62}, Notice{self_, 122}));
  EXPECT_FALSE(isFree());
  mutex.unlock();
  EXPECT_TRUE(isFree());
}

TEST_F(NamedMutexNotices, NameTheProcessThatHoldsIt) {
  ChildProcess child([this](const ChildProcess::End& parent) {
    NamedMutex own(u"Start", folder_.path());
    own.lock();
    parent.say('l');
    parent.hear();
    own.unlock();
  });
  ASSERT_EQ(child.end().hear(), 'l');
  NamedMutex mutex(u"Start", folder_.path());
  waitFor(
      mutex, 1, [&] { child.end().say('g'); }, noting());
  ASSERT_EQ(notices_.size(), 1U);
  ASSERT_TRUE(notices_[0].holder);
  EXPECT_NE(notices_[0].holder->processId, getpid());
  EXPECT_EQ(notices_[0].holder->program, u"qxframework_os_test");
  mutex.unlock();
}

// A release that does not write itself into the file.
TEST_F(NamedMutexNotices, NameNoHolderIfItHasNotWrittenItself) {
  NamedMutex mutex(u"Start", folder_.path());
  UniqueFd other = openSharedFile(folder_.path(), u"Start", ".mutex");
  lockFile(other.get(), LOCK_EX);
  waitFor(
      mutex, 1, [&] { lockFile(other.get(), LOCK_UN); }, noting());
  EXPECT_THAT(notices_, testing::ElementsAre(Notice{std::nullopt, 2}));
  mutex.unlock();
}

TEST_F(NamedMutexNotices, AreNotGivenWithoutAWait) {
  NamedMutex mutex(u"Start", folder_.path());
  mutex.lock(noting());
  mutex.lock(noting());
  EXPECT_FALSE(isFree());
  mutex.unlock();
  mutex.unlock();
  EXPECT_TRUE(isFree());
  EXPECT_TRUE(notices_.empty());
}

TEST_F(NamedMutexNotices, ThatThrowDoNotEndTheWait) {
  NamedMutex holder(u"Start", folder_.path());
  NamedMutex mutex(u"Start", folder_.path());
  holder.lock();
  waitFor(
      mutex, 2, [&] { holder.unlock(); },
      [](const auto&, auto) { throw std::runtime_error("no"); });
  EXPECT_FALSE(isFree());
  mutex.unlock();
}

TEST_F(NamedMutexTest, ThrowsIfTheFolderIsMissing) {
  EXPECT_THROW(NamedMutex(u"Start", folder_.path() / "none"), std::system_error);
}

TEST_F(NamedMutexTest, IsInTheRuntimeFolder) {
  const std::filesystem::path place = folder_.path() / "deep" / "runtime";
  const test::ScopedVariable environment("QX_RUNTIME_DIR", place.c_str());
  const NamedMutex mutex(u"Start");
  EXPECT_TRUE(std::filesystem::exists(place / "Start.mutex"));
}

}  // namespace
}  // namespace qx
