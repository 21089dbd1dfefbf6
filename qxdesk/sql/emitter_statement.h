// The statement half of an emitter: SELECTs and what surrounds them. Every name is quoted and every
// literal written anew, so that nothing of the incoming text reaches the database undecoded.
#pragma once

#include "qxdesk/sql/emitter_expression.h"

#include <memory>

namespace qx::sql {

class StatementEmitter : public ExpressionEmitter {
 public:
  using ExpressionEmitter::ExpressionEmitter;

  // The text of a SELECT, INSERT, UPDATE or DELETE. `rowLimit` is the row count set on the
  // connection: no more rows than that are read or changed.
  std::string statement(const Statement& statement, std::optional<std::int64_t> rowLimit);

  // A SELECT of `columns`, which stand in the first core of `select`, that yields no row: it is for
  // reading their declared types.
  std::string probe(const Select& select, const std::vector<const Expr*>& columns);

 protected:
  // The limit of a SELECT TOP `count` WITH TIES.
  virtual void limitWithTies(const Select& select, std::int64_t count,
                             std::optional<std::int64_t> rowLimit);
  void plainLimit(std::int64_t count);
  // False for an order that the engine neither takes nor needs.
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
  void where(const ExprPtr& condition);
  void conditions(const SelectCore& core);
  void orderBy(const Select& select);
  void orderKey(const Expr& key, bool descending);
  void limit(const Select& select, std::optional<std::int64_t> rowLimit);
  void countWithTies(const Select& select, std::int64_t count);
  void orderOfRanks(const Select& select, const SelectCore& core);

  const Select* namesUnnamed_ = nullptr;
};

}  // namespace qx::sql
