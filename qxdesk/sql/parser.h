// Recursive descent over the tokens of one statement. What is not in the grammar is refused with
// its place; so is every form that belongs to another dialect. Depth and size are limited, so that
// no text can exhaust the stack here or the parser of the database behind.
//
// The class is one because expressions and SELECTs hold each other; its bodies stand in
// parser.cc (tokens, names, statements), parser_select.cc and parser_expression.cc,
// parser_function.cc.
#pragma once

#include "qxdesk/sql/ast.h"
#include "qxdesk/sql/engine.h"
#include "qxdesk/sql/lexer.h"

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace qx::sql {

class Parser {
 public:
  // `tokens` end with End, as lex() yields them. What `engine` cannot name is refused, too.
  Parser(Dialect dialect, const EngineTraits& engine, std::vector<Token> tokens);

  // The one statement of the text. Raises SqlError.
  Statement parse();

 private:
  // Counts nesting while it lives.
  class Level {
   public:
    Level(Parser& parser, int weight);
    ~Level() { parser_.depth_ -= weight_; }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

   private:
    Parser& parser_;
    int weight_;
  };

  // Tokens.
  const Token& here() const { return tokens_[next_]; }
  const Token& ahead(std::size_t distance) const;
  Token take();
  bool isWord(std::string_view word) const { return isWord(here(), word); }
  static bool isWord(const Token& token, std::string_view word);
  bool isSymbol(std::string_view symbol) const { return isSymbol(here(), symbol); }
  static bool isSymbol(const Token& token, std::string_view symbol);
  bool acceptWord(std::string_view word);
  bool acceptSymbol(std::string_view symbol);
  void expectWord(std::string_view word);
  void expectSymbol(std::string_view symbol);
  [[noreturn]] void fail(const std::string& message) const;
  [[noreturn]] void failExpected(const std::string& what) const;

  // Names.
  bool isReserved(const Token& token) const;
  bool isName(const Token& token) const;
  std::string name(std::string_view what);
  std::string quotedName(const Token& token);
  std::string takeName();
  std::string tableName();
  std::optional<std::string> columnAlias();
  std::string sourceAlias();
  void checkQuotedReferences() const;
  std::int64_t count(std::string_view what);

  // Statements.
  Statement selectStatement();
  Statement insertStatement();
  Statement updateStatement();
  Statement deleteStatement();
  Statement setRowCountStatement();
  void insertColumns(Statement& statement);
  void insertRows(Statement& statement);
  TargetColumn targetColumn();
  void endOfStatement();

  // SELECT.
  SelectPtr select();
  SelectPtr subselect();
  void commonTables(Select& select);
  SelectCore core();
  void limitOf(SelectCore& core);
  SelectItem item();
  void from(SelectCore& core);
  Source source();
  std::optional<JoinKind> joinKind();
  ExprPtr sortKey();
  void groups(SelectCore& core);
  void orderBy(Select& select);
  void fetchFirst(Select& select);
  void checkLimits(const Select& select) const;

  // Expressions.
  ExprPtr node(ExprKind kind, Position at) const;
  void grow(Expr& parent, ExprPtr child) const;
  ExprPtr value();
  ExprPtr condition();
  void requireValue(const Expr& expr) const;
  void requireCondition(const Expr& expr) const;
  ExprPtr orExpression();
  ExprPtr andExpression();
  ExprPtr notExpression();
  ExprPtr predicate();
  ExprPtr comparison(ExprPtr left);
  ExprPtr like(ExprPtr left, bool negated);
  ExprPtr in(ExprPtr left, bool negated);
  ExprPtr between(ExprPtr left, bool negated);
  ExprPtr exists();
  ExprPtr sum();
  ExprPtr sumOperator(const Token& op, ExprPtr left, ExprPtr right);
  ExprPtr product();
  ExprPtr sign();
  ExprPtr primary();
  ExprPtr brackets();
  ExprPtr caseExpression();
  ExprPtr nameExpression();
  ExprPtr columnExpression();
  ExprPtr literal();

  // Functions.
  ExprPtr currentMoment();
  ExprPtr functionCall();
  ExprPtr countCall(Position at);
  ExprPtr dateAddCall(Position at);
  ExprPtr dateDiffCall(Position at);
  ExprPtr castCall(Position at);
  ExprPtr convertCall(Position at);
  ExprPtr converted(Position at, const CastTarget& target, ExprPtr operand);
  ExprPtr plainCall(Position at, const FunctionRule& rule, std::string_view name);
  ExprPtr duration(const Token& op, ExprPtr left, ExprPtr amount);
  std::optional<TimeUnit> timeUnit(const Token& token) const;
  TimeUnit datePart();
  CastTarget castTarget();

  Dialect dialect_;
  const DialectTraits& traits_;
  const EngineTraits& engine_;
  std::vector<Token> tokens_;
  std::size_t next_ = 0;
  int depth_ = 0;
  std::vector<std::string> commonTableNames_;
  // Where only aliases may be quoted: the aliases, and the names that must be among them.
  std::set<std::string, NameLess> quotedAliases_;
  std::vector<Token> quotedReferences_;
  std::set<std::string, NameLess> targetColumns_;  // of an INSERT or UPDATE, so far
};

}  // namespace qx::sql
