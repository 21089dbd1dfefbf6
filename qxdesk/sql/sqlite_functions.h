// The functions of a SQLite connection that translated texts call and the engine does not have, or
// has in another sense.
#pragma once

#include "qxdesk/sql/sqlite_guard.h"

#include <string_view>

namespace qx::sql {

// Raises SqliteError. The connection keeps a copy of `settings`.
void registerFunctions(sqlite3* db, const GuardSettings& settings);

// True for what translated texts call, the engine's own among it.
bool isAllowedFunction(std::string_view name);

}  // namespace qx::sql
