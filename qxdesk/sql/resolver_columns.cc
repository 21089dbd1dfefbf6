#include "qxdesk/sql/resolver_columns.h"

#include "qxdesk/sql/output_columns.h"
#include "qxdesk/sql/token_cursor.h"

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

bool isMeant(const Source& source, std::string_view qualifier) {
  return qualifier.empty() || sameName(qualifier, visibleName(source));
}

[[noreturn]] void failNoTable(std::string_view table, Position at) {
  throw SqlError("there is no table " + valueExcerpt(table) + " here", at);
}

[[noreturn]] void failLacking(std::string_view column, std::string_view table, Position at) {
  throw SqlError("there is no column " + valueExcerpt(column) + " in " + valueExcerpt(table), at);
}

}  // namespace

const std::string* nameOf(const SelectItem& item) {
  if (item.alias) return &*item.alias;
  return item.value->kind == ExprKind::Column ? &item.value->text : nullptr;
}

void ColumnLookup::checkTable(std::string_view table, Position at) const {
  if (catalog_ == nullptr || !catalog_->lacksTable(table)) return;
  throw SqlError("there is no table " + valueExcerpt(table), at);
}

void ColumnLookup::checkTarget(const Statement& statement) const {
  if (!statement.table.empty()) checkTable(statement.table, statement.tableAt);
  for (const TargetColumn& column : statement.columns) {
    if (findInTable(statement.table, column.name).presence != Presence::Lacking) continue;
    failLacking(column.name, statement.table, column.at);
  }
}

void ColumnLookup::checkSources(const SelectCore& core) const {
  for (const Source& source : core.from) {
    std::size_t visible = commonTables_.size();
    if (!source.derived && commonTable(source.table, visible) == nullptr) {
      checkTable(source.table, source.at);
    }
  }
}

void ColumnLookup::checkStar(const SelectItem& item) const {
  if (catalog_ == nullptr || item.starQualifier.empty()) return;
  const std::vector<Source>& sources = scopes_.back()->from;
  const bool found = std::any_of(sources.begin(), sources.end(), [&item](const Source& source) {
    return isMeant(source, item.starQualifier);
  });
  if (!found) failNoTable(item.starQualifier, item.at);
}

void ColumnLookup::Found::add(Found other) {
  presence = std::max(presence, other.presence);
  if (type == ColumnType::Unknown) type = other.type;
}

ColumnType ColumnLookup::typeOf(const Expr& column) {
  Found found;
  for (auto scope = scopes_.rbegin(); scope != scopes_.rend(); ++scope) {
    found.add(findInCore(**scope, column.qualifier, column.text, commonTables_.size()));
    if (found.certain()) {
      refuseAmbiguous(**scope, column);
      return found.type;
    }
    // A qualifier means the innermost table of that name. An outer one of the same name may have
    // the column, but the engine would not look there.
    const bool qualified = !column.qualifier.empty();
    if (qualified && found.presence == Presence::Lacking) refuse(column);
  }
  // The row that an UPDATE or DELETE changes is visible in all its subqueries.
  const bool ofTarget = column.qualifier.empty() || sameName(column.qualifier, target_);
  if (ofTarget && !target_.empty()) found.add(findInTable(target_, column.text));
  if (found.presence == Presence::NoTable || found.presence == Presence::Lacking) refuse(column);
  return found.type;
}

ColumnLookup::Found ColumnLookup::findInCore(const SelectCore& core, std::string_view qualifier,
                                             std::string_view column, std::size_t visible) {
  Found found;
  for (const Source& source : core.from) {
    if (!isMeant(source, qualifier)) continue;
    found.add(findInSource(source, column, visible));
    if (found.certain()) break;
  }
  return found;
}

ColumnLookup::Found ColumnLookup::findInSource(const Source& source, std::string_view column,
                                               std::size_t visible) {
  if (source.derived) return findInSelect(*source.derived, column, visible);
  if (const CommonTable* table = commonTable(source.table, visible)) {
    return findInSelect(*table->select, column, visible);
  }
  return findInTable(source.table, column);
}

// Returns the common table of that name among the first `visible` ones, and sets `visible` to the
// number of those that it sees itself: those before it.
const CommonTable* ColumnLookup::commonTable(std::string_view name, std::size_t& visible) const {
  for (std::size_t i = visible; i > 0; --i) {
    if (!sameName(commonTables_[i - 1]->name, name)) continue;
    visible = i - 1;
    return commonTables_[i - 1];
  }
  return nullptr;
}

ColumnLookup::Found ColumnLookup::findInSelect(const Select& select, std::string_view column,
                                               std::size_t visible) {
  spendLookup(select);
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

std::optional<std::size_t> ColumnLookup::columnCount(const SelectCore& core) {
  return countInCore(core, commonTables_.size());
}

std::optional<std::size_t> ColumnLookup::countInCore(const SelectCore& core, std::size_t visible) {
  std::size_t count = 0;
  for (const SelectItem& item : core.items) {
    if (item.value) {
      ++count;
      continue;
    }
    for (const Source& source : core.from) {
      if (!isMeant(source, item.starQualifier)) continue;
      const std::optional<std::size_t> columns = countInSource(source, visible);
      if (!columns) return std::nullopt;
      count += *columns;
    }
  }
  return count;
}

std::optional<std::size_t> ColumnLookup::countInSource(const Source& source, std::size_t visible) {
  if (++lookups_ > kMaxLookups) return std::nullopt;
  if (source.derived) return countInCore(source.derived->cores.front(), visible);
  if (const CommonTable* table = commonTable(source.table, visible)) {
    return countInCore(table->select->cores.front(), visible);
  }
  return catalog_ == nullptr ? std::nullopt : catalog_->columnCount(source.table);
}

void ColumnLookup::spendLookup(const Select& select) {
  if (++lookups_ <= kMaxLookups) return;
  throw SqlError("the statement is too complex; name the columns instead of *",
                 select.cores.front().at);
}

// Counts the columns of that name which a table surely has; two stand for any larger number, so
// that stars over stars end early.
int ColumnLookup::ownersInSource(const Source& source, std::string_view column,
                                 std::size_t visible) {
  if (source.derived) return ownersInSelect(*source.derived, column, visible);
  if (const CommonTable* table = commonTable(source.table, visible)) {
    return ownersInSelect(*table->select, column, visible);
  }
  return findInTable(source.table, column).presence == Presence::There ? 1 : 0;
}

int ColumnLookup::ownersInSelect(const Select& select, std::string_view column,
                                 std::size_t visible) {
  spendLookup(select);
  const SelectCore& core = select.cores.front();
  int count = 0;
  for (std::size_t i = 0; i < core.items.size() && count < 2; ++i) {
    const SelectItem& item = core.items[i];
    if (item.value) {
      count += isNamed(item, column) ? 1 : 0;
      continue;
    }
    for (const Source& source : core.from) {
      if (count < 2 && isMeant(source, item.starQualifier)) {
        count += ownersInSource(source, column, visible);
      }
    }
  }
  return std::min(count, 2);
}

// The scopes around this SELECT do not count: its own tables come first.
void ColumnLookup::refuseAmbiguous(const SelectCore& core, const Expr& column) {
  if (catalog_ == nullptr) return;
  // A single real table cannot have two columns of one name, and most statements read one.
  if (core.from.size() == 1 && !core.from.front().derived && commonTables_.empty()) return;
  std::string tables;
  int owners = 0;
  for (const Source& source : core.from) {
    if (!isMeant(source, column.qualifier)) continue;
    const int count = ownersInSource(source, column.text, commonTables_.size());
    const std::string& name = visibleName(source);
    if (count > 1) {
      throw SqlError(valueExcerpt(name) + " has several columns " + valueExcerpt(column.text) +
                         "; give each an alias",
                     column.at);
    }
    if (count == 1) tables += (owners++ == 0 ? "" : ", ") + valueExcerpt(name);
  }
  if (owners < 2) return;
  if (!column.qualifier.empty()) {
    throw SqlError(
        "several tables are called " + valueExcerpt(column.qualifier) + "; give each an alias",
        column.at);
  }
  throw SqlError("the column " + valueExcerpt(column.text) + " is in several tables (" + tables +
                     "); write the table's name before it",
                 column.at);
}

// Names the tables that were searched, so that the user sees in which one to look.
void ColumnLookup::refuse(const Expr& column) const {
  if (catalog_ == nullptr) return;
  std::vector<std::string_view> tables;
  for (auto scope = scopes_.rbegin(); scope != scopes_.rend(); ++scope) {
    for (const Source& source : (*scope)->from) {
      if (!isMeant(source, column.qualifier)) continue;
      tables.push_back(source.derived ? source.alias : source.table);
    }
  }
  const bool ofTarget = column.qualifier.empty() || sameName(column.qualifier, target_);
  if (!target_.empty() && ofTarget) tables.push_back(target_);
  if (tables.empty() && !column.qualifier.empty()) failNoTable(column.qualifier, column.at);
  if (tables.empty())
    throw SqlError("there is no column " + valueExcerpt(column.text) + " here", column.at);
  const bool one = tables.size() == 1 || !column.qualifier.empty();
  failLacking(column.text, one ? tables.front() : "any of the tables", column.at);
}

}  // namespace qx::sql
