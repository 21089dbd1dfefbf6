#pragma once

// Function calls and everything that takes words of its own in place of arguments: a type, a date
// part, DISTINCT, *, and the current moment, which some dialects write without brackets.
//
//   call     := COUNT ( * | [DISTINCT] value )
//             | DATEADD ( part , value , value ) | ADDDATE ( value , value )
//             | DATEDIFF ( part , value , value )
//             | CAST ( value AS type )
//             | CONVERT ( type , value [, style] )
//             | function ( [value {, value}] )
//   moment   := CURRENT TIMESTAMP | CURRENT DATE | CURRENT_TIMESTAMP | CURRENT_DATE
//   duration := value (+ | -) value unit
//   type     := word [( length [, scale] )]
//
// Results are Call nodes that name the function by its meaning (Function), with the arguments in
// one order for all dialects: AddTime has the date first and the amount second. A conversion of a
// literal to a date is done here, so that its place is known if the text is no date.

#include "qxdesk/sql/parser_context.h"

#include <optional>
#include <string_view>

namespace qx::sql {

class FunctionParser {
 public:
  /// Both must outlive the parser.
  FunctionParser(ParserContext& context, EnclosingGrammar& grammar)
      : context_(context), tokens_(context.tokens), grammar_(grammar) {}

  /// Parses a call, whose name and opening bracket are next. Throws SqlError for a function that
  /// the dialect lacks and for wrong arguments.
  ExprPtr call();

  /// True if a word for the current time or date is next, of any dialect.
  bool isMomentNext() const;
  /// Parses the current time or date. Throws SqlError for the form of another dialect.
  ExprPtr moment();

  /// True if a unit of time is next that makes the value before it a duration.
  bool isDurationUnitNext() const;
  /// Parses the unit of `left op amount UNIT` and returns the moved date. `op` is + or -.
  ExprPtr duration(const Token& op, ExprPtr left, ExprPtr amount);

 private:
  ExprPtr arguments(Position at, const FunctionRule& rule, std::string_view name);
  ExprPtr countCall(Position at);
  ExprPtr dateAddCall(Position at);
  ExprPtr dateDiffCall(Position at);
  ExprPtr castCall(Position at);
  ExprPtr convertCall(Position at);
  ExprPtr plainCall(Position at, const FunctionRule& rule, std::string_view name);
  ExprPtr makeCall(Function function, Position at) const;
  std::optional<TimeUnit> timeUnit(const Token& token) const;
  TimeUnit datePart();
  void dayPart();
  bool isDayAbbreviated() const;
  CastTarget castTarget();

  ParserContext& context_;
  TokenCursor& tokens_;
  EnclosingGrammar& grammar_;
};

}  // namespace qx::sql
