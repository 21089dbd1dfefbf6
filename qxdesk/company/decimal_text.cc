#include "qxdesk/company/decimal_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>

namespace qx::desk {

namespace {

// The digits of a number with the decimal point after the first `point` of them. A negative `point`
// or one beyond the last digit means zeros that are not written.
struct Digits {
  std::string text;
  int point = 0;
};

// std::to_chars without a precision writes the fewest digits that read back as the same double.
Digits shortestDigits(double magnitude) {
  std::array<char, 64> buffer{};
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), magnitude,
                                 std::chars_format::scientific)
                       .ptr;
  const std::string form(buffer.data(), end);
  const std::size_t exponentAt = form.find('e');
  Digits digits;
  for (const char c : form.substr(0, exponentAt)) {
    if (c != '.') digits.text += c;
  }
  digits.point = 1 + std::atoi(form.c_str() + exponentAt + 1);
  return digits;
}

// Fills up with zeros so that the point is within the text and `places` + 1 digits follow it: the
// last one decides the rounding.
std::string spread(const Digits& digits, int places, std::size_t& point) {
  std::string text = digits.text;
  int at = digits.point;
  if (at < 1) {
    text.insert(0, static_cast<std::size_t>(1 - at), '0');
    at = 1;
  }
  point = static_cast<std::size_t>(at);
  const std::size_t needed = point + static_cast<std::size_t>(places) + 1;
  if (text.size() < needed) text.append(needed - text.size(), '0');
  return text;
}

// Adds one to the last digit; returns true if the number became one digit longer.
bool increment(std::string& text) {
  for (auto digit = text.rbegin(); digit != text.rend(); ++digit) {
    if (*digit != '9') {
      ++*digit;
      return false;
    }
    *digit = '0';
  }
  text.insert(text.begin(), '1');
  return true;
}

}  // namespace

std::optional<DecimalText> roundedDecimal(double value, int places) {
  if (!std::isfinite(value)) return std::nullopt;
  std::size_t point = 0;
  std::string text = spread(shortestDigits(std::abs(value)), places, point);
  const std::size_t kept = point + static_cast<std::size_t>(places);
  const bool up = text[kept] >= '5';
  text.resize(kept);
  if (up && increment(text)) ++point;

  DecimalText result;
  result.whole = text.substr(0, point);
  result.whole.erase(0, std::min(result.whole.find_first_not_of('0'), result.whole.size() - 1));
  result.fraction = text.substr(point);
  // A negative amount that rounds to zero must not read "-0.00".
  const bool zero = text.find_first_not_of('0') == std::string::npos;
  result.negative = value < 0 && !zero;
  return result;
}

double doubleOf(const DecimalText& decimal) {
  // The last zero keeps a number without places well formed.
  const std::string text = decimal.whole + "." + decimal.fraction + "0";
  double value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return decimal.negative ? -value : value;
}

}  // namespace qx::desk
