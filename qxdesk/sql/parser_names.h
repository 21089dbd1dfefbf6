#pragma once

// Names in a statement: columns, tables and aliases. Each dialect writes those that are not plain
// in its own way, and a name in another dialect's form is refused with the form to write instead,
// because the customer's database would refuse it as well.
//
//   name   := word that is not reserved | [x] | "x" | @x, as far as the dialect has the form
//   table  := name
//   alias  := [AS] name | AS 'x' | AS "x", the last two for columns and by dialect

#include "qxdesk/sql/dialect.h"
#include "qxdesk/sql/engine.h"
#include "qxdesk/sql/token_cursor.h"

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace qx::sql {

class NameParser {
 public:
  /// All three must outlive the parser.
  NameParser(TokenCursor& tokens, const DialectTraits& dialect, const EngineTraits& engine)
      : tokens_(tokens), dialect_(dialect), engine_(engine) {}

  /// True if a name is next, in any dialect's form.
  bool isNext() const;

  /// Returns the name that is next, decoded. Throws SqlError for another token, naming `what` as
  /// expected, for the form of another dialect and for a name that the engine would cut.
  std::string name(std::string_view what);
  /// Like name(), but refuses the engine's own tables and a name with a schema before it.
  std::string tableName();
  /// Like name(). References to a name in brackets are accepted in every dialect from then on.
  std::string commonTableName();
  /// Returns the alias of a value in a list, if one is next.
  std::optional<std::string> columnAlias();
  /// Returns the alias of a table or derived table; empty if none is next.
  std::string sourceAlias();

  /// Throws SqlError if a quoted name of the statement so far is none of its quoted aliases, for a
  /// dialect in which only aliases are quoted. To be called at the end, since a list may follow the
  /// references to its aliases.
  void checkQuotedReferences() const;

 private:
  void requireDialectForm(const Token& token);
  [[noreturn]] void failForm(const Token& token) const;
  std::string textAlias();
  std::string takeName();
  bool isBareAliasNext() const;

  TokenCursor& tokens_;
  const DialectTraits& dialect_;
  const EngineTraits& engine_;
  std::vector<std::string> bracketedCommonTables_;
  std::set<std::string, NameLess> quotedAliases_;
  std::vector<Token> quotedReferences_;  // to be found among the aliases at the end
};

}  // namespace qx::sql
