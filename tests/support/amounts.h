#pragma once

// Amounts as tests and benchmarks see them: by their millionths and as text.

#include "qxframework/automation/text.h"
#include "qxframework/foundation/currency.h"

#include <cstdint>
#include <string>

namespace qx::test {

inline CQXCurrency fromMillionths(std::int64_t millionths) { return CQXCurrency(0, millionths); }

inline std::int64_t millionthsOf(const CQXCurrency& amount) {
  return amount.GetInteger() * 1'000'000 + amount.GetFraction();
}

inline std::string textOf(const CQXCurrency& amount) { return toUtf8(amount.ToString().View()); }

}  // namespace qx::test
