#include "qxframework/os/shared_file.h"

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
constexpr mode_t kEveryUsersFolder = 01777;

[[noreturn]] void raise(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

/// A folder that exists, is none of somebody's links, and may be written.
bool isUsable(const std::filesystem::path& folder) {
  struct stat status {};
  return lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
         access(folder.c_str(), W_OK | X_OK) == 0;
}

/// Creates `folder` for every user, or takes the one that is there. The name appears only when
/// everybody may use the folder already.
bool provideFolder(const std::filesystem::path& folder) {
  if (isUsable(folder)) return true;
  const std::filesystem::path draft = folder.string() + "." + std::to_string(getpid());
  if (mkdir(draft.c_str(), 0700) != 0) return false;
  // A step of its own, since the process's umask takes bits away from mkdir().
  const bool shared = chmod(draft.c_str(), kEveryUsersFolder) == 0;
  if (!shared ||
      renameat2(AT_FDCWD, draft.c_str(), AT_FDCWD, folder.c_str(), RENAME_NOREPLACE) != 0) {
    rmdir(draft.c_str());
  }
  return isUsable(folder);
}

std::string fileNameFor(std::u16string_view name, std::string_view suffix) {
  std::string out;
  for (const char letter : toUtf8(name)) {
    const bool plain = (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
                       (letter >= '0' && letter <= '9') || letter == '_' || letter == '-';
    char code[4];
    std::snprintf(code, sizeof code, "%%%02X", static_cast<unsigned>(letter) & 0xFFU);
    out += plain ? std::string(1, letter) : std::string(code);
  }
  return out.append(suffix);
}

/// A file that no other process knows, complete with its rights.
UniqueFd createPrivately(const std::filesystem::path& file) {
  UniqueFd fd(open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!fd) raise("cannot create " + file.string());
  if (fchmod(fd.get(), kEveryUsersFile) != 0) raise("cannot share " + file.string());
  return fd;
}

/// Puts a new file under the name `file`; one that another process put there meanwhile stays. The
/// name appears only when everybody may open the file already.
void createShared(const std::filesystem::path& file) {
  static std::atomic<unsigned> serial{0};
  const std::filesystem::path draft =
      file.string() + "." + std::to_string(getpid()) + "." + std::to_string(serial++);
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
    // Opened without O_CREAT: the kernel may refuse that for others' files in a shared folder.
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
