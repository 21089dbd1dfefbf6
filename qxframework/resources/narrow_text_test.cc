#include "qxframework/resources/narrow_text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace std::string_literals;

TEST(TextOfResource, NarrowTextIsUtf8) {
  EXPECT_EQ(qx::textOfResource("<a b=\"\xC3\x9F\"/>"), u"<a b=\"\u00DF\"/>");
}

TEST(TextOfResource, NarrowTextThatIsNotWellFormedUtf8IsLatin1) {
  EXPECT_EQ(qx::textOfResource("<a b=\"\xDF\"/>"), u"<a b=\"\u00DF\"/>");
}

TEST(TextOfResource, NarrowTextEndsAtTheFirstZero) {
  EXPECT_EQ(qx::textOfResource("ab\0cd"s), u"ab");
}

TEST(TextOfResource, AMarkMakesItWideWithTheMarkKept) {
  EXPECT_EQ(qx::textOfResource("\xFF\xFE<\0a\0"s), u"\uFEFF<a");
}

TEST(TextOfResource, TheOtherMarkIsWideTooWithoutASwap) {
  EXPECT_EQ(qx::textOfResource("\xFE\xFF\0<"s), u"\uFFFE\u3C00");
}

TEST(TextOfResource, AnOddLastByteGetsAZeroBesideIt) {
  EXPECT_EQ(qx::textOfResource("\xFF\xFE<\0a"s), u"\uFEFF<a");
}

}  // namespace
