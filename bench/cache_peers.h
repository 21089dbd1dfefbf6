#pragma once

// The peers of the record cache: SQLite's C interface with the containers of the standard library.

#include <sqlite3.h>

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

namespace qx::bench {

using PeerValue = std::variant<std::int64_t, double, std::string>;
/// The values of a row by their names, as a row of the cache has them.
using PeerRow = std::map<std::string, PeerValue>;
using PeerRows = std::map<std::string, PeerRow>;

/// Runs the statement, whose first column is the key, and returns all rows.
PeerRows loadSqlite(const std::string& file, const std::string& select);

/// Reads pages, the rows with one value in `column`, by a prepared statement with an index.
class PagePeer {
 public:
  PagePeer(const std::string& file, const std::string& select, const std::string& column);
  ~PagePeer();
  PagePeer(const PagePeer&) = delete;
  PagePeer& operator=(const PagePeer&) = delete;
  PeerRows page(int value);

 private:
  sqlite3* db_ = nullptr;
  sqlite3_stmt* statement_ = nullptr;
};

/// Runs the statements in one transaction, which is rolled back.
void runSqlite(const std::string& file, const std::vector<std::string>& statements);

}  // namespace qx::bench
