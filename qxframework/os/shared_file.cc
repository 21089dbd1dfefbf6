#include "qxframework/os/shared_file.h"

#include "qxframework/automation/ascii.h"
#include "qxframework/automation/text.h"
#include "qxframework/automation/trusted_file.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>

namespace qx {
namespace {

constexpr mode_t kOwnFile = 0600;
constexpr mode_t kEveryUsersFile = 0666;
constexpr mode_t kOwnFolder = 0700;
constexpr mode_t kOthersMayWrite = S_IWGRP | S_IWOTH;

[[noreturn]] void raise(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

// lstat() and not stat(): where other users write, a link of theirs could redirect this one's
// files.
bool lookAt(const std::filesystem::path& path, struct stat& status) {
  return lstat(path.c_str(), &status) == 0;
}

// An administrator has made this folder for all users: nobody but root could give it to root, and
// in a sticky one nobody removes another user's file.
bool isForEveryUser(const std::filesystem::path& folder) {
  struct stat status {};
  return lookAt(folder, status) && S_ISDIR(status.st_mode) && status.st_uid == 0 &&
         (status.st_mode & S_ISVTX) != 0 && (status.st_mode & S_IWOTH) != 0;
}

// Nobody but this user (and root) can put anything into it.
bool isOwn(const std::filesystem::path& folder) {
  struct stat status {};
  return lookAt(folder, status) && S_ISDIR(status.st_mode) && status.st_uid == geteuid() &&
         (status.st_mode & kOthersMayWrite) == 0;
}

bool provideOwn(const std::filesystem::path& folder) {
  return mkdir(folder.c_str(), kOwnFolder) == 0 || isOwn(folder);
}

// The database first: processes of one user may differ in their environment, and root may have
// another user's.
std::filesystem::path homeFolder() {
  passwd entry{};
  passwd* found = nullptr;
  char text[4096];
  const bool known =
      getpwuid_r(geteuid(), &entry, text, sizeof text, &found) == 0 && found != nullptr;
  return known ? found->pw_dir : trustedVariable("HOME");
}

// Creates the folders on the way, which are in the user's own home.
bool provideBelow(const std::filesystem::path& home, const std::filesystem::path& folder) {
  if (!home.is_absolute() || !isOwn(home)) return false;
  std::filesystem::path step = home;
  for (const std::filesystem::path& name : folder.parent_path()) {
    step /= name;
    mkdir(step.c_str(), kOwnFolder);  // what is missing in the end is noticed then
  }
  return provideOwn(home / folder);
}

std::filesystem::path givenFolder() {
  std::filesystem::path wanted = trustedVariable("QX_RUNTIME_DIR");
  if (wanted.empty()) return wanted;
  // Each process would take it for another folder.
  if (!wanted.is_absolute()) {
    errno = EINVAL;
    raise("QX_RUNTIME_DIR is '" + wanted.string() + "'; give it the full path of a folder");
  }
  std::error_code ignored;
  std::filesystem::create_directories(wanted, ignored);
  return wanted;
}

std::string fileNameFor(std::u16string_view name, std::string_view suffix) {
  std::string out;
  for (const char letter : toUtf8(name)) {
    const bool plain = isLetterOrDigit(letter) || letter == '_' || letter == '-';
    char code[4];
    std::snprintf(code, sizeof code, "%%%02X", static_cast<unsigned>(letter) & 0xFFU);
    out += plain ? std::string(1, letter) : std::string(code);
  }
  return out.append(suffix);
}

// Creates a file under a name that no other process opens, and gives it its rights.
UniqueFd createPrivately(const std::filesystem::path& file, mode_t mode) {
  UniqueFd fd(open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, kOwnFile));
  if (!fd) raise("cannot create " + file.string());
  // In a step of its own, because the process's umask removes bits from the mode of open().
  if (fchmod(fd.get(), mode) != 0) raise("cannot share " + file.string());
  return fd;
}

// Creates `file` unless another process has done so meanwhile. The name appears only after the
// rights are set. link() and not rename(), because it never replaces a file.
void createShared(const std::filesystem::path& file, mode_t mode) {
  static std::atomic<unsigned> serial{0};
  const std::filesystem::path draft =
      file.string() + "." + std::to_string(getpid()) + "." + std::to_string(serial++);
  // One that a killed process with the same id has left.
  unlink(draft.c_str());
  const UniqueFd fd = createPrivately(draft, mode);
  const int result = link(draft.c_str(), file.c_str());
  const int error = errno;
  unlink(draft.c_str());
  errno = error;
  if (result != 0 && error != EEXIST) raise("cannot create " + file.string());
}

// A device or a pipe could block, and a file of someone else, or one with a second name, could be
// any file of the machine.
void needPlainFile(int fd, const std::filesystem::path& file, bool everyUsers) {
  struct stat status {};
  if (fstat(fd, &status) != 0) raise("cannot look at " + file.string());
  const bool draftToo = status.st_nlink <= 2;  // another process may be about to unlink its draft
  if (S_ISREG(status.st_mode) && draftToo && (everyUsers || status.st_uid == geteuid())) return;
  errno = EPERM;
  raise(file.string() + " is not a plain file of this user; remove it");
}

}  // namespace

RuntimePlaces standardRuntimePlaces() {
  const std::string user = std::to_string(geteuid());
  return {"/run/lock/qxframework", "/run/user/" + user, trustedVariable("XDG_RUNTIME_DIR"),
          homeFolder(), "/tmp/qxframework-" + user};
}

std::filesystem::path runtimeFolder() { return runtimeFolder(standardRuntimePlaces()); }

std::filesystem::path runtimeFolder(const RuntimePlaces& places) {
  if (std::filesystem::path wanted = givenFolder(); !wanted.empty()) return wanted;
  if (isForEveryUser(places.everyUsers)) return places.everyUsers;
  // The first one does not depend on the environment, in which the processes of a user may differ.
  for (const std::filesystem::path& base : {places.users, places.environments}) {
    const std::filesystem::path folder = base / "qxframework";
    if (base.is_absolute() && isOwn(base) && provideOwn(folder)) return folder;
  }
  const std::filesystem::path folder = ".local/state/qxframework/run";
  if (provideBelow(places.home, folder)) return places.home / folder;
  if (provideOwn(places.last)) return places.last;
  errno = EPERM;
  raise(
      places.last.string() +
      " belongs to another user or is open to others; set QX_RUNTIME_DIR to a folder of your own");
}

UniqueFd openSharedFile(const std::filesystem::path& folder, std::u16string_view name,
                        std::string_view suffix) {
  const std::filesystem::path file = folder / fileNameFor(name, suffix);
  const bool everyUsers = isForEveryUser(folder);
  for (;;) {
    // Without O_CREAT: in a sticky folder the kernel may refuse it for files of other users
    // (fs.protected_regular). O_NONBLOCK, since opening a pipe would wait for its other end.
    UniqueFd fd(open(file.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (fd) {
      needPlainFile(fd.get(), file, everyUsers);
      return fd;
    }
    if (errno != ENOENT) raise("cannot open " + file.string());
    createShared(file, everyUsers ? kEveryUsersFile : kOwnFile);
  }
}

bool lockFile(int fd, int operation) {
  while (flock(fd, operation) != 0) {
    if (errno == EWOULDBLOCK) return false;
    if (errno != EINTR) raise("cannot lock a file");
  }
  return true;
}

}  // namespace qx
