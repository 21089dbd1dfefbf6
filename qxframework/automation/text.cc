#include "qxframework/automation/text.h"

#include "qxframework/automation/ascii.h"

#include <unicode/uchar.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <optional>
#include <type_traits>

namespace qx {
namespace {

// Most texts are ASCII; ICU takes several times as long for them.
template <class Unit>
bool isAscii(std::basic_string_view<Unit> text) {
  return std::all_of(text.begin(), text.end(), [](Unit unit) {
    return static_cast<std::make_unsigned_t<Unit>>(unit) < 0x80;
  });
}

std::u16string mapAscii(std::u16string_view text, char16_t (*map)(char16_t)) {
  std::u16string out(text);
  std::transform(out.begin(), out.end(), out.begin(), map);
  return out;
}

using CaseMap = int32_t (*)(UChar*, int32_t, const UChar*, int32_t, const char*, UErrorCode*);

std::u16string mapCase(CaseMap map, std::u16string_view text) {
  std::u16string out(text.size() * 3, u'\0');  // no mapping makes more than three units of one
  UErrorCode status = U_ZERO_ERROR;
  const int32_t length = map(out.data(), static_cast<int32_t>(out.size()), text.data(),
                             static_cast<int32_t>(text.size()), "", &status);
  out.resize(U_SUCCESS(status) ? static_cast<std::size_t>(length) : 0);
  return out;
}

// Returns the result for texts that ASCII characters decide, as they do for nearly all names;
// nothing if another character is reached first.
std::optional<bool> equalsAsAscii(std::u16string_view a, std::u16string_view b) {
  const std::size_t common = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < common; ++i) {
    if (a[i] >= 0x80 || b[i] >= 0x80) return std::nullopt;
    if (toLowerAscii(a[i]) != toLowerAscii(b[i])) return false;
  }
  // No character is folded to nothing, so that the longer text differs.
  return a.size() == b.size();
}

}  // namespace

// The macros are used here and not the functions of utf.h, which are calls for each code point:
// this loop converts every text on its way to a database, a file or a log.
std::string toUtf8(std::u16string_view text) {
  std::string out(text.size(), '\0');
  if (isAscii(text)) {
    std::transform(text.begin(), text.end(), out.begin(),
                   [](char16_t unit) { return static_cast<char>(unit); });
    return out;
  }
  out.clear();
  for (std::size_t i = 0; i < text.size();) {
    UChar32 point = 0;
    U16_NEXT_OR_FFFD(text.data(), i, text.size(), point);
    char buffer[U8_MAX_LENGTH];
    int32_t length = 0;
    U8_APPEND_UNSAFE(buffer, length, point);
    out.append(buffer, static_cast<std::size_t>(length));
  }
  return out;
}

std::u16string toUtf16(std::string_view text) {
  if (isAscii(text)) return {text.begin(), text.end()};
  std::u16string out(text.size(), u'\0');  // a sequence never has more units than bytes
  int32_t length = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strFromUTF8WithSub(out.data(), static_cast<int32_t>(out.size()), &length, text.data(),
                       static_cast<int32_t>(text.size()), 0xFFFD, nullptr, &status);
  out.resize(static_cast<std::size_t>(length));
  return out;
}

// The locale "" is the root locale: names must not depend on the user's language, as the Turkish i
// does.
std::u16string toLower(std::u16string_view text) {
  if (isAscii(text)) return mapAscii(text, toLowerAscii<char16_t>);
  return mapCase(u_strToLower, text);
}

std::u16string toUpper(std::u16string_view text) {
  if (isAscii(text)) return mapAscii(text, toUpperAscii<char16_t>);
  return mapCase(u_strToUpper, text);
}

std::u16string toUpperByUnit(std::u16string_view text) {
  std::u16string upper(text);
  // The simple mapping of one code point. Half of a pair has no mapping, so pairs stay as they are.
  for (char16_t& unit : upper) unit = static_cast<char16_t>(u_toupper(unit));
  return upper;
}

int compareIgnoreCase(std::u16string_view a, std::u16string_view b) {
  // ICU refuses a null pointer even with a length of 0, and its result is then 0, as for equal
  // texts.
  const auto unitsOf = [](std::u16string_view text) {
    return text.data() == nullptr ? u"" : text.data();
  };
  UErrorCode status = U_ZERO_ERROR;
  return u_strCaseCompare(unitsOf(a), static_cast<int32_t>(a.size()), unitsOf(b),
                          static_cast<int32_t>(b.size()), U_FOLD_CASE_DEFAULT, &status);
}

bool equalsIgnoreCase(std::u16string_view a, std::u16string_view b) {
  if (const auto equal = equalsAsAscii(a, b)) return *equal;
  return compareIgnoreCase(a, b) == 0;
}

}  // namespace qx
