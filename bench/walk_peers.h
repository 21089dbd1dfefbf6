#pragma once

// The peers of walk_bench: the same SELECT on the same file by other means. Each returns the sum of
// the column U_Count, which shows that all of them have read the same rows.

#include "qxframework/query/field_values.h"

#include <functional>
#include <string>

namespace qx::bench {

/// The work of every walk on a row: the container's side of MapToContainer.
inline long small(const Persistence::TyFieldValues& values) { return values[u"U_Count"].lVal; }

/// Returns the number of the row at `i` of an order in which neighbours are far apart.
inline int numberAt(int i, int rows) {
  return static_cast<int>(static_cast<long>(i) * 7919 % rows);
}

/// Reads every row of the table @FEW by its code with one prepared statement, and copies its cells
/// into a map like the framework's: in the order of numberAt(), or with `keysFirst` by the codes of
/// a query.
long readOneByOne(const std::string& file, int rows, bool keysFirst);
/// Walks by SQLite's C interface and copies the cells of each row into a map like the framework's.
long walkSqlite(const std::string& file, const std::string& sql);
/// Walks by SOCI's dynamic rows and reads each cell as its type.
long walkSoci(const std::string& file, const std::string& sql);
/// Does the same and copies the cells into a map like the framework's.
long walkSociIntoMap(const std::string& file, const std::string& sql);

}  // namespace qx::bench
