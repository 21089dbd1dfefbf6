#pragma once

// Values that a statement's text could stumble over, by a seed that a failing test can be run with
// again.

#include "qxframework/automation/variant.h"

#include <cstdint>
#include <random>
#include <string>

namespace qx::test {

/// Of the medium, so that the media see different values, the same ones each time they run.
std::uint32_t seedOfMedium();

/// 0x7F counts as a quote in a statement, so that is how it comes back.
std::u16string asReadBack(std::u16string text);
/// A number as a statement spells it: to 15 digits.
double asReadBack(double number);
/// That number as a statement spells it.
std::string asWritten(double number);

class HostileValues {
 public:
  explicit HostileValues(std::uint32_t seed) : random_(seed) {}

  /// Of at most `length` units, sometimes empty: pieces of SQL and markup among characters of all
  /// planes.
  std::u16string text(std::size_t length);
  /// Any double that a statement can spell: money, quotients of it with all their digits, and
  /// numbers of every size down to those that are not normal.
  double amount();
  int wholeNumber();
  /// To the second; sometimes the date 0.0, which stands for none.
  double date();

 private:
  std::u16string character();
  std::u16string piece();
  double money();
  double ofAnySize();
  std::uint32_t below(std::uint32_t bound) { return static_cast<std::uint32_t>(random_() % bound); }

  std::mt19937 random_;
};

}  // namespace qx::test
