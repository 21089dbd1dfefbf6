#pragma once

// Statements of the embedded engine, and the meaning of its result codes.

#include "qxdesk/engines/database.h"
#include "qxdesk/engines/sqlite_time_limit.h"
#include "qxdesk/engines/sqlite_turns.h"
#include "qxdesk/sql/sqlite_guard.h"

#include <memory>
#include <string_view>
#include <utility>

struct sqlite3;

namespace qx::desk {

/// A connection with what its statements need while they run.
struct SqliteLink {
  sqlite3* db;
  SqliteTimeLimit& limit;
  SqliteTurns& turns;
};

/// Make a statement that waits for its turn if it writes, and whose time counts from its first
/// step. All of the link must outlive it. prepareSqlite() throws DatabaseError.
std::unique_ptr<Statement> prepareSqlite(const SqliteLink& link, std::string_view sql);
std::unique_ptr<Statement> wrapSqlite(const SqliteLink& link, sql::SqliteStatement statement);
/// The same for a statement of sql::prepareRepeated().
std::unique_ptr<Statement> wrapRepeatedSqlite(const SqliteLink& link,
                                              sql::SqliteStatement statement);

/// Returns the fault of an extended result code.
Fault faultOf(int sqliteCode);
/// Returns the failure of an extended result code and the engine's message about it.
DatabaseError sqliteFailure(int code, const std::string& message);

/// Runs `body` and turns a failure of the guard into the DatabaseError that all engines share.
template <class Body>
auto asDatabaseErrors(Body&& body) {
  try {
    return body();
  } catch (const sql::SqliteError& error) {
    throw sqliteFailure(error.code, error.what());
  }
}

}  // namespace qx::desk
