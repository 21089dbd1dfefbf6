#include "qxdesk/sql/parser_select.h"

#include "qxdesk/sql/coercion.h"
#include "qxdesk/sql/numbers.h"

#include <algorithm>
#include <utility>

namespace qx::sql {
namespace {

// Ten subqueries within one another fill the depth that a statement may have.
constexpr int kSubqueryWeight = 6;

// SQLite takes 500 parts at most. Every common table is compared by name wherever a table is named,
// so that their number multiplies.
constexpr std::size_t kMaxUnionParts = 100;
constexpr std::size_t kMaxCommonTables = 100;

// SQLite joins 64 tables at most; PostgreSQL takes any number, and all the memory there is.
constexpr std::size_t kMaxJoined = 64;
constexpr std::size_t kMaxTables = 500;
// SQLite returns 2,000 columns at most, and PostgreSQL fewer. Both say so only after all the work.
constexpr std::size_t kMaxItems = 2000;

// The parser accepts WITH TIES only where every emitter can write it: SQLite has no such clause,
// and the ranking that replaces it there needs a single plain SELECT with an order.
void checkTies(const Select& select) {
  for (const SelectCore& core : select.cores) {
    if (!core.withTies) continue;
    if (select.cores.size() > 1) throw SqlError("WITH TIES is not supported in a UNION", core.at);
    if (core.distinct) throw SqlError("WITH TIES is not supported with DISTINCT", core.at);
    if (select.orderBy.empty()) throw SqlError("TOP n WITH TIES needs ORDER BY", core.at);
    if (core.from.empty()) throw SqlError("TOP n WITH TIES needs FROM", core.at);
  }
}

}  // namespace

SelectPtr SelectParser::select() {
  auto result = std::make_unique<Select>();
  commonTables(*result);
  result->cores.push_back(core());
  while (tokens_.acceptWord("UNION")) {
    if (result->cores.size() == kMaxUnionParts) tokens_.fail("a UNION has at most 100 parts");
    const bool all = tokens_.acceptWord("ALL");
    result->cores.push_back(core());
    result->cores.back().unionAll = all;
  }
  orderBy(*result);
  fetchFirst(*result);
  checkTies(*result);
  return result;
}

SelectPtr SelectParser::subselect() {
  const NestingLevel level(context_, kSubqueryWeight);
  if (tokens_.isWord("WITH")) tokens_.fail("WITH is accepted at the start of a statement only");
  SelectPtr result = select();
  tokens_.expectSymbol(")");
  return result;
}

void SelectParser::commonTables(Select& select) {
  if (!tokens_.acceptWord("WITH")) return;
  do {
    if (select.with.size() == kMaxCommonTables) tokens_.fail("WITH has at most 100 tables");
    CommonTable table;
    table.name = names_.commonTableName();
    tokens_.expectWord("AS");
    tokens_.expectSymbol("(");
    const std::size_t before = tables_;
    table.select = subselect();
    checkOrder(table.name);
    commonTables_.emplace(table.name, tables_ - before);
    select.with.push_back(std::move(table));
  } while (tokens_.acceptSymbol(","));
  uses_.clear();
}

// Called at the end of each common table: none before it, nor it itself, may have named it.
void SelectParser::checkOrder(const std::string& commonTable) const {
  for (const Use& use : uses_) {
    if (!sameName(use.table, commonTable)) continue;
    throw SqlError("a common table names only those before it; " + excerpt(commonTable) +
                       " is not yet complete here",
                   use.at);
  }
}

void SelectParser::countTable(const std::string& table, Position at) {
  const auto common = commonTables_.find(table);
  if (common == commonTables_.end()) uses_.push_back({table, at});
  tables_ += common == commonTables_.end() ? 1 : std::max<std::size_t>(1, common->second);
  if (tables_ <= kMaxTables) return;
  throw SqlError(
      "the statement has more than 500 tables, those of common tables counted where they are named",
      at);
}

SelectCore SelectParser::core() {
  SelectCore core;
  core.at = tokens_.here().at;
  tokens_.expectWord("SELECT");
  core.distinct = tokens_.acceptWord("DISTINCT");
  if (!core.distinct) tokens_.acceptWord("ALL");
  top(core);
  do {
    if (core.items.size() == kMaxItems) tokens_.fail("a SELECT has at most 2000 columns");
    core.items.push_back(item());
  } while (tokens_.acceptSymbol(","));
  from(core);
  if (tokens_.acceptWord("WHERE")) core.where = expressions_.condition();
  groups(core);
  return core;
}

void SelectParser::top(SelectCore& core) {
  if (!tokens_.isWord("TOP")) return;
  if (!context_.traits.top) {
    tokens_.fail("TOP is not a word of " + std::string(context_.traits.name) +
                 "; write FETCH FIRST n ROWS ONLY at the end");
  }
  tokens_.take();
  const bool bracket = tokens_.acceptSymbol("(");
  core.limit = tokens_.expectWhole("a number of rows");
  if (bracket) tokens_.expectSymbol(")");
  if (tokens_.isWord("PERCENT")) {
    tokens_.fail("TOP n PERCENT is not supported; give a number of rows");
  }
  if (tokens_.acceptWord("WITH")) {
    tokens_.expectWord("TIES");
    core.withTies = true;
  }
}

SelectItem SelectParser::item() {
  SelectItem item;
  item.at = tokens_.here().at;
  if (tokens_.acceptSymbol("*")) return item;
  // Three tokens decide: T0.a is the begin of an expression, and so is T0 alone.
  if (names_.isNext() && isSymbol(tokens_.ahead(1), ".") && isSymbol(tokens_.ahead(2), "*")) {
    item.starQualifier = names_.name("a name");
    tokens_.skip(2);
    return item;
  }
  item.value = expressions_.value();
  item.alias = names_.columnAlias();
  return item;
}

void SelectParser::from(SelectCore& core) {
  if (!tokens_.acceptWord("FROM")) {
    if (!context_.traits.selectWithoutFrom) tokens_.failExpected("FROM");
    return;
  }
  core.from.push_back(source());
  bool comma = false;
  while (const std::optional<JoinKind> join = joinKind()) {
    // A JOIN binds closer than a comma, but both are written as joins one after the other. For an
    // inner or left join the rows are the same; a right or full join would also keep the rows of
    // the tables before the comma.
    comma = comma || *join == JoinKind::Comma;
    if (comma && (*join == JoinKind::Right || *join == JoinKind::Full)) {
      tokens_.fail(
          "a RIGHT or FULL join after a comma is not supported; write CROSS JOIN for the comma");
    }
    Source joined = source();
    joined.join = *join;
    if (*join != JoinKind::Comma && *join != JoinKind::Cross) {
      tokens_.expectWord("ON");
      joined.on = expressions_.condition();
    }
    core.from.push_back(std::move(joined));
    if (core.from.size() > kMaxJoined) {
      throw SqlError("a SELECT has at most 64 tables", core.from.back().at);
    }
  }
}

std::optional<JoinKind> SelectParser::joinKind() {
  if (tokens_.acceptSymbol(",")) return JoinKind::Comma;
  if (tokens_.acceptWord("JOIN")) return JoinKind::Inner;
  JoinKind kind = JoinKind::Inner;
  if (tokens_.acceptWord("INNER")) {
    tokens_.expectWord("JOIN");
    return kind;
  }
  if (tokens_.acceptWord("CROSS")) {
    tokens_.expectWord("JOIN");
    return JoinKind::Cross;
  }
  if (tokens_.acceptWord("LEFT")) {
    kind = JoinKind::Left;
  } else if (tokens_.acceptWord("RIGHT")) {
    kind = JoinKind::Right;
  } else if (tokens_.acceptWord("FULL")) {
    kind = JoinKind::Full;
  } else {
    return std::nullopt;
  }
  tokens_.acceptWord("OUTER");
  tokens_.expectWord("JOIN");
  return kind;
}

Source SelectParser::source() {
  Source source;
  source.at = tokens_.here().at;
  // Brackets around a join are not in the grammar, so that only a SELECT can follow.
  if (tokens_.acceptSymbol("(")) {
    if (!tokens_.isWord("SELECT")) tokens_.failExpected("SELECT");
    source.derived = subselect();
    source.alias = names_.sourceAlias();
    if (source.alias.empty()) tokens_.failExpected("an alias for the SELECT in brackets");
    return source;
  }
  source.table = names_.tableName();
  if (tokens_.isSymbol("(")) tokens_.fail("a table function is not supported; name a table");
  source.alias = names_.sourceAlias();
  countTable(source.table, source.at);
  return source;
}

// A constant orders nothing, and engines disagree about it: one takes it for a position, one
// ignores it, one refuses it. A whole number without a sign is a position in all of them.
ExprPtr SelectParser::sortKey() {
  ExprPtr key = expressions_.value();
  const bool position = key->kind == ExprKind::Number && isWholeNumber(key->text);
  if (!isLiteral(*key) || position) return key;
  throw SqlError("rows are ordered or grouped by a column, an expression or a position", key->at);
}

void SelectParser::groups(SelectCore& core) {
  if (tokens_.acceptWord("GROUP")) {
    tokens_.expectWord("BY");
    do {
      core.groupBy.push_back(sortKey());
    } while (tokens_.acceptSymbol(","));
  }
  if (!tokens_.isWord("HAVING")) return;
  // Without groups the engines differ: PostgreSQL makes all rows one group, while SQLite refuses
  // HAVING unless the list has an aggregate.
  if (core.groupBy.empty()) tokens_.fail("HAVING needs GROUP BY before it");
  tokens_.take();
  core.having = expressions_.condition();
}

void SelectParser::orderBy(Select& select) {
  if (!tokens_.acceptWord("ORDER")) return;
  tokens_.expectWord("BY");
  do {
    OrderKey key;
    key.value = sortKey();
    key.descending = tokens_.acceptWord("DESC");
    if (!key.descending) tokens_.acceptWord("ASC");
    select.orderBy.push_back(std::move(key));
  } while (tokens_.acceptSymbol(","));
}

void SelectParser::fetchFirst(Select& select) {
  if (!tokens_.isWord("FETCH")) return;
  if (!context_.traits.fetchFirst) {
    tokens_.fail("FETCH FIRST is not a clause of " + std::string(context_.traits.name) +
                 "; write TOP n after SELECT");
  }
  tokens_.take();
  tokens_.expectWord("FIRST");
  // FETCH FIRST ROW ONLY is one row.
  select.limit =
      tokens_.here().kind == TokenKind::Number ? tokens_.expectWhole("a number of rows") : 1;
  if (!tokens_.acceptWord("ROWS")) tokens_.expectWord("ROW");
  tokens_.expectWord("ONLY");
}

}  // namespace qx::sql
