// The expression half of the SQLite emitter. It sets brackets by the precedence of SQLite's
// operators, which differ from the dialects' (|| binds tighter than *), never by those of the
// incoming text.
//
// SQLite's parser has a fixed stack of 100 symbols. The emitter counts the symbols that are open
// wherever it writes something nested, and refuses what would not fit.
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

  // So many more symbols are open in SQLite's parser while it lives.
  class Open {
   public:
    // Raises SqlError when the stack would not hold them.
    Open(SqliteExpressionEmitter& emitter, int symbols);
    ~Open() { emitter_.open_ -= symbols_; }
    Open(const Open&) = delete;
    Open& operator=(const Open&) = delete;

   private:
    SqliteExpressionEmitter& emitter_;
    int symbols_;
  };

  void name(std::string_view name);
  void quoted(std::string_view text, char quote);
  void expression(const Expr& expr);
  // In brackets when it binds more loosely than `strength`.
  void operand(const Expr& expr, int strength);
  void nested(int symbols, const Expr& expr, int strength);
  void list(const std::vector<ExprPtr>& values, std::size_t first, int symbols);
  // A comma before every element but the first.
  void separate(std::size_t index);

  const DialectTraits& traits_;
  std::string out_;

 private:
  void condition(const Expr& expr);
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
  void daysBetween(const Expr& expr);
  void wrapped(std::string_view before, const Expr& argument, std::string_view after);

  int open_ = 0;
  Position at_;  // of the expression that was begun last
};

}  // namespace qx::sql
