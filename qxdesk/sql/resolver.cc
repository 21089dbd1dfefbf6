#include "qxdesk/sql/resolver.h"

#include "qxdesk/sql/coercion.h"
#include "qxdesk/sql/output_columns.h"
#include "qxdesk/sql/token_cursor.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>
#include <string>
#include <system_error>

namespace qx::sql {
namespace {

bool isPlainName(const Expr& key) { return key.kind == ExprKind::Column && key.qualifier.empty(); }

// True for an entry of a list and itself, and for two that are the same column of the same table.
bool isSameEntry(const SelectItem& a, const SelectItem& b) {
  if (&a == &b) return true;
  return a.value->kind == ExprKind::Column && b.value->kind == ExprKind::Column &&
         sameName(a.value->text, b.value->text) && sameName(a.value->qualifier, b.value->qualifier);
}

// Runs a conversion of the value of an entry. A name that the entry has from its column stays.
template <typename Convert>
void convertNamed(SelectItem& item, Convert convert) {
  const std::string* name = nameOf(item);
  const std::optional<std::string> before = name ? std::optional(*name) : std::nullopt;
  convert();
  if (nameOf(item) == nullptr) item.alias = before;
}

}  // namespace

// The entries of a list by their names, for the keys of an order or of groups.
class Resolver::ListNames {
 public:
  explicit ListNames(const SelectCore& core) {
    for (const SelectItem& item : core.items) {
      const std::string* name = item.value ? nameOf(item) : nullptr;
      if (name == nullptr) continue;
      Entry& entry = entries_[*name];
      if (entry.item == nullptr) entry.item = &item;
      if (entry.alias == nullptr && item.alias) entry.alias = &item;
      entry.ambiguous = entry.ambiguous || !isSameEntry(*entry.item, item);
    }
  }

  /// Returns the entry that the key names, or null. Throws SqlError if different ones have its
  /// name.
  const SelectItem* find(const Expr& key) const {
    const auto entry = isPlainName(key) ? entries_.find(key.text) : entries_.end();
    if (entry == entries_.end()) return nullptr;
    if (!entry->second.ambiguous) return entry->second.item;
    throw SqlError("several columns of the list are called " + valueExcerpt(key.text) +
                       "; write the position, or the table's name before it",
                   key.at);
  }

  /// Returns the first entry whose alias is the key, or null.
  const SelectItem* findAlias(const Expr& key) const {
    const auto entry = isPlainName(key) ? entries_.find(key.text) : entries_.end();
    return entry == entries_.end() ? nullptr : entry->second.alias;
  }

 private:
  struct Entry {
    const SelectItem* item = nullptr;
    const SelectItem* alias = nullptr;
    bool ambiguous = false;
  };

  std::map<std::string_view, Entry, NameLess> entries_;
};

void Resolver::resolve(Statement& statement) {
  // The values of an INSERT see no columns of its table, as there is no row yet.
  if (statement.kind != StatementKind::Insert) columns_.setTarget(statement.table);
  columns_.checkTarget(statement);
  if (statement.select) resolveSelect(*statement.select);
  if (statement.kind == StatementKind::Insert) resolveInsert(statement);
  if (statement.kind == StatementKind::Update) resolveUpdate(statement);
  if (statement.where) resolveExpr(*statement.where);
}

void Resolver::resolveSelect(Select& select) {
  for (CommonTable& table : select.with) {
    // Added after its own SELECT: a common table does not see itself.
    resolveSelect(*table.select);
    columns_.addCommonTable(table);
  }
  for (SelectCore& core : select.cores) resolveCore(core);
  if (select.cores.size() > 1) bringPartsTogether(select);
  resolveOrder(select);
}

void Resolver::resolveCore(SelectCore& core) {
  columns_.checkSources(core);
  // A derived table sees what is around this SELECT, but not the tables beside it.
  for (Source& source : core.from) {
    if (source.derived) resolveSelect(*source.derived);
  }
  const ColumnLookup::Scope scope(columns_, core);
  for (Source& source : core.from) {
    if (source.on) resolveExpr(*source.on);
  }
  resolveItems(core);
  if (core.where) resolveExpr(*core.where);
  // After the list, whose names and types the keys may take.
  resolveGroups(core);
  if (core.having) resolveExpr(*core.having);
}

void Resolver::resolveItems(SelectCore& core) {
  for (SelectItem& item : core.items) {
    if (item.value) {
      resolveExpr(*item.value);
    } else {
      columns_.checkStar(item);
    }
  }
}

// An order sees the tables of the first part only. The engines refuse other columns in the order of
// a UNION anyway. A key that is a single name means the entry of the list with that name, if there
// is one. It must not be sought among the tables then, where it might be refused or mean another
// column. Within an expression a name means a column, in the engines too.
void Resolver::resolveOrder(Select& select) {
  if (select.orderBy.empty()) return;
  const SelectCore& core = select.cores.front();
  const ColumnLookup::Scope scope(columns_, core);
  const ListNames names(core);
  for (OrderKey& key : select.orderBy) {
    const SelectItem* named = names.find(*key.value);
    if (named == nullptr) {
      resolveKey(*key.value, core, "ORDER BY");
      continue;
    }
    key.value->type = named->value->type;
    // SQLite finds aliases only, and would look for T0.Code as the Code of all tables.
    if (!named->alias && select.cores.size() == 1) key.value->qualifier = named->value->qualifier;
  }
}

// A single name may be an alias. Any other name of the list is a column, which is sought like those
// of an expression.
void Resolver::resolveGroups(SelectCore& core) {
  if (core.groupBy.empty()) return;
  const ListNames names(core);
  for (ExprPtr& key : core.groupBy) {
    if (const SelectItem* aliased = names.findAlias(*key)) {
      key->type = aliased->value->type;
    } else {
      resolveKey(*key, core, "GROUP BY");
    }
  }
}

void Resolver::resolveKey(Expr& key, const SelectCore& core, std::string_view clause) {
  if (key.kind == ExprKind::Number) checkPosition(key, core, clause);
  resolveExpr(key);
}

void Resolver::checkPosition(const Expr& key, const SelectCore& core, std::string_view clause) {
  const std::optional<std::size_t> count = columns_.columnCount(core);
  if (!count) return;
  std::size_t position = 0;
  const char* end = key.text.data() + key.text.size();
  const bool fits = std::from_chars(key.text.data(), end, position).ec == std::errc();
  if (fits && position >= 1 && position <= *count) return;
  throw SqlError(std::string(clause) + " " + key.text + " is out of range; the list has " +
                     std::to_string(*count) + (*count == 1 ? " column" : " columns"),
                 key.at);
}

void Resolver::resolveExpr(Expr& expr) {
  if (expr.select) resolveSelect(*expr.select);
  for (ExprPtr& arg : expr.args) resolveExpr(*arg);
  if (expr.kind == ExprKind::Column) {
    expr.type = columns_.typeOf(expr);
  } else {
    expressions_.resolve(expr);
  }
}

// Goes over the columns of the result, up to the first * of any part: from there on it is unknown
// which values share a column. Parts of different lengths are left to the engine, which refuses
// them.
void Resolver::bringPartsTogether(Select& select) const {
  for (std::size_t i = 0;; ++i) {
    std::vector<ExprPtr*> values;
    for (SelectCore& core : select.cores) {
      if (i >= core.items.size()) return;
      if (!core.items[i].value) return expressions_.refuseStar(core.items[i]);
      values.push_back(&core.items[i].value);
    }
    convertNamed(select.cores.front().items[i], [&] { bringTogether(traits_, values); });
    // PostgreSQL matches the parts two by two: without a type, the NULLs of the first two would
    // make a column of texts, and a number in the third part would be refused.
    for (ExprPtr* value : values) typeNull(**value, unitedType(select, i));
  }
}

// ---- values that are stored

void Resolver::resolveInsert(Statement& statement) {
  for (std::vector<ExprPtr>& row : statement.rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      resolveExpr(*row[i]);
      assign(statement.table, statement.columns[i].name, row[i]);
    }
  }
  if (statement.select) assignSelect(statement);
}

void Resolver::assignSelect(const Statement& statement) {
  for (SelectCore& core : statement.select->cores) {
    const std::size_t count = std::min(core.items.size(), statement.columns.size());
    for (std::size_t i = 0; i < count; ++i) {
      SelectItem& item = core.items[i];
      if (!item.value) return expressions_.refuseStar(item);
      const std::string& column = statement.columns[i].name;
      convertNamed(item, [&] { assign(statement.table, column, item.value); });
      // PostgreSQL gives a NULL in VALUES the type of its column, but takes one in a list for a
      // text as soon as DISTINCT or UNION compares it.
      typeNull(*item.value, columns_.typeIn(statement.table, column));
    }
  }
}

void Resolver::resolveUpdate(Statement& statement) {
  for (TargetColumn& column : statement.columns) {
    resolveExpr(*column.value);
    assign(statement.table, column.name, column.value);
  }
}

void Resolver::assign(std::string_view table, std::string_view column, ExprPtr& value) const {
  assignTo(traits_, column, columns_.typeIn(table, column), value);
}

}  // namespace qx::sql
