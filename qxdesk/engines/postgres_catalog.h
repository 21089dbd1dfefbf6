#pragma once

// The types of the columns in a PostgreSQL database, for the translator.

#include "qxdesk/sql/column_order.h"
#include "qxdesk/sql/column_type.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace qx::desk {

class Database;

/// Reads each table when it is first asked for, and keeps what it read.
class PostgresCatalog final : public sql::Catalog, public sql::ColumnOrderCatalog {
 public:
  explicit PostgresCatalog(Database& database) : database_(database) {}

  /// Throws DatabaseError.
  sql::ColumnType columnType(std::string_view table, std::string_view column) const override;
  /// Returns false also for a table without any column. Throws DatabaseError.
  bool lacksColumn(std::string_view table, std::string_view column) const override;
  /// Returns true also for a table without any column. Throws DatabaseError.
  bool lacksTable(std::string_view table) const override;
  /// Throws DatabaseError.
  std::optional<std::size_t> columnCount(std::string_view table) const override;
  /// Compares the tables with those that were read. The server does so in the statement's own turn.
  /// Throws DatabaseError.
  std::string unchangedCheck(const std::vector<std::string>& tables) const override;
  std::string orderCheck(const std::vector<std::string>& tables) const override;
  /// Forgets everything that was read, since other processes may have changed it.
  void forget() { tables_.clear(); }

 private:
  using Columns = std::map<std::string, sql::ColumnType>;  // by folded name
  /// A column as the check compares it.
  struct Column {
    std::string name;       // quoted
    std::string jsonName;   // as it is written in JSON
    std::int64_t type = 0;  // its number
  };
  struct Table {
    Columns columns;
    std::vector<Column> inOrder;
    std::int64_t number = 0;  // of the table in the server's catalogue
    std::string newest;       // the transaction that wrote the newest row about a column
    std::string rowType;
    bool hasDomain = false;  // a type with conditions of its own
  };

  static std::string emptyRow(const Table& table);
  static std::string checkOf(const std::string& name, const Table& table);
  static std::string checkOfRowType(const std::string& name, const Table& table);
  static std::string checkOfCatalogRows(const std::string& name, const Table& table);
  const Table& tableOf(std::string_view table) const;
  const Columns& columnsOf(std::string_view table) const { return tableOf(table).columns; }
  Table read(const std::string& table) const;

  Database& database_;
  mutable std::map<std::string, Table> tables_;
};

}  // namespace qx::desk
