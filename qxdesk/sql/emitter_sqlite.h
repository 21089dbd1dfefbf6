// Writes a resolved syntax tree as SQLite text. Every name is quoted and every literal written
// anew, so that nothing of the incoming text reaches the database undecoded.
//
// The text relies on functions that sqlite_guard.h registers: qx_now(), qx_date(x), qx_like(...),
// qx_upper(x), qx_lower(x), and a LIKE that minds the case.
#pragma once

#include "qxdesk/sql/ast.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qx::sql {

// The text of a SELECT, INSERT, UPDATE or DELETE. `rowLimit` is the row count set on the
// connection: no more rows than that are read or changed.
std::string emitSqlite(const Statement& statement, const DialectTraits& traits,
                       std::optional<std::int64_t> rowLimit);

// A SELECT of `columns`, which stand in the first core of `select`, that yields no row: it is for
// reading their declared types.
std::string emitSqliteProbe(const Select& select, const std::vector<const Expr*>& columns,
                            const DialectTraits& traits);

}  // namespace qx::sql
