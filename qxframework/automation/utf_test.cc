#include "qxframework/automation/utf.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace qx {
namespace {

using namespace std::string_view_literals;

// The ends of each length, and the code points on both sides of the surrogates.
constexpr char32_t kScalars[] = {0,      0x7F,   0x80,   0x7FF,   0x800,   0xD7FF,
                                 0xE000, 0xFFFD, 0xFFFF, 0x10000, 0x1F600, 0x10FFFF};

TEST(Utf, ACodePointIsReadAsItWasAppended) {
  for (const char32_t scalar : kScalars) {
    SCOPED_TRACE(static_cast<std::uint32_t>(scalar));
    std::string bytes = "x";
    std::u16string units = u"x";
    appendCodePoint(bytes, scalar);
    appendCodePoint(units, scalar);
    const auto fromBytes = codePointAt(bytes, 1);
    const auto fromUnits = codePointAt(units, 1);
    ASSERT_TRUE(fromBytes && fromUnits);
    EXPECT_EQ(fromBytes->value, scalar);
    EXPECT_EQ(fromBytes->length, bytes.size() - 1);
    EXPECT_EQ(fromUnits->value, scalar);
    EXPECT_EQ(fromUnits->length, units.size() - 1);
  }
}

TEST(Utf, CodePointsHaveTheirStandardForm) {
  std::string bytes;
  std::u16string units;
  for (const char32_t scalar : {U'A', U'\u00E4', U'\u20AC', U'\U0001F600'}) {
    appendCodePoint(bytes, scalar);
    appendCodePoint(units, scalar);
  }
  EXPECT_EQ(bytes, "A\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80");
  EXPECT_EQ(units, u"A\u00E4\u20AC\U0001F600");
}

TEST(Utf, MalformedUtf8IsNotRead) {
  for (const std::string_view malformed :
       {"\x80"sv, "\xC0\x80"sv, "\xC1\xBF"sv, "\xC3"sv, "\xC3\x28"sv, "\xE0\x9F\xBF"sv,
        "\xED\xA0\x80"sv, "\xE2\x82"sv, "\xF0\x8F\xBF\xBF"sv, "\xF4\x90\x80\x80"sv,
        "\xF0\x9F\x98"sv, "\xF5\x80\x80\x80"sv, "\xFF"sv})
    EXPECT_FALSE(codePointAt(malformed, 0)) << testing::PrintToString(malformed);
}

TEST(Utf, AnUnpairedSurrogateIsNotRead) {
  EXPECT_FALSE(codePointAt(u"\xD83D"sv, 0));
  EXPECT_FALSE(codePointAt(u"\xD83Dx"sv, 0));
  EXPECT_FALSE(codePointAt(u"\xDE00\xD83D"sv, 0));
}

TEST(Utf, NothingIsReadAtTheEnd) {
  EXPECT_FALSE(codePointAt("a"sv, 1));
  EXPECT_FALSE(codePointAt(u"a"sv, 1));
  EXPECT_FALSE(codePointAt(""sv, 0));
  EXPECT_FALSE(codePointAt(u"a"sv, 7));
}

TEST(Utf, AnInvalidValueIsAppendedAsTheReplacementCharacter) {
  for (const char32_t value : {char32_t{0xD800}, char32_t{0xDFFF}, char32_t{0x110000}}) {
    std::string bytes;
    std::u16string units;
    appendCodePoint(bytes, value);
    appendCodePoint(units, value);
    EXPECT_EQ(bytes, "\xEF\xBF\xBD");
    EXPECT_EQ(units, u"\uFFFD");
  }
}

}  // namespace
}  // namespace qx
