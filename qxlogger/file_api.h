#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace qx::logger {

/// Which file stands behind a path or descriptor, and in which state.
struct FileInfo {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::int64_t size = 0;
  std::int64_t modified = 0;  ///< nanoseconds
  std::int64_t changed = 0;   ///< nanoseconds

  bool sameFile(const FileInfo& other) const {
    return device == other.device && inode == other.inode;
  }
  friend bool operator==(const FileInfo&, const FileInfo&) = default;
};

/// Every access of the logging component to the disk; tests put their faults in here.
///
/// All operations return a value below 0, the negated `errno`, on failure.
class FileApi {
 public:
  virtual ~FileApi() = default;
  /// The new descriptor, closed on exec.
  virtual int open(const std::string& path, int flags) = 0;
  virtual int close(int file) = 0;
  /// The number of bytes taken, which may be less than `size`.
  virtual std::int64_t write(int file, const char* data, std::size_t size) = 0;
  virtual std::int64_t readAt(int file, char* data, std::size_t size, std::int64_t offset) = 0;
  virtual int truncate(int file, std::int64_t size) = 0;
  virtual int sync(int file) = 0;
  virtual int info(int file, FileInfo& info) = 0;
  virtual int info(const std::string& path, FileInfo& info) = 0;
  virtual int rename(const std::string& from, const std::string& to) = 0;
  virtual int remove(const std::string& path) = 0;
  /// Creates one folder; one that exists is a success.
  virtual int makeFolder(const std::string& path) = 0;

  static FileApi& system();
};

/// Opens `path`, creating its missing parent folders where `flags` create the file.
int openInFolder(FileApi& files, const std::string& path, int flags);

/// Writes all of `data`, over interruptions and short writes. 0, or the negated `errno`.
int writeAll(FileApi& files, int file, const char* data, std::size_t size);

/// A descriptor that is closed with its owner.
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
  /// The descriptor, or below 0 the negated `errno` of the failed open.
  int get() const { return file_; }

 private:
  FileApi* files_ = nullptr;
  int file_ = -1;
};

}  // namespace qx::logger
