#pragma once

// The tables that every company has (the dictionary itself, the settings, a few business tables),
// and the columns that a new user table begins with.

#include "qxdesk/engines/table_layout.h"

#include <string>
#include <string_view>
#include <vector>

namespace qx::desk {

/// Returns the system tables in the order in which a new company makes them.
const std::vector<TableLayout>& systemTables();
/// Returns the names of those that describe the user tables, fields and keys.
std::vector<std::string> dictionaryTableNames();
/// The table whose only row has the settings of the company, with its Code.
inline constexpr std::string_view kSettingsTable = "HVCOMP";
/// Finds a system table by name in any case; returns null if there is none.
const TableLayout* findSystemTable(std::string_view name);
/// Returns "@" and the name: the name of a user table in the database.
std::string userTableName(std::string_view name);
/// Returns the layout of a new user table of that type; `name` is without "@".
TableLayout userTable(std::string_view name, long type);

}  // namespace qx::desk
