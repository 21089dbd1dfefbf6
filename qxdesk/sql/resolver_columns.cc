#include "qxdesk/sql/resolver_columns.h"

#include "qxdesk/sql/output_columns.h"

#include <algorithm>

namespace qx::sql {
namespace {

// Stars over stars multiply: forty common tables that each list A.*, B.* of the one before would
// take 2^40 steps.
constexpr int kMaxLookups = 100'000;

const std::string& visibleName(const Source& source) {
  return source.alias.empty() ? source.table : source.alias;
}

bool isNamed(const SelectItem& item, std::string_view name) {
  const std::string* own = nameOf(item);
  return own != nullptr && sameName(*own, name);
}

[[noreturn]] void failLacking(std::string_view column, std::string_view table, Position at) {
  throw SqlError("there is no column " + std::string(column) + " in " + std::string(table), at);
}

}  // namespace

const std::string* nameOf(const SelectItem& item) {
  if (item.alias) return &*item.alias;
  return item.value->kind == ExprKind::Column ? &item.value->text : nullptr;
}

void ColumnLookup::checkTarget(const Statement& statement) const {
  for (const TargetColumn& column : statement.columns) {
    if (findInTable(statement.table, column.name).presence != Presence::Lacking) continue;
    failLacking(column.name, statement.table, column.at);
  }
}

void ColumnLookup::Found::add(Found other) {
  presence = std::max(presence, other.presence);
  if (type == ColumnType::Unknown) type = other.type;
}

ColumnType ColumnLookup::typeOf(const Expr& column) {
  Found found;
  for (auto scope = scopes_.rbegin(); scope != scopes_.rend(); ++scope) {
    found.add(findInCore(**scope, column.qualifier, column.text, commonTables_.size()));
    if (found.certain()) return found.type;
    // A qualifier means the innermost table of that name. An outer one of the same name may have
    // the column, but the engine would not look there.
    const bool qualified = !column.qualifier.empty();
    if (qualified && found.presence == Presence::Lacking) refuse(column);
  }
  // The row that an UPDATE or DELETE changes is visible in all its subqueries.
  const bool ofTarget = column.qualifier.empty() || sameName(column.qualifier, target_);
  if (ofTarget && !target_.empty()) found.add(findInTable(target_, column.text));
  // An unknown qualifier is left to the engine, which refuses it in every form.
  const bool nowhere = found.presence == Presence::NoTable && column.qualifier.empty();
  if (nowhere || found.presence == Presence::Lacking) refuse(column);
  return found.type;
}

ColumnLookup::Found ColumnLookup::findInCore(const SelectCore& core, std::string_view qualifier,
                                             std::string_view column, std::size_t visible) {
  Found found;
  for (const Source& source : core.from) {
    if (!qualifier.empty() && !sameName(qualifier, visibleName(source))) continue;
    found.add(findInSource(source, column, visible));
    // The first one wins; the engine refuses a name that two tables have.
    if (found.certain()) break;
  }
  return found;
}

ColumnLookup::Found ColumnLookup::findInSource(const Source& source, std::string_view column,
                                               std::size_t visible) {
  if (source.derived) return findInSelect(*source.derived, column, visible);
  // A common table sees those before it, but not itself.
  for (std::size_t i = visible; i > 0; --i) {
    const CommonTable& table = *commonTables_[i - 1];
    if (sameName(table.name, source.table)) return findInSelect(*table.select, column, i - 1);
  }
  return findInTable(source.table, column);
}

ColumnLookup::Found ColumnLookup::findInSelect(const Select& select, std::string_view column,
                                               std::size_t visible) {
  if (++lookups_ > kMaxLookups) {
    throw SqlError("the statement is too complex; name the columns instead of *",
                   select.cores.front().at);
  }
  // The first part of a UNION names the columns; the others only add to the types.
  const SelectCore& core = select.cores.front();
  Found found{.presence = Presence::Lacking};
  for (std::size_t i = 0; i < core.items.size() && !found.certain(); ++i) {
    const SelectItem& item = core.items[i];
    if (!item.value) {
      found.add(findInCore(core, item.starQualifier, column, visible));
    } else if (isNamed(item, column)) {
      found.add({.presence = Presence::There, .type = unitedType(select, i)});
    }
  }
  return found;
}

ColumnType ColumnLookup::typeIn(std::string_view table, std::string_view column) const {
  return findInTable(table, column).type;
}

ColumnLookup::Found ColumnLookup::findInTable(std::string_view table,
                                              std::string_view column) const {
  if (catalog_ == nullptr) return {.presence = Presence::Open};
  const ColumnType type = catalog_->columnType(table, column);
  if (type != ColumnType::Unknown) return {.presence = Presence::There, .type = type};
  const bool lacking = catalog_->lacksColumn(table, column);
  return {.presence = lacking ? Presence::Lacking : Presence::Open};
}

// Names the tables that were searched, so that the user sees in which one to look.
void ColumnLookup::refuse(const Expr& column) const {
  if (catalog_ == nullptr) return;
  std::vector<std::string_view> tables;
  for (auto scope = scopes_.rbegin(); scope != scopes_.rend(); ++scope) {
    for (const Source& source : (*scope)->from) {
      const bool named = sameName(column.qualifier, visibleName(source));
      if (!column.qualifier.empty() && !named) continue;
      tables.push_back(source.derived ? source.alias : source.table);
    }
  }
  if (!target_.empty()) tables.push_back(target_);
  if (tables.empty()) throw SqlError("there is no column " + column.text + " here", column.at);
  const bool one = tables.size() == 1 || !column.qualifier.empty();
  failLacking(column.text, one ? tables.front() : "any of the tables", column.at);
}

}  // namespace qx::sql
