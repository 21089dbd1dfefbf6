// The SQLite side of the tests' databases, in memory.
#pragma once

#include "qxdesk/sql/sqlite_guard.h"
#include "qxdesk/sql/test_support.h"

struct sqlite3;

namespace qx::sql::test {

class SqliteConnection final : public Connection {
 public:
  SqliteConnection();

  const Catalog& catalog() override { return catalog_; }
  std::string run(std::string_view sql) override;
  // As it stands, without the guard.
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
