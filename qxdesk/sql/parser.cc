#include "qxdesk/sql/parser.h"

#include <utility>

namespace qx::sql {

Parser::Parser(Dialect dialect, const EngineTraits& engine, std::vector<Token> tokens)
    : context_(dialect, engine, std::move(tokens)),
      tokens_(context_.tokens),
      names_(context_.names),
      expressions_(context_, *this),
      selects_(context_, expressions_) {}

Statement Parser::parse() {
  Statement result = statement();
  endOfStatement();
  // Last, because an alias may follow its uses.
  names_.checkQuotedReferences();
  return result;
}

Statement Parser::statement() {
  if (tokens_.isWord("SELECT") || tokens_.isWord("WITH")) return selectStatement();
  if (tokens_.isWord("INSERT")) return insertStatement();
  if (tokens_.isWord("UPDATE")) return updateStatement();
  if (tokens_.isWord("DELETE")) return deleteStatement();
  if (tokens_.isWord("SET")) return setRowCountStatement();
  tokens_.failExpected("a statement (SELECT, INSERT, UPDATE or DELETE)");
}

// One semicolon may end the statement. A second statement is refused even where it would be
// harmless, because a text put together by an add-on may carry one that its author never wrote.
void Parser::endOfStatement() {
  tokens_.acceptSymbol(";");
  if (tokens_.atEnd()) return;
  tokens_.fail("one statement per call; unexpected text near '" + excerpt(tokens_.here().source) +
               "'");
}

Statement Parser::selectStatement() {
  Statement statement;
  statement.kind = StatementKind::Select;
  statement.select = selects_.select();
  return statement;
}

Statement Parser::setRowCountStatement() {
  Statement statement;
  statement.kind = StatementKind::SetRowCount;
  // SET is no statement but for this one, so the dialect is checked before the second word.
  if (!context_.traits.setRowCount) {
    tokens_.fail("SET ROWCOUNT is not a statement of " + std::string(context_.traits.name) +
                 "; limit the SELECT");
  }
  tokens_.expectWord("SET");
  tokens_.expectWord("ROWCOUNT");
  statement.rowCount = tokens_.expectWhole("a number of rows");
  return statement;
}

Statement Parser::insertStatement() {
  Statement statement;
  statement.kind = StatementKind::Insert;
  tokens_.expectWord("INSERT");
  tokens_.expectWord("INTO");
  statement.tableAt = tokens_.here().at;
  statement.table = names_.tableName();
  insertColumns(statement);
  if (tokens_.isWord("SELECT")) {
    statement.select = selects_.select();
  } else {
    insertRows(statement);
  }
  return statement;
}

// The list is required: without it the order of the table's columns would decide, which depends on
// when a company added its fields.
void Parser::insertColumns(Statement& statement) {
  if (!tokens_.isSymbol("(")) tokens_.failExpected("the list of columns in brackets");
  tokens_.expectSymbol("(");
  do {
    statement.columns.push_back(targetColumn());
  } while (tokens_.acceptSymbol(","));
  tokens_.expectSymbol(")");
}

TargetColumn Parser::targetColumn() {
  TargetColumn column;
  column.at = tokens_.here().at;
  column.name = names_.name("a column name");
  // SQLite takes the first value in an INSERT and the last one in an UPDATE, without a word.
  if (!targetColumns_.insert(column.name).second) {
    throw SqlError("the column " + excerpt(column.name) + " is named twice", column.at);
  }
  return column;
}

void Parser::insertRows(Statement& statement) {
  tokens_.expectWord("VALUES");
  do {
    statement.rows.push_back(insertRow(statement.columns.size()));
  } while (tokens_.acceptSymbol(","));
}

std::vector<ExprPtr> Parser::insertRow(std::size_t columns) {
  const Position at = tokens_.here().at;
  std::vector<ExprPtr> row;
  tokens_.expectSymbol("(");
  do {
    row.push_back(value());
  } while (tokens_.acceptSymbol(","));
  tokens_.expectSymbol(")");
  if (row.size() == columns) return row;
  throw SqlError(std::to_string(row.size()) + " values for " + std::to_string(columns) + " columns",
                 at);
}

Statement Parser::updateStatement() {
  Statement statement;
  statement.kind = StatementKind::Update;
  tokens_.expectWord("UPDATE");
  statement.tableAt = tokens_.here().at;
  statement.table = names_.tableName();
  tokens_.expectWord("SET");
  do {
    TargetColumn column = targetColumn();
    tokens_.expectSymbol("=");
    column.value = value();
    statement.columns.push_back(std::move(column));
  } while (tokens_.acceptSymbol(","));
  if (tokens_.acceptWord("WHERE")) statement.where = expressions_.condition();
  return statement;
}

Statement Parser::deleteStatement() {
  Statement statement;
  statement.kind = StatementKind::Delete;
  tokens_.expectWord("DELETE");
  tokens_.expectWord("FROM");
  statement.tableAt = tokens_.here().at;
  statement.table = names_.tableName();
  if (tokens_.acceptWord("WHERE")) statement.where = expressions_.condition();
  return statement;
}

}  // namespace qx::sql
