#pragma once

// The names of the SQL dialects in connection strings, command lines and tests, and the database
// server types that they stand for.

#include "qxframework/host/company.h"

#include <array>
#include <optional>
#include <string_view>

namespace qx {

/// A dialect's name, in ASCII, with the server type that a company reports for it.
struct DialectName {
  DbServerType serverType;
  std::string_view name;
};

/// All dialects, in the order in which tools print them.
inline constexpr std::array<DialectName, 4> kDialectNames{
    {{kMssql, "mssql"}, {kSybase, "sybase"}, {kDb2, "db2"}, {kKordb, "kordb"}}};

/// Returns the name of the server type's dialect; an empty text if no dialect has that type.
constexpr std::string_view dialectName(DbServerType serverType) {
  for (const DialectName& each : kDialectNames)
    if (each.serverType == serverType) return each.name;
  return {};
}

/// Returns the server type of the dialect with exactly that name; nothing for any other text.
constexpr std::optional<DbServerType> serverTypeNamed(std::string_view name) {
  for (const DialectName& each : kDialectNames)
    if (each.name == name) return each.serverType;
  return std::nullopt;
}

}  // namespace qx
