#include "qxframework/automation/decimal_number.h"

#include "qxframework/automation/ascii.h"

#include <cstdint>

namespace qx {
namespace {

// The digits of 2^31. Ten digits cannot overflow the 64 bits of a long either.
constexpr std::size_t kMostDigits = 10;

}  // namespace

std::optional<long> decimalNumber(std::u16string_view text) {
  const bool negative = text.starts_with(u'-');
  if (negative || text.starts_with(u'+')) text.remove_prefix(1);
  if (text.empty() || text.size() > kMostDigits) return std::nullopt;
  long value = 0;
  for (const char16_t unit : text) {
    if (!isDigit(unit)) return std::nullopt;
    value = value * 10 + (unit - u'0');
  }
  if (negative) value = -value;
  if (value != static_cast<std::int32_t>(value)) return std::nullopt;
  return value;
}

}  // namespace qx
