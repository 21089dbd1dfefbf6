#pragma once

// Statements of the embedded engine, and what its result codes mean.

#include "qxdesk/engines/database.h"
#include "qxdesk/engines/sqlite_time_limit.h"
#include "qxdesk/sql/sqlite_guard.h"

#include <memory>
#include <string_view>
#include <utility>

struct sqlite3;

namespace qx::desk {

/// Both must outlive the statement, which counts the time from its first step on.
std::unique_ptr<Statement> prepareSqlite(sqlite3* db, SqliteTimeLimit& limit, std::string_view sql);
std::unique_ptr<Statement> wrapSqlite(sqlite3* db, SqliteTimeLimit& limit,
                                      sql::SqliteStatement statement);

/// The fault that an extended result code tells of.
Fault faultOf(int sqliteCode);

/// Runs `body` and gives the failures of the guard the form that all engines share.
template <class Body>
auto asDatabaseErrors(Body&& body) {
  try {
    return body();
  } catch (const sql::SqliteError& error) {
    throw DatabaseError(faultOf(error.code), error.what());
  }
}

}  // namespace qx::desk
