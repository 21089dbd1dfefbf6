#pragma once

// The statements that a session keeps translated and prepared, by their shape. A run of an add-on
// sends few shapes over and over, and takes for all but the first statement of each the time to
// bind its literals.
//
// The number is bounded: beyond it the statement whose use is longest ago makes room. Statements
// live for the tables they were made for; the session drops them all when one changes.

#include "qxdesk/engines/database.h"
#include "qxdesk/engines/row_store.h"
#include "qxdesk/sql/statement_shape.h"
#include "qxdesk/sql/translator.h"

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qx::desk {

class KeptStatement {
 public:
  KeptStatement(const sql::StatementShape& shape, sql::Translation translation);

  /// Returns true if a statement of the same shape has this translation: the literals that are in
  /// the text are equal.
  bool serves(const sql::StatementShape& shape) const;
  /// Sets the parameters of the last statement(). Returns false if a literal is no date where a
  /// date is needed.
  bool bind(const sql::StatementShape& shape, const std::function<std::string()>& now);
  /// Returns the text with the values in it; nothing if bind() would return false.
  std::optional<std::string> textWith(const sql::StatementShape& shape,
                                      const std::function<std::string()>& now) const;

  /// Returns the prepared statement, which the first call prepares, for bind(). `more` continues
  /// the condition in its text and is the same in all calls, or empty. Throws DatabaseError.
  Statement& statement(Database& database, std::string_view more = {});
  const sql::Translation& translation() const { return translation_; }

  /// The columns of its rows; null before its first run.
  RowColumns columns;

 private:
  template <class Take>
  bool eachValue(const sql::StatementShape& shape, const std::function<std::string()>& now,
                 Take take) const;

  sql::Translation translation_;
  std::unique_ptr<Statement> statement_;
  std::unique_ptr<Statement> withMore_;
  Statement* bound_ = nullptr;                              // one of the two
  std::vector<std::pair<std::size_t, std::string>> fixed_;  // the literals in the text
};

class KeptStatements {
 public:
  static constexpr std::size_t kMost = 128;

  /// Returns the statement that serves a statement of this shape under a row limit, or null.
  KeptStatement* find(const sql::StatementShape& shape,
                      const std::optional<std::int64_t>& rowLimit);
  /// Keeps a statement and returns it. Another one may have to go.
  KeptStatement& add(const sql::StatementShape& shape, const std::optional<std::int64_t>& rowLimit,
                     KeptStatement statement);
  void drop(const KeptStatement& statement);
  void clear();
  std::size_t size() const { return byUse_.size(); }

 private:
  using Key = std::string;
  struct Entry {
    KeptStatement statement;
    const Key* key;
  };
  using Entries = std::list<Entry>;

  const Key& keyOf(const sql::StatementShape& shape, const std::optional<std::int64_t>& rowLimit);
  void drop(Entries::iterator entry);

  Entries byUse_;  // the latest first
  std::unordered_multimap<Key, Entries::iterator> byKey_;
  Key key_;  // kept for its memory
};

}  // namespace qx::desk
