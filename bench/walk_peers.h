#pragma once

// The peers of walk_bench: the same SELECT on the same file by other means. Each returns the sum of
// the column U_Count, which shows that all of them have read the same rows.

#include "qxframework/query/field_values.h"

#include <functional>
#include <string>

namespace qx::bench {

/// The work of every walk on a row: the container's side of MapToContainer.
inline long small(const Persistence::TyFieldValues& values) { return values[u"U_Count"].lVal; }

/// Walks by SQLite's C interface and copies the cells of each row into a map like the framework's.
long walkSqlite(const std::string& file, const std::string& sql);
/// Walks by SOCI's dynamic rows and reads each cell as its type.
long walkSoci(const std::string& file, const std::string& sql);
/// Does the same and copies the cells into a map like the framework's.
long walkSociIntoMap(const std::string& file, const std::string& sql);

}  // namespace qx::bench
