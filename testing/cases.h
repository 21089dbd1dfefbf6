#pragma once

// The number of cases of a property test: few in the normal run, many in a long one.

#include <charconv>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <system_error>

namespace qx::test {

/// Returns `usual` times the factor in the environment variable QX_TEST_CASES_FACTOR, rounded down,
/// but at least 1; without the variable it returns `usual`. The factor is a decimal number above 0,
/// such as 50 or 0.1. Aborts the test program with a message on the standard error stream if
/// `usual` is 0, or if the variable holds another text or a factor whose product exceeds 10^15.
inline std::size_t cases(std::size_t usual) {
  constexpr const char* kVariable = "QX_TEST_CASES_FACTOR";
  constexpr double kMost = 1e15;  // a double has every whole number up to here
  const char* const value = std::getenv(kVariable);
  const std::string_view text = value == nullptr ? std::string_view("1") : value;

  double factor = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), factor);
  const double product = static_cast<double>(usual) * factor;
  // A NaN fails both comparisons, so an odd factor cannot slip through.
  const bool valid = usual > 0 && error == std::errc{} && end == text.data() + text.size() &&
                     factor > 0 && product <= kMost;
  if (!valid) {
    std::fprintf(
        stderr,
        "%s=\"%.*s\" makes no number of cases out of %zu; set it to a number above 0, such "
        "as 50 or 0.1, or unset it\n",
        kVariable, static_cast<int>(text.size()), text.data(), usual);
    std::abort();
  }
  return product < 1 ? 1 : static_cast<std::size_t>(product);
}

}  // namespace qx::test
