#include "qxdesk/engines/lock_file.h"

#include "qxdesk/engines/test_support.h"
#include "testing/file_content.h"
#include "testing/temp_folder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <fstream>

namespace qx::desk {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using Part = LockFile::Part;

/// A company's file in a fresh folder, and a clock that only waiting moves.
class LockFileTest : public testing::Test {
 protected:
  LockFileTest() {
    environment_.clock = [this] { return now_; };
    environment_.sleep = [this](int ms) {
      ++pauses_;
      now_ += milliseconds(ms);
      if (whileWaiting_) whileWaiting_();
    };
    std::ofstream(company_) << "company";
  }
  std::unique_ptr<LockFile> open() const { return LockFile::open(company_, environment_); }
  bool isThere() const { return fs::exists(fs::symlink_status(file_)); }

  test::TempFolder folder_;
  fs::path company_ = folder_.path() / "company.db";
  fs::path file_ = folder_.path() / "company.db-lock";
  CompanyEnvironment environment_ = testEnvironment();
  std::chrono::steady_clock::time_point now_;
  int pauses_ = 0;
  std::function<void()> whileWaiting_;
};

TEST_F(LockFileTest, OneConnectionAtATimeHasAPart) {
  const auto first = open();
  const auto second = open();
  EXPECT_TRUE(first->take(Part::Tables, milliseconds(0)));
  EXPECT_TRUE(first->has(Part::Tables));
  EXPECT_FALSE(second->take(Part::Tables, milliseconds(0)));
  EXPECT_FALSE(second->has(Part::Tables));
  EXPECT_EQ(pauses_, 0);
  EXPECT_TRUE(first->take(Part::Tables, milliseconds(0)));
  first->release(Part::Tables);
  EXPECT_FALSE(first->has(Part::Tables));
  EXPECT_TRUE(second->take(Part::Tables, milliseconds(0)));
}

TEST_F(LockFileTest, WaitingEndsByTheClock) {
  const auto first = open();
  const auto second = open();
  ASSERT_TRUE(first->take(Part::Tables, milliseconds(0)));
  EXPECT_FALSE(second->take(Part::Tables, milliseconds(1000)));
  EXPECT_EQ(now_.time_since_epoch(), milliseconds(1000));
  EXPECT_LT(pauses_, 40);
}

TEST_F(LockFileTest, AWaiterGetsThePartOnceItIsReleased) {
  const auto first = open();
  const auto second = open();
  ASSERT_TRUE(first->take(Part::Tables, milliseconds(0)));
  whileWaiting_ = [&] { first->release(Part::Tables); };
  EXPECT_TRUE(second->take(Part::Tables, milliseconds(1000)));
  EXPECT_EQ(pauses_, 1);
}

TEST_F(LockFileTest, TheHolderIsNamedByProcessAndProgram) {
  const auto first = open();
  const auto second = open();
  EXPECT_EQ(second->holder(Part::Tables), std::nullopt);
  ASSERT_TRUE(first->take(Part::Tables, milliseconds(0)));
  EXPECT_EQ(second->holder(Part::Tables),
            (LockFile::Holder{getpid(), program_invocation_short_name}));
  first->release(Part::Tables);
  EXPECT_EQ(second->holder(Part::Tables), std::nullopt);
}

TEST_F(LockFileTest, AReleaseWithoutThePartChangesNothing) {
  const auto first = open();
  const auto second = open();
  ASSERT_TRUE(first->take(Part::Tables, milliseconds(0)));
  second->release(Part::Tables);
  EXPECT_TRUE(second->holder(Part::Tables));
}

TEST_F(LockFileTest, AKilledProcessReleasesWhatItHad) {
  std::array<int, 2> ready{};
  ASSERT_EQ(pipe(ready.data()), 0);
  const pid_t child = fork();
  if (child == 0) {
    const auto lock = open();
    const bool took = lock->take(Part::Tables, milliseconds(0));
    if (write(ready[1], took ? "t" : "f", 1) == 1) pause();
    _exit(1);
  }
  char took = 0;
  ASSERT_EQ(read(ready[0], &took, 1), 1);
  EXPECT_EQ(took, 't');
  const auto lock = open();
  EXPECT_EQ(lock->holder(Part::Tables)->process, child);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_TRUE(lock->take(Part::Tables, milliseconds(0)));
}

TEST_F(LockFileTest, TheLastConnectionRemovesTheFile) {
  auto first = open();
  auto second = open();
  EXPECT_TRUE(isThere());
  first.reset();
  EXPECT_TRUE(isThere());
  second.reset();
  EXPECT_FALSE(isThere());
}

TEST_F(LockFileTest, AFileThatWasLeftBehindIsUsedAgain) {
  std::string left;
  {
    const auto lock = open();
    ASSERT_TRUE(lock->take(Part::Tables, milliseconds(0)));
    left = test::contentOfExisting(file_);
  }
  std::ofstream(file_) << left;
  const auto first = open();
  const auto second = open();
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->holder(Part::Tables), std::nullopt);
  ASSERT_TRUE(first->take(Part::Tables, milliseconds(0)));
  EXPECT_FALSE(second->take(Part::Tables, milliseconds(0)));
}

TEST_F(LockFileTest, AFileWithoutItsFirstBytesIsMadeWhole) {
  for (const std::size_t size : {std::size_t{0}, std::size_t{4096}}) {
    std::ofstream(file_) << std::string(size, '\0');
    const auto lock = open();
    ASSERT_NE(lock, nullptr) << size;
    EXPECT_TRUE(lock->take(Part::Tables, milliseconds(0)));
  }
}

TEST_F(LockFileTest, AForeignFileIsLeftAsItIs) {
  for (const std::string& content : {std::string("mine"), std::string(4096, 'x')}) {
    std::ofstream(file_) << content;
    EXPECT_EQ(open(), nullptr);
    EXPECT_EQ(test::contentOfExisting(file_), content);
  }
}

TEST_F(LockFileTest, ASymbolicLinkIsNotFollowed) {
  const fs::path other = folder_.path() / "other";
  fs::create_symlink(other, file_);
  EXPECT_EQ(open(), nullptr);
  EXPECT_FALSE(fs::exists(other));
  EXPECT_TRUE(isThere());
}

TEST_F(LockFileTest, AFolderOrAPipeWithItsNameIsLeftAsItIs) {
  fs::create_directory(file_);
  EXPECT_EQ(open(), nullptr);
  fs::remove(file_);
  ASSERT_EQ(mkfifo(file_.c_str(), 0600), 0);
  EXPECT_EQ(open(), nullptr);
  EXPECT_TRUE(fs::is_fifo(file_));
}

TEST_F(LockFileTest, ALinkToTheCompanyLeadsToTheSameFile) {
  const fs::path link = folder_.path() / "link.db";
  fs::create_symlink(company_, link);
  const auto first = open();
  const auto second = LockFile::open(link, environment_);
  ASSERT_TRUE(first->take(Part::Tables, milliseconds(0)));
  EXPECT_TRUE(second->holder(Part::Tables));
}

TEST_F(LockFileTest, ItHasTheRightsOfTheCompany) {
  const mode_t before = umask(077);
  for (const int mode : {0600, 0664}) {
    fs::permissions(company_, fs::perms(mode));
    const auto lock = open();
    EXPECT_EQ(fs::status(file_).permissions(), fs::perms(mode));
  }
  umask(before);
}

// A process that has opened the file, but does not use it yet, must not keep the removed one.
TEST_F(LockFileTest, AFileThatIsRemovedMeanwhileIsMadeAnew) {
  auto first = open();
  fs::rename(file_, folder_.path() / "old");
  const auto second = open();
  ASSERT_TRUE(second->take(Part::Tables, milliseconds(0)));
  first.reset();
  EXPECT_TRUE(isThere());
}

TEST_F(LockFileTest, AProcessThatRemovesTheFileIsWaitedFor) {
  std::ofstream(file_).flush();
  UniqueFd remover(::open(file_.c_str(), O_RDWR | O_CLOEXEC));
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_start = off_t{1} << 40;
  lock.l_len = 1;
  ASSERT_EQ(fcntl(remover.get(), F_OFD_SETLK, &lock), 0);
  whileWaiting_ = [&] {
    fs::remove(file_);
    remover = UniqueFd();
    whileWaiting_ = nullptr;
  };
  const auto opened = open();
  ASSERT_NE(opened, nullptr);
  EXPECT_EQ(pauses_, 1);
  EXPECT_TRUE(isThere());
}

}  // namespace
}  // namespace qx::desk
