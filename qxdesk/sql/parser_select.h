#pragma once

// SELECT with its common tables, lists, joins, order and limits.
//
//   select    := [WITH common {, common}] core {UNION [ALL] core} [ORDER BY key {, key}]
//                [FETCH FIRST [n] (ROW | ROWS) ONLY]
//   common    := name AS ( select )
//   core      := SELECT [DISTINCT | ALL] [TOP n [WITH TIES]] item {, item}
//                [FROM source {join}] [WHERE condition] [GROUP BY value {, value}
//                [HAVING condition]]
//   item      := * | name . * | value [alias]
//   source    := table [alias] | ( select ) alias
//   join      := , source | CROSS JOIN source
//              | [INNER | (LEFT | RIGHT | FULL) [OUTER]] JOIN source ON condition
//   key       := value [ASC | DESC]
//
// The result is a Select, in which TOP is the limit of its core and FETCH FIRST that of the whole.
// A subselect has no WITH of its own, so that common tables belong to the whole statement. A common
// table names only those before it: one that named itself would never end.
//
// Engines write a common table out wherever it is named, and plan joins in time that grows with
// their number; so the tables of a statement are limited, counted as they are written out.

#include "qxdesk/sql/parser_expression.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace qx::sql {

class SelectParser {
 public:
  /// Both must outlive the parser.
  SelectParser(ParserContext& context, ExpressionParser& expressions)
      : context_(context),
        tokens_(context.tokens),
        names_(context.names),
        expressions_(expressions) {}

  /// Parses a whole SELECT. Throws SqlError.
  SelectPtr select();
  /// Parses a SELECT and its closing bracket; the opening one has been taken.
  SelectPtr subselect();

 private:
  void commonTables(Select& select);
  SelectCore core();
  void top(SelectCore& core);
  SelectItem item();
  void from(SelectCore& core);
  std::optional<JoinKind> joinKind();
  Source source();
  void countTable(const std::string& table, Position at);
  void checkOrder(const std::string& commonTable) const;
  void groups(SelectCore& core);
  ExprPtr sortKey();
  void orderBy(Select& select);
  void fetchFirst(Select& select);

  ParserContext& context_;
  TokenCursor& tokens_;
  NameParser& names_;
  ExpressionParser& expressions_;
  std::size_t tables_ = 0;                                     // written out, so far
  std::map<std::string, std::size_t, NameLess> commonTables_;  // by name, what each is written out
  struct Use {
    std::string table;
    Position at;
  };
  std::vector<Use> uses_;  // in the common tables so far, of names that were none of them
};

}  // namespace qx::sql
