#include "qxframework/resources/narrow_text.h"

#include "qxframework/automation/text.h"
#include "qxframework/automation/utf.h"

#include <cstring>

namespace qx {
namespace {

std::u16string wideText(std::string_view bytes) {
  std::u16string units(bytes.size() / 2 + 1, u'\0');  // completes an odd last byte with a zero
  std::memcpy(units.data(), bytes.data(), bytes.size());
  units.resize(std::u16string_view(units.c_str()).size());
  return units;
}

bool isWellFormedUtf8(std::string_view bytes) {
  for (std::size_t at = 0; at < bytes.size();) {
    const std::optional<CodePoint> point = codePointAt(bytes, at);
    if (!point) return false;
    at += point->length;
  }
  return true;
}

// In ISO-8859-1 a byte is the number of its character.
std::u16string textOfLatin1(std::string_view bytes) {
  std::u16string text;
  text.reserve(bytes.size());
  for (const char byte : bytes) text.push_back(static_cast<unsigned char>(byte));
  return text;
}

}  // namespace

std::u16string textOfResource(std::string_view bytes) {
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) return wideText(bytes);
  const std::string_view narrow = bytes.substr(0, bytes.find('\0'));
  // The encoding declaration is not asked: authors keep the line of a template in files of either
  // encoding. Text of ISO-8859-1 beyond ASCII is hardly ever well-formed UTF-8, so the bytes
  // decide.
  return isWellFormedUtf8(narrow) ? toUtf16(narrow) : textOfLatin1(narrow);
}

}  // namespace qx
