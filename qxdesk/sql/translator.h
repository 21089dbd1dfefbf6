#pragma once

// The SQL front end: translates one statement from the dialect of a company's server type into text
// of the same meaning for a database engine. It refuses a statement that it does not understand,
// with the position, and never passes text through.
//
// Flow: lexer, parser (syntax tree), resolver (types), the engine's emitter.

#include "qxdesk/sql/ast.h"
#include "qxdesk/sql/bound_values.h"
#include "qxdesk/sql/column_type.h"
#include "qxdesk/sql/dialect.h"
#include "qxdesk/sql/engine.h"
#include "qxdesk/sql/output_columns.h"
#include "qxdesk/sql/sql_error.h"
#include "qxdesk/sql/statement_shape.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qx::sql {

struct Translation {
  StatementKind kind = StatementKind::Select;
  std::string text;  // empty for SetRowCount, which runs nothing
  // All columns of a SELECT; empty if its list has a * of a table.
  std::vector<OutputColumn> columns;
  // In that case: the list in order, with one entry (starTable) for all columns of a table.
  std::vector<OutputColumn> outline;
  // The parameters of the text in order; none if it was not translated for its shape.
  std::vector<BoundValue> parameters;
  // True if the text serves all statements of the shape whose other literals are equal.
  bool repeatable = false;
  // False if the text notices no change of the tables, see Catalog::unchangedCheck().
  bool checked = true;
  // The user table of which the statement reads the highest code and nothing else.
  std::string drawsFrom;
  // The table of an INSERT.
  std::string insertsInto;
};

/// The engine on which translated statements run, and its clock.
struct Target {
  Engine engine = Engine::Sqlite;
  // Returns local time as "YYYY-MM-DD HH:MM:SS"; the emitter writes it into the text where a
  // statement asks for the time. If it is empty, PostgreSQL uses the server's time. SQLite ignores
  // it and asks the connection (sqlite_guard.h).
  std::function<std::string()> now = {};
  // Tables that statements can read and not change.
  std::vector<std::string> readOnlyTables = {};
  // A table of one row: statements can change it, but neither add nor remove rows nor change the
  // column Code, by which the row is known.
  std::string oneRowTable = {};
};

class Translator {
 public:
  /// `catalog` knows the types of columns, so that texts compared with dates become dates; if it is
  /// null, such texts stay texts. It outlives the translator.
  explicit Translator(Dialect dialect, const Catalog* catalog = nullptr, Target target = {})
      : dialect_(dialect), catalog_(catalog), target_(std::move(target)) {}

  /// Returns the translation of one statement. Throws SqlError. A SET ROWCOUNT n limits every later
  /// statement until SET ROWCOUNT 0, so each connection needs its own translator.
  Translation translate(std::string_view utf8);
  /// The same for a statement whose literals may become parameters. `shape` is that of `utf8`; null
  /// if it has none. The text checks that the tables are unchanged.
  Translation translateForUse(std::string_view utf8, const StatementShape* shape);

  /// The limit of SET ROWCOUNT, which is part of what a text means.
  const std::optional<std::int64_t>& rowLimit() const { return rowLimit_; }
  const Target& target() const { return target_; }

 private:
  Translation translate(std::string_view utf8, const StatementShape* shape, bool checks);
  Statement parse(std::string_view utf8, const StatementShape* shape) const;
  bool setsRowLimit(const Statement& statement);
  void needChangeable(const Statement& statement) const;
  void needRowKept(const Statement& statement) const;

  Dialect dialect_;
  const Catalog* catalog_;
  Target target_;
  std::optional<std::int64_t> rowLimit_;
};

}  // namespace qx::sql
