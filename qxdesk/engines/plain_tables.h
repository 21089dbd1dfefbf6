#pragma once

#include "qxdesk/engines/engine_tables.h"

#include <map>

namespace qx::desk {

class OdbcConnection;

/// Tables of a source about which nothing is known but what its driver tells: the names of its
/// types, and the tables that there are. A column that changes is made anew with its table.
class PlainTables final : public EngineTables {
 public:
  /// Asks the driver for its types. The connection must outlive this.
  explicit PlainTables(OdbcConnection& connection);

  bool exists(Database& database, std::string_view table) const override;
  bool any(Database& database) const override;
  // Nothing that all sources have; what two processes do at once, the keys of the tables refuse.
  void lock(Database&) const override {}
  void addColumn(Database& database, const TableLayout& table,
                 const ColumnLayout& column) const override;
  std::string declaration(const ColumnLayout& column) const override;
  std::string caselessKey(std::string_view column) const override;

 private:
  std::vector<std::string> tableNames() const;
  std::string typeOf(const ColumnLayout& column) const;

  OdbcConnection& connection_;
  /// "varchar(%)" with a place for the length, by kind.
  std::map<ColumnKind, std::string> types_;
};

}  // namespace qx::desk
