#pragma once

// The peers of walk_bench: the same SELECT on the same file by other means. Each gives the sum of
// the column U_Count, so that all can be seen to have read the same.

#include "qxframework/query/field_values.h"

#include <functional>
#include <string>

namespace qx::bench {

/// What every walk does with a row: the container's side of MapToContainer.
inline long small(const Persistence::TyFieldValues& values) { return values[u"U_Count"].lVal; }

/// SQLite's C interface; the cells of a row go into a map of the framework's kind.
long walkSqlite(const std::string& file, const std::string& sql);
/// SOCI's dynamic rows; each cell is read as its type.
long walkSoci(const std::string& file, const std::string& sql);
/// The same, and the cells go into a map of the framework's kind.
long walkSociIntoMap(const std::string& file, const std::string& sql);

}  // namespace qx::bench
