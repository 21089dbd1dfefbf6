// The syntax tree of one statement, free of any dialect: names and literals are decoded, functions
// stand by their meaning, limits by their number. The parser builds it, the resolver fills in the
// types, an emitter writes it for one database engine.
#pragma once

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

enum class ExprKind {
  // Values. `text` is the number, the text, the date (YYYY-MM-DD HH:MM:SS) or the column name.
  Number,
  Text,
  Date,
  Null,
  Column,
  Negate,
  Arithmetic,  // text: + - * / %
  Plus,        // + that may add or join; the resolver turns it into Arithmetic or Concat
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

// Target of a CAST. `size` is the length of a text or the scale of a decimal, where given.
struct CastTarget {
  ColumnType type = ColumnType::Unknown;
  std::optional<int> size;
};

struct Expr {
  ExprKind kind = ExprKind::Null;
  Position at;
  std::string text;
  std::string qualifier;  // of a column; may be empty
  std::vector<ExprPtr> args;
  SelectPtr select;
  Function function = Function::Count;
  TimeUnit unit = TimeUnit::Day;
  CastTarget target;
  bool negated = false;     // NOT LIKE, NOT IN, NOT BETWEEN, IS NOT NULL
  bool distinct = false;    // COUNT(DISTINCT x)
  bool star = false;        // COUNT(*)
  bool hasOperand = false;  // CASE x WHEN
  bool hasElse = false;
  int height = 1;                         // of the tree below, this node included
  ColumnType type = ColumnType::Unknown;  // of NULL: of what it stands for, where that counts
};

struct SelectItem {
  ExprPtr value;              // null for * and x.*
  std::string starQualifier;  // x of x.*; empty for *
  std::optional<std::string> alias;
  Position at;
};

enum class JoinKind { First, Comma, Inner, Left, Right, Full, Cross };

struct Source {
  JoinKind join = JoinKind::First;
  std::string table;  // empty for a derived table
  std::string alias;
  SelectPtr derived;
  ExprPtr on;
  Position at;
};

struct OrderKey {
  ExprPtr value;
  bool descending = false;
};

// One SELECT without its order: a part of a UNION, or all there is.
struct SelectCore {
  Position at;
  bool distinct = false;
  std::optional<std::int64_t> limit;  // TOP n
  bool withTies = false;
  std::vector<SelectItem> items;
  std::vector<Source> from;
  ExprPtr where;
  std::vector<ExprPtr> groupBy;
  ExprPtr having;
  bool unionAll = false;  // joined to the core before it by UNION ALL
};

struct CommonTable {
  std::string name;
  SelectPtr select;
};

struct Select {
  std::vector<CommonTable> with;
  std::vector<SelectCore> cores;  // at least one
  std::vector<OrderKey> orderBy;
  std::optional<std::int64_t> limit;  // FETCH FIRST n ROWS ONLY
};

enum class StatementKind { Select, Insert, Update, Delete, SetRowCount };

struct TargetColumn {
  std::string name;
  ExprPtr value;  // of an UPDATE; null in an INSERT
  Position at;
};

struct Statement {
  StatementKind kind = StatementKind::Select;
  std::string table;
  std::vector<TargetColumn> columns;
  std::vector<std::vector<ExprPtr>> rows;  // VALUES of an INSERT
  SelectPtr select;                        // the SELECT, or that of an INSERT
  ExprPtr where;
  std::int64_t rowCount = 0;
};

}  // namespace qx::sql
