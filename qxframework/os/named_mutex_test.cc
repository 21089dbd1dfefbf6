#include "qxframework/os/named_mutex.h"

#include "qxframework/os/test_support.h"
#include "testing/scoped_variable.h"
#include "testing/temp_folder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <mutex>
#include <system_error>
#include <thread>

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
