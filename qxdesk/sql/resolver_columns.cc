// The columns half of the resolver: where a name stands for one, and of what type it is.
#include "qxdesk/sql/output_columns.h"
#include "qxdesk/sql/resolver.h"

#include <algorithm>
#include <map>

namespace qx::sql {
namespace {

constexpr int kMaxLookups = 100'000;

// The name of a value in a list; null when it has none.
const std::string* nameOf(const SelectItem& item) {
  if (item.alias) return &*item.alias;
  return item.value->kind == ExprKind::Column ? &item.value->text : nullptr;
}

bool isNamed(const SelectItem& item, std::string_view name) {
  const std::string* own = nameOf(item);
  return own != nullptr && sameName(*own, name);
}

[[noreturn]] void failLacking(std::string_view column, std::string_view table, Position at) {
  throw SqlError("there is no column " + std::string(column) + " in " + std::string(table), at);
}

}  // namespace

void Resolver::checkTarget(const Statement& statement) const {
  for (const TargetColumn& column : statement.columns) {
    if (findInTable(statement.table, column.name).presence != Presence::Lacking) continue;
    failLacking(column.name, statement.table, column.at);
  }
}

void Resolver::resolveKeys(const std::vector<Expr*>& keys, const SelectCore& core) {
  std::map<std::string_view, ColumnType, NameLess> list;
  for (const SelectItem& item : core.items) {
    if (!item.value || keys.empty()) continue;
    if (const std::string* name = nameOf(item)) list.emplace(*name, item.value->type);
  }
  for (Expr* key : keys) {
    const bool plain = key->kind == ExprKind::Column && key->qualifier.empty();
    const auto named = plain ? list.find(key->text) : list.end();
    if (named == list.end()) {
      resolveExpr(*key);
    } else {
      key->type = named->second;
    }
  }
}

void Resolver::Found::add(Found other) {
  presence = std::max(presence, other.presence);
  if (type == ColumnType::Unknown) type = other.type;
}

ColumnType Resolver::columnType(const Expr& column) const {
  Found found;
  for (auto scope = scopes_.rbegin(); scope != scopes_.rend(); ++scope) {
    found.add(findInCore(**scope, column.qualifier, column.text, commonTables_.size()));
    if (found.certain()) return found.type;
    const bool qualified = !column.qualifier.empty();
    if (qualified && found.presence == Presence::Lacking) refuseLacking(column);
  }
  const bool ofTarget = column.qualifier.empty() || sameName(column.qualifier, targetTable_);
  if (ofTarget && !targetTable_.empty()) found.add(findInTable(targetTable_, column.text));
  const bool nowhere = found.presence == Presence::NoTable && column.qualifier.empty();
  if (nowhere || found.presence == Presence::Lacking) refuseLacking(column);
  return found.type;
}

Resolver::Found Resolver::findInCore(const SelectCore& core, std::string_view qualifier,
                                     std::string_view column, std::size_t visible) const {
  Found found;
  for (const Source& source : core.from) {
    const std::string& name = source.alias.empty() ? source.table : source.alias;
    if (!qualifier.empty() && !sameName(qualifier, name)) continue;
    found.add(findInSource(source, column, visible));
    if (found.certain()) break;
  }
  return found;
}

Resolver::Found Resolver::findInSource(const Source& source, std::string_view column,
                                       std::size_t visible) const {
  if (source.derived) return findInSelect(*source.derived, column, visible);
  for (std::size_t i = visible; i > 0; --i) {
    const CommonTable& table = *commonTables_[i - 1];
    if (sameName(table.name, source.table)) return findInSelect(*table.select, column, i - 1);
  }
  return findInTable(source.table, column);
}

Resolver::Found Resolver::findInSelect(const Select& select, std::string_view column,
                                       std::size_t visible) const {
  if (++lookups_ > kMaxLookups) {
    throw SqlError("the statement is too complex; name the columns instead of *",
                   select.cores.front().at);
  }
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

Resolver::Found Resolver::findInTable(std::string_view table, std::string_view column) const {
  if (catalog_ == nullptr) return {.presence = Presence::Open};
  const ColumnType type = catalog_->columnType(table, column);
  if (type != ColumnType::Unknown) return {.presence = Presence::There, .type = type};
  const bool lacking = catalog_->lacksColumn(table, column);
  return {.presence = lacking ? Presence::Lacking : Presence::Open};
}

// Nothing is known without a catalog.
void Resolver::refuseLacking(const Expr& column) const {
  if (catalog_ == nullptr) return;
  std::vector<std::string_view> tables;
  for (auto scope = scopes_.rbegin(); scope != scopes_.rend(); ++scope) {
    for (const Source& source : (*scope)->from) {
      const std::string& name = source.alias.empty() ? source.table : source.alias;
      if (!column.qualifier.empty() && !sameName(column.qualifier, name)) continue;
      tables.push_back(source.derived ? source.alias : source.table);
    }
  }
  if (!targetTable_.empty()) tables.push_back(targetTable_);
  if (tables.empty()) throw SqlError("there is no column " + column.text + " here", column.at);
  const bool one = tables.size() == 1 || !column.qualifier.empty();
  failLacking(column.text, one ? tables.front() : "any of the tables", column.at);
}

}  // namespace qx::sql
