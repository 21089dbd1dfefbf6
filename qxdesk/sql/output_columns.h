#pragma once

// The columns of a SELECT as its text describes them: their names as written, whatever name the
// engine reports, and their types.

#include "qxdesk/sql/ast.h"

#include <string>
#include <vector>

namespace qx::sql {

struct OutputColumn {
  std::string name;  // as written; empty for an expression without an alias
  ColumnType type = ColumnType::Unknown;
  // If neither the text nor the database knows the type: a SELECT without rows whose columns decide
  // it (see commonType); empty if there is no such SELECT.
  std::string probe = {};
  // If not empty, this entry is not one column but all columns of this table, whose names and types
  // the text does not contain.
  std::string starTable = {};
};

struct ListedColumn {
  OutputColumn output;
  const Expr* value = nullptr;  // the item of the list; null for a column that a * stands for
};

/// Returns the type of the result column at `index`, by all parts of a UNION.
ColumnType unitedType(const Select& select, std::size_t index);

/// Returns the columns of a whole statement's SELECT in order. A * of a common or derived table is
/// replaced by that table's columns. Returns no columns if the replacement takes more than 10,000
/// steps.
std::vector<ListedColumn> listedColumns(const Select& select);

}  // namespace qx::sql
