#pragma once

#include "qxdesk/engines/engine_tables.h"

namespace qx::desk {

/// Declared types are those of the host's database, from which the types of result columns are
/// told; what such a type promises (length of a text, form of a date) stands in a named check
/// beside it, so that the engine's refusal names the column.
const EngineTables& sqliteTables();

}  // namespace qx::desk
