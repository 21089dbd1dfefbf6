#include "qxframework/automation/guid.h"

#include "qxframework/automation/ascii.h"

namespace qx {
namespace {

// Each # is a hexadecimal digit. Reading and writing both follow this shape.
constexpr std::u16string_view kShape = u"{########-####-####-####-############}";

}  // namespace

std::u16string guidText(const GUID& guid) {
  constexpr char16_t kDigits[] = u"0123456789ABCDEF";
  // The text has the bytes of the first three fields from the highest to the lowest.
  std::uint8_t bytes[16];
  for (int i = 0; i < 4; ++i) bytes[i] = static_cast<std::uint8_t>(guid.Data1 >> (24 - 8 * i));
  bytes[4] = static_cast<std::uint8_t>(guid.Data2 >> 8);
  bytes[5] = static_cast<std::uint8_t>(guid.Data2);
  bytes[6] = static_cast<std::uint8_t>(guid.Data3 >> 8);
  bytes[7] = static_cast<std::uint8_t>(guid.Data3);
  for (int i = 0; i < 8; ++i) bytes[8 + i] = guid.Data4[i];
  std::u16string text;
  std::size_t digit = 0;
  for (const char16_t unit : kShape) {
    if (unit != u'#') {
      text.push_back(unit);
    } else {
      const std::uint8_t byte = bytes[digit / 2];
      text.push_back(kDigits[digit % 2 == 0 ? byte >> 4 : byte & 15]);
      ++digit;
    }
  }
  return text;
}

std::optional<GUID> guidFromText(std::u16string_view text) {
  if (text.size() != kShape.size()) return std::nullopt;
  std::uint8_t bytes[16] = {};
  std::size_t digit = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (kShape[i] != u'#') {
      if (text[i] != kShape[i]) return std::nullopt;
      continue;
    }
    const int value = hexDigitValue(text[i]);
    if (value < 0) return std::nullopt;
    bytes[digit / 2] = static_cast<std::uint8_t>(bytes[digit / 2] * 16 + value);
    ++digit;
  }
  GUID guid{};
  for (int i = 0; i < 4; ++i) guid.Data1 = guid.Data1 << 8 | bytes[i];
  guid.Data2 = static_cast<std::uint16_t>(bytes[4] << 8 | bytes[5]);
  guid.Data3 = static_cast<std::uint16_t>(bytes[6] << 8 | bytes[7]);
  for (int i = 0; i < 8; ++i) guid.Data4[i] = bytes[8 + i];
  return guid;
}

}  // namespace qx
