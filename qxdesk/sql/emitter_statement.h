#pragma once

// The statement half of an emitter: SELECT, INSERT, UPDATE and DELETE. Every name is quoted and
// every literal is written anew from its decoded value, so no piece of the incoming text reaches
// the database as it was.

#include "qxdesk/sql/emitter_expression.h"

#include <memory>

namespace qx::sql {

class StatementEmitter : public ExpressionEmitter {
 public:
  using ExpressionEmitter::ExpressionEmitter;

  /// Returns the engine's text of a SELECT, INSERT, UPDATE or DELETE. `rowLimit` is the row count
  /// set on the connection: at most that many rows are read or changed. Throws SqlError.
  std::string statement(const Statement& statement, std::optional<std::int64_t> rowLimit);

  /// Sets a condition in the engine's SQL that fails a statement whose tables have changed. Every
  /// text has it, if it is not empty and isChecked() does not return false.
  void setCheck(std::string check) { check_ = std::move(check); }
  /// Returns false if the text of a statement has no place for the check.
  bool isChecked() const { return checked_; }

  /// Returns a SELECT of `columns` that yields no row and serves to read their declared types. The
  /// columns are expressions of the first core of `select`.
  std::string probe(const Select& select, const std::vector<const Expr*>& columns);

 protected:
  /// Writes the limit of a SELECT TOP `count` WITH TIES.
  virtual void limitWithTies(const Select& select, std::int64_t count,
                             std::optional<std::int64_t> rowLimit);
  void plainLimit(std::int64_t count);
  /// Returns false if there is no ORDER BY, or one that the engine neither takes nor needs.
  bool isOrdered(const Select& select) const;

 private:
  void selectBody(const Select& select, std::optional<std::int64_t> rowLimit) override;
  void insert(const Statement& statement, std::optional<std::int64_t> rowLimit);
  void update(const Statement& statement, std::optional<std::int64_t> rowLimit);
  void changedRows(const Statement& statement, std::optional<std::int64_t> rowLimit);
  void outerSelect(const Select& select, std::optional<std::int64_t> rowLimit);
  void commonTables(const Select& select);
  void core(const Select& select, const SelectCore& core);
  void item(const SelectItem& item, bool nameUnnamed);
  void from(const SelectCore& core);
  void where(const ExprPtr& condition, bool checks);
  void conditions(const SelectCore& core);
  void orderBy(const Select& select);
  void orderKey(const Expr& key, bool descending);
  void limit(const Select& select, std::optional<std::int64_t> rowLimit);
  void countWithTies(const Select& select, std::int64_t count);
  void orderOfRanks(const Select& select, const SelectCore& core);

  const Select* namesUnnamed_ = nullptr;  // the SELECT whose unnamed columns get a name
  std::string check_;
  bool checked_ = true;
  const SelectCore* checks_ = nullptr;  // the SELECT whose condition has the check
};

}  // namespace qx::sql
