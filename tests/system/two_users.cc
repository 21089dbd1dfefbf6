#include "tests/system/two_users.h"

#include "testing/child_process.h"
#include "testing/file_content.h"
#include "testing/machine.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace qx::test {
namespace {

constexpr char kUserDatabase[] = "/etc/passwd";
constexpr char kEveryUsersParent[] = "/run/lock";

// Tests run side by side, and the last folder for locks is named after the user. The numbers are
// within those that a container maps.
unsigned firstId() { return 20'000 + 2 * (static_cast<unsigned>(getpid()) % 20'000); }

// Gives this process mounts of its own. Returns false if the system does not let it.
bool haveOwnMounts() {
  static const bool own =
      unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
  return own;
}

// Hides the folder for the locks of all users from this process and its children, if this machine
// has one: with it the users of a machine agree to share their locks.
void hideEveryUsersFolder() {
  static const bool hidden =
      haveOwnMounts() && mount("none", kEveryUsersParent, "tmpfs", 0, "mode=1777") == 0;
  if (hidden || !std::filesystem::exists(TwoUsers::kEveryUsersFolder)) return;
  throw std::runtime_error(std::string(TwoUsers::kEveryUsersFolder) +
                           " exists and cannot be hidden; remove it for this test");
}

void give(const std::filesystem::path& path, unsigned user, unsigned mode) {
  if (chown(path.c_str(), user, user) != 0 || chmod(path.c_str(), mode) != 0) {
    throw std::runtime_error("cannot give " + path.string() + " away");
  }
}

}  // namespace

std::vector<std::string> OneUser::running(const std::vector<std::string>& command,
                                          const std::vector<std::string>& variables) const {
  const std::string id = std::to_string(id_);
  std::vector<std::string> all{"/usr/bin/env",
                               "-i",
                               "-C",
                               home_.string(),
                               "PATH=/usr/bin:/bin",
                               "LC_ALL=C.UTF-8",
                               "HOME=" + home_.string(),
                               "QX_REGISTRY=" + buildRegistry().string()};
  all.insert(all.end(), variables.begin(), variables.end());
  all.insert(all.end(),
             {"/usr/bin/setpriv", "--reuid=" + id, "--regid=" + id, "--clear-groups", "--"});
  all.insert(all.end(), command.begin(), command.end());
  return all;
}

std::string OneUser::runs(const std::string& script) const {
  ChildProcess shell(running({"/bin/sh", "-c", "exec 2>&1; " + script}), {});
  std::string text = shell.rest();
  shell.wait();
  return text;
}

void OneUser::makeFolder(const std::filesystem::path& folder, unsigned mode) const {
  std::filesystem::create_directory(folder);
  give(folder, id_, mode);
}

TwoUsers::TwoUsers()
    : a_(firstId(), folder_.path() / "a"),
      b_(firstId() + 1, folder_.path() / "b"),
      lastFolder_("/tmp/qxframework-" + std::to_string(a_.id())) {}

TwoUsers::~TwoUsers() {
  std::error_code ignored;
  std::filesystem::remove_all(lastFolder_, ignored);
  if (namedUsers_) umount2(kUserDatabase, MNT_DETACH);
  if (madeEveryUsersFolder_) std::filesystem::remove_all(kEveryUsersFolder, ignored);
}

std::filesystem::path TwoUsers::registry() { return buildRegistry(); }

void TwoUsers::SetUp() {
  if (geteuid() != 0) GTEST_SKIP() << "only root can run programs as two other users";
  hideEveryUsersFolder();
  give(folder_.path(), 0, 0755);
  a_.makeFolder(a_.home(), 0755);
  b_.makeFolder(b_.home(), 0755);
  std::filesystem::create_directory(shared_);
  give(shared_, 0, 01777);
}

void TwoUsers::makeEveryUsersFolder() {
  madeEveryUsersFolder_ = std::filesystem::create_directory(kEveryUsersFolder);
  ASSERT_TRUE(madeEveryUsersFolder_);
  give(kEveryUsersFolder, 0, 01777);
}

void TwoUsers::nameUsers() {
  if (!haveOwnMounts()) GTEST_SKIP() << "this system does not let root mount anything";
  const auto entry = [](const std::string& name, unsigned id, const std::filesystem::path& home) {
    const std::string number = std::to_string(id);
    return name + ":x:" + number + ":" + number + "::" + home.string() + ":/bin/sh\n";
  };
  std::filesystem::create_directory(folder_.path() / "root");
  const auto file =
      folder_.write("passwd", entry("root", 0, folder_.path() / "root") +
                                  entry("a", a_.id(), a_.home()) + entry("b", b_.id(), b_.home()));
  namedUsers_ = mount(file.c_str(), kUserDatabase, nullptr, MS_BIND, nullptr) == 0;
  ASSERT_TRUE(namedUsers_);
}

std::vector<std::string> TwoUsers::hello(const std::vector<std::string>& variables) const {
  std::vector<std::string> all{"QX_TRACE=1"};
  all.insert(all.end(), variables.begin(), variables.end());
  return a_.running(
      {"/bin/sh", "-c", "umask 0; exec \"$0\" \"$1\" 2>\"$2\"", buildProgram("hello").string(),
       "embedded:?db=" + company_.string() + "&play=" QX_TEST_DATA "/hello.play", errors_.string()},
      all);
}

std::string TwoUsers::runHello(const std::vector<std::string>& variables) const {
  ChildProcess child(hello(variables), {});
  std::string text = child.rest();
  EXPECT_EQ(child.wait(), 0);
  return text;
}

std::string TwoUsers::undisturbed() { return contentOfExisting(QX_TEST_DATA "/hello.out"); }

std::vector<std::filesystem::path> filesBelow(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> files;
  for (const auto& each : std::filesystem::recursive_directory_iterator(folder)) {
    if (each.is_regular_file()) files.push_back(each.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::size_t linesEnding(const std::string& text, const std::string& ending, std::string& others) {
  std::istringstream lines(text);
  std::size_t count = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line.ends_with(ending)) {
      ++count;
    } else {
      others += line + "\n";
    }
  }
  return count;
}

}  // namespace qx::test
