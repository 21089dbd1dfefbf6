#pragma once

#include "qxdesk/sql/column_type.h"

#include <map>
#include <string>

namespace qx::desk {

class Database;

/// The types of the columns in a PostgreSQL database, read table by table when they are asked for.
class PostgresCatalog final : public sql::Catalog {
 public:
  explicit PostgresCatalog(Database& database) : database_(database) {}

  /// Raises DatabaseError.
  sql::ColumnType columnType(std::string_view table, std::string_view column) const override;
  /// Raises DatabaseError. False for a table without any column, too.
  bool lacksColumn(std::string_view table, std::string_view column) const override;
  /// What was read; other processes may have changed it.
  void forget() { tables_.clear(); }

 private:
  using Columns = std::map<std::string, sql::ColumnType>;  // by folded name

  const Columns& columnsOf(std::string_view table) const;
  Columns read(const std::string& table) const;

  Database& database_;
  mutable std::map<std::string, Columns> tables_;
};

}  // namespace qx::desk
