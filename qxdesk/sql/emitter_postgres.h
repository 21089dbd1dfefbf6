#pragma once

// Writes a resolved syntax tree as PostgreSQL text. The text calls the engine's own functions only.
// It relies on the settings of kPostgresSettings and, for the order of texts by code points, on
// columns or a database of collation "C".

#include "qxdesk/sql/emitter_statement.h"

#include <functional>

namespace qx::sql {

/// Runs once on each connection, before any translated text.
constexpr std::string_view kPostgresSettings =
    "SET standard_conforming_strings = on; SET client_encoding = 'UTF8'; "
    "SET datestyle = 'ISO, YMD'";

class PostgresEmitter final : public StatementEmitter {
 public:
  /// `now` returns local time as "YYYY-MM-DD HH:MM:SS" and outlives the emitter. If it is empty,
  /// the text asks the server for its time.
  PostgresEmitter(const DialectTraits& dialect, const std::function<std::string()>& now)
      : StatementEmitter(dialect, traitsOf(Engine::Postgres)), now_(now) {}

 private:
  void limitWithTies(const Select& select, std::int64_t count,
                     std::optional<std::int64_t> rowLimit) override;
  void placeholder(ColumnType type) override;
  void date(const Expr& expr) override;
  void null(const Expr& expr) override;
  void negate(const Expr& expr) override;
  void arithmetic(const Expr& expr) override;
  void like(const Expr& expr) override;
  void textOperand(const Expr& expr, int strength) override;
  void call(const Expr& expr) override;
  void castToText(const Expr& argument, std::optional<int> size) override;
  void castToWhole(const Expr& argument) override;
  void castToDecimal(const Expr& argument) override;
  void position(const Expr& expr) override;

  void timestamp(std::string_view text);
  void plainLike(const Expr& expr);
  void patternWithSets(const Expr& pattern, const Expr* escape);
  void dateOperand(const Expr& expr, int strength);
  void wholeOperand(const Expr& expr);
  void caseCall(std::string_view function, const Expr& expr);
  void now(const Expr& expr);
  void today(const Expr& expr);
  void toDate(const Expr& argument);
  void formatted(const Expr& argument, std::string_view format);
  void monthDate(const Expr& argument);
  void addTime(const Expr& expr);
  void daysBetween(const Expr& expr);
  void datePart(const Expr& expr, std::string_view part);
  void round(const Expr& expr);
  void textToWhole(const Expr& argument);
  const std::string& currentTime();

  const std::function<std::string()>& now_;
  std::string currentTime_;  // read from now_ once, so that a statement has one time
};

}  // namespace qx::sql
