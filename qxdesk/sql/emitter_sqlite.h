#pragma once

// Writes a resolved syntax tree as SQLite text. The text relies on the functions that
// sqlite_functions.h registers: those whose names begin with qx_, and a case-sensitive LIKE.

#include "qxdesk/sql/emitter_statement.h"

namespace qx::sql {

class SqliteEmitter final : public StatementEmitter {
 public:
  explicit SqliteEmitter(const DialectTraits& dialect)
      : StatementEmitter(dialect, traitsOf(Engine::Sqlite)) {}

 private:
  void number(const Expr& expr) override;
  void negate(const Expr& expr) override;
  void arithmetic(const Expr& expr) override;
  void like(const Expr& expr) override;
  void textOperand(const Expr& expr, int strength) override;
  void call(const Expr& expr) override;
  void castToText(const Expr& argument, std::optional<int> size) override;
  void castToWhole(const Expr& argument) override;
  void castToDecimal(const Expr& argument) override;

  /// Returns the function that makes a text of the value, with its bracket; empty if it needs none.
  std::string_view textFunction(const Expr& expr) const;
  void checked(const Expr& expr);
  void unchecked(const Expr& expr);
  void uncheckedOperand(const Expr& expr, int strength);
  void sum(const Expr& expr);
  void addTime(const Expr& expr);
  void datePart(const Expr& expr, std::string_view format);
  void daysBetween(const Expr& expr);
  void substring(const Expr& expr);
};

}  // namespace qx::sql
