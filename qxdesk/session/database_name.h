#pragma once

// What users see of the company database: a file's path, or "odbc:" and an ODBC connection string,
// whose passwords nobody must see.

#include <optional>
#include <string>
#include <string_view>

namespace qx::desk {

/// The ODBC connection string; nothing for a file.
std::optional<std::string_view> odbcConnection(std::string_view database);

/// With its passwords replaced: for messages.
std::string databaseName(std::string_view database);

/// A name for the company where none is given: that of the file, of the server's database or of the
/// data source.
std::string databaseTitle(std::string_view database);

}  // namespace qx::desk
