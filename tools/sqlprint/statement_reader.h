#pragma once

#include "tools/sqlprint/description.h"
#include "tools/sqlprint/toml_input.h"

namespace qx::sqlprint {

/// Reads the table of one statement. This and the other functions throw Diagnostic for wrong input.
Statement readStatement(const NodeReader& nodes, Kind kind, const toml::table& table);

/// Reads the operation of `is`, such as "<="; EQUAL without it.
Persistence::HvConditionOperation readOperation(const NodeReader& nodes, const toml::table& table);
/// Returns true for a user table: by `user-table` or, without it, by the name's first character.
bool readUserTable(const NodeReader& nodes, const toml::table& table,
                   const std::u16string& tableName);

/// Reads the list `where`. Refuses brackets without their counterparts.
std::vector<Condition> readConditions(const NodeReader& nodes, const toml::node& node);
/// Reads the list `join`.
std::vector<Join> readJoins(const NodeReader& nodes, const toml::node& node);

}  // namespace qx::sqlprint
