// Bringing values of a syntax tree to one type where they meet. Engines differ in what they convert
// by themselves, so nothing is left to them: a literal is written as what it has to be, other texts
// are converted where that is safe, and the rest is refused. What has no known type stays as it is.
#pragma once

#include "qxdesk/sql/ast.h"

#include <string_view>
#include <vector>

namespace qx::sql {

bool isLiteral(const Expr& expr);

// True for digits with a sign, a point and an exponent as may be, and blanks around them.
bool spellsNumber(std::string_view text);

// NULL, which has no type by itself, takes the place of a value of this one.
void typeNull(Expr& value, ColumnType type);

void castTo(ColumnType type, ExprPtr& value);

// A text becomes a date; a literal of the stored form. Raises SqlError for a literal that is none.
void toDate(ExprPtr& value);

// How values meet: compared for equality, compared by order, or as results to choose from.
enum class Meeting { Equal, Ordered, Choice };

// Dates and texts become dates. Of numbers and texts the literals follow the others: a text becomes
// a number, a whole number a text (not where the order counts, since '10' < '9'). Raises SqlError
// for texts that do not read so, and for values of both kinds that are no literals.
void bringTogether(const std::vector<ExprPtr*>& values, Meeting meeting);

// Dates and texts become dates where a value is tested against the rows of a subquery. Raises
// SqlError when the two are of different kinds.
void bringToRows(ExprPtr& value, Select& rows);

// Makes the value one that `column`, which is of this type, takes. Raises SqlError for a literal
// that it does not take.
void assignTo(std::string_view column, ColumnType type, ExprPtr& value);

// A literal text becomes a number; any other text is refused, since `what` takes numbers.
void requireNumber(ExprPtr& value, std::string_view what);

// A text becomes a date. Raises SqlError for a number and for a literal that is no date.
void requireDate(ExprPtr& value);

}  // namespace qx::sql
