#pragma once

// The keys of a company's tables. A key is an index in the database and its rows in the dictionary.

#include "qxdesk/dictionary/dictionary_rows.h"

#include <optional>
#include <string>
#include <string_view>

namespace qx::desk {

/// All operations throw CompanyError for mistakes that the caller can correct, and DatabaseError.
class DictionaryKeys {
 public:
  explicit DictionaryKeys(Database& database) : database_(database) {}

  /// Returns key number `index` of a table, in the order of their making and without gaps.
  std::optional<UserKey> find(std::string_view table, long index);
  void add(UserKey key);
  void remove(std::string_view table, std::string_view name);
  /// Makes the indexes of all keys again, for an engine that loses them when a column changes.
  /// `table` is the real name.
  void remakeIndexes(const std::string& table);

 private:
  void check(UserKey& key);
  std::string realColumn(const std::string& table, const std::string& alias);
  void makeIndex(const UserKey& key);

  Database& database_;
};

}  // namespace qx::desk
