#include "qxframework/foundation/numbers.h"

#include <limits>

namespace qx {
namespace {

bool isSpace(char16_t unit) { return unit == u' ' || (unit >= u'\t' && unit <= u'\r'); }

unsigned digitValue(char16_t unit) {
  if (unit >= u'0' && unit <= u'9') return static_cast<unsigned>(unit - u'0');
  if (unit >= u'a' && unit <= u'z') return static_cast<unsigned>(unit - u'a' + 10);
  if (unit >= u'A' && unit <= u'Z') return static_cast<unsigned>(unit - u'A' + 10);
  return std::numeric_limits<unsigned>::max();
}

bool hasHexPrefix(std::u16string_view text) {
  return text.size() > 2 && text[0] == u'0' && (text[1] == u'x' || text[1] == u'X') &&
         digitValue(text[2]) < 16;
}

// The magnitude may be one larger than `largest` for a negative number.
std::int64_t readNumber(std::u16string_view text, unsigned base, std::uint64_t largest) {
  while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
  const bool negative = text.starts_with(u'-');
  if (negative || text.starts_with(u'+')) text.remove_prefix(1);
  if (base == 16 && hasHexPrefix(text)) text.remove_prefix(2);
  const std::uint64_t limit = negative ? largest + 1 : largest;
  std::uint64_t number = 0;
  for (const char16_t unit : text) {
    const unsigned digit = digitValue(unit);
    if (digit >= base) break;
    if (number > (limit - digit) / base) {
      number = limit;
      break;
    }
    number = number * base + digit;
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
