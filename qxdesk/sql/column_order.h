#pragma once

// What a catalogue offers beside sql::Catalog if its engine can check the order of columns at the
// run of a statement. Only statements with * or with an INSERT without names depend on that order,
// and the check costs them time.

#include <string>
#include <vector>

namespace qx::sql {

class ColumnOrderCatalog {
 public:
  virtual ~ColumnOrderCatalog() = default;
  /// Returns what continues Catalog::unchangedCheck() of the same tables so that it also fails if
  /// their columns have another order than is known here; empty if there is nothing to add.
  virtual std::string orderCheck(const std::vector<std::string>& tables) const = 0;
};

}  // namespace qx::sql
