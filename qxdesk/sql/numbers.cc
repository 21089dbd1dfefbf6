#include "qxdesk/sql/numbers.h"

#include "qxframework/automation/ascii.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

namespace qx::sql {
namespace {

// A number as digits, of which the first and the last are not 0, times a power of ten.
struct Decimal {
  std::string digits;  // empty for zero
  std::int64_t exponent = 0;

  // The exponent of the power of ten just above the number.
  std::int64_t magnitude() const { return exponent + static_cast<std::int64_t>(digits.size()); }
};

// Far beyond any double, and far enough from overflow to count digits up or down from it.
constexpr std::int64_t kFarExponent = 1'000'000'000;

std::int64_t exponentOf(std::string_view text) {
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  // An exponent may be written with any number of digits; the value is 0 or out of range then.
  if (error == std::errc::result_out_of_range) value = kFarExponent;
  value = std::min(value, kFarExponent);
  return negative ? -value : value;
}

Decimal decimalOf(std::string_view number) {
  Decimal decimal;
  const std::size_t mark = number.find_first_of("eE");
  if (mark != std::string_view::npos) decimal.exponent = exponentOf(number.substr(mark + 1));
  bool fraction = false;
  for (const char c : number.substr(0, mark)) {
    if (c == '.') {
      fraction = true;
      continue;
    }
    if (c != '0' || !decimal.digits.empty()) decimal.digits += c;
    if (fraction) --decimal.exponent;
  }
  while (decimal.digits.ends_with('0')) {
    decimal.digits.pop_back();
    ++decimal.exponent;
  }
  return decimal;
}

// 2^63 itself counts, since a sign makes it the lowest number of 64 bits. As a positive literal it
// becomes a double in SQLite, which holds it exactly.
bool isWholeOf64Bits(std::string_view number) {
  std::uint64_t value = 0;
  const char* end = number.data() + number.size();
  const auto read = std::from_chars(number.data(), end, value);
  return read.ec == std::errc() && read.ptr == end && value <= std::uint64_t{1} << 63;
}

}  // namespace

bool isWholeNumber(std::string_view number) {
  return std::all_of(number.begin(), number.end(), isDigit<char>);
}

std::optional<double> nearestDouble(std::string_view number) {
  double value = 0;
  const char* end = number.data() + number.size();
  const auto read = std::from_chars(number.data(), end, value);
  if (read.ec == std::errc() && read.ptr == end) return value;
  // from_chars reports the same error for too large and too small a number.
  return decimalOf(number).magnitude() > 0 ? std::nullopt : std::optional(0.0);
}

bool readsExactly(std::string_view number) {
  if (isWholeOf64Bits(number)) return true;
  constexpr std::size_t kMaxDigits = 18;  // every number of so many digits fits 64 bits
  constexpr std::int64_t kMaxPower = 27;  // 10^27 is the last power exact in a long double
  const Decimal decimal = decimalOf(number);
  if (decimal.digits.empty()) return true;
  if (decimal.digits.size() > kMaxDigits || std::abs(decimal.exponent) > kMaxPower) return false;
  std::int64_t digits = 0;
  std::from_chars(decimal.digits.data(), decimal.digits.data() + decimal.digits.size(), digits);
  long double power = 1;
  for (std::int64_t i = std::abs(decimal.exponent); i > 0; --i) power *= 10;
  const long double value = decimal.exponent < 0 ? static_cast<long double>(digits) / power
                                                 : static_cast<long double>(digits) * power;
  // Digits and power are exact up to here, so that the division or multiplication errs by one
  // rounding at most. SQLite's own steps may err by some more: if a few roundings to either side
  // lead to the same double, that double is certain.
  const long double room = value * (4 * std::numeric_limits<long double>::epsilon());
  const std::optional<double> nearest = nearestDouble(number);
  return static_cast<double>(value - room) == nearest &&
         static_cast<double>(value + room) == nearest;
}

std::string plainText(double value) {
  constexpr int kCertain = 15;
  std::array<char, 32> form{};
  const auto end = std::to_chars(form.data(), form.data() + form.size(), std::abs(value),
                                 std::chars_format::scientific, kCertain - 1)
                       .ptr;
  const Decimal decimal = decimalOf({form.data(), static_cast<std::size_t>(end - form.data())});
  if (decimal.digits.empty()) return "0";
  // The point is set by hand: std::chars_format::fixed counts digits after the point instead of
  // certain ones, and would write all digits of a large number.
  std::string text = decimal.digits;
  if (decimal.exponent >= 0) {
    text.append(static_cast<std::size_t>(decimal.exponent), '0');
  } else if (decimal.magnitude() > 0) {
    text.insert(static_cast<std::size_t>(decimal.magnitude()), 1, '.');
  } else {
    text.insert(0, "0." + std::string(static_cast<std::size_t>(-decimal.magnitude()), '0'));
  }
  return value < 0 ? "-" + text : text;
}

}  // namespace qx::sql
