#include "qxframework/resources/narrow_text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace std::string_literals;

TEST(TextOfResource, NarrowTextIsUtf8) {
  EXPECT_EQ(qx::textOfResource("<a b=\"\xC3\x9F\"/>"), u"<a b=\"\u00DF\"/>");
}

TEST(TextOfResource, MalformedUtf8IsReadAsLatin1) {
  EXPECT_EQ(qx::textOfResource("<a b=\"\xDF\"/>"), u"<a b=\"\u00DF\"/>");
}

TEST(TextOfResource, EveryKindOfMalformedUtf8IsReadAsLatin1) {
  EXPECT_EQ(qx::textOfResource("a\xE2\x82"), u"a\u00E2\u0082");                    // cut off
  EXPECT_EQ(qx::textOfResource("\xC0\xAF"), u"\u00C0\u00AF");                      // overlong
  EXPECT_EQ(qx::textOfResource("\xED\xA0\x80"), u"\u00ED\u00A0\u0080");            // a surrogate
  EXPECT_EQ(qx::textOfResource("\xF4\x90\x80\x80"), u"\u00F4\u0090\u0080\u0080");  // too large
  EXPECT_EQ(qx::textOfResource("\xC3\x9F\xDF"), u"\u00C3\u009F\u00DF");  // the last byte decides
}

TEST(TextOfResource, WellFormedUtf8MayHoldAnyCharacter) {
  EXPECT_EQ(qx::textOfResource("\xEF\xBF\xBD"), u"\uFFFD");
  EXPECT_EQ(qx::textOfResource("\xF0\x9F\x98\x80"), u"\U0001F600");
  EXPECT_EQ(qx::textOfResource("\xEF\xBB\xBF<a/>"), u"\uFEFF<a/>");
  EXPECT_EQ(qx::textOfResource(""), u"");
}

TEST(TextOfResource, NarrowTextEndsAtTheFirstZero) {
  EXPECT_EQ(qx::textOfResource("ab\0cd"s), u"ab");
}

TEST(TextOfResource, LittleEndianMarkMakesWideTextAndIsKept) {
  EXPECT_EQ(qx::textOfResource("\xFF\xFE<\0a\0"s), u"\uFEFF<a");
}

TEST(TextOfResource, BigEndianMarkMakesWideTextWithoutASwap) {
  EXPECT_EQ(qx::textOfResource("\xFE\xFF\0<"s), u"\uFFFE\u3C00");
}

TEST(TextOfResource, WideTextEndsAtTheFirstZero) {
  EXPECT_EQ(qx::textOfResource("\xFF\xFE<\0\0\0a\0"s), u"\uFEFF<");
  EXPECT_EQ(qx::textOfResource("\xFF\xFE"), u"\uFEFF");
  EXPECT_EQ(qx::textOfResource("\xFF"), u"\u00FF");
}

TEST(TextOfResource, OddLastByteIsCompletedByAZero) {
  EXPECT_EQ(qx::textOfResource("\xFF\xFE<\0a"s), u"\uFEFF<a");
}

}  // namespace
