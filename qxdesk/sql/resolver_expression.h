#pragma once

// The types of expressions, and everything in them that depends on types: whether a + adds or
// joins, a date plus a number of days, the conversion of values that meet (coercion.h), and the
// choice between the two averages. A + joins two texts; beside a number it adds, and the text has
// to be a number.
//
// Each rule looks at one node whose arguments have been resolved; the walk over the tree is the
// Resolver's.

#include "qxdesk/sql/ast.h"

#include <vector>

namespace qx::sql {

class ExpressionResolver {
 public:
  /// `hasCatalog` says whether the types of columns can be known at all.
  ExpressionResolver(const DialectTraits& traits, bool hasCatalog)
      : traits_(traits), hasCatalog_(hasCatalog) {}

  /// Fills in the type of a node other than a column. Its arguments and its subquery must have been
  /// resolved; they may be converted. Throws SqlError for values of kinds that do not go together.
  void resolve(Expr& expr) const;

  /// Throws SqlError if the item is a *, which does not show the types that its place needs.
  /// Without a catalog no place can have them, and a * is accepted.
  void refuseStar(const SelectItem& item) const;

 private:
  void resolvePlus(Expr& expr) const;
  void resolveArithmetic(Expr& expr) const;
  void bringOperandsTogether(Expr& arithmetic) const;
  ColumnType resolveChoice(const std::vector<ExprPtr*>& values) const;
  void resolveCase(Expr& expr) const;
  void resolveIsNull(Expr& expr) const;
  void resolveCast(Expr& expr) const;
  void resolveCall(Expr& expr) const;
  void resolveMeeting(Expr& expr) const;
  void resolveSubquery(Expr& expr) const;

  const DialectTraits& traits_;
  bool hasCatalog_;
};

/// Returns the columns that decide the type of an expression whose type is unknown: the inner
/// column of MAX(x), the results of a CASE, the arguments of a COALESCE. Returns none for a plain
/// column or a subquery, whose type the database knows itself.
std::vector<const Expr*> decidingColumns(const Expr& expr);

}  // namespace qx::sql
