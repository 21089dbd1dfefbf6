#include "qxdesk/sql/parser.h"

#include "qxdesk/sql/utf8.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace qx::sql {
namespace {

constexpr int kMaxDepth = 60;
constexpr std::size_t kMaxNear = 24;  // characters of a token told in a message

constexpr std::string_view kReserved[] = {
    "ALL",    "AND",    "AS",       "ASC",          "BETWEEN",      "BY",
    "CASE",   "CROSS",  "CURRENT",  "CURRENT_DATE", "CURRENT_TIME", "CURRENT_TIMESTAMP",
    "DELETE", "DESC",   "DISTINCT", "ELSE",         "END",          "ESCAPE",
    "EXCEPT", "EXISTS", "FETCH",    "FROM",         "FULL",         "GROUP",
    "HAVING", "IN",     "INNER",    "INSERT",       "INTERSECT",    "INTO",
    "IS",     "JOIN",   "LEFT",     "LIKE",         "NOT",          "NULL",
    "ON",     "OR",     "ORDER",    "OUTER",        "RIGHT",        "SELECT",
    "SET",    "THEN",   "TOP",      "UNION",        "UPDATE",       "VALUES",
    "WHEN",   "WHERE",  "WITH",
};

// Words that would silently become an alias where another dialect has a clause or a unit.
constexpr std::string_view kNoBareAlias[] = {
    "DAY",     "DAYS",  "HOUR",   "HOURS", "MINUTE", "MINUTES", "SECOND",
    "SECONDS", "MONTH", "MONTHS", "YEAR",  "YEARS",  "LIMIT",   "OFFSET",
    "NATURAL", "USING", "OPTION", "FOR",   "DATE",   "TIME",    "TIMESTAMP",
};

template <typename List>
bool contains(const List& list, std::string_view word) {
  return std::any_of(std::begin(list), std::end(list),
                     [word](std::string_view entry) { return sameName(entry, word); });
}

// The start of a token for a message, cut at a character.
std::string excerpt(std::string_view source) {
  std::size_t end = 0;
  for (std::size_t i = 0; i < kMaxNear && end < source.size(); ++i) {
    end += readUtf8(source, end)->length;
  }
  return std::string(source.substr(0, end)) + (end < source.size() ? "..." : "");
}

}  // namespace

Parser::Parser(Dialect dialect, const EngineTraits& engine, std::vector<Token> tokens)
    : dialect_(dialect), traits_(traitsOf(dialect)), engine_(engine), tokens_(std::move(tokens)) {}

Parser::Level::Level(Parser& parser, int weight) : parser_(parser), weight_(weight) {
  if (parser.depth_ + weight > kMaxDepth) {
    throw SqlError("the statement is nested too deeply; simplify its brackets or subqueries",
                   parser.here().at);
  }
  parser.depth_ += weight;
}

Statement Parser::parse() {
  Statement statement;
  if (isWord("SELECT") || isWord("WITH")) {
    statement = selectStatement();
  } else if (isWord("INSERT")) {
    statement = insertStatement();
  } else if (isWord("UPDATE")) {
    statement = updateStatement();
  } else if (isWord("DELETE")) {
    statement = deleteStatement();
  } else if (isWord("SET")) {
    statement = setRowCountStatement();
  } else {
    failExpected("a statement (SELECT, INSERT, UPDATE or DELETE)");
  }
  endOfStatement();
  checkQuotedReferences();
  return statement;
}

// ---- tokens

const Token& Parser::ahead(std::size_t distance) const {
  return tokens_[std::min(next_ + distance, tokens_.size() - 1)];
}

Token Parser::take() {
  Token token = here();
  if (token.kind != TokenKind::End) ++next_;
  return token;
}

bool Parser::isWord(const Token& token, std::string_view word) {
  return token.kind == TokenKind::Name && sameName(token.text, word);
}

bool Parser::isSymbol(const Token& token, std::string_view symbol) {
  return token.kind == TokenKind::Symbol && token.text == symbol;
}

bool Parser::acceptWord(std::string_view word) {
  if (!isWord(word)) return false;
  ++next_;
  return true;
}

bool Parser::acceptSymbol(std::string_view symbol) {
  if (!isSymbol(symbol)) return false;
  ++next_;
  return true;
}

void Parser::expectWord(std::string_view word) {
  if (!acceptWord(word)) failExpected(std::string(word));
}

void Parser::expectSymbol(std::string_view symbol) {
  if (!acceptSymbol(symbol)) failExpected("'" + std::string(symbol) + "'");
}

void Parser::fail(const std::string& message) const { throw SqlError(message, here().at); }

void Parser::failExpected(const std::string& what) const {
  if (here().kind == TokenKind::End) fail(what + " is expected at the end");
  fail(what + " is expected near '" + excerpt(here().source) + "'");
}

// ---- names

bool Parser::isReserved(const Token& token) const {
  return token.kind == TokenKind::Name && contains(kReserved, token.text);
}

bool Parser::isName(const Token& token) const {
  switch (token.kind) {
    case TokenKind::Name:
      return !isReserved(token);
    case TokenKind::AtName:
    case TokenKind::BracketName:
    case TokenKind::QuotedName:
      return true;
    default:
      return false;
  }
}

std::string Parser::name(std::string_view what) {
  if (!isName(here())) failExpected(std::string(what));
  if (here().kind != TokenKind::Name) quotedName(here());
  return takeName();
}

// The name here, which the engine must be able to keep whole.
std::string Parser::takeName() {
  if (engine_.maxNameBytes > 0 && here().text.size() > engine_.maxNameBytes) {
    fail("the name " + excerpt(here().text) + " is too long for " + std::string(engine_.name) +
         "; at most " + std::to_string(engine_.maxNameBytes) + " bytes");
  }
  return take().text;
}

// The name of a token that is not plain, if this dialect has its form.
std::string Parser::quotedName(const Token& token) {
  const bool known =
      token.kind == TokenKind::BracketName && contains(commonTableNames_, token.text);
  const bool accepted = (token.kind == TokenKind::BracketName && (traits_.bracketNames || known)) ||
                        (token.kind == TokenKind::QuotedName && traits_.quotedNames) ||
                        (token.kind == TokenKind::AtName && traits_.bareAtNames);
  if (accepted) return token.text;
  if (token.kind == TokenKind::QuotedName && traits_.quotedAliases) {
    quotedReferences_.push_back(token);
    return token.text;
  }
  std::string message = "the name " + excerpt(token.source) + " is not written as " +
                        std::string(traits_.name) + " has it; write ";
  if (traits_.bracketNames) {
    message += "it plain or as [" + excerpt(token.text) + "]";
  } else if (traits_.quotedNames) {
    message += "it plain or as \"" + excerpt(token.text) + "\"";
  } else {
    message += excerpt(token.text);
  }
  throw SqlError(message, token.at);
}

// Where only aliases may be quoted, every quoted name has to be an alias of this statement.
void Parser::checkQuotedReferences() const {
  for (const Token& token : quotedReferences_) {
    if (quotedAliases_.contains(token.text)) continue;
    throw SqlError("the name " + excerpt(token.source) + " is not written as " +
                       std::string(traits_.name) + " has it; write " + excerpt(token.text),
                   token.at);
  }
}

std::string Parser::tableName() {
  const std::string_view own = engine_.ownTables;
  if (!own.empty() && isName(here()) &&
      sameName(std::string_view(here().text).substr(0, own.size()), own)) {
    fail("the table " + excerpt(here().text) + " is one of " + std::string(engine_.name) +
         "'s own, which statements cannot name");
  }
  std::string table = name("a table name");
  if (isSymbol(".")) fail("a table name has one part only; leave out what stands before the point");
  return table;
}

std::optional<std::string> Parser::columnAlias() {
  const bool as = acceptWord("AS");
  if (here().kind == TokenKind::Text) {
    if (!as) return std::nullopt;
    if (!traits_.textAliases) {
      fail("an alias in single quotes is not " + std::string(traits_.name) + "; write AS \"" +
           excerpt(here().text) + "\"");
    }
    if (here().text.empty()) fail("an alias must not be empty");
    return takeName();
  }
  if (here().kind == TokenKind::QuotedName && traits_.quotedAliases) {
    quotedAliases_.insert(here().text);
    return takeName();
  }
  if (as) return name("an alias");
  if (!isName(here()) || (here().kind == TokenKind::Name && contains(kNoBareAlias, here().text))) {
    return std::nullopt;
  }
  return name("an alias");
}

std::string Parser::sourceAlias() {
  if (acceptWord("AS")) return name("an alias");
  if (!isName(here())) return {};
  if (here().kind == TokenKind::Name && contains(kNoBareAlias, here().text)) return {};
  return name("an alias");
}

std::int64_t Parser::count(std::string_view what) {
  const bool whole = here().kind == TokenKind::Number &&
                     here().text.find_first_not_of("0123456789") == std::string::npos;
  if (!whole) failExpected(std::string(what));
  std::int64_t value = 0;
  const std::string& digits = here().text;
  if (std::from_chars(digits.data(), digits.data() + digits.size(), value).ec != std::errc()) {
    fail("the number " + excerpt(digits) + " is too large");
  }
  take();
  return value;
}

// ---- statements

void Parser::endOfStatement() {
  acceptSymbol(";");
  if (here().kind == TokenKind::End) return;
  fail("one statement per call; unexpected text near '" + excerpt(here().source) + "'");
}

Statement Parser::selectStatement() {
  Statement statement;
  statement.kind = StatementKind::Select;
  statement.select = select();
  return statement;
}

Statement Parser::setRowCountStatement() {
  Statement statement;
  statement.kind = StatementKind::SetRowCount;
  if (!traits_.setRowCount) {
    fail("SET ROWCOUNT is not a statement of " + std::string(traits_.name) + "; limit the SELECT");
  }
  expectWord("SET");
  expectWord("ROWCOUNT");
  statement.rowCount = count("a number of rows");
  return statement;
}

Statement Parser::insertStatement() {
  Statement statement;
  statement.kind = StatementKind::Insert;
  expectWord("INSERT");
  expectWord("INTO");
  statement.table = tableName();
  insertColumns(statement);
  if (isWord("SELECT")) {
    statement.select = select();
  } else {
    insertRows(statement);
  }
  return statement;
}

void Parser::insertColumns(Statement& statement) {
  if (!isSymbol("(")) failExpected("the list of columns in brackets");
  expectSymbol("(");
  do {
    statement.columns.push_back(targetColumn());
  } while (acceptSymbol(","));
  expectSymbol(")");
}

TargetColumn Parser::targetColumn() {
  TargetColumn column;
  column.at = here().at;
  column.name = name("a column name");
  if (!targetColumns_.insert(column.name).second) {
    throw SqlError("the column " + excerpt(column.name) + " is named twice", column.at);
  }
  return column;
}

void Parser::insertRows(Statement& statement) {
  expectWord("VALUES");
  do {
    const Position at = here().at;
    std::vector<ExprPtr> row;
    expectSymbol("(");
    do {
      row.push_back(value());
    } while (acceptSymbol(","));
    expectSymbol(")");
    if (row.size() != statement.columns.size()) {
      throw SqlError(std::to_string(row.size()) + " values for " +
                         std::to_string(statement.columns.size()) + " columns",
                     at);
    }
    statement.rows.push_back(std::move(row));
  } while (acceptSymbol(","));
}

Statement Parser::updateStatement() {
  Statement statement;
  statement.kind = StatementKind::Update;
  expectWord("UPDATE");
  statement.table = tableName();
  expectWord("SET");
  do {
    TargetColumn column = targetColumn();
    expectSymbol("=");
    column.value = value();
    statement.columns.push_back(std::move(column));
  } while (acceptSymbol(","));
  if (acceptWord("WHERE")) statement.where = condition();
  return statement;
}

Statement Parser::deleteStatement() {
  Statement statement;
  statement.kind = StatementKind::Delete;
  expectWord("DELETE");
  expectWord("FROM");
  statement.table = tableName();
  if (acceptWord("WHERE")) statement.where = condition();
  return statement;
}

}  // namespace qx::sql
