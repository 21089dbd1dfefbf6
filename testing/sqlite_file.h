#pragma once

// A company's SQLite file, read and changed without the framework and the host.

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

struct sqlite3;

namespace qx::test {

/// A connection to a file. All operations throw std::runtime_error with SQLite's message.
class SqliteFile {
 public:
  /// Opens the file, which must exist.
  explicit SqliteFile(const std::filesystem::path& path);
  ~SqliteFile();
  SqliteFile(const SqliteFile&) = delete;
  SqliteFile& operator=(const SqliteFile&) = delete;

  void execute(const std::string& sql);
  /// Returns the rows of a query, one text each, values joined by "|"; a null is "NULL".
  std::vector<std::string> rows(const std::string& sql);
  /// Returns every table as text: its CREATE statement, then its rows. Omits the columns U_Rdate,
  /// the time of a version's installation: no other value may differ after a second run.
  std::string dump();

 private:
  sqlite3* db_ = nullptr;
};

/// Returns SqliteFile(path).rows(sql).
std::vector<std::string> rowsOf(const std::filesystem::path& path, const std::string& sql);
/// Returns SqliteFile(path).dump().
std::string dumpOf(const std::filesystem::path& path);

}  // namespace qx::test
