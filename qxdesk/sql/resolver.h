#pragma once

// Fills in the types of a syntax tree as far as they are known without running anything, and does
// what depends on them. Engines convert silently, each in its own way, or refuse; so values that
// meet are brought to one type here (coercion.h), and what has no common type is refused.
//
// This class walks over statements and SELECTs in the order in which scopes open. Its parts are
// ColumnLookup (resolver_columns.h), which knows the columns of the open scopes, and
// ExpressionResolver (resolver_expression.h), which types one node at a time. Neither calls back:
// subqueries are reached by the walk alone.

#include "qxdesk/sql/ast.h"
#include "qxdesk/sql/resolver_columns.h"
#include "qxdesk/sql/resolver_expression.h"

#include <string_view>
#include <vector>

namespace qx::sql {

class Resolver {
 public:
  /// `catalog` may be null; the types of columns are unknown then. Both must outlive the resolver.
  Resolver(const DialectTraits& traits, const Catalog* catalog)
      : traits_(traits), columns_(catalog), expressions_(traits, catalog != nullptr) {}

  /// Resolves one statement. Throws SqlError for a + that may add or join, for a text that is no
  /// date or number where one is needed, for values of kinds that do not go together, for a table
  /// or column that does not exist, for a name that means several columns, and for a position
  /// beyond the list. To be called once.
  void resolve(Statement& statement);

 private:
  class ListNames;

  void resolveSelect(Select& select);
  void resolveCore(SelectCore& core);
  void resolveItems(SelectCore& core);
  void resolveOrder(Select& select);
  void resolveGroups(SelectCore& core);
  void resolveKey(Expr& key, const SelectCore& core, std::string_view clause);
  void checkPosition(const Expr& key, const SelectCore& core, std::string_view clause);
  void resolveExpr(Expr& expr);
  void bringPartsTogether(Select& select) const;
  void resolveInsert(Statement& statement);
  void assignSelect(const Statement& statement);
  void resolveUpdate(Statement& statement);
  void assign(std::string_view table, std::string_view column, ExprPtr& value) const;

  const DialectTraits& traits_;
  ColumnLookup columns_;
  ExpressionResolver expressions_;
};

}  // namespace qx::sql
