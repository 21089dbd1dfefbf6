#include "qxlogger/file_api.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <utility>

namespace qx::logger {
namespace {

// Log files contain business data, so only the user may read them.
constexpr mode_t kFileMode = 0600;
constexpr mode_t kFolderMode = 0700;

// Reads `errno` right after the call whose result it gets, before another call can change it.
template <typename Result>
Result orError(Result result) {
  return result < 0 ? static_cast<Result>(-errno) : result;
}

std::int64_t nanoseconds(const timespec& time) {
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

int fill(int result, const struct stat& from, FileInfo& info) {
  if (result < 0) return -errno;
  info = {.device = from.st_dev,
          .inode = from.st_ino,
          .size = from.st_size,
          .modified = nanoseconds(from.st_mtim),
          .changed = nanoseconds(from.st_ctim),
          .plain = S_ISREG(from.st_mode),
          .own = from.st_uid == geteuid() && from.st_nlink == 1};
  return 0;
}

// Runs `call`, which returns a negated `errno`, without the signal SIGXFSZ. The kernel raises it
// when a file would pass the process's limit, and its default action ends the process; a log call
// must fail instead. The signal goes to the calling thread, so it is blocked for this thread only
// and taken back before it can arrive. One that was already pending is the application's and
// remains.
template <typename Call>
auto withoutLimitSignal(Call call) {
  sigset_t signal;
  sigset_t before;
  sigset_t pending;
  sigemptyset(&signal);
  sigaddset(&signal, SIGXFSZ);
  sigemptyset(&pending);
  pthread_sigmask(SIG_BLOCK, &signal, &before);
  // Only a signal that was blocked before can be pending.
  if (sigismember(&before, SIGXFSZ) == 1) sigpending(&pending);
  const auto result = call();
  if (result == -EFBIG && sigismember(&pending, SIGXFSZ) == 0) {
    constexpr timespec kNoWait{};
    while (sigtimedwait(&signal, nullptr, &kNoWait) < 0 && errno == EINTR) {
    }
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return result;
}

class SystemFiles final : public FileApi {
 public:
  int open(const std::string& path, int flags) override {
    return orError(::open(path.c_str(), flags | O_CLOEXEC, kFileMode));
  }
  int close(int file) override { return orError(::close(file)); }
  std::int64_t write(int file, const char* data, std::size_t size) override {
    return withoutLimitSignal([&] { return orError(std::int64_t{::write(file, data, size)}); });
  }
  std::int64_t readAt(int file, char* data, std::size_t size, std::int64_t offset) override {
    return orError(std::int64_t{::pread(file, data, size, offset)});
  }
  int truncate(int file, std::int64_t size) override { return orError(::ftruncate(file, size)); }
  int sync(int file) override { return orError(::fsync(file)); }
  int info(int file, FileInfo& info) override {
    struct stat data {};
    return fill(::fstat(file, &data), data, info);
  }
  int info(const std::string& path, FileInfo& info) override {
    struct stat data {};
    return fill(::stat(path.c_str(), &data), data, info);
  }
  int rename(const std::string& from, const std::string& to) override {
    return orError(::rename(from.c_str(), to.c_str()));
  }
  int remove(const std::string& path) override { return orError(::unlink(path.c_str())); }
  int makeFolder(const std::string& path) override {
    const int result = orError(::mkdir(path.c_str(), kFolderMode));
    return result == -EEXIST ? 0 : result;
  }
};

// Failures are ignored: if a folder is missing in the end, opening the file reports it.
void makeFolders(FileApi& files, const std::string& path) {
  for (auto slash = path.find('/', 1); slash != std::string::npos;
       slash = path.find('/', slash + 1)) {
    files.makeFolder(path.substr(0, slash));
  }
}

}  // namespace

FileApi& FileApi::system() {
  // Never destroyed, because destructors of statics still write log records.
  static auto* const files = new SystemFiles;
  return *files;
}

int openInFolder(FileApi& files, const std::string& path, int flags) {
  // O_NONBLOCK, since opening a pipe would wait for its other end; for a file it means nothing.
  const int safe = flags | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
  int file = files.open(path, safe);
  // The folders nearly always exist, so they are created only after a failure.
  if (file == -ENOENT && (flags & O_CREAT) != 0) {
    makeFolders(files, path);
    file = files.open(path, safe);
  }
  FileInfo info;
  if (file < 0 || (files.info(file, info) == 0 && info.plain && info.own)) return file;
  files.close(file);
  return -EPERM;
}

int writeAll(FileApi& files, int file, const char* data, std::size_t size) {
  while (size > 0) {
    const std::int64_t taken = files.write(file, data, size);
    if (taken == -EINTR) continue;
    // write() returns 0 without an `errno`; going on would never end.
    if (taken <= 0) return taken == 0 ? -EIO : static_cast<int>(taken);
    data += taken;
    size -= static_cast<std::size_t>(taken);
  }
  return 0;
}

int allocateFile(int file, std::int64_t size) {
  return withoutLimitSignal([&] { return -posix_fallocate(file, 0, size); });
}

int lockFile(int file, int operation) {
  while (::flock(file, operation) != 0) {
    if (errno != EINTR) return -errno;
  }
  return 0;
}

// The previous descriptor is closed together with `other`.
OpenFile& OpenFile::operator=(OpenFile&& other) noexcept {
  std::swap(files_, other.files_);
  std::swap(file_, other.file_);
  return *this;
}

OpenFile::~OpenFile() {
  if (isOpen()) files_->close(file_);
}

}  // namespace qx::logger
