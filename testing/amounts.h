#pragma once

// Conversions between amounts, their millionths and their texts.

#include "qxframework/automation/text.h"
#include "qxframework/foundation/currency.h"

#include <cstdint>
#include <string>

namespace qx::test {

inline CQXCurrency fromMillionths(std::int64_t millionths) { return CQXCurrency(0, millionths); }

inline std::int64_t millionthsOf(const CQXCurrency& amount) {
  return amount.GetInteger() * 1'000'000 + amount.GetFraction();
}

/// Sets the decimal places of rounding while it lives.
class DefaultDecimal {
 public:
  explicit DefaultDecimal(int places) : before_(CQXCurrency::m_DefaultDecimal) {
    CQXCurrency::m_DefaultDecimal = places;
  }
  ~DefaultDecimal() { CQXCurrency::m_DefaultDecimal = before_; }
  DefaultDecimal(const DefaultDecimal&) = delete;
  DefaultDecimal& operator=(const DefaultDecimal&) = delete;

 private:
  int before_;
};

inline std::string textOf(const CQXCurrency& amount) { return toUtf8(amount.ToString().View()); }

}  // namespace qx::test
