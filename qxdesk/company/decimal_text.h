#pragma once

// Exact decimal arithmetic on the shortest decimal form of a double: 1.005 is taken as 1.005 and
// not as the binary number just below it, so that rounding half away from zero returns 1.01.

#include <optional>
#include <string>

namespace qx::desk {

/// A number as decimal digits.
struct DecimalText {
  bool negative = false;
  std::string whole;     // without leading zeros, at least "0"
  std::string fraction;  // as many digits as were requested
};

/// Returns `value` rounded half away from zero to `places` (0 to 20) decimal places; a zero has no
/// sign. Returns nothing for an infinite value or NaN.
std::optional<DecimalText> roundedDecimal(double value, int places);

/// Returns the nearest double.
double doubleOf(const DecimalText& decimal);

}  // namespace qx::desk
