#pragma once

// Functions of a SQLite connection that translated texts call: those that the engine lacks, and
// those that it has in another sense.

#include "qxdesk/sql/sqlite_guard.h"

#include <string_view>

namespace qx::sql {

/// Registers the LIKE that every text may use. The connection keeps a copy of `settings`. Throws
/// SqliteError.
void registerLike(sqlite3* db, const GuardSettings& settings);

/// Registers the functions of our own, whose names begin with "qx_", in the same way. This is also
/// allowed later, before the first text that calls one of them is prepared.
void registerOwnFunctions(sqlite3* db, const GuardSettings& settings);

/// Returns false for a text that calls none of them.
bool mayCallOwnFunctions(std::string_view text);

/// Returns true for the functions that translated texts call, the engine's own ones included.
bool isAllowedFunction(std::string_view name);

}  // namespace qx::sql
