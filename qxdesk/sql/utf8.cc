#include "qxdesk/sql/utf8.h"

namespace qx::sql {
namespace {

std::size_t sequenceLength(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 0;
}

bool isShortestForm(char32_t value, std::size_t length) {
  if (length == 3) return value >= 0x800 && (value < 0xD800 || value > 0xDFFF);
  if (length == 4) return value >= 0x10000 && value <= 0x10FFFF;
  return true;
}

}  // namespace

std::optional<Utf8Character> readUtf8(std::string_view text, std::size_t offset) {
  if (offset >= text.size()) return std::nullopt;
  const auto lead = static_cast<unsigned char>(text[offset]);
  const std::size_t length = sequenceLength(lead);
  if (length == 0 || offset + length > text.size()) return std::nullopt;
  if (length == 1) return Utf8Character{lead, 1};
  char32_t value = lead & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    const auto next = static_cast<unsigned char>(text[offset + i]);
    if ((next & 0xC0U) != 0x80U) return std::nullopt;
    value = (value << 6U) | (next & 0x3FU);
  }
  if (!isShortestForm(value, length)) return std::nullopt;
  return Utf8Character{value, length};
}

void appendUtf8(std::string& text, char32_t character) {
  const auto follow = [&](unsigned shift) {
    text += static_cast<char>(0x80U | ((character >> shift) & 0x3FU));
  };
  if (character < 0x80) {
    text += static_cast<char>(character);
  } else if (character < 0x800) {
    text += static_cast<char>(0xC0U | (character >> 6U));
    follow(0);
  } else if (character < 0x10000) {
    text += static_cast<char>(0xE0U | (character >> 12U));
    follow(6);
    follow(0);
  } else {
    text += static_cast<char>(0xF0U | (character >> 18U));
    follow(12);
    follow(6);
    follow(0);
  }
}

}  // namespace qx::sql
