#include "qxlogger/text.h"

#include "qxframework/automation/utf.h"

#include <fmt/format.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qx::logger {
namespace {

// Printable ASCII except the backslash is copied without a look at code points. Nearly all records
// consist of it, and every record passes here, so four units are tested at once.
bool isPlain(char16_t unit) { return unit >= 0x20 && unit < 0x7F && unit != u'\\'; }

constexpr std::size_t kBlock = 4;

// Returns four times the same unit.
constexpr std::uint64_t each(char16_t unit) { return unit * 0x0001'0001'0001'0001U; }

bool isPlainBlock(const char16_t* text) {
  std::uint64_t units = 0;
  std::memcpy(&units, text, sizeof units);
  // All units are below 0x80 then, and no sum below carries into the next unit. Each sum has the
  // bit 0x80 of a unit if that unit passes its test.
  if ((units & each(0xFF80)) != 0) return false;
  const std::uint64_t notControl = units + each(0x60);
  const std::uint64_t notBackslash = (units ^ each(u'\\')) + each(0x7F);
  const std::uint64_t notDelete = ~(units + each(0x01));
  return (notControl & notBackslash & notDelete & each(0x80)) == each(0x80);
}

// Editors and scripts also end lines at U+0085, U+2028 and U+2029.
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
    appendCodePoint(out, c);
  }
}

// Returns the index of the first unit from `at` on that is not plain.
std::size_t endOfPlainRun(std::u16string_view text, std::size_t at) {
  while (text.size() - at >= kBlock && isPlainBlock(text.data() + at)) at += kBlock;
  while (at < text.size() && isPlain(text[at])) ++at;
  return at;
}

// Appends the plain units from `at` on and returns the index after them. `out` grows once for the
// whole run: growing it unit by unit would check its capacity each time.
std::size_t appendPlainRun(std::string& out, std::u16string_view text, std::size_t at) {
  const std::size_t end = endOfPlainRun(text, at);
  const std::size_t before = out.size();
  out.resize(before + (end - at));
  char* target = out.data() + before;
  for (std::size_t i = at; i < end; ++i) *target++ = static_cast<char>(text[i]);
  return end;
}

}  // namespace

void appendEscaped(std::string& out, std::u16string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    at = appendPlainRun(out, text, at);
    if (at == text.size()) break;
    const auto point = codePointAt(text, at);
    appendOne(out, point ? point->value : kReplacementCharacter);
    at += point ? point->length : 1;
  }
}

std::u16string_view withoutLineEnds(std::u16string_view text) {
  // Without any other character the position is npos, and npos + 1 is 0.
  return text.substr(0, text.find_last_not_of(u"\r\n") + 1);
}

}  // namespace qx::logger
