#pragma once

// Recursive descent over the tokens of one statement. Everything outside the grammar is refused
// with its place, and so is every form that belongs to another dialect; nothing is passed through.
//
//   statement := (select | insert | update | delete | SET ROWCOUNT n) [;]
//   insert    := INSERT INTO table ( name {, name} ) (select | VALUES row {, row})
//   row       := ( value {, value} )
//   update    := UPDATE table SET name = value {, name = value} [WHERE condition]
//   delete    := DELETE FROM table [WHERE condition]
//
// This class is the grammar of statements and the top of the parser. The parts below it each have a
// header with their rules: parser_select.h, parser_expression.h, parser_function.h, parser_names.h,
// over a token_cursor.h. parser_context.h explains how they refer to one another.

#include "qxdesk/sql/parser_select.h"

#include <set>
#include <string>
#include <vector>

namespace qx::sql {

class Parser final : private EnclosingGrammar {
 public:
  /// Takes tokens that end with End, as lex() returns them. Names that `engine` cannot keep are
  /// refused. The text that the tokens refer to must outlive the parser.
  Parser(Dialect dialect, const EngineTraits& engine, std::vector<Token> tokens);

  /// Returns the one statement of the text. Throws SqlError. To be called once.
  Statement parse();

 private:
  ExprPtr value() override { return expressions_.value(); }
  SelectPtr subselect() override { return selects_.subselect(); }

  Statement statement();
  Statement selectStatement();
  Statement insertStatement();
  Statement updateStatement();
  Statement deleteStatement();
  Statement setRowCountStatement();
  void insertColumns(Statement& statement);
  void insertRows(Statement& statement);
  std::vector<ExprPtr> insertRow(std::size_t columns);
  TargetColumn targetColumn();
  void endOfStatement();

  ParserContext context_;
  TokenCursor& tokens_;
  NameParser& names_;
  ExpressionParser expressions_;
  SelectParser selects_;
  std::set<std::string, NameLess> targetColumns_;  // of an INSERT or UPDATE, so far
};

}  // namespace qx::sql
