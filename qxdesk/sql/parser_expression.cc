// The expression half of the parser. Values and conditions share one grammar, since both may stand
// in brackets; what a place needs is checked when the expression is complete.
#include "qxdesk/sql/parser.h"

#include <algorithm>
#include <utility>

namespace qx::sql {
namespace {

constexpr int kMaxHeight = 200;
constexpr int kCaseWeight = 3;
constexpr std::string_view kComparisons[] = {"=", "<>", "!=", "<", "<=", ">", ">="};

}  // namespace

ExprPtr Parser::node(ExprKind kind, Position at) const {
  auto result = std::make_unique<Expr>();
  result->kind = kind;
  result->at = at;
  return result;
}

// Adds a child. The height is limited, since all that walks the tree recurses.
void Parser::grow(Expr& parent, ExprPtr child) const {
  parent.height = std::max(parent.height, child->height + 1);
  if (parent.height > kMaxHeight) {
    throw SqlError("the expression is too long; at most 200 operators in a row", parent.at);
  }
  parent.args.push_back(std::move(child));
}

ExprPtr Parser::value() {
  ExprPtr result = orExpression();
  requireValue(*result);
  return result;
}

ExprPtr Parser::condition() {
  ExprPtr result = orExpression();
  requireCondition(*result);
  return result;
}

void Parser::requireValue(const Expr& expr) const {
  if (expr.kind < ExprKind::Compare) return;
  throw SqlError("a value is expected here, not a condition", expr.at);
}

void Parser::requireCondition(const Expr& expr) const {
  if (expr.kind >= ExprKind::Compare) return;
  throw SqlError("a condition is expected here, not a value; compare it with something", expr.at);
}

ExprPtr Parser::orExpression() {
  ExprPtr first = andExpression();
  if (!isWord("OR")) return first;
  ExprPtr result = node(ExprKind::Or, first->at);
  requireCondition(*first);
  grow(*result, std::move(first));
  while (acceptWord("OR")) {
    ExprPtr next = andExpression();
    requireCondition(*next);
    grow(*result, std::move(next));
  }
  return result;
}

ExprPtr Parser::andExpression() {
  ExprPtr first = notExpression();
  if (!isWord("AND")) return first;
  ExprPtr result = node(ExprKind::And, first->at);
  requireCondition(*first);
  grow(*result, std::move(first));
  while (acceptWord("AND")) {
    ExprPtr next = notExpression();
    requireCondition(*next);
    grow(*result, std::move(next));
  }
  return result;
}

ExprPtr Parser::notExpression() {
  if (!isWord("NOT")) return predicate();
  const Level level(*this, 1);
  ExprPtr result = node(ExprKind::Not, take().at);
  ExprPtr operand = notExpression();
  requireCondition(*operand);
  grow(*result, std::move(operand));
  return result;
}

ExprPtr Parser::predicate() {
  if (isWord("EXISTS")) return exists();
  ExprPtr left = sum();
  const bool negated = isWord("NOT");
  const Token& word = negated ? ahead(1) : here();
  const bool like = isWord(word, "LIKE");
  const bool in = isWord(word, "IN");
  const bool between = isWord(word, "BETWEEN");
  if (!like && !in && !between) return comparison(std::move(left));
  requireValue(*left);
  next_ += negated ? 2 : 1;
  if (like) return this->like(std::move(left), negated);
  if (in) return this->in(std::move(left), negated);
  return this->between(std::move(left), negated);
}

ExprPtr Parser::comparison(ExprPtr left) {
  if (acceptWord("IS")) {
    requireValue(*left);
    ExprPtr result = node(ExprKind::IsNull, left->at);
    result->negated = acceptWord("NOT");
    expectWord("NULL");
    grow(*result, std::move(left));
    return result;
  }
  const Token& op = here();
  const bool compares = op.kind == TokenKind::Symbol &&
                        std::find(std::begin(kComparisons), std::end(kComparisons), op.text) !=
                            std::end(kComparisons);
  if (!compares) return left;
  requireValue(*left);
  ExprPtr result = node(ExprKind::Compare, left->at);
  result->text = take().text;
  if (result->text == "!=") result->text = "<>";
  grow(*result, std::move(left));
  ExprPtr right = sum();
  requireValue(*right);
  grow(*result, std::move(right));
  return result;
}

ExprPtr Parser::like(ExprPtr left, bool negated) {
  ExprPtr result = node(ExprKind::Like, left->at);
  result->negated = negated;
  grow(*result, std::move(left));
  ExprPtr pattern = sum();
  requireValue(*pattern);
  grow(*result, std::move(pattern));
  if (!acceptWord("ESCAPE")) return result;
  if (here().kind != TokenKind::Text) failExpected("one character in single quotes");
  ExprPtr escape = literal();
  const auto isLead = [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; };
  if (std::count_if(escape->text.begin(), escape->text.end(), isLead) != 1) {
    throw SqlError("ESCAPE takes one character", escape->at);
  }
  grow(*result, std::move(escape));
  return result;
}

ExprPtr Parser::in(ExprPtr left, bool negated) {
  ExprPtr result = node(ExprKind::In, left->at);
  result->negated = negated;
  grow(*result, std::move(left));
  expectSymbol("(");
  if (isWord("SELECT")) {
    result->select = subselect();
    return result;
  }
  const Level level(*this, 1);
  do {
    grow(*result, value());
  } while (acceptSymbol(","));
  expectSymbol(")");
  return result;
}

ExprPtr Parser::between(ExprPtr left, bool negated) {
  ExprPtr result = node(ExprKind::Between, left->at);
  result->negated = negated;
  grow(*result, std::move(left));
  ExprPtr low = sum();
  requireValue(*low);
  grow(*result, std::move(low));
  expectWord("AND");
  ExprPtr high = sum();
  requireValue(*high);
  grow(*result, std::move(high));
  return result;
}

ExprPtr Parser::exists() {
  ExprPtr result = node(ExprKind::Exists, take().at);
  expectSymbol("(");
  if (!isWord("SELECT")) failExpected("SELECT");
  result->select = subselect();
  return result;
}

ExprPtr Parser::sum() {
  ExprPtr left = product();
  while (isSymbol("+") || isSymbol("-") || isSymbol("||")) {
    requireValue(*left);
    const Token op = take();
    ExprPtr right = product();
    requireValue(*right);
    left = sumOperator(op, std::move(left), std::move(right));
  }
  return left;
}

ExprPtr Parser::sumOperator(const Token& op, ExprPtr left, ExprPtr right) {
  if (traits_.durations && op.text != "||" && timeUnit(here())) {
    return duration(op, std::move(left), std::move(right));
  }
  if (op.text == "||" && traits_.plusJoinsText) {
    throw SqlError("|| is not an operator of " + std::string(traits_.name) + "; join texts by +",
                   op.at);
  }
  const bool open = op.text == "+" && traits_.plusJoinsText;
  ExprPtr result = node(op.text == "||" ? ExprKind::Concat
                        : open          ? ExprKind::Plus
                                        : ExprKind::Arithmetic,
                        op.at);
  result->text = op.text;
  grow(*result, std::move(left));
  grow(*result, std::move(right));
  return result;
}

ExprPtr Parser::product() {
  ExprPtr left = sign();
  while (isSymbol("*") || isSymbol("/") || isSymbol("%")) {
    requireValue(*left);
    const Token op = take();
    ExprPtr right = sign();
    requireValue(*right);
    ExprPtr result = node(ExprKind::Arithmetic, op.at);
    result->text = op.text;
    grow(*result, std::move(left));
    grow(*result, std::move(right));
    left = std::move(result);
  }
  return left;
}

ExprPtr Parser::sign() {
  if (!isSymbol("-") && !isSymbol("+")) return primary();
  const Level level(*this, 1);
  const Token op = take();
  ExprPtr operand = sign();
  requireValue(*operand);
  if (op.text == "+") return operand;
  ExprPtr result = node(ExprKind::Negate, op.at);
  grow(*result, std::move(operand));
  return result;
}

ExprPtr Parser::primary() {
  if (isSymbol("(")) return brackets();
  if (here().kind == TokenKind::Text || here().kind == TokenKind::Number || isWord("NULL")) {
    return literal();
  }
  if (isWord("CASE")) return caseExpression();
  return nameExpression();
}

ExprPtr Parser::brackets() {
  const Level level(*this, 1);
  const Position at = take().at;
  if (!isWord("SELECT")) {
    ExprPtr result = orExpression();
    expectSymbol(")");
    return result;
  }
  ExprPtr result = node(ExprKind::Subquery, at);
  result->select = subselect();
  return result;
}

ExprPtr Parser::literal() {
  const Token token = take();
  ExprPtr result = node(ExprKind::Null, token.at);
  result->text = token.text;
  if (token.kind == TokenKind::Text) result->kind = ExprKind::Text;
  if (token.kind == TokenKind::Number) result->kind = ExprKind::Number;
  return result;
}

ExprPtr Parser::caseExpression() {
  const Level level(*this, kCaseWeight);
  ExprPtr result = node(ExprKind::Case, take().at);
  if (!isWord("WHEN")) {
    result->hasOperand = true;
    grow(*result, value());
  }
  do {
    expectWord("WHEN");
    grow(*result, result->hasOperand ? value() : condition());
    expectWord("THEN");
    grow(*result, value());
  } while (isWord("WHEN"));
  if (acceptWord("ELSE")) {
    result->hasElse = true;
    grow(*result, value());
  }
  expectWord("END");
  return result;
}

ExprPtr Parser::nameExpression() {
  if (isWord("CURRENT") || isWord("CURRENT_TIMESTAMP") || isWord("CURRENT_DATE")) {
    return currentMoment();
  }
  if (!isName(here())) failExpected("an expression");
  if (here().kind == TokenKind::Name && isSymbol(ahead(1), "(")) return functionCall();
  return columnExpression();
}

ExprPtr Parser::columnExpression() {
  ExprPtr result = node(ExprKind::Column, here().at);
  result->text = name("a column name");
  if (!acceptSymbol(".")) return result;
  result->qualifier = std::move(result->text);
  result->text = name("a column name");
  if (isSymbol(".")) fail("a column name has at most two parts");
  return result;
}

}  // namespace qx::sql
