#pragma once

// Tables on an engine about which nothing is known.

#include "qxdesk/engines/engine_tables.h"

#include <map>

namespace qx::desk {

class OdbcConnection;

/// Tables of a source about which only its driver gives information: the names of its types, and
/// the existing tables. If a column changes, its table is made anew.
class PlainTables final : public EngineTables {
 public:
  /// Asks the driver for its types. The connection must outlive this object.
  explicit PlainTables(OdbcConnection& connection);

  bool exists(Database& database, std::string_view table) const override;
  bool any(Database& database) const override;
  // No lock is common to all sources. If two processes do the same at once, the primary keys of the
  // dictionary refuse the second one.
  void lock(Database&) const override {}
  void addColumn(Database& database, const TableLayout& table,
                 const ColumnLayout& column) const override;
  std::string declaration(const ColumnLayout& column) const override;
  std::string caselessKey(std::string_view column) const override;

 private:
  std::vector<std::string> tableNames() const;
  std::string typeOf(const ColumnLayout& column) const;

  OdbcConnection& connection_;
  /// The type by kind, such as "varchar(%)" with "%" for the length.
  std::map<ColumnKind, std::string> types_;
};

}  // namespace qx::desk
