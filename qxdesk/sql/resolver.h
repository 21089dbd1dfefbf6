// Fills in the types of a syntax tree, as far as they can be told without running anything, and
// does what depends on them: it decides whether a + adds or joins, and brings values that meet to
// one type, since some engines convert silently in ways of their own and some refuse. Texts become
// dates of the stored form where they meet dates. A literal becomes a number where it meets
// numbers, a text where it meets texts; what is left is refused.
#pragma once

#include "qxdesk/sql/ast.h"

#include <string>
#include <string_view>
#include <vector>

namespace qx::sql {

class Resolver {
 public:
  // `catalog` may be null: the types of columns are then unknown.
  Resolver(const DialectTraits& traits, const Catalog* catalog)
      : traits_(traits), catalog_(catalog) {}

  // Raises SqlError for a + whose meaning cannot be told and for a text that is no date where one
  // is needed.
  void resolve(Statement& statement);

 private:
  void resolveSelect(Select& select);
  void resolveCore(SelectCore& core);
  void bringPartsTogether(Select& select) const;
  void refuseStar(const SelectItem& item) const;
  void resolveExpr(Expr& expr);
  void resolvePlus(Expr& expr);
  void resolveArithmetic(Expr& expr);
  void resolveDivision(Expr& expr);
  void resolveCast(Expr& expr);
  void resolveCase(Expr& expr);
  void resolveCall(Expr& expr);
  void resolveNumbers(Expr& expr);
  void resolveCompare(Expr& expr);
  void resolveInsert(Statement& statement);
  void resolveUpdate(Statement& statement);
  void assignTo(std::string_view table, std::string_view column, ExprPtr& value) const;
  void coerceSelectItems(const Statement& statement);

  // How surely a column is where it is sought: there is no such table, the table lacks it, nobody
  // can tell, it is there.
  enum class Presence { NoTable, Lacking, Open, There };
  struct Found {
    Presence presence = Presence::NoTable;
    ColumnType type = ColumnType::Unknown;

    bool certain() const { return type != ColumnType::Unknown || presence == Presence::There; }
    void add(Found other);
  };

  // Raises SqlError when the statement's tables are known and none has the column.
  ColumnType columnType(const Expr& column) const;
  void checkTarget(const Statement& statement) const;
  // A key of an order or a group may be a name of the list.
  void resolveKeys(const std::vector<Expr*>& keys, const SelectCore& core);
  // Of the common tables the first `visible` ones count: each sees those before it.
  Found findInCore(const SelectCore& core, std::string_view qualifier, std::string_view column,
                   std::size_t visible) const;
  Found findInSource(const Source& source, std::string_view column, std::size_t visible) const;
  Found findInSelect(const Select& select, std::string_view column, std::size_t visible) const;
  Found findInTable(std::string_view table, std::string_view column) const;
  void refuseLacking(const Expr& column) const;

  const DialectTraits& traits_;
  const Catalog* catalog_;
  std::vector<const SelectCore*> scopes_;  // innermost last
  std::vector<const CommonTable*> commonTables_;
  std::string targetTable_;  // of an UPDATE or DELETE
  mutable int lookups_ = 0;  // steps spent so far on finding columns behind *
};

// The columns that decide the type of an expression whose type is unknown: the inner column of
// MAX(x), the results of a CASE, the arguments of a COALESCE. Empty when it is a plain column or a
// subquery, whose type the database tells itself, or when there is none.
std::vector<const Expr*> decidingColumns(const Expr& expr);

}  // namespace qx::sql
