#pragma once

// The state that the parts of the parser share while they read one statement, and the two limits
// that keep hostile texts from exhausting a stack.
//
// The parts build on one another: Parser (statements) on SelectParser, that on ExpressionParser,
// that on FunctionParser. Only two rules of the grammar lead back up, a value inside a function
// call and a SELECT inside an expression; they go through EnclosingGrammar. An interface rather
// than forward declarations, because each part then depends on the parts below it only, and the
// way back is two operations wide instead of a whole class.

#include "qxdesk/sql/ast.h"
#include "qxdesk/sql/engine.h"
#include "qxdesk/sql/parser_names.h"
#include "qxdesk/sql/token_cursor.h"

#include <vector>

namespace qx::sql {

struct ParserContext {
  ParserContext(Dialect spoken, const EngineTraits& engine, std::vector<Token> lexed);
  ParserContext(const ParserContext&) = delete;  // `names` refers to `tokens`
  ParserContext& operator=(const ParserContext&) = delete;

  Dialect dialect;
  const DialectTraits& traits;
  TokenCursor tokens;
  NameParser names;
  int depth = 0;  // of the nesting at here(), by weight; see NestingLevel
};

/// Counts nesting while it lives. A weight approximates the stack that a construct takes here and
/// in the parser of the database engine: 1 for brackets, more for functions and subqueries.
class NestingLevel {
 public:
  /// Throws SqlError with the place of the next token if the statement is nested too deeply.
  NestingLevel(ParserContext& context, int weight);
  ~NestingLevel() { context_.depth -= weight_; }
  NestingLevel(const NestingLevel&) = delete;
  NestingLevel& operator=(const NestingLevel&) = delete;

 private:
  ParserContext& context_;
  int weight_;
};

/// The rules of the grammar that lead from an inner part of the parser back to an outer one.
class EnclosingGrammar {
 public:
  /// Parses a value, see ExpressionParser::value().
  virtual ExprPtr value() = 0;
  /// Parses a SELECT and its closing bracket, see SelectParser::subselect().
  virtual SelectPtr subselect() = 0;

 protected:
  ~EnclosingGrammar() = default;
};

ExprPtr makeExpr(ExprKind kind, Position at);

/// Appends `child` to the arguments of `parent`. Throws SqlError if the tree becomes too high.
void addArgument(Expr& parent, ExprPtr child);

}  // namespace qx::sql
