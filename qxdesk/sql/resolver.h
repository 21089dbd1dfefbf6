#pragma once

// Fills in the types of a syntax tree as far as they are known without running anything, and does
// what depends on them. Engines convert silently, each in its own way, or refuse; so values that
// meet are brought to one type here. Texts become dates of the stored form where they meet dates. A
// literal becomes a number where it meets numbers and a text where it meets texts. All else is
// refused.
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
      : columns_(catalog), expressions_(traits, catalog != nullptr) {}

  /// Resolves one statement. Throws SqlError for a + that may add or join, for a text that is no
  /// date where one is needed, for values of kinds that do not go together, and for a column that
  /// does not exist. To be called once.
  void resolve(Statement& statement);

 private:
  void resolveSelect(Select& select);
  void resolveCore(SelectCore& core);
  void resolveKeys(const std::vector<Expr*>& keys, const SelectCore& core);
  void resolveExpr(Expr& expr);
  void bringPartsTogether(Select& select) const;
  void resolveInsert(Statement& statement);
  void assignSelect(const Statement& statement);
  void resolveUpdate(Statement& statement);
  void assign(std::string_view table, std::string_view column, ExprPtr& value) const;

  ColumnLookup columns_;
  ExpressionResolver expressions_;
};

}  // namespace qx::sql
