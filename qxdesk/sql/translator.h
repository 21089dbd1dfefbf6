// The SQL front end: takes one statement in the dialect of a company's server type and yields the
// text that a database engine runs with the same meaning. What it does not understand it refuses,
// with the place; it never passes text through.
//
// Flow: lexer, parser (syntax tree), resolver (types), the engine's emitter.
#pragma once

#include "qxdesk/sql/ast.h"
#include "qxdesk/sql/column_type.h"
#include "qxdesk/sql/dialect.h"
#include "qxdesk/sql/engine.h"
#include "qxdesk/sql/output_columns.h"
#include "qxdesk/sql/sql_error.h"

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
  std::string text;  // empty for SetRowCount, which leaves nothing to run
  // Of a SELECT, all of them; empty when its list has a * of a table.
  std::vector<OutputColumn> columns;
  // Then: the list in order, with one entry (starTable) in the place of a table's columns.
  std::vector<OutputColumn> outline;
};

// Where translated statements run.
struct Target {
  Engine engine = Engine::Sqlite;
  // Local time as "YYYY-MM-DD HH:MM:SS", written into the text where a statement asks for it.
  // Without it the server tells its own. SQLite asks the connection (sqlite_guard.h) instead.
  std::function<std::string()> now = {};
};

class Translator {
 public:
  // `catalog` tells the types of columns, so that texts which meet dates become dates; without it
  // (null) such texts stay texts. It must outlive the translator.
  explicit Translator(Dialect dialect, const Catalog* catalog = nullptr, Target target = {})
      : dialect_(dialect), catalog_(catalog), target_(std::move(target)) {}

  // The translation of one statement. Raises SqlError. A SET ROWCOUNT n limits every statement
  // after it, until SET ROWCOUNT 0; so there is one translator for each connection.
  Translation translate(std::string_view utf8);

 private:
  Dialect dialect_;
  const Catalog* catalog_;
  Target target_;
  std::optional<std::int64_t> rowLimit_;
};

}  // namespace qx::sql
