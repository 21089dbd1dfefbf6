#pragma once

// Classes of ASCII characters and functions that follow from them, for char, char16_t and char32_t.
// They do not depend on the locale: a digit of another script is not a digit here.

#include <string_view>

namespace qx {

template <class Unit>
constexpr bool isDigit(Unit unit) {
  return unit >= '0' && unit <= '9';
}

template <class Unit>
constexpr bool isLowerLetter(Unit unit) {
  return unit >= 'a' && unit <= 'z';
}

template <class Unit>
constexpr bool isUpperLetter(Unit unit) {
  return unit >= 'A' && unit <= 'Z';
}

template <class Unit>
constexpr bool isLetter(Unit unit) {
  return isLowerLetter(unit) || isUpperLetter(unit);
}

template <class Unit>
constexpr bool isLetterOrDigit(Unit unit) {
  return isLetter(unit) || isDigit(unit);
}

/// True for the blank and for tab, line feed, vertical tab, form feed and carriage return.
template <class Unit>
constexpr bool isSpace(Unit unit) {
  return unit == ' ' || (unit >= '\t' && unit <= '\r');
}

/// Return the letter in the other case; every other character unchanged.
template <class Unit>
constexpr Unit toUpperAscii(Unit unit) {
  return isLowerLetter(unit) ? static_cast<Unit>(unit - 'a' + 'A') : unit;
}

template <class Unit>
constexpr Unit toLowerAscii(Unit unit) {
  return isUpperLetter(unit) ? static_cast<Unit>(unit - 'A' + 'a') : unit;
}

/// Returns the value of a hexadecimal digit in either case, or -1.
template <class Unit>
constexpr int hexDigitValue(Unit unit) {
  if (isDigit(unit)) return static_cast<int>(unit - '0');
  const Unit lower = toLowerAscii(unit);
  return lower >= 'a' && lower <= 'f' ? static_cast<int>(lower - 'a') + 10 : -1;
}

/// Returns `text` without the characters of `blanks` at both ends; empty if it has no others.
constexpr std::string_view trimmed(std::string_view text, std::string_view blanks = " ") {
  const std::size_t first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}
constexpr std::u16string_view trimmed(std::u16string_view text, std::u16string_view blanks = u" ") {
  const std::size_t first = text.find_first_not_of(blanks);
  if (first == std::u16string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

}  // namespace qx
