#include "qxdesk/sql/parser_context.h"

#include <algorithm>
#include <utility>

namespace qx::sql {
namespace {

// Nesting is limited apart from height, since the parser recurses through brackets and signs that
// leave no node in the tree.
constexpr int kMaxDepth = 60;

// A chain such as 1 + 1 + 1 is parsed in a loop, so that no nesting counts, but makes a tree as
// high as it is long. The resolver and the emitters recurse over it, and so does the engine.
constexpr int kMaxHeight = 200;

}  // namespace

ParserContext::ParserContext(Dialect spoken, const EngineTraits& engine, std::vector<Token> lexed)
    : dialect(spoken),
      traits(traitsOf(spoken)),
      tokens(std::move(lexed)),
      names(tokens, traits, engine) {}

NestingLevel::NestingLevel(ParserContext& context, int weight)
    : context_(context), weight_(weight) {
  if (context.depth + weight > kMaxDepth) {
    context.tokens.fail("the statement is nested too deeply; simplify its brackets or subqueries");
  }
  context.depth += weight;
}

ExprPtr makeExpr(ExprKind kind, Position at) {
  auto result = std::make_unique<Expr>();
  result->kind = kind;
  result->at = at;
  return result;
}

void addArgument(Expr& parent, ExprPtr child) {
  parent.height = std::max(parent.height, child->height + 1);
  if (parent.height > kMaxHeight) {
    throw SqlError("the expression is too long; at most 200 operators in a row", parent.at);
  }
  parent.args.push_back(std::move(child));
}

}  // namespace qx::sql
