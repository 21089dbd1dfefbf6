#pragma once

// The look-up of columns for the resolver: where a name refers to one, and of what type it is.
//
// Names that exist nowhere are refused here and not left to the engine, because engines find more
// in a name than columns: SQLite the number of a row (rowid), PostgreSQL system columns (ctid), a
// function of one argument or a whole row. Such a statement would run with another meaning. Tables
// that are missing and names that several tables have are refused here, too, because an engine does
// not say where in the statement they are. Without a catalog nothing is known and nothing is
// refused.

#include "qxdesk/sql/ast.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx::sql {

class ColumnLookup {
 public:
  /// `catalog` may be null; otherwise it must outlive the look-up.
  explicit ColumnLookup(const Catalog* catalog) : catalog_(catalog) {}

  /// Makes the tables of one SELECT visible while it lives, in addition to those of the SELECTs
  /// around it.
  class Scope {
   public:
    Scope(ColumnLookup& columns, const SelectCore& core) : columns_(columns) {
      columns_.scopes_.push_back(&core);
    }
    ~Scope() { columns_.scopes_.pop_back(); }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    ColumnLookup& columns_;
  };

  /// Adds a common table, whose SELECT has been resolved, after those that it sees itself.
  void addCommonTable(const CommonTable& table) { commonTables_.push_back(&table); }
  /// Sets the table of an UPDATE or DELETE, whose columns are visible everywhere in the statement.
  void setTarget(std::string_view table) { target_ = table; }

  /// Returns the type of a column in the scopes that are open, or Unknown. Throws SqlError if all
  /// tables in which it could be are known and none has it, if several tables of one SELECT have
  /// it, and if no table has the name before it.
  ColumnType typeOf(const Expr& column);
  /// Returns the type of a column of one table, or Unknown.
  ColumnType typeIn(std::string_view table, std::string_view column) const;
  /// Throws SqlError if the table that a statement changes is missing, or lacks a column that an
  /// INSERT or UPDATE sets.
  void checkTarget(const Statement& statement) const;
  /// Throws SqlError if a table of the SELECT is missing.
  void checkSources(const SelectCore& core) const;
  /// Throws SqlError for x.* if the innermost open scope has no table x.
  void checkStar(const SelectItem& item) const;
  /// Returns the number of columns that a SELECT yields; nothing if a * hides it.
  std::optional<std::size_t> columnCount(const SelectCore& core);

 private:
  /// How certain the look-up of a column is, in increasing order: there is no such table; the table
  /// lacks the column; nothing is known of the table; the column is there.
  enum class Presence { NoTable, Lacking, Open, There };
  struct Found {
    Presence presence = Presence::NoTable;
    ColumnType type = ColumnType::Unknown;

    bool certain() const { return type != ColumnType::Unknown || presence == Presence::There; }
    void add(Found other);
  };

  // The first `visible` common tables count: each sees only those before it.
  Found findInCore(const SelectCore& core, std::string_view qualifier, std::string_view column,
                   std::size_t visible);
  Found findInSource(const Source& source, std::string_view column, std::size_t visible);
  Found findInSelect(const Select& select, std::string_view column, std::size_t visible);
  Found findInTable(std::string_view table, std::string_view column) const;
  const CommonTable* commonTable(std::string_view name, std::size_t& visible) const;
  std::optional<std::size_t> countInCore(const SelectCore& core, std::size_t visible);
  std::optional<std::size_t> countInSource(const Source& source, std::size_t visible);
  void checkTable(std::string_view table, Position at) const;
  void spendLookup(const Select& select);
  int ownersInSource(const Source& source, std::string_view column, std::size_t visible);
  int ownersInSelect(const Select& select, std::string_view column, std::size_t visible);
  void refuseAmbiguous(const SelectCore& core, const Expr& column);
  void refuse(const Expr& column) const;

  const Catalog* catalog_;
  std::vector<const SelectCore*> scopes_;  // innermost last
  std::vector<const CommonTable*> commonTables_;
  std::string target_;  // empty for a SELECT or INSERT
  int lookups_ = 0;     // steps spent so far on finding columns through *
};

/// Returns the name under which a value in a list is known: its alias or the name of its column.
/// Null if it has none.
const std::string* nameOf(const SelectItem& item);

}  // namespace qx::sql
