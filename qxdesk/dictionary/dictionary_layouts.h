#pragma once

// Tables as add-ons name them, and the columns that they have with their user fields.
//
// A user table is named with or without its "@". If a bare name fits both a user table and a system
// table, the user table is meant. Names compare without case.
//
// The dictionary has three parts, DictionaryTables, DictionaryFields and DictionaryKeys, which rest
// on this class and on the rows (dictionary_rows.h). A change alters both the rows and the tables
// that they describe, or neither. There is no class in front of the three: each object of the
// company works with exactly one of them, and a common one would only pass calls on.

#include "qxdesk/dictionary/dictionary_rows.h"

#include <optional>
#include <string>
#include <string_view>

namespace qx::desk {

class DictionaryLayouts {
 public:
  explicit DictionaryLayouts(Database& database) : database_(database) {}

  /// Returns the real name of a table, or nothing if there is none. Throws DatabaseError.
  std::optional<std::string> resolve(std::string_view name);
  /// Returns the real name of a table. Throws CompanyError if there is none, and DatabaseError.
  std::string need(std::string_view name);
  /// Returns the columns of the table with that real name, which must exist: its own ones, then
  /// its user fields in the order of their making.
  TableLayout layoutOf(const std::string& table);
  /// The same for a name from a statement, which may be anything; nothing if the dictionary does
  /// not know it. A user table is found by its name with "@" only. Throws DatabaseError.
  std::optional<TableLayout> storedLayout(std::string_view table);

 private:
  Database& database_;
};

}  // namespace qx::desk
