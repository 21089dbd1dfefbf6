#pragma once

// The SQLite databases of the tests, in memory.

#include "qxdesk/sql/sqlite_guard.h"
#include "qxdesk/sql/test_support.h"

struct sqlite3;

namespace qx::sql::test {

class SqliteConnection final : public Connection {
 public:
  SqliteConnection();

  const Catalog& catalog() override { return catalog_; }
  std::string run(std::string_view sql) override;
  /// Runs a text without the guard. Throws SqliteError.
  std::string runNative(std::string_view sql);
  sqlite3* db() { return db_.get(); }

 private:
  struct Closer {
    void operator()(sqlite3* db) const;
  };

  std::string rows(SqliteStatement statement);

  std::unique_ptr<sqlite3, Closer> db_;
  SqliteCatalog catalog_;
};

}  // namespace qx::sql::test
