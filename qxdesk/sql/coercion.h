#pragma once

// Conversion of values of a syntax tree to one type where they meet. Engines differ in what they
// convert by themselves, so nothing is left to them: a literal is written as the type that it has
// to have, other texts are converted where that is safe, and the rest is refused. A value of
// unknown type is never changed.

#include "qxdesk/sql/ast.h"

#include <string_view>
#include <vector>

namespace qx::sql {

/// True for a number, a text, a date or NULL, and for a number with signs.
bool isLiteral(const Expr& expr);

/// True for digits with an optional sign, point and exponent, and blanks around them.
bool spellsNumber(std::string_view text);

/// Gives a NULL that has no type yet the type of the value in whose place it is.
void typeNull(Expr& value, ColumnType type);

/// Wraps `value` in a CAST to `type`.
void castTo(ColumnType type, ExprPtr& value);

/// Makes a date of a text; a literal gets the stored form. Throws SqlError for a literal that is no
/// date.
void toDate(ExprPtr& value);

/// The ways in which values meet: compared for equality, compared by order, or as results of which
/// one is chosen.
enum class Meeting { Equal, Ordered, Choice };

/// Brings values that meet to one type. Beside a date, texts become dates. Of numbers and texts,
/// the literals follow the others: a text becomes a number, a whole number a text (not where the
/// order counts, since '10' < '9'). Throws SqlError for a text that has no such form, and if values
/// of both kinds are no literals.
void bringTogether(const std::vector<ExprPtr*>& values, Meeting meeting);

/// Brings a value and the rows of the subquery with which it is compared to one type: texts become
/// dates on either side. Throws SqlError if a number meets another kind.
void bringToRows(ExprPtr& value, Select& rows);

/// Makes of the value one that `column`, which has this type, takes. Throws SqlError for a literal
/// that it does not take.
void assignTo(std::string_view column, ColumnType type, ExprPtr& value);

/// Makes a number of a literal text. Throws SqlError for any other text and for a date, saying that
/// `what` takes numbers.
void requireNumber(ExprPtr& value, std::string_view what);

/// Makes a date of a text. Throws SqlError for a number and for a literal that is no date.
void requireDate(ExprPtr& value);

}  // namespace qx::sql
