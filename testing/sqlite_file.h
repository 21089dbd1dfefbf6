#pragma once

// A company's file, read and changed without the framework and the host.

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

struct sqlite3;

namespace qx::test {

class SqliteFile {
 public:
  /// Opens the file, which must exist. All operations throw std::runtime_error with the engine's
  /// message.
  explicit SqliteFile(const std::filesystem::path& path);
  ~SqliteFile();
  SqliteFile(const SqliteFile&) = delete;
  SqliteFile& operator=(const SqliteFile&) = delete;

  void execute(const std::string& sql);
  /// Returns one text per row, its values joined by "|"; a null is "NULL".
  std::vector<std::string> rows(const std::string& sql);
  /// Returns the statement and the rows of every table, without the time stamps of versions: a
  /// second run may change those and nothing else.
  std::string dump();

 private:
  sqlite3* db_ = nullptr;
};

/// Open the file for one query.
std::vector<std::string> rowsOf(const std::filesystem::path& path, const std::string& sql);
std::string dumpOf(const std::filesystem::path& path);

}  // namespace qx::test
