#include "tools/formdraw/text_width.h"

#include <gtest/gtest.h>

namespace qx::formdraw {
namespace {

TEST(TextWidth, TakesFourPixelsForANarrowCharacterAndFiveForAnother) {
  EXPECT_EQ(pixelsAtLeast(u""), 0);
  EXPECT_EQ(pixelsAtLeast(u"il.,"), 16);
  EXPECT_EQ(pixelsAtLeast(u"OK"), 10);
  EXPECT_EQ(pixelsAtLeast(u"Find it"), 4 * 4 + 3 * 5);
}

TEST(TextWidth, TakesTwiceAsMuchForAnEastAsianCharacter) {
  EXPECT_EQ(pixelsAtLeast(u"設定"), 20);
  EXPECT_EQ(pixelsAtLeast(u"ｱ"), 5);  // half width
  EXPECT_EQ(cellsOf(u"設定"), 4U);
}

TEST(TextWidth, TakesNothingForACombiningMark) {
  EXPECT_EQ(pixelsAtLeast(u"e\u0301"), 5);
  EXPECT_EQ(cellsOf(u"e\u0301"), 1U);
}

TEST(TextWidth, CountsAPairOfSurrogatesOnceAndAHalfOfOneToo) {
  EXPECT_EQ(cellsOf(u"𝄞"), 1U);
  EXPECT_EQ(cellsOf(u"𠀀"), 2U);
  EXPECT_EQ(cellsOf(std::u16string_view(u"a\xD800")), 2U);
}

}  // namespace
}  // namespace qx::formdraw
