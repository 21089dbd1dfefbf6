// The columns of a SELECT as its text tells them: their names as written, whatever an engine makes
// of them, and their types.
#pragma once

#include "qxdesk/sql/ast.h"

#include <string>
#include <vector>

namespace qx::sql {

struct OutputColumn {
  std::string name;  // as written; empty for an expression without an alias
  ColumnType type = ColumnType::Unknown;
  // Where the type is unknown and the database does not tell it either: a SELECT without rows whose
  // columns decide the type (see commonType); empty if there is none.
  std::string probe = {};
  // Not a column, but all those of this table, whose names and types the text does not tell.
  std::string starTable = {};
};

struct ListedColumn {
  OutputColumn told;
  const Expr* value = nullptr;  // where it stands in the list itself, not behind a *
};

// The type of the column that the item at `index` of the first part makes, by all parts of a UNION.
ColumnType unitedType(const Select& select, std::size_t index);

// The columns of a whole statement's SELECT in order. A * of a common or derived table stands for
// that one's columns. Empty when they are too many to be told.
std::vector<ListedColumn> listedColumns(const Select& select);

}  // namespace qx::sql
