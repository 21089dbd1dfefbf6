#pragma once

// Tables on PostgreSQL.

#include "qxdesk/engines/engine_tables.h"

namespace qx::desk {

/// Returns the tables of PostgreSQL. They have its own types; named checks add the limits of the
/// embedded engine's types, so that a value is refused by both engines or by neither.
const EngineTables& postgresTables();

}  // namespace qx::desk
