#pragma once

// The expression half of an emitter: the forms that both engines share. Brackets follow the
// precedence of the engines' operators and not the brackets of the incoming text, because engines
// and dialects differ there (|| binds tighter than * in SQLite). A form that differs between the
// engines is a virtual operation.
//
// SQLite's parser has a fixed stack of 100 symbols. The emitter counts the symbols that are open at
// every nested place and refuses a statement that would overflow the stack.

#include "qxdesk/sql/ast.h"
#include "qxdesk/sql/bound_values.h"
#include "qxdesk/sql/engine.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx::sql {

/// The binding strength of an expression; a larger number binds tighter.
enum Strength {
  kOr = 1,
  kAnd,
  kNot,
  kPredicate,
  kConcat,  // tighter than kProduct in SQLite, looser than kSum in PostgreSQL; always in brackets
  kSum,
  kProduct,
  kSign,
  kPrimary,
};

/// The symbols that are open before an argument of a function: the function's name, "(", DISTINCT,
/// the arguments so far and ",".
constexpr int kCallSymbols = 5;

class ExpressionEmitter {
 public:
  ExpressionEmitter(const DialectTraits& dialect, const EngineTraits& engine)
      : dialect_(dialect), engine_(engine) {}
  virtual ~ExpressionEmitter() = default;
  ExpressionEmitter(const ExpressionEmitter&) = delete;
  ExpressionEmitter& operator=(const ExpressionEmitter&) = delete;

  /// From here on the values that are marked as bound are written as parameters.
  void bindValues() { binds_ = true; }
  /// Returns the parameters of the text in their order.
  const std::vector<BoundValue>& boundValues() const { return boundValues_; }
  /// Returns true if the text contains the time of its translation.
  bool hasFixedTime() const { return fixedTime_; }

 protected:
  virtual void selectBody(const Select& select, std::optional<std::int64_t> rowLimit) = 0;
  /// Throws SqlError for a number beyond the largest double.
  virtual void number(const Expr& expr);
  /// Writes the place of a parameter whose value has the type.
  virtual void placeholder(ColumnType /*type*/) { out_ += '?'; }
  virtual void date(const Expr& expr);
  virtual void null(const Expr& expr);
  virtual void negate(const Expr& expr);
  virtual void arithmetic(const Expr& expr);
  virtual void like(const Expr& expr) = 0;
  /// Writes a value of any type as a text. The engines spell decimals differently, and PostgreSQL
  /// takes no other type where a text is required.
  virtual void textOperand(const Expr& expr, int strength) = 0;
  /// Writes a function. The base class writes those that have the same name and form on both
  /// engines.
  virtual void call(const Expr& expr);
  /// The text has at most `size` characters if one is given.
  virtual void castToText(const Expr& argument, std::optional<int> size) = 0;
  virtual void castToWhole(const Expr& argument) = 0;
  virtual void castToDecimal(const Expr& argument) = 0;
  /// Writes the start or the length of a part of a text.
  virtual void position(const Expr& expr) { expression(expr); }

  /// Counts symbols as open in the engine's parser during its lifetime.
  class OpenSymbols {
   public:
    /// Throws SqlError if the parser's stack would overflow.
    OpenSymbols(ExpressionEmitter& emitter, int symbols);
    ~OpenSymbols() { emitter_.open_ -= symbols_; }
    OpenSymbols(const OpenSymbols&) = delete;
    OpenSymbols& operator=(const OpenSymbols&) = delete;

   private:
    ExpressionEmitter& emitter_;
    int symbols_;
  };

  /// Returns true if a parameter takes the place of the expression.
  bool isBound(const Expr& expr) const { return binds_ && expr.bound; }
  /// Writes a parameter.
  void boundValue(const BoundValue& value);
  void noteFixedTime() { fixedTime_ = true; }

  void name(std::string_view name);
  void quoted(std::string_view text, char quote);
  void expression(const Expr& expr);
  /// Runs `write`, between brackets if `brackets` is true.
  template <typename Write>
  void bracketed(bool brackets, Write write) {
    const OpenSymbols open(*this, brackets ? 1 : 0);
    if (brackets) out_ += '(';
    write();
    if (brackets) out_ += ')';
  }
  /// Writes an expression, in brackets if it binds more loosely than `strength`.
  void operand(const Expr& expr, int strength);
  /// Writes an operand before which `symbols` of the enclosing expression are open.
  void nested(int symbols, const Expr& expr, int strength);
  /// Writes the values from `first` on, separated by commas; `symbols` are open before each.
  void list(const std::vector<ExprPtr>& values, std::size_t first, int symbols);
  /// Writes a comma before every element but the first.
  void separate(std::size_t index);
  void binary(const Expr& expr, std::string_view op, int left, int right);
  void plainCall(std::string_view function, const Expr& expr);
  /// Writes a call whose arguments are all texts.
  void textCall(std::string_view function, const Expr& expr);
  /// Writes a part of a text; `function` ends with its bracket.
  void substringCall(std::string_view function, const Expr& expr);
  /// Writes the argument between two texts; the brackets in `before` count as calls.
  void wrapped(std::string_view before, const Expr& argument, std::string_view after);

  /// Returns true for a LIKE pattern that has sets such as [a-z], or whose value decides that.
  bool mayHaveSets(const Expr& pattern) const;

  static int strengthOf(const Expr& expr);

  const DialectTraits& dialect_;
  const EngineTraits& engine_;
  std::string out_;

 private:
  void condition(const Expr& expr);
  void column(const Expr& expr);
  void chain(const Expr& expr, std::size_t from, std::size_t to);
  void concat(const Expr& expr);
  void in(const Expr& expr);
  void caseOf(const Expr& expr);
  void subselect(const Select& select);
  void count(const Expr& expr);
  void cast(const Expr& expr);

  bool binds_ = false;
  bool fixedTime_ = false;
  std::vector<BoundValue> boundValues_;
  int open_ = 0;
  Position at_;  // of the latest expression, for the refusal of a nesting
};

/// Returns the name of a function that has the same name on both engines.
std::string_view functionText(Function function);

/// Returns true for a literal of at most nine digits without a sign, which fits 32 bits.
bool isShortWhole(const Expr& expr);

}  // namespace qx::sql
