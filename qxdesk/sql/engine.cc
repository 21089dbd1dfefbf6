#include "qxdesk/sql/engine.h"

#include "qxframework/automation/ascii.h"

#include <algorithm>

namespace qx::sql {
namespace {

constexpr EngineTraits kSqlite = {
    .name = "SQLite",
    .maxNameBytes = 0,
    .ownTables = "",  // its guard denies them
    .maxOpen = 92,    // of 100
    .foldsNames = false,
    .nullsHigh = false,
    .ordersOneRow = true,
    .probes = true,
    .unnamed = "",
    .beforeLimitedRows = " WHERE rowid IN (SELECT rowid FROM ",
    .afterLimitedRows = ")",
    .beforeLimitedPart = "SELECT * FROM (",
    .smallerOf = "min(",
    .rankedTable = "",
};

constexpr EngineTraits kPostgres = {
    .name = "PostgreSQL",
    .maxNameBytes = 63,
    .ownTables = "pg_",
    .maxOpen = 1000,  // far from its own limit, and more than any accepted depth takes
    .foldsNames = true,
    .nullsHigh = true,
    .ordersOneRow = false,
    .probes = false,
    .unnamed = "?column?",
    .beforeLimitedRows = " WHERE ctid = ANY (ARRAY(SELECT ctid FROM ",
    .afterLimitedRows = "))",
    .beforeLimitedPart = "(",
    .smallerOf = "least(",
    .rankedTable = " AS \"ranks\"",
};

}  // namespace

const EngineTraits& traitsOf(Engine engine) {
  return engine == Engine::Postgres ? kPostgres : kSqlite;
}

std::string storedName(Engine engine, std::string_view name) {
  std::string stored(name);
  if (traitsOf(engine).foldsNames) {
    std::transform(stored.begin(), stored.end(), stored.begin(), toLowerAscii<char>);
  }
  return stored;
}

}  // namespace qx::sql
