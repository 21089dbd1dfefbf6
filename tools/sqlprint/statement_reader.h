#pragma once

#include "tools/sqlprint/description.h"
#include "tools/sqlprint/toml_input.h"

namespace qx::sqlprint {

/// Reads one statement's table.
Statement readStatement(const NodeReader& nodes, Kind kind, const toml::table& table);

/// "=" and the like; EQUAL if there is no `is`.
Persistence::HvConditionOperation readOperation(const NodeReader& nodes, const toml::table& table);
/// Whether a table's name is that of a user table: by `user-table`, else by its first character.
bool readUserTable(const NodeReader& nodes, const toml::table& table,
                   const std::u16string& tableName);

/// The list `where`. Brackets that do not pair are refused.
std::vector<Condition> readConditions(const NodeReader& nodes, const toml::node& node);
/// The list `join`.
std::vector<Join> readJoins(const NodeReader& nodes, const toml::node& node);

}  // namespace qx::sqlprint
