#pragma once

// Tables on SQLite.

#include "qxdesk/engines/engine_tables.h"

namespace qx::desk {

/// Returns the tables of SQLite. The declared types are those of the host's database: they are what
/// the types of result columns come from. The engine does not enforce them, so a named check states
/// each limit (length of a text, form of a date), and the engine's refusal names the column.
const EngineTables& sqliteTables();

}  // namespace qx::desk
