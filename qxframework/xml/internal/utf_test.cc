#include "qxframework/xml/internal/utf.h"

#include "testing/raised_by.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace qx::xml {
namespace {

using test::raisedBy;

constexpr std::size_t kOneMoreThan4GiB = 0x100000001;

/// Return views of which only the length may be read. Cut off to 32 bits, it would be 1.
std::u16string_view tooManyUnits(std::size_t units) {
  static const char16_t unit = u'x';
  return {&unit, units};
}
std::string_view tooManyBytes(std::size_t bytes) {
  static const char byte = 'x';
  return {&byte, bytes};
}

TEST(XmlUtf, RefusesATooLongWideTextInsteadOfCuttingIt) {
  for (const std::size_t units : {kOneMoreThan4GiB, std::size_t{0x80000000},
                                  std::size_t{0x7FFFFFFF}, std::size_t{0x7FFFFFFF / 3 + 1}}) {
    EXPECT_EQ(strictUtf8(tooManyUnits(units)), std::nullopt) << units;
    EXPECT_EQ(raisedBy([&] { utf8OrRaise(tooManyUnits(units)); }), E_INVALIDARG) << units;
  }
}

TEST(XmlUtf, RefusesATooLongNarrowTextInsteadOfCuttingIt) {
  for (const std::size_t bytes : {kOneMoreThan4GiB, std::size_t{0x80000000}}) {
    BSTR out = nullptr;
    EXPECT_EQ(giveUtf8(tooManyBytes(bytes), &out), E_OUTOFMEMORY) << bytes;
    EXPECT_EQ(out, nullptr);
  }
}

TEST(XmlUtf, ReturnsNoUtf8ForALoneSurrogate) {
  EXPECT_EQ(strictUtf8(u"a\U0001F600"), "a\xF0\x9F\x98\x80");
  const char16_t lone[] = {u'a', 0xD83D, u'b'};
  EXPECT_EQ(strictUtf8({lone, 3}), std::nullopt);
}

/// Returns `text` in UTF-8 and back. Fails if the way back does not end at the same text.
std::string roundTrip(const std::u16string& text) {
  const std::string narrow = strictUtf8(text).value_or("refused");
  CComBSTR wide;
  EXPECT_EQ(giveUtf8(narrow, &wide), S_OK);
  EXPECT_EQ(wide.View(), std::u16string_view(text));
  return narrow;
}

TEST(XmlUtf, ConvertsTextsOfEveryLengthBothWays) {
  // Blocks of ASCII are converted apart, so other characters are put at every place around their
  // ends.
  const std::pair<std::u16string, std::string> characters[] = {{u"", ""},
                                                               {u"\x7F", "\x7F"},
                                                               {u"\x80", "\xC2\x80"},
                                                               {u"\x7FF", "\xDF\xBF"},
                                                               {u"\x800", "\xE0\xA0\x80"},
                                                               {u"\xD7FF", "\xED\x9F\xBF"},
                                                               {u"\xE000", "\xEE\x80\x80"},
                                                               {u"\xFFFF", "\xEF\xBF\xBF"},
                                                               {u"\U00010000", "\xF0\x90\x80\x80"},
                                                               {u"\U0010FFFF", "\xF4\x8F\xBF\xBF"}};
  for (const auto& [wide, narrow] : characters) {
    for (std::size_t before = 0; before <= 66; ++before) {
      for (const std::size_t after : {0U, 1U, 31U, 32U, 33U, 70U}) {
        EXPECT_EQ(roundTrip(std::u16string(before, u'a') + wide + std::u16string(after, u'b')),
                  std::string(before, 'a') + narrow + std::string(after, 'b'));
      }
    }
  }
}

TEST(XmlUtf, RefusesALoneSurrogateAtEveryPlace) {
  for (const char16_t lone :
       {char16_t{0xD800}, char16_t{0xDBFF}, char16_t{0xDC00}, char16_t{0xDFFF}}) {
    for (std::size_t before = 0; before <= 66; ++before) {
      const std::u16string text = std::u16string(before, u'a') + lone;
      EXPECT_EQ(strictUtf8(text), std::nullopt) << before;
      EXPECT_EQ(strictUtf8(text + std::u16string(40, u'b')), std::nullopt) << before;
    }
  }
}

TEST(XmlUtf, FailsForMalformedUtf8) {
  for (const char* text : {"\x80", "\xC2", "a\xE2\x82", "\xED\xA0\x80", "\xFF", "\xC0\x80"}) {
    BSTR out = nullptr;
    EXPECT_EQ(giveUtf8(text, &out), E_FAIL) << text;
    EXPECT_EQ(out, nullptr);
  }
  EXPECT_EQ(giveUtf8("", nullptr), E_POINTER);
}

TEST(XmlUtf, KnowsTheCharactersOfXml) {
  for (const char* text :
       {"", "\t\n\r", " ", "\x7F", "\xEF\xBF\xBD", "\xEF\xBF", "a\xC2\x80", "\xF4\x8F\xBF\xBF"}) {
    EXPECT_TRUE(isXmlText(text)) << text;
  }
  for (const std::string& text : {std::string(1, '\0'), std::string("\x01"), std::string("\x08"),
                                  std::string("\x0B"), std::string("\x0C"), std::string("a\x1F"),
                                  std::string("\xEF\xBF\xBE"), std::string("a\xEF\xBF\xBF z")}) {
    EXPECT_FALSE(isXmlText(text)) << testing::PrintToString(text);
  }
}

TEST(XmlUtf, ReadsTheTextOfAValue) {
  CComBSTR text(u"a\u20AC");
  VARIANT reference;
  reference.vt = VT_BYREF | VT_BSTR;
  reference.pbstrVal = &text.m_str;
  EXPECT_EQ(textOf(reference), "a\xE2\x82\xAC");
  EXPECT_EQ(textOf(CComVariant(text)), "a\xE2\x82\xAC");
  EXPECT_EQ(textOf(CComVariant(7L)), "7");
  EXPECT_EQ(textOf(VARIANT()), "");
  CComBSTR lone(std::u16string(1, char16_t{0xD800}));
  reference.pbstrVal = &lone.m_str;
  EXPECT_EQ(raisedBy([&] { textOf(reference); }), E_INVALIDARG);
}

TEST(XmlUtf, WritesUtf16AndReturnsItsLength) {
  char16_t out[8] = {};
  EXPECT_EQ(writeUtf16("", out), 0U);
  EXPECT_EQ(writeUtf16("a\xC3\xA4\xF0\x9F\x98\x80", out), 4U);
  EXPECT_EQ(std::u16string_view(out), u"a\u00E4\U0001F600");
  EXPECT_EQ(writeUtf16("a\xC3", out), std::nullopt);
}

}  // namespace
}  // namespace qx::xml
