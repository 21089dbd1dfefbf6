#include "qxdesk/engines/lock_file.h"

#include "qxdesk/engines/database.h"
#include "qxdesk/engines/sqlite_database.h"
#include "qxdesk/engines/test_support.h"
#include "qxframework/automation/developer_trace.h"
#include "qxframework/automation/text.h"
#include "testing/file_content.h"
#include "testing/temp_folder.h"

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <fstream>
#include <functional>
#include <vector>

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
  fs::remove(company_);
  const fs::path link = folder_.path() / "link.db";
  fs::create_symlink(company_, link);
  const fs::path folderLink = folder_.path() / "folder";
  fs::create_directory_symlink(folder_.path(), folderLink);
  // The first one makes the company, by a link to a file that is missing.
  const auto first = openSqliteDatabase(link.string(), environment_);
  ASSERT_TRUE(first->lockTables(milliseconds(0)));
  for (const fs::path& name : {company_, link, folderLink / "company.db"}) {
    EXPECT_FALSE(openSqliteDatabase(name.string(), environment_)->lockTables(milliseconds(0)))
        << name;
  }
  EXPECT_TRUE(isThere());
}

TEST_F(LockFileTest, ItHasTheRightsOfTheCompany) {
  const mode_t before = umask(077);
  for (const int mode : {0600, 0664, 0640, 0400}) {
    fs::permissions(company_, fs::perms(mode));
    const auto lock = open();
    EXPECT_EQ(fs::status(file_).permissions(), fs::perms(mode));
  }
  umask(before);
}

TEST_F(LockFileTest, RightsThatABlankFileHasBeyondTheCompanyAreTakenFromIt) {
  std::ofstream(file_).flush();
  ASSERT_EQ(chmod(file_.c_str(), 02755), 0);
  ASSERT_EQ(chmod(company_.c_str(), 0600), 0);
  const auto lock = open();
  ASSERT_NE(lock, nullptr);
  EXPECT_EQ(fs::status(file_).permissions(), fs::perms(0600));
}

TEST_F(LockFileTest, WithoutRoomForAllOfItThereIsNoFileAndTheNextConnectionMakesIt) {
  struct rlimit unlimited {};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &unlimited), 0);
  struct rlimit small = unlimited;
  small.rlim_cur = 1000;
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  const auto without = open();
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &unlimited), 0);
  EXPECT_EQ(without, nullptr);
  EXPECT_EQ(fs::file_size(file_), 0U);
  EXPECT_NE(open(), nullptr);
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

/// The file as other users of the machine may have left it, with the content of a real one.
class LockFileOfOthers : public LockFileTest {
 protected:
  static constexpr unsigned kUser = 20'001;
  static constexpr unsigned kGroup = 20'002;

  LockFileOfOthers() {
    traced.clear();
    setDeveloperTraceSink([](std::u16string_view text) { traced += toUtf8(text); });
  }
  ~LockFileOfOthers() override { setDeveloperTraceSink(nullptr); }
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only root can give files to other users";
    give(company_, 0, 0, 0600);
    std::string content;
    {
      const auto lock = open();
      ASSERT_NE(lock, nullptr);
      content = test::contentOfExisting(file_);
    }
    std::ofstream(file_) << content;
    give(file_, 0, 0, 0600);
  }
  static void give(const fs::path& path, unsigned user, unsigned group, mode_t mode) {
    ASSERT_EQ(chown(path.c_str(), user, group), 0);
    ASSERT_EQ(chmod(path.c_str(), mode), 0);
  }
  /// Returns true if the file is used; it is still there then, since another connection has it.
  bool isUsed() const {
    const int use = ::open(file_.c_str(), O_RDWR | O_CLOEXEC);
    const UniqueFd other(use);
    struct flock lock {};
    lock.l_type = F_RDLCK;
    lock.l_start = off_t{1} << 40;
    lock.l_len = 1;
    EXPECT_EQ(fcntl(use, F_OFD_SETLK, &lock), 0);
    return open() != nullptr;
  }

  /// Returns true if the file can be opened and then has this group and these rights.
  bool opensWith(gid_t group, mode_t mode) const {
    const auto lock = open();
    struct stat state {};
    return lock != nullptr && stat(file_.c_str(), &state) == 0 && state.st_gid == group &&
           (state.st_mode & 0777) == mode;
  }
  /// Runs `body` in a process of kUser, who is in these groups besides the first one. Returns its
  /// result.
  static bool asUser(const std::vector<gid_t>& groups, const std::function<bool()>& body) {
    const pid_t child = fork();
    if (child == 0) {
      const bool other =
          setgroups(groups.size(), groups.data()) == 0 && setgid(kUser) == 0 && setuid(kUser) == 0;
      _exit(other ? (body() ? 0 : 1) : 2);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) != 2) << status;
    return status == 0;
  }

  static inline std::string traced;
};

TEST_F(LockFileOfOthers, IsUsedIfItsOwnerIsRootOrTheOwnerOfTheCompany) {
  EXPECT_TRUE(isUsed());
  give(company_, kUser, kUser, 0600);
  EXPECT_TRUE(isUsed());
  give(file_, kUser, kUser, 0600);
  EXPECT_TRUE(isUsed());
  EXPECT_EQ(traced, "");
}

TEST_F(LockFileOfOthers, IsNotUsedIfItsOwnerMayNotWriteTheCompany) {
  give(file_, kUser, kUser, 0600);
  const std::string before = test::contentOfExisting(file_);
  EXPECT_FALSE(isUsed());
  EXPECT_FALSE(isUsed());
  EXPECT_EQ(test::contentOfExisting(file_), before);
  EXPECT_EQ(
      traced,
      "The lock file " + file_.string() +
          " is not used: users who may not write the company can write it. Its owner or root can "
          "delete it; until then the connections to the company do not know of each "
          "other.\n");
}

// An administrator must not give it away either: its owner could have it open already.
TEST_F(LockFileOfOthers, IsLeftToItsOwnerIfItIsEmpty) {
  fs::resize_file(file_, 0);
  give(file_, kUser, kUser, 0600);
  EXPECT_FALSE(isUsed());
  struct stat state {};
  ASSERT_EQ(stat(file_.c_str(), &state), 0);
  EXPECT_EQ(state.st_uid, kUser);
  EXPECT_EQ(state.st_size, 0);
}

TEST_F(LockFileOfOthers, IsUsedIfAllUsersMayWriteTheCompany) {
  give(file_, kUser, kUser, 0666);
  give(company_, 0, 0, 0666);
  EXPECT_TRUE(isUsed());
}

TEST_F(LockFileOfOthers, IsUsedIfTheGroupOfTheCompanyHasIt) {
  give(company_, 0, kGroup, 0660);
  give(file_, kUser, kGroup, 0660);
  EXPECT_TRUE(isUsed());
  give(company_, 0, kGroup, 0640);
  EXPECT_FALSE(isUsed());
}

TEST_F(LockFileOfOthers, IsNotUsedIfAnotherGroupHasIt) {
  give(company_, 0, kGroup, 0660);
  give(file_, kUser, kUser, 0660);
  EXPECT_FALSE(isUsed());
  give(file_, 0, kUser, 0660);
  EXPECT_FALSE(isUsed());
}

// Such a folder can give its group to the files of users who are not in the group.
TEST_F(LockFileOfOthers, IsNotUsedForItsGroupInAFolderOfThatGroupWhichAllCanWrite) {
  give(company_, 0, kGroup, 0660);
  give(file_, kUser, kGroup, 0660);
  give(folder_.path(), 0, kGroup, 03777);
  EXPECT_FALSE(isUsed());
}

TEST_F(LockFileOfOthers, IsNotUsedIfMoreUsersCanWriteItThanTheCompany) {
  give(company_, 0, kGroup, 0660);
  give(file_, 0, kGroup, 0666);
  EXPECT_FALSE(isUsed());
}

TEST_F(LockFileOfOthers, IsUsedByTheGroupIfItIsOfRootInAFolderOfThatGroupWhichAllCanWrite) {
  give(company_, kUser, kGroup, 0660);
  give(file_, 0, kGroup, 0660);
  give(folder_.path(), 0, kGroup, 03777);
  EXPECT_TRUE(asUser({kGroup}, [&] { return open() != nullptr; }));
}

// The group of the company is often not the first group of the user who makes the file.
TEST_F(LockFileOfOthers, IsMadeForTheGroupOfTheCompany) {
  fs::remove(file_);
  give(folder_.path(), kUser, kUser, 0700);
  give(company_, 0, kGroup, 0660);
  EXPECT_TRUE(asUser({kGroup}, [&] { return opensWith(kGroup, 0660); }));
}

// The maker's own group has nothing to do with the company. The user can still use what is left of
// the user's own.
TEST_F(LockFileOfOthers, IsMadeWithoutRightsForAGroupThatItCannotBeGivenTo) {
  fs::remove(file_);
  give(folder_.path(), kUser, kUser, 0700);
  give(company_, 0, kGroup, 0660);
  EXPECT_TRUE(asUser({}, [&] {
    const auto first = open();
    return first != nullptr && opensWith(kUser, 0600);
  }));
}

}  // namespace
}  // namespace qx::desk
