#include "qxdesk/sql/output_columns.h"

namespace qx::sql {
namespace {

// Far more columns than an engine takes. Each common table may have two stars of the one before it,
// so that a short text describes 2^n columns.
constexpr int kMaxSteps = 10'000;

// Walks the lists of a SELECT and of the tables that its stars name.
class Lister {
 public:
  explicit Lister(const Select& statement) : commonTables_(statement.with) {}

  std::vector<ListedColumn> run(const Select& statement) {
    select(statement, commonTables_.size(), true);
    // A list that was given up is cleared: a part of it would look like the whole.
    if (steps_ > kMaxSteps) columns_.clear();
    return std::move(columns_);
  }

 private:
  // The names of a UNION are those of its first part. A common table sees only the tables defined
  // before it, the first `visible` ones, so that a name within its own definition is a real table
  // and the walk ends.
  void select(const Select& select, std::size_t visible, bool outer) {
    const SelectCore& core = select.cores.front();
    for (std::size_t i = 0; i < core.items.size(); ++i) {
      const SelectItem& item = core.items[i];
      if (++steps_ > kMaxSteps) return;
      if (item.value) {
        columns_.push_back({.output = {.name = nameOf(item), .type = unitedType(select, i)},
                            .value = outer ? item.value.get() : nullptr});
      } else {
        star(core, item.starQualifier, visible);
      }
    }
  }

  void star(const SelectCore& core, const std::string& qualifier, std::size_t visible) {
    for (const Source& source : core.from) {
      const std::string& name = source.alias.empty() ? source.table : source.alias;
      if (qualifier.empty() || sameName(qualifier, name)) columnsOf(source, visible);
    }
  }

  void columnsOf(const Source& source, std::size_t visible) {
    if (++steps_ > kMaxSteps) return;
    if (source.derived) return select(*source.derived, visible, false);
    for (std::size_t i = visible; i > 0; --i) {
      const CommonTable& table = commonTables_[i - 1];
      if (sameName(table.name, source.table)) return select(*table.select, i - 1, false);
    }
    columns_.push_back({.output = {.name = {}, .starTable = source.table}});
  }

  static std::string nameOf(const SelectItem& item) {
    if (item.alias) return *item.alias;
    return item.value->kind == ExprKind::Column ? item.value->text : std::string();
  }

  const std::vector<CommonTable>& commonTables_;
  std::vector<ListedColumn> columns_;
  int steps_ = 0;
};

}  // namespace

// A star before the item shifts the positions by an unknown number, so that the other parts do not
// count then.
ColumnType unitedType(const Select& select, std::size_t index) {
  const ColumnType first = select.cores.front().items[index].value->type;
  ColumnType type = first;
  for (const SelectCore& core : select.cores) {
    for (std::size_t i = 0; i <= index; ++i) {
      if (i >= core.items.size() || !core.items[i].value) return first;
    }
    type = commonType(type, core.items[index].value->type);
  }
  return type;
}

std::vector<ListedColumn> listedColumns(const Select& select) { return Lister(select).run(select); }

}  // namespace qx::sql
