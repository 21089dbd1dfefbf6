#include "qxframework/automation/text.h"

#include <gtest/gtest.h>

namespace {

const std::u16string kLoneLead = {u'a', char16_t{0xD83D}, u'b'};
const std::u16string kLoneTrail = {u'a', char16_t{0xDE00}};

TEST(Text, ConvertsToUtf8AndBackUnchanged) {
  const std::u16string text = u"K\u00F6ln \u20AC \U0001F600";
  EXPECT_EQ(qx::toUtf8(text), "K\xC3\xB6ln \xE2\x82\xAC \xF0\x9F\x98\x80");
  EXPECT_EQ(qx::toUtf16(qx::toUtf8(text)), text);
}

TEST(Text, KeepsZeros) {
  const std::u16string text(u"a\0b", 3);
  EXPECT_EQ(qx::toUtf8(text), std::string("a\0b", 3));
  EXPECT_EQ(qx::toUtf16(std::string("a\0b", 3)), text);
}

TEST(Text, AnUnpairedSurrogateBecomesTheReplacementCharacter) {
  EXPECT_EQ(qx::toUtf8(kLoneLead),
            "a\xEF\xBF\xBD"
            "b");
  EXPECT_EQ(qx::toUtf8(kLoneTrail), "a\xEF\xBF\xBD");
}

TEST(Text, MalformedUtf8BecomesTheReplacementCharacter) {
  EXPECT_EQ(qx::toUtf16("a\xFF"
                        "b"),
            u"a\uFFFDb");
  EXPECT_EQ(qx::toUtf16("\xC3"), u"\uFFFD");
  EXPECT_EQ(qx::toUtf16("\xED\xA0\x80"), u"\uFFFD\uFFFD\uFFFD") << "an encoded surrogate";
}

TEST(Text, EmptyStaysEmpty) {
  EXPECT_EQ(qx::toUtf8({}), "");
  EXPECT_EQ(qx::toUtf16({}), u"");
  EXPECT_EQ(qx::toLower({}), u"");
}

TEST(Text, CaseMappingMayLengthenAText) {
  EXPECT_EQ(qx::toUpper(u"stra\u00DFe"), u"STRASSE");
  EXPECT_EQ(qx::toUpper(u"\u0390"), u"\u0399\u0308\u0301");
  EXPECT_EQ(qx::toLower(u"\u00C4BC"), u"\u00E4bc");
}

TEST(Text, CaseMappingIsThatOfTheRootLocale) {
  EXPECT_EQ(qx::toLower(u"I"), u"i");
  EXPECT_EQ(qx::toUpper(u"i"), u"I");
}

TEST(Text, UpperCaseByUnitKeepsTheLength) {
  using namespace std::literals;
  EXPECT_EQ(qx::toUpperByUnit(u"Code_a\u00EF\u0131"), u"CODE_A\u00CFI");
  EXPECT_EQ(qx::toUpperByUnit(u"stra\u00DFe"), u"STRA\u00DFE");
  // The full mapping writes two letters here, the simple one writes a different one.
  EXPECT_EQ(qx::toUpperByUnit(u"\u1F80"), u"\u1F88");
  // The pair has a capital, but neither of its units has one.
  EXPECT_EQ(qx::toUpperByUnit(u"\U00010428"), u"\U00010428");
  EXPECT_EQ(qx::toUpperByUnit(u"\xD800z\0y"sv), u"\xD800Z\0Y"sv);
  EXPECT_EQ(qx::toUpperByUnit(u""), u"");
}

TEST(Text, EqualityWithoutCaseFoldsBothSides) {
  EXPECT_TRUE(qx::equalsIgnoreCase(u"Code", u"cODE"));
  EXPECT_TRUE(qx::equalsIgnoreCase(u"\u00C4", u"\u00E4"));
  EXPECT_FALSE(qx::equalsIgnoreCase(u"Code", u"Codes"));
  EXPECT_FALSE(qx::equalsIgnoreCase(u"Coda", u"Code\u00C4"));
  // The Kelvin sign folds to k, and the sharp s to two letters.
  EXPECT_TRUE(qx::equalsIgnoreCase(u"\u212Aey", u"KEY"));
  EXPECT_TRUE(qx::equalsIgnoreCase(u"STRASSE", u"stra\u00DFe"));
  EXPECT_FALSE(qx::equalsIgnoreCase(u"@", u"`"));
}

TEST(Text, ANullTextEqualsOnlyTheEmptyOne) {
  EXPECT_TRUE(qx::equalsIgnoreCase({}, {}));
  EXPECT_TRUE(qx::equalsIgnoreCase({}, u""));
  EXPECT_TRUE(qx::equalsIgnoreCase(u"", {}));
  EXPECT_FALSE(qx::equalsIgnoreCase({}, u"Code"));
  EXPECT_FALSE(qx::equalsIgnoreCase(u"Code", {}));
}

TEST(Text, TheOrderWithoutCaseIsThatOfTheFoldedUnits) {
  EXPECT_LT(qx::compareIgnoreCase(u"code", u"CODES"), 0);
  EXPECT_GT(qx::compareIgnoreCase(u"B", u"a"), 0);
  EXPECT_LT(qx::compareIgnoreCase({}, u"a"), 0);
  EXPECT_GT(qx::compareIgnoreCase(u"a", {}), 0);
}

TEST(Text, InlineBlanksAreTheBlankTheTabAndTheNoBreakSpace) {
  std::u16string blanks;
  for (unsigned unit = 0; unit < 0x10000; ++unit)
    if (qx::isInlineBlank(static_cast<char16_t>(unit))) blanks += static_cast<char16_t>(unit);
  EXPECT_EQ(blanks, u"\t \u00A0");
}

}  // namespace
