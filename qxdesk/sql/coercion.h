#pragma once

// Conversion of values of a syntax tree to one type where they meet. Engines differ in what they
// convert by themselves, so nothing is left to them. The dialects rank the types: beside a date a
// text becomes a date, beside a number it becomes a number. A literal is converted here, or refused
// with its place; any other text is converted when the statement runs, which fails for a text that
// spells no such value. A number and a date never meet. A value of unknown type is never changed.

#include "qxdesk/sql/ast.h"

#include <string_view>
#include <vector>

namespace qx::sql {

/// True for a number, a text, a date or NULL, and for a number with signs.
bool isLiteral(const Expr& expr);

/// True for digits with an optional sign, point and exponent, and blanks around them.
bool spellsNumber(std::string_view text);

/// True for digits with an optional sign, and blanks around them.
bool spellsWholeNumber(std::string_view text);

/// Returns the words of a refusal: the text is no number, or a number but not a whole one.
std::string notTheNumber(std::string_view text);

/// Gives a NULL that has no type yet the type of the value in whose place it is.
void typeNull(Expr& value, ColumnType type);

/// Wraps `value` in a CAST to `type`.
void castTo(ColumnType type, ExprPtr& value);

/// Makes a date of a text; a literal gets the stored form. Throws SqlError for a literal that is no
/// date.
void toDate(ExprPtr& value);

/// Makes a number of a text that meets one of `type`. Beside a whole number the text has to be
/// whole, too, in a dialect with DialectTraits::wholeTexts; the others take any number. Throws
/// SqlError for a literal that is no such number, with `hint` behind its words.
void toNumber(const DialectTraits& dialect, ColumnType type, ExprPtr& text,
              std::string_view hint = {});

/// Brings values that meet to one type: compared, or as results of which one is chosen. Throws
/// SqlError for a literal that cannot take the type, and if a number meets a date.
void bringTogether(const DialectTraits& dialect, const std::vector<ExprPtr*>& values);

/// Brings a value and the rows of the subquery with which it is compared to one type, as
/// bringTogether() does.
void bringToRows(const DialectTraits& dialect, ExprPtr& value, Select& rows);

/// Gives a value the type of the one that it stands in for: a text becomes a number or a date, a
/// number or a date a text, and a decimal loses its fraction beside a whole number. Throws SqlError
/// like bringTogether().
void follow(const DialectTraits& dialect, ColumnType type, ExprPtr& value);

/// Makes of the value one that `column`, which has this type, takes. Throws SqlError for a literal
/// that it does not take, for a date in a column of numbers and for a number in one of dates.
void assignTo(const DialectTraits& dialect, std::string_view column, ColumnType type,
              ExprPtr& value);

/// Makes a number of a literal text. Throws SqlError for any other text and for a date, saying that
/// `what` takes numbers.
void requireNumber(ExprPtr& value, std::string_view what);

/// Makes a date of a text. Throws SqlError for a number and for a literal that is no date.
void requireDate(ExprPtr& value);

}  // namespace qx::sql
