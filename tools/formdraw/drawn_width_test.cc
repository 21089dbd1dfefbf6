#include "tools/formdraw/drawn_width.h"

#include <gtest/gtest.h>

namespace qx::formdraw {
namespace {

TEST(DrawnWidth, IsTheSumOfTheLettersRoundedUp) {
  EXPECT_EQ(drawnWidth(u""), 0);
  EXPECT_EQ(drawnWidth(u"i"), 3);      // 278 thousandths of 11 pixels, condensed: 2.75
  EXPECT_EQ(drawnWidth(u"iiii"), 12);  // 11.01: the sum is rounded, not each letter
  EXPECT_EQ(drawnWidth(u"Customer"), 49);
}

TEST(DrawnWidth, IsLargerInBold) {
  EXPECT_EQ(drawnWidth(u"Customer", Weight::Bold), 54);
  EXPECT_EQ(drawnWidth(u"", Weight::Bold), 0);
}

TEST(DrawnWidth, OfALetterWithMarksIsThatOfTheLetter) {
  EXPECT_EQ(drawnWidth(u"ÄÖÜáçñů"), drawnWidth(u"AOUacnu"));
  EXPECT_EQ(drawnWidth(u"e\u0301"), drawnWidth(u"e"));
  EXPECT_EQ(drawnWidth(u"ώ"), drawnWidth(u"ω"));
}

TEST(DrawnWidth, KnowsTheScriptsOfTheClientsLanguages) {
  EXPECT_EQ(drawnWidth(u"Щ"), 11);
  EXPECT_EQ(drawnWidth(u"Ω"), 8);
  EXPECT_EQ(drawnWidth(u"ש"), 8);
  EXPECT_EQ(drawnWidth(u"œ"), 11);
  EXPECT_EQ(drawnWidth(u"設定"), 22);
  EXPECT_EQ(drawnWidth(u"한국"), 22);
}

TEST(DrawnWidth, TakesAnAverageForAnyOtherLetter) {
  EXPECT_EQ(drawnWidth(u"ა"), 7);
  EXPECT_EQ(drawnWidth(std::u16string_view(u"\xD800")), 7);
}

}  // namespace
}  // namespace qx::formdraw
