#pragma once

// Expressions. Values and conditions share one grammar, because both may be in brackets and only
// the token after the closing one shows which it was: "(a) = 1" and "(a = 1) AND b = 2" begin
// alike. Each rule checks the kind of its operands once they are complete.
//
//   expression := conjunct {OR conjunct}
//   conjunct   := negation {AND negation}
//   negation   := {NOT} predicate
//   predicate  := EXISTS ( select )
//               | sum [ (= | <> | != | < | <= | > | >=) sum
//                     | IS [NOT] NULL
//                     | [NOT] LIKE sum [ESCAPE text]
//                     | [NOT] IN ( select ) | [NOT] IN ( value {, value} )
//                     | [NOT] BETWEEN sum AND sum ]
//   sum        := product {(+ | - | "||") product [unit]}
//   product    := sign {(* | / | %) sign}
//   sign       := {+ | -} primary
//   primary    := ( expression ) | ( select ) | literal | column | call | moment
//               | CASE [value] {WHEN expression THEN value} [ELSE value] END
//   column     := [name .] name
//
// Results are nodes without types; the resolver adds those. Brackets leave no node, since the
// emitters set their own by the strength of the operators.

#include "qxdesk/sql/parser_function.h"

namespace qx::sql {

class ExpressionParser {
 public:
  /// Both must outlive the parser.
  ExpressionParser(ParserContext& context, EnclosingGrammar& grammar)
      : context_(context),
        tokens_(context.tokens),
        grammar_(grammar),
        functions_(context, grammar) {}

  /// Parses an expression that is a value. Throws SqlError for a condition.
  ExprPtr value();
  /// Parses an expression that is a condition. Throws SqlError for a value.
  ExprPtr condition();

 private:
  ExprPtr orExpression();
  ExprPtr andExpression();
  ExprPtr notExpression();
  ExprPtr predicate();
  ExprPtr comparison(ExprPtr left);
  ExprPtr nullTest(ExprPtr left);
  ExprPtr like(ExprPtr left, bool negated);
  ExprPtr escapeCharacter();
  ExprPtr in(ExprPtr left, bool negated);
  ExprPtr between(ExprPtr left, bool negated);
  ExprPtr exists();
  ExprPtr sum();
  ExprPtr sumOf(const Token& op, ExprPtr left, ExprPtr right);
  ExprPtr product();
  ExprPtr sign();
  ExprPtr primary();
  ExprPtr brackets();
  ExprPtr caseExpression();
  ExprPtr namedValue();
  ExprPtr column();
  ExprPtr literal();

  ParserContext& context_;
  TokenCursor& tokens_;
  EnclosingGrammar& grammar_;
  FunctionParser functions_;
};

}  // namespace qx::sql
