// The SELECT half of the parser: common tables, lists, joins, order and limits.
#include "qxdesk/sql/coercion.h"
#include "qxdesk/sql/parser.h"

#include <utility>

namespace qx::sql {
namespace {

constexpr int kSubqueryWeight = 6;
constexpr std::size_t kMaxUnionParts = 100;
constexpr std::size_t kMaxCommonTables = 100;

}  // namespace

// A whole SELECT: WITH, the parts of a UNION, ORDER BY, FETCH FIRST.
SelectPtr Parser::select() {
  auto result = std::make_unique<Select>();
  commonTables(*result);
  result->cores.push_back(core());
  while (acceptWord("UNION")) {
    if (result->cores.size() == kMaxUnionParts) fail("a UNION has at most 100 parts");
    const bool all = acceptWord("ALL");
    result->cores.push_back(core());
    result->cores.back().unionAll = all;
  }
  orderBy(*result);
  fetchFirst(*result);
  checkLimits(*result);
  return result;
}

// A SELECT inside brackets, the opening one already taken.
SelectPtr Parser::subselect() {
  const Level level(*this, kSubqueryWeight);
  if (isWord("WITH")) fail("WITH is accepted at the start of a statement only");
  SelectPtr result = select();
  expectSymbol(")");
  return result;
}

void Parser::commonTables(Select& select) {
  if (!acceptWord("WITH")) return;
  do {
    if (select.with.size() == kMaxCommonTables) fail("WITH has at most 100 tables");
    CommonTable table;
    // The record cache writes its common table in square brackets for every engine.
    if (here().kind == TokenKind::BracketName) commonTableNames_.push_back(here().text);
    table.name = name("a name");
    expectWord("AS");
    expectSymbol("(");
    table.select = subselect();
    select.with.push_back(std::move(table));
  } while (acceptSymbol(","));
}

SelectCore Parser::core() {
  SelectCore core;
  core.at = here().at;
  expectWord("SELECT");
  core.distinct = acceptWord("DISTINCT");
  if (!core.distinct) acceptWord("ALL");
  limitOf(core);
  do {
    core.items.push_back(item());
  } while (acceptSymbol(","));
  from(core);
  if (acceptWord("WHERE")) core.where = condition();
  groups(core);
  return core;
}

void Parser::limitOf(SelectCore& core) {
  if (!isWord("TOP")) return;
  if (!traits_.top) {
    fail("TOP is not a word of " + std::string(traits_.name) +
         "; write FETCH FIRST n ROWS ONLY at the end");
  }
  take();
  const bool bracket = acceptSymbol("(");
  core.limit = count("a number of rows");
  if (bracket) expectSymbol(")");
  if (isWord("PERCENT")) fail("TOP n PERCENT is not supported; give a number of rows");
  if (acceptWord("WITH")) {
    expectWord("TIES");
    core.withTies = true;
  }
}

SelectItem Parser::item() {
  SelectItem item;
  item.at = here().at;
  if (acceptSymbol("*")) return item;
  if (isName(here()) && isSymbol(ahead(1), ".") && isSymbol(ahead(2), "*")) {
    item.starQualifier = name("a name");
    next_ += 2;
    return item;
  }
  item.value = value();
  item.alias = columnAlias();
  return item;
}

void Parser::from(SelectCore& core) {
  if (!acceptWord("FROM")) {
    if (!traits_.selectWithoutFrom) failExpected("FROM");
    return;
  }
  core.from.push_back(source());
  bool comma = false;
  while (const std::optional<JoinKind> join = joinKind()) {
    comma = comma || *join == JoinKind::Comma;
    if (comma && (*join == JoinKind::Right || *join == JoinKind::Full)) {
      fail("a RIGHT or FULL join behind a comma is not supported; write CROSS JOIN for the comma");
    }
    Source joined = source();
    joined.join = *join;
    if (*join != JoinKind::Comma && *join != JoinKind::Cross) {
      expectWord("ON");
      joined.on = condition();
    }
    core.from.push_back(std::move(joined));
  }
}

std::optional<JoinKind> Parser::joinKind() {
  if (acceptSymbol(",")) return JoinKind::Comma;
  if (acceptWord("JOIN")) return JoinKind::Inner;
  JoinKind kind = JoinKind::Inner;
  if (acceptWord("INNER")) {
    expectWord("JOIN");
    return kind;
  }
  if (acceptWord("CROSS")) {
    expectWord("JOIN");
    return JoinKind::Cross;
  }
  if (acceptWord("LEFT")) {
    kind = JoinKind::Left;
  } else if (acceptWord("RIGHT")) {
    kind = JoinKind::Right;
  } else if (acceptWord("FULL")) {
    kind = JoinKind::Full;
  } else {
    return std::nullopt;
  }
  acceptWord("OUTER");
  expectWord("JOIN");
  return kind;
}

Source Parser::source() {
  Source source;
  source.at = here().at;
  if (acceptSymbol("(")) {
    if (!isWord("SELECT")) failExpected("SELECT");
    source.derived = subselect();
    source.alias = sourceAlias();
    if (source.alias.empty()) failExpected("an alias for the SELECT in brackets");
    return source;
  }
  source.table = tableName();
  if (isSymbol("(")) fail("a table function is not supported; name a table");
  source.alias = sourceAlias();
  return source;
}

// A constant decides nothing; engines take it for a position, pass over it or refuse it.
ExprPtr Parser::sortKey() {
  ExprPtr key = value();
  const bool position = key->kind == ExprKind::Number &&
                        key->text.find_first_not_of("0123456789") == std::string::npos;
  if (!isLiteral(*key) || position) return key;
  throw SqlError("rows are ordered or grouped by a column, an expression or a position", key->at);
}

void Parser::groups(SelectCore& core) {
  if (acceptWord("GROUP")) {
    expectWord("BY");
    do {
      core.groupBy.push_back(sortKey());
    } while (acceptSymbol(","));
  }
  if (!isWord("HAVING")) return;
  if (core.groupBy.empty()) fail("HAVING needs GROUP BY before it");
  take();
  core.having = condition();
}

void Parser::orderBy(Select& select) {
  if (!acceptWord("ORDER")) return;
  expectWord("BY");
  do {
    OrderKey key;
    key.value = sortKey();
    key.descending = acceptWord("DESC");
    if (!key.descending) acceptWord("ASC");
    select.orderBy.push_back(std::move(key));
  } while (acceptSymbol(","));
}

void Parser::fetchFirst(Select& select) {
  if (!isWord("FETCH")) return;
  if (!traits_.fetchFirst) {
    fail("FETCH FIRST is not a clause of " + std::string(traits_.name) +
         "; write TOP n behind SELECT");
  }
  take();
  expectWord("FIRST");
  select.limit = here().kind == TokenKind::Number ? count("a number of rows") : 1;
  if (!acceptWord("ROWS")) expectWord("ROW");
  expectWord("ONLY");
}

void Parser::checkLimits(const Select& select) const {
  for (const SelectCore& core : select.cores) {
    if (!core.withTies) continue;
    if (select.cores.size() > 1) throw SqlError("WITH TIES is not supported in a UNION", core.at);
    if (core.distinct) throw SqlError("WITH TIES is not supported with DISTINCT", core.at);
    if (select.orderBy.empty()) throw SqlError("TOP n WITH TIES needs ORDER BY", core.at);
    if (core.from.empty()) throw SqlError("TOP n WITH TIES needs FROM", core.at);
  }
}

}  // namespace qx::sql
