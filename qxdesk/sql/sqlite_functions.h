#pragma once

// Functions of a SQLite connection that translated texts call: those that the engine lacks, and
// those that it has in another sense.

#include "qxdesk/sql/sqlite_guard.h"

#include <string_view>

namespace qx::sql {

/// Registers the functions. The connection keeps a copy of `settings`. Throws SqliteError.
void registerFunctions(sqlite3* db, const GuardSettings& settings);

/// Returns true for the functions that translated texts call, the engine's own ones included.
bool isAllowedFunction(std::string_view name);

}  // namespace qx::sql
