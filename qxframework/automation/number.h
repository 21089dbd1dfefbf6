#pragma once

// The number in a value of any kind. Conversions and comparisons between kinds go through Number,
// which is exact for every kind that is exact itself.

#include "qxframework/automation/user_locale.h"
#include "qxframework/automation/variant.h"

#include <optional>
#include <string>
#include <string_view>

namespace qx {

/// A number with the precision of its origin.
struct Number {
  /// Integer and Money are exact: `negative` and `magnitude`, which counts ten-thousandths for
  /// Money. Real has its value in `real` and its sign in `negative`; its magnitude is 0.
  enum class Kind { Integer, Money, Real };

  Kind kind = Kind::Integer;
  bool negative = false;
  std::uint64_t magnitude = 0;
  double real = 0;  // the nearest double, for every kind
  // An Integer that was written by its bits, as "&HFF". It fits every integer kind that has as many
  // bits as its digits need; the other kinds take it as a signed number of 64 bits.
  bool isBits = false;
};

/// Returns the number of bytes of a value of the kind; 0 if the kind is unknown or has no value.
std::size_t sizeOfKind(VARTYPE type);
/// True if this library knows the kind, with or without VT_BYREF. A reference has a kind with a
/// value, so it is neither VT_EMPTY nor VT_NULL.
bool isKnownKind(VARTYPE type);
/// Returns the value itself, or for VT_BYREF the value that it points to. The result borrows texts
/// and objects. Returns nothing for a null pointer or an unknown kind.
std::optional<VARIANT> dereferenced(const VARIANT& value);

Number numberFromSigned(std::int64_t value);
Number numberFromUnsigned(std::uint64_t value);
Number numberFromMoney(CY amount);
Number numberFromReal(double value);
/// Returns the number of an integer, real, money, date or boolean value, and 0 for VT_EMPTY.
/// Returns nothing for the other kinds.
std::optional<Number> numberOf(const VARIANT& value);
/// Reads a number with the signs `signs`; blanks may surround each part. It may have a leading or a
/// trailing sign or brackets for a negative number, a currency sign on either side, groups, a
/// fraction and an exponent. "&H" and "&O" introduce the bits of an integer by hexadecimal or octal
/// digits. A number beyond the range of double, or of 64 bits, is infinite. Returns nothing for any
/// other text.
std::optional<Number> numberFromText(std::u16string_view text, const NumberSigns& signs);

/// Returns the 64 bits of an Integer, in two's complement.
std::uint64_t bitsOf(const Number& number);
/// Return the nearest integer, halves rounded to even; nothing outside `low`..`high`.
std::optional<std::int64_t> toInteger(const Number& number, std::int64_t low, std::int64_t high);
std::optional<std::uint64_t> toUnsigned(const Number& number, std::uint64_t high);
/// Returns the amount, rounded to ten-thousandths with halves to even; nothing if it does not fit.
std::optional<CY> toMoney(const Number& number);

/// Returns -1, 0 or 1 by value. NaN precedes all numbers and equals itself.
int compareNumbers(const Number& a, const Number& b);

/// Returns `value` with at most `digits` significant digits, and with an exponent as in "1E+20"
/// where the C library's %g writes one.
std::u16string textFromReal(double value, int digits, const NumberSigns& signs);
/// Returns the amount with at most four decimals, without trailing zeros.
std::u16string textFromMoney(CY amount, const NumberSigns& signs);

}  // namespace qx
