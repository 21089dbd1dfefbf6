#include "qxframework/automation/ascii.h"

#include <gtest/gtest.h>

#include <string>

namespace qx {
namespace {

/// Returns the ASCII characters that `isOfClass` accepts.
template <class Unit, class Class>
std::basic_string<Unit> membersOf(Class isOfClass) {
  std::basic_string<Unit> members;
  for (unsigned unit = 0; unit < 0x80; ++unit)
    if (isOfClass(static_cast<Unit>(unit))) members += static_cast<Unit>(unit);
  return members;
}

TEST(Ascii, ClassesHoldTheirCharactersAndNoOthers) {
  EXPECT_EQ(membersOf<char>([](char c) { return isDigit(c); }), "0123456789");
  EXPECT_EQ(membersOf<char16_t>([](char16_t c) { return isLowerLetter(c); }),
            u"abcdefghijklmnopqrstuvwxyz");
  EXPECT_EQ(membersOf<char32_t>([](char32_t c) { return isUpperLetter(c); }),
            U"ABCDEFGHIJKLMNOPQRSTUVWXYZ");
  EXPECT_EQ(membersOf<char>([](char c) { return isSpace(c); }), "\t\n\v\f\r ");
  EXPECT_EQ(membersOf<char>([](char c) { return isLetterOrDigit(c); }),
            "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
}

TEST(Ascii, CharactersBeyondAsciiAreOfNoClass) {
  for (const char32_t unit : {U'\u00A0', U'\u0660', U'\u00E4', U'\uFF11'}) {
    EXPECT_FALSE(isSpace(unit) || isLetterOrDigit(unit)) << static_cast<unsigned>(unit);
    EXPECT_EQ(toUpperAscii(unit), unit);
    EXPECT_EQ(toLowerAscii(unit), unit);
  }
  EXPECT_FALSE(isLetterOrDigit('\xE4') || isSpace('\xA0'));
}

TEST(Ascii, CaseIsMappedForLettersOnly) {
  EXPECT_EQ(toUpperAscii('a'), 'A');
  EXPECT_EQ(toUpperAscii('z'), 'Z');
  EXPECT_EQ(toUpperAscii('{'), '{');
  EXPECT_EQ(toUpperAscii('`'), '`');
  EXPECT_EQ(toLowerAscii(u'A'), u'a');
  EXPECT_EQ(toLowerAscii(u'Z'), u'z');
  EXPECT_EQ(toLowerAscii(u'['), u'[');
  EXPECT_EQ(toLowerAscii(u'@'), u'@');
}

TEST(Ascii, HexadecimalDigitsHaveTheirValueInEitherCase) {
  EXPECT_EQ(hexDigitValue('0'), 0);
  EXPECT_EQ(hexDigitValue(u'9'), 9);
  EXPECT_EQ(hexDigitValue('a'), 10);
  EXPECT_EQ(hexDigitValue(u'F'), 15);
  for (const char other : {'g', 'G', '/', ':', '@', '`'}) EXPECT_EQ(hexDigitValue(other), -1);
}

TEST(Ascii, TrimmingCutsBothEndsOnly) {
  EXPECT_EQ(trimmed("  a b "), "a b");
  EXPECT_EQ(trimmed("\ta "), "\ta");
  EXPECT_EQ(trimmed("\t a\t ", " \t"), "a");
  EXPECT_EQ(trimmed(u" a "), u"a");
  EXPECT_EQ(trimmed("   "), "");
  EXPECT_EQ(trimmed(u""), u"");
}

}  // namespace
}  // namespace qx
