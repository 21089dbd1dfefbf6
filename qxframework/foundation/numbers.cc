#include "qxframework/foundation/numbers.h"

#include <algorithm>
#include <limits>

namespace qx {
namespace {

bool isSpace(char16_t unit) { return unit == u' ' || (unit >= u'\t' && unit <= u'\r'); }

int digitValue(char16_t unit) {
  if (unit >= u'0' && unit <= u'9') return unit - u'0';
  if (unit >= u'a' && unit <= u'z') return unit - u'a' + 10;
  if (unit >= u'A' && unit <= u'Z') return unit - u'A' + 10;
  return std::numeric_limits<int>::max();
}

bool hasHexPrefix(std::u16string_view text) {
  return text.size() > 2 && text[0] == u'0' && (text[1] == u'x' || text[1] == u'X') &&
         digitValue(text[2]) < 16;
}

}  // namespace

long leadingNumber(std::u16string_view text, int base) {
  while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
  const bool negative = text.starts_with(u'-');
  if (negative || text.starts_with(u'+')) text.remove_prefix(1);
  if (base == 16 && hasHexPrefix(text)) text.remove_prefix(2);
  constexpr long kLargest = std::numeric_limits<std::int32_t>::max();
  const long limit = negative ? kLargest + 1 : kLargest;
  long number = 0;
  for (const char16_t unit : text) {
    const int digit = digitValue(unit);
    if (digit >= base) break;
    number = std::min(number * base + digit, limit);
  }
  return negative ? -number : number;
}

}  // namespace qx
