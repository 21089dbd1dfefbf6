// The expression half of an emitter: what every engine writes alike. It sets brackets by the
// precedence of the engines' operators, which differ from the dialects' (|| binds tighter than *),
// never by those of the incoming text. What an engine writes in its own way is virtual.
//
// SQLite's parser has a fixed stack of 100 symbols. The emitter counts the symbols that are open
// wherever it writes something nested, and refuses what would not fit.
#pragma once

#include "qxdesk/sql/ast.h"
#include "qxdesk/sql/engine.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx::sql {

// How tightly an expression binds; a larger number binds tighter.
enum Strength {
  kOr = 1,
  kAnd,
  kNot,
  kPredicate,
  kConcat,  // stronger in SQLite, but always bracketed, so that nobody has to know
  kSum,
  kProduct,
  kSign,
  kPrimary,
};

// Open symbols before an argument of a function: its name, "(", DISTINCT, the arguments before,
// ",".
constexpr int kCallSymbols = 5;

class ExpressionEmitter {
 public:
  ExpressionEmitter(const DialectTraits& traits, const EngineTraits& engine)
      : traits_(traits), engine_(engine) {}
  virtual ~ExpressionEmitter() = default;
  ExpressionEmitter(const ExpressionEmitter&) = delete;
  ExpressionEmitter& operator=(const ExpressionEmitter&) = delete;

 protected:
  virtual void selectBody(const Select& select, std::optional<std::int64_t> rowLimit) = 0;
  // Raises SqlError for one beyond the largest double.
  virtual void number(const Expr& expr);
  virtual void date(const Expr& expr);
  virtual void null(const Expr& expr);
  virtual void negate(const Expr& expr);
  virtual void arithmetic(const Expr& expr);
  virtual void like(const Expr& expr) = 0;
  // A value of any type where a text is meant. Engines differ in how they spell decimals, if they
  // take other types there at all.
  virtual void textOperand(const Expr& expr, int strength) = 0;
  // The functions whose name and form the engines share.
  virtual void call(const Expr& expr);

  // So many more symbols are open in the engine's parser while it lives.
  class Open {
   public:
    // Raises SqlError when the stack would not hold them.
    Open(ExpressionEmitter& emitter, int symbols);
    ~Open() { emitter_.open_ -= symbols_; }
    Open(const Open&) = delete;
    Open& operator=(const Open&) = delete;

   private:
    ExpressionEmitter& emitter_;
    int symbols_;
  };

  void name(std::string_view name);
  void quoted(std::string_view text, char quote);
  void expression(const Expr& expr);
  // In brackets when it binds more loosely than `strength`.
  void operand(const Expr& expr, int strength);
  // An operand with so many symbols of its expression open before it.
  void nested(int symbols, const Expr& expr, int strength);
  void list(const std::vector<ExprPtr>& values, std::size_t first, int symbols);
  // A comma before every element but the first.
  void separate(std::size_t index);
  void binary(const Expr& expr, std::string_view op, int left, int right);
  void plainCall(std::string_view function, const Expr& expr);
  // All arguments are texts.
  void textCall(std::string_view function, const Expr& expr);
  // The argument between two texts of which the first ends within the brackets of functions.
  void wrapped(std::string_view before, const Expr& argument, std::string_view after);

  static int strengthOf(const Expr& expr);

  const DialectTraits& traits_;
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

  int open_ = 0;
  Position at_;  // of the expression that was begun last
};

// The name of a function that the engines call alike.
std::string_view functionText(Function function);

// A literal of at most nine digits and no sign.
bool isShortWhole(const Expr& expr);

}  // namespace qx::sql
