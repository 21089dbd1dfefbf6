#pragma once

// Exact decimal arithmetic on the shortest decimal form of a double: 1.005 is 1.005 and not the
// binary number just below it, so that rounding half away from zero gives 1.01.

#include <optional>
#include <string>

namespace qx::desk {

/// A number as decimal digits.
struct DecimalText {
  bool negative = false;
  std::string whole;     // without leading zeros, at least "0"
  std::string fraction;  // as many digits as were asked for
};

/// `value` rounded half away from zero to `places` (0 to 20) places; a zero has no sign. Nothing
/// for an infinite value or one that is no number.
std::optional<DecimalText> roundedDecimal(double value, int places);

/// The double nearest to that.
double doubleOf(const DecimalText& decimal);

}  // namespace qx::desk
