#include "qxframework/foundation/numbers.h"

#include "qxframework/automation/ascii.h"

#include <limits>

namespace qx {
namespace {

// The magnitude of a negative number may exceed `largest` by one.
std::int64_t readNumber(std::u16string_view text, unsigned base, std::uint64_t largest) {
  while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
  const bool negative = text.starts_with(u'-');
  if (negative || text.starts_with(u'+')) text.remove_prefix(1);
  // A prefix without a digit after it may be skipped as well: the result is 0 either way.
  if (base == 16 && (text.starts_with(u"0x") || text.starts_with(u"0X"))) text.remove_prefix(2);
  const std::uint64_t limit = negative ? largest + 1 : largest;
  std::uint64_t number = 0;
  for (const char16_t unit : text) {
    const int digit = hexDigitValue(unit);
    if (digit < 0 || static_cast<unsigned>(digit) >= base) break;
    // Tested before the step: the product itself could overflow.
    if (number > (limit - static_cast<unsigned>(digit)) / base) {
      number = limit;
      break;
    }
    number = number * base + static_cast<unsigned>(digit);
  }
  return static_cast<std::int64_t>(negative ? 0 - number : number);
}

}  // namespace

long leadingNumber(std::u16string_view text, int base) {
  return readNumber(text, static_cast<unsigned>(base), std::numeric_limits<std::int32_t>::max());
}

std::int64_t leadingNumber64(std::u16string_view text) {
  return readNumber(text, 10, std::numeric_limits<std::int64_t>::max());
}

}  // namespace qx
