#pragma once

// Random values that are hard to write into the text of a statement. The same seed draws the same
// values again.

#include "qxframework/automation/variant.h"

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>

namespace qx::test {

/// Returns a seed that depends on the medium only: media draw different values, and each draws the
/// same values in every run.
std::uint32_t seedOfMedium();

/// Returns the text as a read returns it: with a quote for each 0x7F, which statements take for
/// one.
std::u16string asReadBack(std::u16string text);
/// Returns the number as a read returns it: rounded to the 15 digits of its literal.
double asReadBack(double number);
/// Returns the literal of a number, which has 15 digits.
std::string asWritten(double number);

/// Draws values. The first draws of each kind are its edge values in a fixed order: every piece of
/// text, the smallest and largest numbers, the null date. Random draws follow.
class HostileValues {
 public:
  /// The number of edge values among texts; every other kind has fewer.
  static constexpr std::size_t kEdgeTexts = 51;

  explicit HostileValues(std::uint32_t seed) : random_(seed) {}

  /// Returns a text of at most `length` UTF-16 units, sometimes empty: pieces of SQL and markup
  /// among characters of all planes. `length` must be at least 8, so that every piece fits.
  std::u16string text(std::size_t length);
  /// Returns any double that a literal can hold: amounts of money, quotients of them with all their
  /// digits, and numbers of every magnitude down to subnormal ones.
  double amount();
  int wholeNumber();
  /// Returns a date with a time in whole seconds; sometimes 0.0, the null date.
  double date();

 private:
  std::u16string character();
  std::u16string piece();
  double money();
  double ofAnySize();
  std::uint32_t below(std::uint32_t bound) { return static_cast<std::uint32_t>(random_() % bound); }

  std::mt19937 random_;
  std::size_t texts_ = 0;
  std::size_t amounts_ = 0;
  std::size_t wholeNumbers_ = 0;
  std::size_t dates_ = 0;
};

}  // namespace qx::test
