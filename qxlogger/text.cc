#include "qxlogger/text.h"

#include <fmt/format.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/ustring.h>

#include <cstddef>
#include <cstdint>

namespace qx::logger {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool isLead(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
bool isTrail(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }

// The code point that begins at `at`, which moves behind it.
char32_t nextCodePoint(std::u16string_view text, std::size_t& at) {
  const char16_t unit = text[at++];
  if (!isLead(unit) && !isTrail(unit)) return unit;
  if (isTrail(unit) || at == text.size() || !isTrail(text[at])) return kReplacement;
  const char32_t high = unit - 0xD800U;
  const char32_t low = text[at++] - 0xDC00U;
  return 0x10000 + (high << 10) + low;
}

void appendUtf8(std::string& out, char32_t c) {
  const auto tail = [c](unsigned shift) { return static_cast<char>(0x80 | ((c >> shift) & 0x3F)); };
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += {static_cast<char>(0xC0 | (c >> 6)), tail(0)};
  } else if (c < 0x10000) {
    out += {static_cast<char>(0xE0 | (c >> 12)), tail(6), tail(0)};
  } else {
    out += {static_cast<char>(0xF0 | (c >> 18)), tail(12), tail(6), tail(0)};
  }
}

// Printable ASCII but the backslash: what needs no work.
bool isPlain(char16_t unit) { return unit >= 0x20 && unit < 0x7F && unit != u'\\'; }

bool breaksLine(char32_t c) {
  return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x2028 || c == 0x2029;
}

void appendOne(std::string& out, char32_t c) {
  switch (c) {
    case U'\n':
      out += "\\n";
      return;
    case U'\r':
      out += "\\r";
      return;
    case U'\t':
      out += "\\t";
      return;
    case U'\\':
      out += "\\\\";
      return;
    default:
      break;
  }
  if (breaksLine(c)) {
    out += fmt::format("\\u{:04x}", static_cast<std::uint32_t>(c));
  } else {
    appendUtf8(out, c);
  }
}

std::size_t appendPlainRun(std::string& out, std::u16string_view text, std::size_t at) {
  std::size_t end = at;
  while (end < text.size() && isPlain(text[end])) ++end;
  const std::size_t before = out.size();
  out.resize(before + (end - at));
  char* target = out.data() + before;
  for (std::size_t i = at; i < end; ++i) *target++ = static_cast<char>(text[i]);
  return end;
}

}  // namespace

std::string toUtf8(std::u16string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) appendUtf8(result, nextCodePoint(text, at));
  return result;
}

std::u16string toUtf16(std::string_view text) {
  const auto converted =
      icu::UnicodeString::fromUTF8({text.data(), static_cast<std::int32_t>(text.size())});
  return {converted.getBuffer(), static_cast<std::size_t>(converted.length())};
}

void appendEscaped(std::string& out, std::u16string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    at = appendPlainRun(out, text, at);
    if (at < text.size()) appendOne(out, nextCodePoint(text, at));
  }
}

std::u16string_view withoutLineEnds(std::u16string_view text) {
  return text.substr(0, text.find_last_not_of(u"\r\n") + 1);
}

bool equalIgnoringCase(std::u16string_view left, std::u16string_view right) {
  if (left.empty() || right.empty()) return left.empty() && right.empty();
  UErrorCode error = U_ZERO_ERROR;
  const auto length = [](std::u16string_view text) {
    return static_cast<std::int32_t>(text.size());
  };
  return u_strCaseCompare(left.data(), length(left), right.data(), length(right),
                          U_FOLD_CASE_DEFAULT, &error) == 0 &&
         U_SUCCESS(error);
}

}  // namespace qx::logger
