#pragma once

// A company's file, looked at and changed past the framework and the host.

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

struct sqlite3;

namespace qx::test {

class SqliteFile {
 public:
  /// Opens the file, which must exist. Failures raise std::runtime_error with the engine's words.
  explicit SqliteFile(const std::filesystem::path& path);
  ~SqliteFile();
  SqliteFile(const SqliteFile&) = delete;
  SqliteFile& operator=(const SqliteFile&) = delete;

  void execute(const std::string& sql);
  /// One text per row, its values joined by "|"; a null is "NULL".
  std::vector<std::string> rows(const std::string& sql);
  /// Every table: its statement, then its rows. The time at which a version was stamped is left
  /// out, since that is the only thing that a second run may change.
  std::string dump();

 private:
  sqlite3* db_ = nullptr;
};

/// SqliteFile(path).rows(sql)
std::vector<std::string> rowsOf(const std::filesystem::path& path, const std::string& sql);
std::string dumpOf(const std::filesystem::path& path);

}  // namespace qx::test
