#pragma once

// The user tables of a company: they are found, made and removed here.

#include "qxdesk/dictionary/dictionary_rows.h"

#include <optional>
#include <string_view>

namespace qx::desk {

/// All operations throw CompanyError for mistakes that the caller can correct, and DatabaseError.
class DictionaryTables {
 public:
  /// `serverType` decides how long names may be.
  DictionaryTables(Database& database, long serverType)
      : database_(database), serverType_(serverType) {}

  /// Finds a user table by its name with or without "@".
  std::optional<UserTable> find(std::string_view name);
  void add(const UserTable& table);
  /// Removes a table with its fields, keys and rows.
  void remove(std::string_view name);

 private:
  Database& database_;
  long serverType_;
};

}  // namespace qx::desk
