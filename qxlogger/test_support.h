#pragma once

// A clock that advances only on demand, a disk that fails on demand, and a temporary folder, for
// this folder's tests.

#include "qxlogger/file_api.h"
#include "qxlogger/log_clock.h"
#include "testing/file_content.h"
#include "testing/scoped_variable.h"
#include "testing/temp_folder.h"
#include "testing/time_zone.h"

#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace qx::logger::test {

using qx::test::contentOf;
using qx::test::ScopedTimeZone;
using qx::test::ScopedVariable;

/// 2024-02-29 12:34:56.789012 UTC.
inline constexpr std::int64_t kLeapDay = 1'709'210'096'789'012'000;

/// A clock that advances only by advance().
class FakeClock final : public LogClock {
 public:
  std::int64_t coarseNanoseconds() override { return coarse; }
  std::int64_t wallNanoseconds() override { return wall; }
  void advance(std::int64_t nanoseconds) {
    coarse += nanoseconds;
    wall += nanoseconds;
  }

  std::int64_t coarse = 1'000'000'000'000;
  std::int64_t wall = kLeapDay;
};

/// The real disk, with the faults that a test asks for.
class FaultyFiles final : public FileApi {
 public:
  /// Called with the size of each write. Returns 0 or below to replace the write by that result, or
  /// the greatest number of bytes to write.
  std::function<std::int64_t(std::size_t)> onWrite;
  /// Called after each write that was not replaced.
  std::function<void()> afterWrite;
  /// Called with the path, or the old path, before the operation. A result below 0 replaces it.
  std::function<int(const std::string&)> onOpen;
  std::function<int(const std::string&)> onRename;
  std::function<int()> onTruncate;
  int writes = 0;     ///< calls of write() so far
  int pathInfos = 0;  ///< calls of info() with a path so far

  int open(const std::string& path, int flags) override;
  int close(int file) override { return real_.close(file); }
  std::int64_t write(int file, const char* data, std::size_t size) override;
  std::int64_t readAt(int file, char* data, std::size_t size, std::int64_t offset) override {
    return real_.readAt(file, data, size, offset);
  }
  int truncate(int file, std::int64_t size) override;
  int sync(int file) override { return real_.sync(file); }
  int info(int file, FileInfo& info) override { return real_.info(file, info); }
  int info(const std::string& path, FileInfo& info) override;
  int rename(const std::string& from, const std::string& to) override;
  int remove(const std::string& path) override { return real_.remove(path); }
  int makeFolder(const std::string& path) override { return real_.makeFolder(path); }

 private:
  FileApi& real_ = FileApi::system();
};

/// A temporary folder whose files are listed by name.
class TemporaryFolder : public qx::test::TempFolder {
 public:
  /// Returns the path of a file in it.
  std::string operator/(const std::string& name) const { return file(name); }
  /// Returns the names in it that do not begin with a dot, sorted.
  std::vector<std::string> names() const;
};

/// Replaces the content of a file.
void writeText(const std::string& path, const std::string& text);

}  // namespace qx::logger::test
