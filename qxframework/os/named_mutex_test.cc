#include "qxframework/os/named_mutex.h"

#include "qxframework/os/shared_file.h"
#include "qxframework/os/test_support.h"
#include "testing/scoped_variable.h"
#include "testing/temp_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

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

class SharedFileTest : public testing::Test {
 protected:
  test::TempFolder folder_;
};

TEST_F(SharedFileTest, IsForEveryUserDespiteTheUmask) {
  const mode_t before = umask(0077);
  openSharedFile(folder_.path(), u"Start", ".x");
  umask(before);
  struct stat status {};
  ASSERT_EQ(stat((folder_.path() / "Start.x").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0666U);
}

TEST_F(SharedFileTest, LeavesNoTemporaryFile) {
  openSharedFile(folder_.path(), u"Start", ".x");
  openSharedFile(folder_.path(), u"Start", ".x");
  const std::filesystem::directory_iterator files(folder_.path());
  EXPECT_EQ(std::distance(begin(files), end(files)), 1);
}

TEST_F(SharedFileTest, UnsafeCharactersOfANameAreEscaped) {
  openSharedFile(folder_.path(), u"../a/ü.%2F", ".x");
  EXPECT_TRUE(std::filesystem::exists(folder_.path() / "%2E%2E%2Fa%2F%C3%BC%2E%252F.x"));
}

TEST_F(SharedFileTest, ALinkIsNotFollowed) {
  const std::filesystem::path victim = folder_.path() / "victim";
  std::filesystem::create_symlink(victim, folder_.path() / "Start.x");
  EXPECT_THROW(openSharedFile(folder_.path(), u"Start", ".x"), std::system_error);
  EXPECT_FALSE(std::filesystem::exists(victim));
}

TEST_F(SharedFileTest, TheDefaultFolderIsForEveryUserAndSticky) {
  const test::ScopedVariable environment("QX_RUNTIME_DIR", nullptr);
  struct stat status {};
  ASSERT_EQ(stat(runtimeFolder().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 01777U);
}

}  // namespace
}  // namespace qx
