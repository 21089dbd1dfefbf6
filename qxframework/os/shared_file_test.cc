#include "qxframework/os/shared_file.h"

#include "testing/scoped_variable.h"
#include "testing/temp_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace qx {
namespace {

// A folder as an administrator makes it for all users exists on every machine.
constexpr const char* kEveryUsersFolder = "/tmp";

mode_t modeOf(const std::filesystem::path& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

class SharedFileTest : public testing::Test {
 protected:
  /// Returns what openSharedFile() says of the file Start.x, "" if it opens it.
  std::string refusal() const {
    try {
      openSharedFile(folder_.path(), u"Start", ".x");
      return "";
    } catch (const std::system_error& error) {
      const std::string text = error.what();
      const std::string path = folder_.file("Start.x");
      const std::size_t at = text.find(path);
      return at == std::string::npos ? text : std::string(text).replace(at, path.size(), "FILE");
    }
  }

  test::TempFolder folder_;
};

TEST_F(SharedFileTest, IsForItsUserAloneInAFolderOfTheUser) {
  const mode_t before = umask(0);
  openSharedFile(folder_.path(), u"Start", ".x");
  umask(before);
  EXPECT_EQ(modeOf(folder_.path() / "Start.x"), 0600U);
}

TEST_F(SharedFileTest, IsForEveryUserInAFolderForEveryUserDespiteTheUmask) {
  const std::string name = "qx_shared_file_test_" + std::to_string(getpid());
  const std::filesystem::path file = std::filesystem::path(kEveryUsersFolder) / (name + ".x");
  const mode_t before = umask(0077);
  openSharedFile(kEveryUsersFolder, std::u16string(name.begin(), name.end()), ".x");
  umask(before);
  const mode_t mode = modeOf(file);
  std::filesystem::remove(file);
  EXPECT_EQ(mode, 0666U);
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
  EXPECT_EQ(refusal(), "cannot open FILE: Too many levels of symbolic links");
  EXPECT_FALSE(std::filesystem::exists(victim));
}

TEST_F(SharedFileTest, APipeIsRefusedWithoutWaiting) {
  ASSERT_EQ(mkfifo(folder_.file("Start.x").c_str(), 0600), 0);
  EXPECT_EQ(refusal(), "FILE is not a plain file of this user; remove it: Operation not permitted");
}

TEST_F(SharedFileTest, AFileWithMoreNamesIsRefused) {
  folder_.write("victim", "x");
  for (const char* name : {"Start.x", "another"}) {
    std::filesystem::create_hard_link(folder_.path() / "victim", folder_.path() / name);
  }
  EXPECT_EQ(refusal(), "FILE is not a plain file of this user; remove it: Operation not permitted");
}

// Runs `body` in a process of another user, if this one may become one, and returns its result.
// Without the right, the user is the same and `otherwise` is the result.
template <class Body>
int asAnotherUser(int otherwise, Body body) {
  constexpr uid_t kNobody = 65534;
  if (geteuid() != 0) return otherwise;
  const pid_t child = fork();
  if (child == 0) {
    if (setgid(kNobody) != 0 || setuid(kNobody) != 0) _exit(100);
    _exit(body());
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(SharedFileTest, AnotherUsersFileIsRefused) {
  chmod(folder_.path().c_str(), 0777);
  const int result = asAnotherUser(EPERM, [&] {
    std::ofstream(folder_.file("Start.x")) << "theirs";
    return chmod(folder_.file("Start.x").c_str(), 0666) == 0 ? EPERM : 0;
  });
  ASSERT_EQ(result, EPERM);
  if (!std::filesystem::exists(folder_.file("Start.x"))) return;
  EXPECT_EQ(refusal(), "FILE is not a plain file of this user; remove it: Operation not permitted");
}

TEST_F(SharedFileTest, AUsersFilesCannotBeOpenedByAnotherUser) {
  chmod(folder_.path().c_str(), 0755);
  openSharedFile(folder_.path(), u"Start", ".x");
  EXPECT_EQ(asAnotherUser(EACCES,
                          [&] {
                            try {
                              openSharedFile(folder_.path(), u"Start", ".x");
                              return 0;
                            } catch (const std::system_error& error) {
                              return error.code().value();
                            }
                          }),
            EACCES);
}

class RuntimeFolderTest : public testing::Test {
 protected:
  RuntimeFolderTest() { places_.last = folder_.path() / "last"; }

  std::filesystem::path make(const char* name, mode_t mode) {
    const std::filesystem::path folder = folder_.path() / name;
    std::filesystem::create_directory(folder);
    chmod(folder.c_str(), mode);
    return folder;
  }
  /// Returns the path of the chosen folder below the test's own.
  std::string chosen() const {
    return runtimeFolder(places_).lexically_relative(folder_.path()).string();
  }

  test::ScopedVariable given_{"QX_RUNTIME_DIR", nullptr};
  test::TempFolder folder_;
  RuntimePlaces places_;
};

TEST_F(RuntimeFolderTest, IsTheGivenOneWhichIsCreated) {
  const std::filesystem::path place = folder_.path() / "deep" / "run";
  const test::ScopedVariable given("QX_RUNTIME_DIR", place.string());
  EXPECT_EQ(runtimeFolder(places_), place);
  EXPECT_TRUE(std::filesystem::is_directory(place));
}

TEST_F(RuntimeFolderTest, AGivenFolderNeedsItsFullPath) {
  const test::ScopedVariable given("QX_RUNTIME_DIR", "run");
  try {
    runtimeFolder(places_);
    FAIL();
  } catch (const std::system_error& error) {
    EXPECT_STREQ(error.what(),
                 "QX_RUNTIME_DIR is 'run'; give it the full path of a folder: Invalid argument");
  }
}

TEST_F(RuntimeFolderTest, IsTheOneForEveryUserIfAnAdministratorHasMadeIt) {
  places_.everyUsers = kEveryUsersFolder;
  EXPECT_EQ(runtimeFolder(places_), kEveryUsersFolder);
}

TEST_F(RuntimeFolderTest, TheOneForEveryUserIsNeverCreated) {
  places_.everyUsers = folder_.path() / "all";
  EXPECT_EQ(chosen(), "last");
  EXPECT_FALSE(std::filesystem::exists(places_.everyUsers));
}

TEST_F(RuntimeFolderTest, AFolderInWhichUsersRemoveEachOthersFilesIsNotForEveryUser) {
  places_.everyUsers = make("all", 0777);
  EXPECT_EQ(chosen(), "last");
}

TEST_F(RuntimeFolderTest, AFolderThatOthersCannotWriteIsNotForEveryUser) {
  places_.everyUsers = make("all", 01755);
  EXPECT_EQ(chosen(), "last");
}

TEST_F(RuntimeFolderTest, ALinkToTheOneForEveryUserDoesNotCount) {
  places_.everyUsers = folder_.path() / "all";
  std::filesystem::create_symlink(kEveryUsersFolder, places_.everyUsers);
  EXPECT_EQ(chosen(), "last");
}

TEST_F(RuntimeFolderTest, IsInTheUsersOwnFolderElse) {
  places_.users = make("user", 0700);
  places_.environments = make("environment", 0700);
  EXPECT_EQ(chosen(), "user/qxframework");
  EXPECT_EQ(modeOf(folder_.path() / "user/qxframework"), 0700U);
  EXPECT_EQ(chosen(), "user/qxframework");
}

TEST_F(RuntimeFolderTest, IsInTheHomeOfAUserWithoutEither) {
  places_.home = make("home", 0755);
  EXPECT_EQ(chosen(), "home/.local/state/qxframework/run");
  EXPECT_EQ(modeOf(folder_.path() / "home/.local/state/qxframework/run"), 0700U);
  EXPECT_EQ(chosen(), "home/.local/state/qxframework/run");
  EXPECT_FALSE(std::filesystem::exists(places_.last));
}

TEST_F(RuntimeFolderTest, AHomeThatOthersCanWriteDoesNotCount) {
  places_.home = make("home", 0777);
  EXPECT_EQ(chosen(), "last");
  EXPECT_FALSE(std::filesystem::exists(places_.home / ".local"));
}

TEST_F(RuntimeFolderTest, AHomeThatDoesNotExistIsNotMade) {
  places_.home = folder_.path() / "none";
  EXPECT_EQ(chosen(), "last");
  EXPECT_FALSE(std::filesystem::exists(places_.home));
}

TEST_F(RuntimeFolderTest, IsInTheFolderOfTheEnvironmentIfTheUserHasNone) {
  places_.users = folder_.path() / "none";
  places_.environments = make("environment", 0700);
  EXPECT_EQ(chosen(), "environment/qxframework");
}

TEST_F(RuntimeFolderTest, AFolderThatOthersMayWriteIsLeftOut) {
  places_.users = make("group", 0770);
  places_.environments = make("all", 0707);
  EXPECT_EQ(chosen(), "last");
}

TEST_F(RuntimeFolderTest, AFolderInItThatOthersMayWriteIsLeftOut) {
  places_.users = make("user", 0700);
  make("user/qxframework", 0770);
  EXPECT_EQ(chosen(), "last");
}

TEST_F(RuntimeFolderTest, AFolderThatAnotherUserTookFirstIsRefused) {
  make("last", 0777);
  try {
    runtimeFolder(places_);
    FAIL();
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.what(), places_.last.string() +
                                " belongs to another user or is open to others; set "
                                "QX_RUNTIME_DIR to a folder of your own: Operation not "
                                "permitted");
  }
}

TEST_F(RuntimeFolderTest, ALinkThatAnotherUserPutThereIsRefused) {
  std::filesystem::create_symlink(make("elsewhere", 0700), places_.last);
  EXPECT_THROW(runtimeFolder(places_), std::system_error);
}

TEST_F(RuntimeFolderTest, TheStandardPlacesHaveTheUsersNumberInTheirNames) {
  const test::ScopedVariable environment("XDG_RUNTIME_DIR", "/somewhere");
  const RuntimePlaces places = standardRuntimePlaces();
  const std::string user = std::to_string(geteuid());
  EXPECT_EQ(places.everyUsers, "/run/lock/qxframework");
  EXPECT_EQ(places.users, "/run/user/" + user);
  EXPECT_EQ(places.environments, "/somewhere");
  EXPECT_EQ(places.last, "/tmp/qxframework-" + user);
}

}  // namespace
}  // namespace qx
