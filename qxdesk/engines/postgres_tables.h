#pragma once

#include "qxdesk/engines/engine_tables.h"

namespace qx::desk {

/// Its own types; what they do not promise as the embedded engine does stands in named checks, so
/// that a value is refused on both or on none.
const EngineTables& postgresTables();

}  // namespace qx::desk
