#pragma once

// The user fields of a company's tables. A field is a column "U_" + name of the table and its rows
// in the dictionary.

#include "qxdesk/dictionary/dictionary_rows.h"

#include <optional>
#include <string>
#include <string_view>

namespace qx::desk {

/// All operations throw CompanyError for mistakes that the caller can correct, and DatabaseError.
class DictionaryFields {
 public:
  explicit DictionaryFields(Database& database) : database_(database) {}

  /// Returns field number `index` of a table.
  std::optional<UserField> find(std::string_view table, long index);
  /// Adds a field to a user table or a system table; its index is the next one of that table.
  void add(UserField field);
  /// Changes the description, sizes, default and obligation of a field that was found. The size of
  /// a text can only grow.
  void update(const UserField& field);

 private:
  bool hasRows(const std::string& table);
  void addColumn(const std::string& table, const FieldShape& shape);
  void changeColumn(const std::string& table, const ColumnLayout& before,
                    const ColumnLayout& after);

  Database& database_;
};

}  // namespace qx::desk
