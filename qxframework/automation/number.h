#pragma once

// The number that a value of any kind stands for, exact where the kind is: what conversions and
// comparisons between kinds go through.

#include "qxframework/automation/user_locale.h"
#include "qxframework/automation/variant.h"

#include <optional>
#include <string>
#include <string_view>

namespace qx {

struct Number {
  /// Integer and Money are exact: sign and magnitude, Money in ten-thousandths.
  enum class Kind { Integer, Money, Real };

  Kind kind = Kind::Integer;
  bool negative = false;
  std::uint64_t magnitude = 0;
  double real = 0;  // the nearest double, for every kind
};

/// The value itself, or the one that a VT_BYREF value points at, borrowed either way; nothing for a
/// null pointer or a kind that is not known.
std::optional<VARIANT> valueBehind(const VARIANT& value);

Number numberFromSigned(std::int64_t value);
Number numberFromUnsigned(std::uint64_t value);
Number numberFromMoney(CY amount);
Number numberFromReal(double value);
/// The number of an integer, real, money, date or boolean value; 0 for VT_EMPTY, nothing for the
/// other kinds.
std::optional<Number> numberOf(const VARIANT& value);
/// Reads a number with the locale's signs between blanks: a sign in front or behind or brackets for
/// a negative one, groups, a fraction, an exponent. One that is too large reads as infinite.
std::optional<Number> numberFromText(std::u16string_view text, NumberSigns signs);

/// The nearest integer, of two the even one; nothing outside `low`..`high`.
std::optional<std::int64_t> toInteger(const Number& number, std::int64_t low, std::int64_t high);
std::optional<std::uint64_t> toUnsigned(const Number& number, std::uint64_t high);
std::optional<CY> toMoney(const Number& number);

/// -1, 0 or 1 by value. What is not a number comes before all numbers and equals itself.
int compareNumbers(const Number& a, const Number& b);

/// `digits` significant digits at most, with an exponent like "1E+20" where that is shorter.
std::u16string textFromReal(double value, int digits, NumberSigns signs);
/// At most four decimals, no zeros at the end.
std::u16string textFromMoney(CY amount, NumberSigns signs);

}  // namespace qx
