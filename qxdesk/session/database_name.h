#pragma once

// The name of a company database: the path of a file, or "odbc:" and an ODBC connection string,
// whose passwords must not appear in messages.

#include <optional>
#include <string>
#include <string_view>

namespace qx::desk {

/// Returns the ODBC connection string; nothing for a file.
std::optional<std::string_view> odbcConnection(std::string_view database);

/// True if both are the same file, whatever the way in which its path is written, or the same ODBC
/// connection string.
bool sameDatabase(std::string_view a, std::string_view b);

/// Returns the name for messages, with the passwords replaced by "***": also in a text that is no
/// connection string, but has such a password in it.
std::string databaseName(std::string_view database);

/// Returns why no ODBC connection string of this length, or with a value of this length, is used:
/// drivers copy them into buffers of fixed size. Empty if it can be used.
std::string lengthProblem(std::string_view connection);

/// True if a password, or another key whose value is secret, is given in `text`.
bool namesSecret(std::string_view text);

/// Returns `connection` with a password added, whatever characters that has.
std::string withPassword(std::string_view connection, std::string_view password);

/// Returns a name for a company that has none: that of the file without its extension, of the
/// server's database or of the data source; "ODBC" if the connection string names neither.
std::string databaseTitle(std::string_view database);

}  // namespace qx::desk
