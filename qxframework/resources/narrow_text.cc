#include "qxframework/resources/narrow_text.h"

#include "qxframework/automation/text.h"

#include <cstring>

namespace qx {
namespace {

std::u16string wideText(std::string_view bytes) {
  std::u16string units(bytes.size() / 2 + 1, u'\0');  // an odd last byte gets a zero beside it
  std::memcpy(units.data(), bytes.data(), bytes.size());
  units.resize(std::u16string_view(units.c_str()).size());
  return units;
}

}  // namespace

std::u16string textOfResource(std::string_view bytes) {
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) return wideText(bytes);
  const std::string_view narrow = bytes.substr(0, bytes.find('\0'));
  std::u16string text = toUtf16(narrow);
  if (toUtf8(text) == narrow) return text;  // not so when a malformed sequence was replaced
  text.clear();
  for (const char byte : narrow) text.push_back(static_cast<unsigned char>(byte));
  return text;
}

}  // namespace qx
