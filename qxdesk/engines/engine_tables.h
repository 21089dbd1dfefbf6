#pragma once

// How one engine makes and changes tables: its types, its checks, its own catalogue. Statements on
// which engines agree are in the layer above, the dictionary.

#include "qxdesk/engines/table_layout.h"

#include <string>
#include <string_view>

namespace qx::desk {

class Database;

/// The table that keeps the version on engines that offer no place for it in the database itself.
inline constexpr std::string_view kVersionTable = "QXVR";

/// All operations with a database throw DatabaseError.
class EngineTables {
 public:
  enum class Keys { Kept, Lost };

  virtual ~EngineTables() = default;

  /// True if the database has the table, as it was when the connection was opened or after
  /// Database::noticeChanges().
  virtual bool exists(Database& database, std::string_view table) const = 0;
  /// True if the database has any table at all.
  virtual bool any(Database& database) const = 0;

  /// Returns the version that setVersion() wrote, or 0.
  virtual long version(Database& database) const;
  virtual void setVersion(Database& database, long version) const;

  /// Makes other processes that change tables or make the company wait until the end of the
  /// transaction.
  virtual void lock(Database& database) const = 0;

  void create(Database& database, const TableLayout& table, std::string_view name) const;
  /// Adds `column`, which `table` already contains. Existing rows take its default.
  virtual void addColumn(Database& database, const TableLayout& table,
                         const ColumnLayout& column) const;
  /// Gives the column `before` the form that `table` has for it. Returns Keys::Lost if the indexes
  /// of the table must be made again.
  virtual Keys changeColumn(Database& database, const TableLayout& table,
                            const ColumnLayout& before) const;
  virtual void dropIndex(Database& database, std::string_view index) const;

  /// Returns the type, constraints and default that follow a column's name in CREATE TABLE.
  virtual std::string declaration(const ColumnLayout& column) const = 0;
  /// Returns a column of an index that ignores the case of letters.
  virtual std::string caselessKey(std::string_view column) const = 0;

 protected:
  /// Moves the rows to a new table and back, for an engine that cannot change a column.
  void moveRows(Database& database, const TableLayout& table) const;
};

/// Returns the column of that name, in any case; throws std::out_of_range if there is none.
const ColumnLayout& columnNamed(const TableLayout& table, std::string_view name);
/// Returns " DEFAULT " and the default, or nothing if the column has none; `now` is the engine's
/// expression for the time of writing.
std::string defaultClause(const ColumnLayout& column, std::string_view now);
/// Returns the names in brackets with commas between them.
std::string columnList(const std::vector<std::string>& names);

}  // namespace qx::desk
