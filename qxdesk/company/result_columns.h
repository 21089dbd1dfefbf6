#pragma once

// What the columns of an add-on's query are called and what they hold: as the statement wrote them,
// as the dictionary spells them behind a *, and where neither knows them, as the engine tells.

#include "qxdesk/engines/row_store.h"

#include <vector>

namespace qx::sql {
struct Translation;
}

namespace qx::desk {

class Database;

/// For a statement that has made its first step. Raises DatabaseError.
std::vector<RowColumn> resultColumns(Database& database, const Statement& statement,
                                     const sql::Translation& translation);

}  // namespace qx::desk
