#pragma once

// All dialects. A further one is a file like dialect_db2.cc, its declaration and its place in the
// list here, and its name in qxframework/host/dialect_names.h.

#include "qxframework/sql/dialect.h"

#include <span>
#include <string_view>

namespace qx {

extern const Dialect kMssqlDialect;
extern const Dialect kSybaseDialect;
extern const Dialect kDb2Dialect;
extern const Dialect kKordbDialect;

/// Dialects as types, so that classes can be made for each (see persistence_factory.cc).
template <const Dialect&... kEach>
struct DialectList {};

/// The one list of dialects.
using AllDialects = DialectList<kMssqlDialect, kSybaseDialect, kDb2Dialect, kKordbDialect>;

/// Returns the dialects of the list, in its order.
std::span<const Dialect* const> allDialects();

/// Returns the dialect of a company's database server type, which may be a DbServerType or the raw
/// value of the host. An unknown value has the dialect mssql.
const Dialect& dialectOf(long serverType);

/// Returns the dialect with that name in connection strings; null if there is none.
const Dialect* dialectNamed(std::string_view name);

}  // namespace qx
