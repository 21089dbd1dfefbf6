#pragma once

// The disk, as the logging component uses it. All access goes through FileApi, so that a test can
// make any operation fail.

#include <cstddef>
#include <cstdint>
#include <string>

namespace qx::logger {

/// The identity and the state of a file.
struct FileInfo {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::int64_t size = 0;      ///< bytes
  std::int64_t modified = 0;  ///< nanoseconds
  std::int64_t changed = 0;   ///< nanoseconds
  bool plain = false;         ///< no folder, device or pipe
  bool own = false;           ///< of this user, and with one name only

  bool sameFile(const FileInfo& other) const {
    return device == other.device && inode == other.inode;
  }
  friend bool operator==(const FileInfo&, const FileInfo&) = default;
};

/// File operations. On failure every operation returns the negated `errno`, which is below 0.
class FileApi {
 public:
  virtual ~FileApi() = default;
  /// Returns a new descriptor, closed on exec. A new file belongs to the user alone.
  virtual int open(const std::string& path, int flags) = 0;
  virtual int close(int file) = 0;
  /// Returns the number of bytes written, which may be less than `size`. Beyond the process's limit
  /// for files (RLIMIT_FSIZE) fails with EFBIG and raises no signal.
  virtual std::int64_t write(int file, const char* data, std::size_t size) = 0;
  /// Returns the number of bytes read, which may be less than `size`; 0 at the end of the file.
  virtual std::int64_t readAt(int file, char* data, std::size_t size, std::int64_t offset) = 0;
  virtual int truncate(int file, std::int64_t size) = 0;
  virtual int sync(int file) = 0;
  virtual int info(int file, FileInfo& info) = 0;
  virtual int info(const std::string& path, FileInfo& info) = 0;
  virtual int rename(const std::string& from, const std::string& to) = 0;
  virtual int remove(const std::string& path) = 0;
  /// Creates one folder. Succeeds if it exists.
  virtual int makeFolder(const std::string& path) = 0;

  /// Returns the real disk, which lives as long as the process.
  static FileApi& system();
};

/// Opens a file of this user's own and returns the descriptor, or the negated `errno`. If `flags`
/// create the file, creates its missing parent folders too. Follows no link, and fails with EPERM
/// for what is no plain file, belongs to another user or has a second name: in a folder that others
/// can write, it could be any file of the machine.
int openInFolder(FileApi& files, const std::string& path, int flags);

/// Writes all of `data`, despite interruptions and short writes. Returns 0 or the negated `errno`.
int writeAll(FileApi& files, int file, const char* data, std::size_t size);

/// Allocates the space of a file up to `size` on the disk. Returns 0 or the negated `errno`. Beyond
/// the process's limit for files fails with EFBIG and raises no signal.
int allocateFile(int file, std::int64_t size);

/// Calls flock() with `operation`, again after each interruption by a signal. Returns 0 or the
/// negated `errno`, which is -EWOULDBLOCK if LOCK_NB was given and the lock is taken.
int lockFile(int file, int operation);

/// Owns a descriptor and closes it.
class OpenFile {
 public:
  OpenFile() = default;
  OpenFile(FileApi& files, int file) : files_(&files), file_(file) {}
  OpenFile(OpenFile&& other) noexcept : files_(other.files_), file_(other.file_) {
    other.file_ = -1;
  }
  OpenFile& operator=(OpenFile&& other) noexcept;
  ~OpenFile();

  bool isOpen() const { return file_ >= 0; }
  /// Returns the descriptor, or the negated `errno` of the failed open.
  int get() const { return file_; }

 private:
  FileApi* files_ = nullptr;
  int file_ = -1;
};

}  // namespace qx::logger
