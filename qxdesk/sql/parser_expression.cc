#include "qxdesk/sql/parser_expression.h"

#include "qxdesk/sql/like_pattern.h"

#include <algorithm>
#include <utility>

namespace qx::sql {
namespace {

constexpr int kCaseWeight = 3;
constexpr std::string_view kComparisons[] = {"=", "<>", "!=", "<", "<=", ">", ">="};

// ExprKind lists the values first and the conditions from Compare on.
bool isCondition(const Expr& expr) { return expr.kind >= ExprKind::Compare; }

void requireValue(const Expr& expr) {
  if (!isCondition(expr)) return;
  throw SqlError("a value is expected here, not a condition", expr.at);
}

void requireCondition(const Expr& expr) {
  if (isCondition(expr)) return;
  throw SqlError("a condition is expected here, not a value; compare it with something", expr.at);
}

void addValue(Expr& parent, ExprPtr value) {
  requireValue(*value);
  addArgument(parent, std::move(value));
}

void addCondition(Expr& parent, ExprPtr condition) {
  requireCondition(*condition);
  addArgument(parent, std::move(condition));
}

bool isComparison(const Token& token) {
  return token.kind == TokenKind::Symbol &&
         std::find(std::begin(kComparisons), std::end(kComparisons), token.text) !=
             std::end(kComparisons);
}

}  // namespace

ExprPtr ExpressionParser::value() {
  ExprPtr result = orExpression();
  requireValue(*result);
  return result;
}

ExprPtr ExpressionParser::condition() {
  ExprPtr result = orExpression();
  requireCondition(*result);
  return result;
}

// One node holds a whole chain, so that a condition of a thousand alternatives is not a tree a
// thousand levels high.
ExprPtr ExpressionParser::orExpression() {
  ExprPtr first = andExpression();
  if (!tokens_.isWord("OR")) return first;
  ExprPtr result = makeExpr(ExprKind::Or, first->at);
  addCondition(*result, std::move(first));
  while (tokens_.acceptWord("OR")) addCondition(*result, andExpression());
  return result;
}

ExprPtr ExpressionParser::andExpression() {
  ExprPtr first = notExpression();
  if (!tokens_.isWord("AND")) return first;
  ExprPtr result = makeExpr(ExprKind::And, first->at);
  addCondition(*result, std::move(first));
  while (tokens_.acceptWord("AND")) addCondition(*result, notExpression());
  return result;
}

// NOT binds looser than a comparison: NOT a = b is NOT (a = b).
ExprPtr ExpressionParser::notExpression() {
  if (!tokens_.isWord("NOT")) return predicate();
  const NestingLevel level(context_, 1);
  ExprPtr result = makeExpr(ExprKind::Not, tokens_.take().at);
  addCondition(*result, notExpression());
  return result;
}

// Predicates do not chain: after "a = b" another "= c" is refused, since the dialects have no value
// that a comparison yields.
ExprPtr ExpressionParser::predicate() {
  if (tokens_.isWord("EXISTS")) return exists();
  ExprPtr left = sum();
  // A NOT here precedes LIKE, IN or BETWEEN. Before another word it is left for the caller, which
  // refuses it.
  const bool negated = tokens_.isWord("NOT");
  const Token& word = tokens_.ahead(negated ? 1 : 0);
  const bool isLike = isWord(word, "LIKE");
  const bool isIn = isWord(word, "IN");
  const bool isBetween = isWord(word, "BETWEEN");
  if (!isLike && !isIn && !isBetween) return comparison(std::move(left));
  requireValue(*left);
  tokens_.skip(negated ? 2 : 1);
  if (isLike) return like(std::move(left), negated);
  if (isIn) return in(std::move(left), negated);
  return between(std::move(left), negated);
}

ExprPtr ExpressionParser::comparison(ExprPtr left) {
  if (tokens_.acceptWord("IS")) return nullTest(std::move(left));
  if (!isComparison(tokens_.here())) return left;
  requireValue(*left);
  ExprPtr result = makeExpr(ExprKind::Compare, left->at);
  result->text = tokens_.take().text;
  if (result->text == "!=") result->text = "<>";
  addArgument(*result, std::move(left));
  addValue(*result, sum());
  return result;
}

ExprPtr ExpressionParser::nullTest(ExprPtr left) {
  requireValue(*left);
  ExprPtr result = makeExpr(ExprKind::IsNull, left->at);
  result->negated = tokens_.acceptWord("NOT");
  tokens_.expectWord("NULL");
  addArgument(*result, std::move(left));
  return result;
}

ExprPtr ExpressionParser::like(ExprPtr left, bool negated) {
  ExprPtr result = makeExpr(ExprKind::Like, left->at);
  result->negated = negated;
  addArgument(*result, std::move(left));
  ExprPtr pattern = sum();
  if (pattern->kind == ExprKind::Text && pattern->text.size() > kLongestLikePattern &&
      characterCount(pattern->text) > kLongestLikePattern) {
    throw SqlError(kLikePatternTooLong, pattern->at);
  }
  addValue(*result, std::move(pattern));
  if (tokens_.acceptWord("ESCAPE")) addArgument(*result, escapeCharacter());
  return result;
}

// Only a literal is accepted, since some patterns are rewritten and the escape character has to be
// known for that.
ExprPtr ExpressionParser::escapeCharacter() {
  if (tokens_.here().kind != TokenKind::Text) {
    tokens_.failExpected("one character in single quotes");
  }
  ExprPtr escape = literal();
  const auto isLead = [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; };
  if (std::count_if(escape->text.begin(), escape->text.end(), isLead) != 1) {
    throw SqlError("ESCAPE takes one character", escape->at);
  }
  return escape;
}

ExprPtr ExpressionParser::in(ExprPtr left, bool negated) {
  ExprPtr result = makeExpr(ExprKind::In, left->at);
  result->negated = negated;
  addArgument(*result, std::move(left));
  tokens_.expectSymbol("(");
  if (tokens_.isWord("SELECT")) {
    result->select = grammar_.subselect();
    return result;
  }
  // Brackets of their own, which count like those around an expression; a subselect counts itself.
  const NestingLevel level(context_, 1);
  do {
    addArgument(*result, value());
  } while (tokens_.acceptSymbol(","));
  tokens_.expectSymbol(")");
  return result;
}

// The limits are sums and not expressions: the AND belongs to BETWEEN.
ExprPtr ExpressionParser::between(ExprPtr left, bool negated) {
  ExprPtr result = makeExpr(ExprKind::Between, left->at);
  result->negated = negated;
  addArgument(*result, std::move(left));
  addValue(*result, sum());
  tokens_.expectWord("AND");
  addValue(*result, sum());
  return result;
}

ExprPtr ExpressionParser::exists() {
  ExprPtr result = makeExpr(ExprKind::Exists, tokens_.take().at);
  tokens_.expectSymbol("(");
  if (!tokens_.isWord("SELECT")) tokens_.failExpected("SELECT");
  result->select = grammar_.subselect();
  return result;
}

// A loop and no recursion to the left: a - b - c is (a - b) - c, and a long chain takes no stack.
ExprPtr ExpressionParser::sum() {
  ExprPtr left = product();
  while (tokens_.isSymbol("+") || tokens_.isSymbol("-") || tokens_.isSymbol("||")) {
    requireValue(*left);
    const Token& op = tokens_.take();
    ExprPtr right = product();
    requireValue(*right);
    // After the right side, since a unit of a duration may follow it.
    left = sumOf(op, std::move(left), std::move(right));
  }
  return left;
}

ExprPtr ExpressionParser::sumOf(const Token& op, ExprPtr left, ExprPtr right) {
  const bool joins = op.text == "||";
  if (!joins && functions_.isDurationUnitNext()) {
    return functions_.duration(op, std::move(left), std::move(right));
  }
  if (joins && context_.traits.plusJoinsText) {
    throw SqlError(
        "|| is not an operator of " + std::string(context_.traits.name) + "; join texts by +",
        op.at);
  }
  ExprKind kind = joins ? ExprKind::Concat : ExprKind::Arithmetic;
  // Whether this + adds or joins depends on the types, which only the resolver knows.
  if (op.text == "+" && context_.traits.plusJoinsText) kind = ExprKind::Plus;
  ExprPtr result = makeExpr(kind, op.at);
  result->text = op.text;
  addArgument(*result, std::move(left));
  addArgument(*result, std::move(right));
  return result;
}

ExprPtr ExpressionParser::product() {
  ExprPtr left = sign();
  while (tokens_.isSymbol("*") || tokens_.isSymbol("/") || tokens_.isSymbol("%")) {
    requireValue(*left);
    const Token& op = tokens_.take();
    ExprPtr right = sign();
    requireValue(*right);
    ExprPtr result = makeExpr(ExprKind::Arithmetic, op.at);
    result->text = op.text;
    addArgument(*result, std::move(left));
    addArgument(*result, std::move(right));
    left = std::move(result);
  }
  return left;
}

ExprPtr ExpressionParser::sign() {
  if (!tokens_.isSymbol("-") && !tokens_.isSymbol("+")) return primary();
  const NestingLevel level(context_, 1);
  const Token& op = tokens_.take();
  // A plus sign leaves no node, but its operand has to be a value all the same.
  ExprPtr operand = sign();
  requireValue(*operand);
  if (op.text == "+") return operand;
  ExprPtr result = makeExpr(ExprKind::Negate, op.at);
  addArgument(*result, std::move(operand));
  return result;
}

ExprPtr ExpressionParser::primary() {
  if (tokens_.isSymbol("(")) return brackets();
  if (tokens_.here().kind == TokenKind::Text || tokens_.here().kind == TokenKind::Number ||
      tokens_.isWord("NULL")) {
    return literal();
  }
  if (tokens_.isWord("CASE")) return caseExpression();
  return namedValue();
}

ExprPtr ExpressionParser::brackets() {
  const NestingLevel level(context_, 1);
  const Position at = tokens_.take().at;
  if (!tokens_.isWord("SELECT")) {
    ExprPtr result = orExpression();
    tokens_.expectSymbol(")");
    return result;
  }
  ExprPtr result = makeExpr(ExprKind::Subquery, at);
  result->select = grammar_.subselect();
  return result;
}

ExprPtr ExpressionParser::literal() {
  const Token& token = tokens_.take();
  ExprPtr result = makeExpr(ExprKind::Null, token.at);
  result->text = token.text;
  result->literal = token.literal;
  if (token.kind == TokenKind::Text) result->kind = ExprKind::Text;
  if (token.kind == TokenKind::Number) result->kind = ExprKind::Number;
  return result;
}

// With an operand the parts after WHEN are values that it is compared with, otherwise conditions.
ExprPtr ExpressionParser::caseExpression() {
  const NestingLevel level(context_, kCaseWeight);
  ExprPtr result = makeExpr(ExprKind::Case, tokens_.take().at);
  if (!tokens_.isWord("WHEN")) {
    result->hasOperand = true;
    addArgument(*result, value());
  }
  do {
    tokens_.expectWord("WHEN");
    addArgument(*result, result->hasOperand ? value() : condition());
    tokens_.expectWord("THEN");
    addArgument(*result, value());
  } while (tokens_.isWord("WHEN"));
  if (tokens_.acceptWord("ELSE")) {
    result->hasElse = true;
    addArgument(*result, value());
  }
  tokens_.expectWord("END");
  return result;
}

ExprPtr ExpressionParser::namedValue() {
  // Before names, because CURRENT and its like are reserved words and would be refused as names.
  if (functions_.isMomentNext()) return functions_.moment();
  if (!context_.names.isNext()) tokens_.failExpected("an expression");
  // Only a plain word names a function; a name in quotes or brackets is a column.
  const bool plain = tokens_.here().kind == TokenKind::Name;
  if (plain && isSymbol(tokens_.ahead(1), "(")) return functions_.call();
  return column();
}

ExprPtr ExpressionParser::column() {
  ExprPtr result = makeExpr(ExprKind::Column, tokens_.here().at);
  result->text = context_.names.name("a column name");
  if (!tokens_.acceptSymbol(".")) return result;
  result->qualifier = std::move(result->text);
  result->text = context_.names.name("a column name");
  if (tokens_.isSymbol(".")) tokens_.fail("a column name has at most two parts");
  return result;
}

}  // namespace qx::sql
