#pragma once

// Values that a statement's text could stumble over, by a seed that a failing test can be run with
// again.

#include "qxframework/automation/variant.h"

#include <cstdint>
#include <random>
#include <string>

namespace qx::test {

/// 0x7F counts as a quote in a statement, so that is how it comes back.
std::u16string asReadBack(std::u16string text);
/// A number as a statement spells it: to 15 digits.
double asReadBack(double number);

class HostileValues {
 public:
  explicit HostileValues(std::uint32_t seed) : random_(seed) {}

  /// Of at most `length` units; often short, sometimes empty.
  std::u16string text(std::size_t length);
  /// Any double that a statement can spell: money, quotients of it with all their digits, and
  /// numbers of every size down to those that are not normal.
  double amount();
  int wholeNumber();
  /// To the second; sometimes the date 0.0, which stands for none.
  double date();

 private:
  double money();
  double ofAnySize();
  std::uint32_t below(std::uint32_t bound) { return static_cast<std::uint32_t>(random_() % bound); }

  std::mt19937 random_;
};

}  // namespace qx::test
