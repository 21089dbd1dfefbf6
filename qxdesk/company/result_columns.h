#pragma once

// The names and types of the columns of an add-on's query. A name is taken from the statement if it
// is written there, for a "*" from the dictionary, and otherwise from the engine.

#include "qxdesk/engines/row_store.h"

#include <vector>

namespace qx::sql {
struct Translation;
}

namespace qx::desk {

class Database;

/// Returns the columns of a statement that has made its first step. Throws DatabaseError.
std::vector<RowColumn> resultColumns(Database& database, const Statement& statement,
                                     const sql::Translation& translation);

}  // namespace qx::desk
