#pragma once

// How one engine makes and changes tables: its types, its checks, its dictionary. Where engines
// agree, the statement stands above them, in company_schema and the dictionary.

#include "qxdesk/engines/table_layout.h"

#include <string>
#include <string_view>

namespace qx::desk {

class Database;

class EngineTables {
 public:
  enum class Keys { Kept, Lost };

  virtual ~EngineTables() = default;

  virtual bool exists(Database& database, std::string_view table) const = 0;
  /// Whether the database has any table.
  virtual bool any(Database& database) const = 0;

  /// What setVersion() wrote; 0 before.
  virtual long version(Database& database) const;
  virtual void setVersion(Database& database, long version) const;

  /// Makes other processes wait that change tables or make the company too, until the end of the
  /// transaction.
  virtual void lock(Database& database) const = 0;

  void create(Database& database, const TableLayout& table, std::string_view name) const;
  /// `table` has the new column already. The rows that are there take its default.
  virtual void addColumn(Database& database, const TableLayout& table,
                         const ColumnLayout& column) const;
  /// Gives the column `before` the form that `table` has for it. Tells whether the table's indexes
  /// must be made again.
  virtual Keys changeColumn(Database& database, const TableLayout& table,
                            const ColumnLayout& before) const;
  virtual void dropIndex(Database& database, std::string_view index) const;

  /// Type, constraints and default, as they stand behind a column's name.
  virtual std::string declaration(const ColumnLayout& column) const = 0;
  /// A column of an index for which the case of letters does not count.
  virtual std::string caselessKey(std::string_view column) const = 0;

 protected:
  /// Moves the rows to a new table and back again, for an engine that cannot change a column.
  void moveRows(Database& database, const TableLayout& table) const;
};

/// The column of that name, in any case; raises std::out_of_range when there is none.
const ColumnLayout& columnNamed(const TableLayout& table, std::string_view name);
/// " DEFAULT " and the default, which is `now` where it is the time of writing; empty for none.
std::string defaultClause(const ColumnLayout& column, std::string_view now);
/// The names with commas between them, each in brackets.
std::string columnList(const std::vector<std::string>& names);

}  // namespace qx::desk
