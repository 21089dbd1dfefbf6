// The expression half of the SQLite emitter. It sets brackets by the precedence of SQLite's
// operators, which differ from the dialects' (|| binds tighter than *), never by those of the
// incoming text.
#pragma once

#include "qxdesk/sql/ast.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx::sql {

class SqliteExpressionEmitter {
 public:
  explicit SqliteExpressionEmitter(const DialectTraits& traits) : traits_(traits) {}
  virtual ~SqliteExpressionEmitter() = default;

  const std::string& text() const { return out_; }

 protected:
  virtual void selectBody(const Select& select, std::optional<std::int64_t> rowLimit) = 0;

  void name(std::string_view name);
  void quoted(std::string_view text, char quote);
  void expression(const Expr& expr);
  // In brackets when it binds more loosely than `strength`.
  void operand(const Expr& expr, int strength);
  void list(const std::vector<ExprPtr>& values, std::size_t first);
  // A comma before every element but the first.
  void separate(std::size_t index);

  const DialectTraits& traits_;
  std::string out_;

 private:
  void column(const Expr& expr);
  void binary(const Expr& expr, std::string_view op, int left, int right);
  void chain(const Expr& expr, std::size_t from, std::size_t to);
  void like(const Expr& expr);
  void in(const Expr& expr);
  void caseOf(const Expr& expr);
  void subselect(const Select& select);
  void call(const Expr& expr);
  void plainCall(std::string_view function, const Expr& expr);
  void count(const Expr& expr);
  void addTime(const Expr& expr);
  void cast(const Expr& expr);
  void datePart(const Expr& expr, std::string_view format);
  void wrapped(std::string_view before, const Expr& argument, std::string_view after);
};

}  // namespace qx::sql
