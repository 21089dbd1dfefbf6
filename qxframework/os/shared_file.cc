#include "qxframework/os/shared_file.h"

#include "qxframework/automation/ascii.h"
#include "qxframework/automation/text.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <system_error>

namespace qx {
namespace {

constexpr mode_t kEveryUsersFile = 0666;
constexpr mode_t kEveryUsersFolder = 01777;  // sticky: only its owner removes a file

[[noreturn]] void raise(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

// lstat() and not stat(): in a folder that all users write, another user's link could redirect this
// one's files.
bool isUsable(const std::filesystem::path& folder) {
  struct stat status {};
  return lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
         access(folder.c_str(), W_OK | X_OK) == 0;
}

// Creates `folder` for every user unless it exists. It gets its name only after its rights, so that
// no other user's process finds a folder that it may not use yet.
bool provideFolder(const std::filesystem::path& folder) {
  if (isUsable(folder)) return true;
  const std::filesystem::path draft = folder.string() + "." + std::to_string(getpid());
  if (mkdir(draft.c_str(), 0700) != 0) return false;
  // In a step of its own, because the process's umask removes bits from the mode of mkdir().
  const bool shared = chmod(draft.c_str(), kEveryUsersFolder) == 0;
  // Without NOREPLACE the rename would replace an empty folder that another process just created.
  if (!shared ||
      renameat2(AT_FDCWD, draft.c_str(), AT_FDCWD, folder.c_str(), RENAME_NOREPLACE) != 0) {
    rmdir(draft.c_str());
  }
  return isUsable(folder);
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
UniqueFd createPrivately(const std::filesystem::path& file) {
  UniqueFd fd(open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!fd) raise("cannot create " + file.string());
  if (fchmod(fd.get(), kEveryUsersFile) != 0) raise("cannot share " + file.string());
  return fd;
}

// Creates `file` unless another process has done so meanwhile. As with the folder, the name appears
// only after the rights are set. link() and not rename(), because it never replaces a file.
void createShared(const std::filesystem::path& file) {
  static std::atomic<unsigned> serial{0};
  const std::filesystem::path draft =
      file.string() + "." + std::to_string(getpid()) + "." + std::to_string(serial++);
  // One that a killed process with the same id has left.
  unlink(draft.c_str());
  const UniqueFd fd = createPrivately(draft);
  const int result = link(draft.c_str(), file.c_str());
  const int error = errno;
  unlink(draft.c_str());
  errno = error;
  if (result != 0 && error != EEXIST) raise("cannot create " + file.string());
}

}  // namespace

std::filesystem::path runtimeFolder() {
  if (const char* wanted = std::getenv("QX_RUNTIME_DIR"); wanted != nullptr && *wanted != 0) {
    std::error_code ignored;
    std::filesystem::create_directories(wanted, ignored);
    return wanted;
  }
  for (const char* folder : {"/run/lock/qxframework", "/tmp/qxframework"}) {
    if (provideFolder(folder)) return folder;
  }
  raise("no folder for locks in /run/lock or /tmp; set QX_RUNTIME_DIR");
}

UniqueFd openSharedFile(const std::filesystem::path& folder, std::u16string_view name,
                        std::string_view suffix) {
  const std::filesystem::path file = folder / fileNameFor(name, suffix);
  for (;;) {
    // Without O_CREAT: in a sticky folder the kernel may refuse it for files of other users
    // (fs.protected_regular).
    UniqueFd fd(open(file.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW));
    if (fd) return fd;
    if (errno != ENOENT) raise("cannot open " + file.string());
    createShared(file);
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
