#pragma once

// The syntax tree of one statement, free of any dialect: names and literals are decoded, functions
// are named by their meaning, limits are numbers. The parser builds it, the resolver fills in the
// types, an emitter writes it for one database engine.

#include "qxdesk/sql/column_type.h"
#include "qxdesk/sql/dialect.h"
#include "qxdesk/sql/sql_error.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qx::sql {

struct Expr;
struct Select;
using ExprPtr = std::unique_ptr<Expr>;
using SelectPtr = std::unique_ptr<Select>;

/// Values come first, conditions follow from Compare on; the parser compares with that border.
enum class ExprKind {
  // Values. Expr::text is the number, the text, the date (YYYY-MM-DD HH:MM:SS) or the column name.
  Number,
  Text,
  Date,
  Null,
  Column,
  Negate,
  Arithmetic,  // text: + - * / %
  Plus,        // a + that may add or join; the resolver makes Arithmetic or Concat of it
  Concat,
  Case,  // [operand,] when, then, when, then ... [, else]
  Call,
  Subquery,
  // Conditions.
  Compare,  // text: = <> < <= > >=
  And,      // two or more args
  Or,
  Not,
  Like,     // value, pattern [, escape]
  In,       // value, list ...; or value and `select`
  Between,  // value, low, high
  IsNull,
  Exists,
};

enum class TimeUnit { Second, Minute, Hour, Day, Week };

struct CastTarget {
  ColumnType type = ColumnType::Unknown;
  std::optional<int> size;  ///< the length of a text or the scale of a decimal, if given
};

struct Expr {
  ExprKind kind = ExprKind::Null;
  Position at;
  std::string text;
  std::string qualifier;      ///< of a column; may be empty
  std::vector<ExprPtr> args;  ///< as listed at ExprKind
  SelectPtr select;           ///< of Subquery, Exists and In; may be null in In
  Function function = Function::Count;
  TimeUnit unit = TimeUnit::Day;
  CastTarget target;
  bool negated = false;     ///< NOT LIKE, NOT IN, NOT BETWEEN, IS NOT NULL
  bool distinct = false;    ///< COUNT(DISTINCT x)
  bool star = false;        ///< COUNT(*)
  bool hasOperand = false;  ///< CASE x WHEN
  bool hasElse = false;
  int height = 1;  ///< of the tree from this node down, including it
  /// Which literal of the statement's shape this is as written or as a date, from 0; -1: none. Of a
  /// Negate that is bound, that of the number.
  int literal = -1;
  bool bound = false;  ///< a parameter takes its place; see bound_values.h
  /// Unknown until the resolver has run, and after it if only the database knows. A NULL has the
  /// type of the value in whose place it is, where an engine needs one.
  ColumnType type = ColumnType::Unknown;
};

struct SelectItem {
  ExprPtr value;              ///< null for * and x.*
  std::string starQualifier;  ///< x of x.*; empty for *
  std::optional<std::string> alias;
  Position at;
};

enum class JoinKind { First, Comma, Inner, Left, Right, Full, Cross };

struct Source {
  JoinKind join = JoinKind::First;
  std::string table;  ///< empty for a derived table
  std::string alias;
  SelectPtr derived;
  ExprPtr on;
  Position at;
};

struct OrderKey {
  ExprPtr value;
  bool descending = false;
};

/// One SELECT without its order: a part of a UNION, or the only one.
struct SelectCore {
  Position at;
  bool distinct = false;
  std::optional<std::int64_t> limit;  ///< TOP n
  bool withTies = false;
  std::vector<SelectItem> items;
  std::vector<Source> from;
  ExprPtr where;
  std::vector<ExprPtr> groupBy;
  ExprPtr having;
  bool unionAll = false;  ///< joined to the core before it by UNION ALL
};

struct CommonTable {
  std::string name;
  SelectPtr select;
};

struct Select {
  std::vector<CommonTable> with;
  std::vector<SelectCore> cores;  ///< at least one
  std::vector<OrderKey> orderBy;
  std::optional<std::int64_t> limit;  ///< FETCH FIRST n ROWS ONLY
};

enum class StatementKind { Select, Insert, Update, Delete, SetRowCount };

struct TargetColumn {
  std::string name;
  ExprPtr value;  ///< of an UPDATE; null in an INSERT
  Position at;
};

struct Statement {
  StatementKind kind = StatementKind::Select;
  std::string table;
  Position tableAt;
  std::vector<TargetColumn> columns;
  std::vector<std::vector<ExprPtr>> rows;  ///< VALUES of an INSERT
  SelectPtr select;                        ///< the SELECT, or that of an INSERT
  ExprPtr where;
  std::int64_t rowCount = 0;  ///< of SET ROWCOUNT
};

}  // namespace qx::sql
