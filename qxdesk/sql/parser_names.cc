#include "qxdesk/sql/parser_names.h"

#include <algorithm>

namespace qx::sql {
namespace {

// The words that may follow a list, an expression or a table. If one of them could be a name,
// "SELECT a FROM T" would read FROM as the alias of a, and "FROM T EXCEPT SELECT ..." would be
// refused one word late. Further keywords of the dialects remain names: a column may be called KEY.
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

// Words that would silently become an alias where another dialect has a clause or a unit:
// "FROM T LIMIT 5" would be the table T under the name LIMIT, and "a + 1 DAYS" a plain sum. They
// remain names of columns and tables, and aliases after AS.
constexpr std::string_view kNoBareAlias[] = {
    "DAY",     "DAYS",  "HOUR",   "HOURS", "MINUTE", "MINUTES", "SECOND",
    "SECONDS", "MONTH", "MONTHS", "YEAR",  "YEARS",  "LIMIT",   "OFFSET",
    "NATURAL", "USING", "OPTION", "FOR",   "DATE",   "TIME",    "TIMESTAMP",
};

template <typename List>
bool contains(const List& list, std::string_view word) {
  return std::any_of(std::begin(list), std::end(list), [word](std::string_view entry) {
    return entry.size() == word.size() && sameName(entry, word);
  });
}

bool isName(const Token& token) {
  switch (token.kind) {
    case TokenKind::Name:
      return !contains(kReserved, token.text);
    case TokenKind::AtName:
    case TokenKind::BracketName:
    case TokenKind::QuotedName:
      return true;
    default:
      return false;
  }
}

}  // namespace

bool NameParser::isNext() const { return isName(tokens_.here()); }

std::string NameParser::name(std::string_view what) {
  if (!isNext()) tokens_.failExpected(what);
  requireDialectForm(tokens_.here());
  return takeName();
}

std::string NameParser::takeName() {
  const std::string& name = tokens_.here().text;
  // PostgreSQL cuts a longer name with a mere notice: two long names could become the same one.
  if (engine_.maxNameBytes > 0 && name.size() > engine_.maxNameBytes) {
    tokens_.fail("the name " + excerpt(name) + " is too long for " + std::string(engine_.name) +
                 "; at most " + std::to_string(engine_.maxNameBytes) + " bytes");
  }
  return tokens_.take().text;
}

void NameParser::requireDialectForm(const Token& token) {
  switch (token.kind) {
    case TokenKind::BracketName:
      if (dialect_.bracketNames || contains(bracketedCommonTables_, token.text)) return;
      break;
    case TokenKind::AtName:
      if (dialect_.bareAtNames) return;
      break;
    case TokenKind::QuotedName:
      if (dialect_.quotedNames) return;
      if (!dialect_.quotedAliases) break;
      quotedReferences_.push_back(token);
      return;
    default:
      return;
  }
  failForm(token);
}

void NameParser::failForm(const Token& token) const {
  std::string message = "the name " + excerpt(token.source) + " is not written as " +
                        std::string(dialect_.name) + " has it; write ";
  if (dialect_.bracketNames) {
    message += "it plain or as [" + excerpt(token.text) + "]";
  } else if (dialect_.quotedNames) {
    message += "it plain or as \"" + excerpt(token.text) + "\"";
  } else {
    message += excerpt(token.text);
  }
  throw SqlError(message, token.at);
}

void NameParser::checkQuotedReferences() const {
  for (const Token& token : quotedReferences_) {
    if (!quotedAliases_.contains(token.text)) failForm(token);
  }
}

std::string NameParser::tableName() {
  const std::string_view own = engine_.ownTables;
  const std::string_view text = tokens_.here().text;
  if (!own.empty() && isNext() && sameName(text.substr(0, own.size()), own)) {
    tokens_.fail("the table " + excerpt(text) + " is one of " + std::string(engine_.name) +
                 "'s own, which statements cannot name");
  }
  std::string table = name("a table name");
  if (tokens_.isSymbol(".")) {
    tokens_.fail("a table name has one part only; leave out the part before the point");
  }
  return table;
}

std::string NameParser::commonTableName() {
  // The record cache writes the name of its common table in brackets for all dialects alike.
  if (tokens_.here().kind == TokenKind::BracketName) {
    bracketedCommonTables_.push_back(tokens_.here().text);
  }
  return name("a name");
}

std::optional<std::string> NameParser::columnAlias() {
  const bool as = tokens_.acceptWord("AS");
  if (tokens_.here().kind == TokenKind::Text) {
    // A text without AS is a fault of the list, which the caller reports.
    return as ? std::optional(textAlias()) : std::nullopt;
  }
  if (tokens_.here().kind == TokenKind::QuotedName && dialect_.quotedAliases) {
    quotedAliases_.insert(tokens_.here().text);
    return takeName();
  }
  return as || isBareAliasNext() ? std::optional(name("an alias")) : std::nullopt;
}

std::string NameParser::textAlias() {
  const std::string& text = tokens_.here().text;
  if (!dialect_.textAliases) {
    tokens_.fail("an alias in single quotes is not " + std::string(dialect_.name) +
                 "; write AS \"" + excerpt(text) + "\"");
  }
  // The lexer refuses empty names, but an empty text is a valid one elsewhere.
  if (text.empty()) tokens_.fail("an alias must not be empty");
  return takeName();
}

std::string NameParser::sourceAlias() {
  return tokens_.acceptWord("AS") || isBareAliasNext() ? name("an alias") : std::string();
}

bool NameParser::isBareAliasNext() const {
  const Token& token = tokens_.here();
  return isName(token) && !(token.kind == TokenKind::Name && contains(kNoBareAlias, token.text));
}

}  // namespace qx::sql
