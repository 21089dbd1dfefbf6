// The SQL front end: takes one statement in the dialect of a company's server type and yields the
// text that SQLite runs with the same meaning. What it does not understand it refuses, with the
// place; it never passes text through.
//
// Flow: lexer, parser (syntax tree), resolver (types), emitter. The emitter is the only part that
// knows SQLite.
#pragma once

#include "qxdesk/sql/ast.h"
#include "qxdesk/sql/column_type.h"
#include "qxdesk/sql/dialect.h"
#include "qxdesk/sql/sql_error.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx::sql {

struct OutputColumn {
  std::string name;  // as written; empty for an expression without an alias
  ColumnType type = ColumnType::Unknown;
  // Where the type is unknown and the database does not tell it either: a SELECT without rows whose
  // columns decide the type (see commonType); empty if there is none.
  std::string probe;
};

struct Translation {
  StatementKind kind = StatementKind::Select;
  std::string text;                   // empty for SetRowCount, which leaves nothing to run
  std::vector<OutputColumn> columns;  // of a SELECT; empty when its list has a *
};

class Translator {
 public:
  // `catalog` tells the types of columns, so that texts which meet dates become dates; without it
  // (null) such texts stay texts. It must outlive the translator.
  explicit Translator(Dialect dialect, const Catalog* catalog = nullptr)
      : dialect_(dialect), catalog_(catalog) {}

  // The translation of one statement. Raises SqlError. A SET ROWCOUNT n limits every statement
  // after it, until SET ROWCOUNT 0; so there is one translator for each connection.
  Translation translate(std::string_view utf8);

 private:
  Dialect dialect_;
  const Catalog* catalog_;
  std::optional<std::int64_t> rowLimit_;
};

}  // namespace qx::sql
