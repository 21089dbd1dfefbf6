#include "qxdesk/sql/emitter_statement.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <utility>

namespace qx::sql {
namespace {

std::string_view joinText(JoinKind kind) {
  switch (kind) {
    case JoinKind::Left:
      return " LEFT OUTER JOIN ";
    case JoinKind::Right:
      return " RIGHT OUTER JOIN ";
    case JoinKind::Full:
      return " FULL OUTER JOIN ";
    // In PostgreSQL a comma binds looser than JOIN, so that a later ON would not see the tables
    // before the comma.
    case JoinKind::Comma:
    case JoinKind::Cross:
      return " CROSS JOIN ";
    default:
      return " INNER JOIN ";
  }
}

// Symbols that are open in SQLite's parser before each part of a statement: the most that the rules
// of its grammar keep until the part is read. If a count is too low, the deepest accepted nesting
// fails on a database (ExecutionDepth).
constexpr int kStatementSymbols = 3;
constexpr int kWithSymbols = 8;
constexpr int kUnionSymbols = 2;
constexpr int kItemSymbols = 4;
constexpr int kSourceSymbols = 5;
constexpr int kOnSymbols = 10;
constexpr int kWhereSymbols = 7;
constexpr int kGroupSymbols = 9;
constexpr int kHavingSymbols = 7;
constexpr int kOrderSymbols = 11;
constexpr int kLimitSymbols = 9;
constexpr int kWindowSymbols = 14;
constexpr int kValuesSymbols = 9;
constexpr int kSetSymbols = 11;

bool hasStar(const SelectCore& core) {
  return std::any_of(core.items.begin(), core.items.end(),
                     [](const SelectItem& item) { return !item.value; });
}

// Resolves the keys of an ORDER BY for a window, whose ORDER BY takes neither an alias of the list
// nor a position in it. With a * in the list the text does not know the positions.
class KeyMeanings {
 public:
  explicit KeyMeanings(const SelectCore& core) : core_(core), hasStar_(hasStar(core)) {
    for (const SelectItem& item : core.items) {
      if (item.value && item.alias) aliases_.emplace(*item.alias, item.value.get());
    }
  }

  const Expr& of(const Expr& key) const {
    if (key.kind == ExprKind::Number) return atPosition(key);
    if (key.kind != ExprKind::Column || !key.qualifier.empty()) return key;
    const auto alias = aliases_.find(key.text);
    return alias == aliases_.end() ? key : *alias->second;
  }

 private:
  const Expr& atPosition(const Expr& key) const {
    std::size_t position = 0;
    const char* end = key.text.data() + key.text.size();
    const bool whole = std::from_chars(key.text.data(), end, position).ptr == end;
    const bool listed = whole && position >= 1 && position <= core_.items.size() && !hasStar_;
    return listed ? *core_.items[position - 1].value : key;
  }

  const SelectCore& core_;
  bool hasStar_;
  std::map<std::string_view, const Expr*, NameLess> aliases_;
};

bool isAggregate(Function function) {
  switch (function) {
    case Function::Count:
    case Function::Max:
    case Function::Min:
    case Function::Sum:
    case Function::Avg:
    case Function::AvgWhole:
      return true;
    default:
      return false;
  }
}

// An aggregate within a subquery, which is not among the arguments, does not count.
bool hasAggregate(const Expr& expr) {
  if (expr.kind == ExprKind::Call && isAggregate(expr.function)) return true;
  return std::any_of(expr.args.begin(), expr.args.end(),
                     [](const ExprPtr& arg) { return hasAggregate(*arg); });
}

bool yieldsOneRow(const SelectCore& core) {
  return core.groupBy.empty() &&
         std::any_of(core.items.begin(), core.items.end(), [](const SelectItem& item) {
           return item.value && hasAggregate(*item.value);
         });
}

}  // namespace

std::string StatementEmitter::statement(const Statement& statement,
                                        std::optional<std::int64_t> rowLimit) {
  const OpenSymbols open(*this, kStatementSymbols);
  switch (statement.kind) {
    case StatementKind::Select:
      outerSelect(*statement.select, rowLimit);
      break;
    case StatementKind::Insert:
      insert(statement, rowLimit);
      break;
    case StatementKind::Update:
      update(statement, rowLimit);
      break;
    case StatementKind::Delete:
      out_ += "DELETE FROM ";
      name(statement.table);
      changedRows(statement, rowLimit);
      break;
    case StatementKind::SetRowCount:
      break;
  }
  return std::move(out_);
}

// The probe has no conditions and no groups, since they do not change the types of columns.
std::string StatementEmitter::probe(const Select& select, const std::vector<const Expr*>& columns) {
  commonTables(select);
  out_ += "SELECT ";
  for (std::size_t i = 0; i < columns.size(); ++i) {
    separate(i);
    expression(*columns[i]);
  }
  from(select.cores.front());
  plainLimit(0);
  return std::move(out_);
}

void StatementEmitter::insert(const Statement& statement, std::optional<std::int64_t> rowLimit) {
  out_ += "INSERT INTO ";
  name(statement.table);
  out_ += " (";
  for (std::size_t i = 0; i < statement.columns.size(); ++i) {
    separate(i);
    name(statement.columns[i].name);
  }
  out_ += ") ";
  if (statement.select) return outerSelect(*statement.select, rowLimit);
  // VALUES has no condition. Several rows stay without a check: a UNION of them would give types of
  // its own to values that have none.
  checked_ = check_.empty() || statement.rows.size() == 1;
  if (!check_.empty() && checked_) {
    out_ += "SELECT ";
    list(statement.rows.front(), 0, kValuesSymbols);
    return where(nullptr, true);
  }
  out_ += "VALUES ";
  for (std::size_t i = 0; i < statement.rows.size(); ++i) {
    separate(i);
    out_ += '(';
    list(statement.rows[i], 0, kValuesSymbols);
    out_ += ')';
  }
}

void StatementEmitter::update(const Statement& statement, std::optional<std::int64_t> rowLimit) {
  out_ += "UPDATE ";
  name(statement.table);
  out_ += " SET ";
  for (std::size_t i = 0; i < statement.columns.size(); ++i) {
    separate(i);
    name(statement.columns[i].name);
    out_ += " = ";
    nested(kSetSymbols, *statement.columns[i].value, 0);
  }
  changedRows(statement, rowLimit);
}

// Neither engine takes a LIMIT in an UPDATE or DELETE. With a row count, a subselect of the same
// table and condition picks the rows.
void StatementEmitter::changedRows(const Statement& statement,
                                   std::optional<std::int64_t> rowLimit) {
  const OpenSymbols open(*this, rowLimit ? kWhereSymbols : 0);
  if (rowLimit) {
    out_ += engine_.beforeLimitedRows;
    name(statement.table);
  }
  where(statement.where, true);
  if (!rowLimit) return;
  plainLimit(*rowLimit);
  out_ += engine_.afterLimitedRows;
}

void StatementEmitter::outerSelect(const Select& select, std::optional<std::int64_t> rowLimit) {
  namesUnnamed_ = &select;
  checks_ = &select.cores.front();
  commonTables(select);
  selectBody(select, rowLimit);
}

void StatementEmitter::commonTables(const Select& select) {
  if (select.with.empty()) return;
  out_ += "WITH ";
  for (std::size_t i = 0; i < select.with.size(); ++i) {
    separate(i);
    name(select.with[i].name);
    out_ += " AS (";
    const OpenSymbols open(*this, kWithSymbols);
    selectBody(*select.with[i].select, std::nullopt);
    out_ += ')';
  }
  out_ += ' ';
}

// A TOP limits its own part of a UNION, but a LIMIT without brackets would limit the whole. SQLite
// takes no brackets around a part, hence a derived table there (beforeLimitedPart).
void StatementEmitter::selectBody(const Select& select, std::optional<std::int64_t> rowLimit) {
  const bool single = select.cores.size() == 1;
  for (std::size_t i = 0; i < select.cores.size(); ++i) {
    const SelectCore& part = select.cores[i];
    if (i > 0) out_ += part.unionAll ? " UNION ALL " : " UNION ";
    const bool limited = !single && part.limit;
    const OpenSymbols open(*this, (i > 0 ? kUnionSymbols : 0) + (limited ? kSourceSymbols + 1 : 0));
    if (limited) out_ += engine_.beforeLimitedPart;
    core(select, part);
    if (!limited) continue;
    plainLimit(*part.limit);
    out_ += ')';
  }
  if (isOrdered(select)) orderBy(select);
  limit(select, rowLimit);
}

void StatementEmitter::core(const Select& select, const SelectCore& core) {
  out_ += core.distinct ? "SELECT DISTINCT " : "SELECT ";
  const bool named = &select == namesUnnamed_ && hasStar(core);
  for (std::size_t i = 0; i < core.items.size(); ++i) {
    separate(i);
    item(core.items[i], named);
  }
  from(core);
  conditions(core);
}

// If the list has a *, the names of the columns come from the database. SQLite would report an
// expression's text as its name, so an expression without an alias gets the engine's empty name.
void StatementEmitter::item(const SelectItem& item, bool nameUnnamed) {
  if (!item.value) {
    if (!item.starQualifier.empty()) {
      name(item.starQualifier);
      out_ += '.';
    }
    out_ += '*';
    return;
  }
  nested(kItemSymbols, *item.value, 0);
  if (item.alias) {
    out_ += " AS ";
    name(*item.alias);
  } else if (nameUnnamed && item.value->kind != ExprKind::Column) {
    out_ += " AS ";
    name(engine_.unnamed);
  }
}

void StatementEmitter::from(const SelectCore& core) {
  for (std::size_t i = 0; i < core.from.size(); ++i) {
    const Source& source = core.from[i];
    out_ += i == 0 ? " FROM " : joinText(source.join);
    if (source.derived) {
      const OpenSymbols open(*this, kSourceSymbols + 1);
      out_ += '(';
      selectBody(*source.derived, std::nullopt);
      out_ += ')';
    } else {
      name(source.table);
    }
    if (!source.alias.empty()) {
      out_ += " AS ";
      name(source.alias);
    }
    if (source.on) {
      out_ += " ON ";
      nested(kOnSymbols, *source.on, 0);
    }
  }
}

void StatementEmitter::where(const ExprPtr& condition, bool checks) {
  const bool check = checks && !check_.empty();
  if (!condition && !check) return;
  out_ += " WHERE ";
  if (check) out_ += check_;
  if (check && condition) out_ += " AND ";
  if (condition) nested(kWhereSymbols, *condition, check ? kNot : 0);
}

void StatementEmitter::conditions(const SelectCore& core) {
  where(core.where, &core == checks_);
  if (!core.groupBy.empty()) {
    out_ += " GROUP BY ";
    list(core.groupBy, 0, kGroupSymbols);
  }
  if (core.having) {
    out_ += " HAVING ";
    nested(kHavingSymbols, *core.having, 0);
  }
}

bool StatementEmitter::isOrdered(const Select& select) const {
  if (select.orderBy.empty()) return false;
  const bool oneRow = select.cores.size() == 1 && yieldsOneRow(select.cores.front());
  return engine_.ordersOneRow || !oneRow;
}

void StatementEmitter::orderBy(const Select& select) {
  out_ += " ORDER BY ";
  for (std::size_t i = 0; i < select.orderBy.size(); ++i) {
    separate(i);
    orderKey(*select.orderBy[i].value, select.orderBy[i].descending);
  }
}

// Writes the place of NULL only if dialect and engine disagree about it. A dialect that sorts NULL
// high has it last in ascending and first in descending order.
void StatementEmitter::orderKey(const Expr& key, bool descending) {
  nested(kOrderSymbols, key, 0);
  if (descending) out_ += " DESC";
  if (dialect_.nullsHigh == engine_.nullsHigh) return;
  out_ += descending == dialect_.nullsHigh ? " NULLS FIRST" : " NULLS LAST";
}

// The smaller of the statement's own limit (TOP n or FETCH FIRST) and the connection's row count
// applies. An order that isOrdered() drops is that of a single row, which has no ties.
void StatementEmitter::limit(const Select& select, std::optional<std::int64_t> rowLimit) {
  const SelectCore& first = select.cores.front();
  std::optional<std::int64_t> count = select.limit;
  if (select.cores.size() == 1 && first.limit) count = first.limit;
  if (first.withTies && isOrdered(select)) return limitWithTies(select, *count, rowLimit);
  if (rowLimit) count = std::min(count.value_or(*rowLimit), *rowLimit);
  if (count) plainLimit(*count);
}

void StatementEmitter::plainLimit(std::int64_t count) { out_ += " LIMIT " + std::to_string(count); }

void StatementEmitter::limitWithTies(const Select& select, std::int64_t count,
                                     std::optional<std::int64_t> rowLimit) {
  out_ += " LIMIT ";
  if (rowLimit) {
    out_ += engine_.smallerOf;
    out_ += std::to_string(*rowLimit) + ", ";
  }
  countWithTies(select, count);
  if (rowLimit) out_ += ")";
}

// Writes the number of rows that TOP n WITH TIES yields: those of rank n or better. Counting in the
// LIMIT keeps the outer list as it is; ranks in a derived table would add a column under a *, and
// are slower.
void StatementEmitter::countWithTies(const Select& select, std::int64_t count) {
  const SelectCore& core = select.cores.front();
  const OpenSymbols open(*this, kLimitSymbols + kSourceSymbols + 5);
  out_ += "(SELECT count(*) FROM (SELECT rank() OVER (ORDER BY ";
  orderOfRanks(select, core);
  out_ += ") AS \"rank\"";
  from(core);
  conditions(core);
  out_ += ')';
  out_ += engine_.rankedTable;
  out_ += " WHERE \"rank\" <= " + std::to_string(count) + ")";
}

void StatementEmitter::orderOfRanks(const Select& select, const SelectCore& core) {
  const OpenSymbols open(*this, kWindowSymbols - kOrderSymbols + kItemSymbols);
  const KeyMeanings meanings(core);
  for (std::size_t i = 0; i < select.orderBy.size(); ++i) {
    separate(i);
    const OrderKey& key = select.orderBy[i];
    orderKey(meanings.of(*key.value), key.descending);
  }
}

}  // namespace qx::sql
