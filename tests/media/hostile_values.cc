#include "tests/media/hostile_values.h"

#include "qxframework/automation/ole_date_time.h"
#include "testing/medium.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <string_view>

namespace qx::test {
namespace {

constexpr std::u16string_view kPieces[] = {
    u"'",    u"''",          u"N'",     u"\"",     u"\\",     u"\\'",    u"%",      u"_",
    u"[",    u"]",           u"]]",     u"{d}",    u"?",      u":a",     u"@x",     u"--",
    u"/*",   u"*/",          u";",      u"\n",     u"\r\n",   u"\t",     u" ",      u"  ",
    u"\x7F", u"\x01",        u"\x1B",   u"é",      u"ß",      u"İ",      u"漢字",   u"\u0301",
    u"😀",    u"👩‍👧", u"\uFEFF", u"\uFFFD", u"\uFFFF", u"\u2028", u"\u00A0", u"a",
    u"Z",    u"0",           u"null",   u"$1",     u"$$",     u"E'\\x'", u"U&'",    u"&amp;",
    u"<x>",  u"\U0010FFFF",  u"--\n"};
static_assert(std::size(kPieces) == HostileValues::kEdgeTexts);

}  // namespace

std::u16string asReadBack(std::u16string text) {
  std::replace(text.begin(), text.end(), u'\x7F', u'\'');
  return text;
}

std::uint32_t seedOfMedium() {
  constexpr std::uint32_t kFnvBasis = 2166136261;
  constexpr std::uint32_t kFnvPrime = 16777619;
  std::uint32_t seed = kFnvBasis;
  for (const char letter : medium().dialect + (medium().postgres ? ".postgres" : ".sqlite"))
    seed = (seed ^ static_cast<unsigned char>(letter)) * kFnvPrime;
  return seed;
}

std::u16string HostileValues::text(std::size_t length) {
  if (texts_ < std::size(kPieces)) return std::u16string(kPieces[texts_++]);
  const std::size_t wanted = below(static_cast<std::uint32_t>(length) + 1);
  std::u16string text;
  while (true) {
    const std::u16string next = piece();
    if (text.size() + next.size() > wanted) return text;
    text += next;
  }
}

std::u16string HostileValues::piece() {
  if (below(3) == 0) return character();
  return std::u16string(kPieces[below(std::size(kPieces))]);
}

// Any character but zero and halves of surrogate pairs; one in four has a code below 256.
std::u16string HostileValues::character() {
  constexpr std::uint32_t kPlanes = 17;
  const char32_t code = below(4) == 0 ? below(0x100) : below(kPlanes) << 16 | below(0x10000);
  if (code == 0 || (code >= 0xD800 && code < 0xE000)) return character();
  if (code < 0x10000) return {static_cast<char16_t>(code)};
  return {static_cast<char16_t>(0xD7C0 + (code >> 10)),
          static_cast<char16_t>(0xDC00 + (code & 0x3FF))};
}

std::string asWritten(double number) {
  std::array<char, 40> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), number,
                                 std::chars_format::general, std::numeric_limits<double>::digits10)
                       .ptr;
  return {text.data(), end};
}

double asReadBack(double number) {
  const std::string text = asWritten(number);
  double read = 0;
  std::from_chars(text.data(), text.data() + text.size(), read);
  return read;
}

double HostileValues::amount() {
  constexpr std::array<double, 16> kEdges = {0,
                                             -0.0,
                                             -0.000001,
                                             0.000001,
                                             0.1,
                                             0.1 + 0.2,
                                             999999999.999999,
                                             1e14,
                                             -1e14,
                                             999999999999999,
                                             9007199254740992,
                                             1e300,
                                             -1.79769313486231e308,
                                             std::numeric_limits<double>::min(),
                                             -std::numeric_limits<double>::denorm_min(),
                                             std::numeric_limits<double>::denorm_min()};
  if (amounts_ < kEdges.size()) return kEdges.at(amounts_++);
  switch (below(8)) {
    case 0:
      return kEdges.at(below(kEdges.size()));
    case 1:
    case 2:
      return money() / (1 + below(1000));
    case 3:
    case 4:
    case 5:
      return ofAnySize();
    default:
      return money();
  }
}

double HostileValues::ofAnySize() {
  const double value = std::bit_cast<double>(std::uint64_t{random_()} << 32 | random_());
  return std::abs(value) < 1.79e308 ? value : ofAnySize();
}

double HostileValues::money() {
  const auto digits = static_cast<std::int64_t>(random_()) * below(200000);
  const double divisor = std::pow(10.0, below(7));
  const double value = static_cast<double>(digits % 1'000'000'000'000'000) / divisor;
  return below(2) == 0 ? value : -value;
}

int HostileValues::wholeNumber() {
  constexpr std::array<int, 5> kEdges = {0, 1, -1, std::numeric_limits<int>::max(),
                                         std::numeric_limits<int>::min()};
  if (wholeNumbers_ < kEdges.size()) return kEdges.at(wholeNumbers_++);
  return below(4) == 0 ? kEdges.at(below(kEdges.size())) : static_cast<int>(random_());
}

double HostileValues::date() {
  if (dates_++ == 0 || below(16) == 0) return 0;
  const int year = 100 + static_cast<int>(below(9900));
  const int month = 1 + static_cast<int>(below(12));
  const int day = 1 + static_cast<int>(below(28));
  return dateFromCivil({year, month, day, static_cast<int>(below(24)), static_cast<int>(below(60)),
                        static_cast<int>(below(60))})
      .value();
}

}  // namespace qx::test
