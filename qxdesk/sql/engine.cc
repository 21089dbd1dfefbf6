#include "qxdesk/sql/engine.h"

#include "qxframework/automation/ascii.h"

#include <algorithm>

namespace qx::sql {
namespace {

// PostgreSQL takes brackets around a limited part of a UNION where SQLite needs a derived table,
// and has the ctid of a row version where SQLite has the rowid.

constexpr EngineTraits kSqlite = {
    .name = "SQLite",
    .maxNameBytes = 0,
    .ownTables = "",       // the guard of the connection denies them
    .maxOpenSymbols = 92,  // of 100; the rest is for symbols that the emitter does not count
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
    .maxNameBytes = 63,  // the server cuts a longer name, so two names could become one
    .ownTables = "pg_",
    .maxOpenSymbols = 1000,  // far below the engine's limit, and more than the parser accepts
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

// Folds only ASCII letters, as PostgreSQL does with an unquoted name in a UTF-8 database. A locale
// must not decide under which name a table is kept.
std::string storedName(Engine engine, std::string_view name) {
  std::string stored(name);
  if (traitsOf(engine).foldsNames) {
    std::transform(stored.begin(), stored.end(), stored.begin(), toLowerAscii<char>);
  }
  return stored;
}

}  // namespace qx::sql
