#include "tools/formdraw/canvas.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx::formdraw {
namespace {

using ::testing::ElementsAre;

TEST(Canvas, DrawsTextOverWhatIsThere) {
  Canvas canvas(8, 2);
  canvas.fill(1, 0, u'_', 6);
  canvas.put(2, 0, u"ab", 9);
  canvas.fill(3, 1, u'x', 1);
  EXPECT_THAT(canvas.rows(), ElementsAre(" _ab___", "   x"));
}

TEST(Canvas, ATextBeyondItsLimitEndsInAnEllipsis) {
  Canvas canvas(10, 1);
  canvas.put(0, 0, u"abcdef", 4);
  EXPECT_THAT(canvas.rows(), ElementsAre("abc…"));
}

TEST(Canvas, ATextEndsWithTheCanvas) {
  Canvas canvas(4, 1);
  canvas.put(2, 0, u"abc", 9);
  EXPECT_THAT(canvas.rows(), ElementsAre("  a…"));
}

TEST(Canvas, PassesOverTextOutsideOfIt) {
  Canvas canvas(3, 1);
  canvas.put(-1, 0, u"a", 9);
  canvas.put(0, -1, u"a", 9);
  canvas.put(0, 1, u"a", 9);
  canvas.put(3, 0, u"a\u0301", 9);
  canvas.put(7, 0, u"\u0301", 9);
  canvas.put(0, 0, u"", 9);
  canvas.fill(0, 0, u'a', -1);
  EXPECT_THAT(canvas.rows(), ElementsAre(""));
}

TEST(Canvas, AWideCharacterTakesTwoCells) {
  Canvas canvas(6, 1);
  canvas.put(0, 0, u"設定", 9);
  canvas.put(4, 0, u"x", 9);
  EXPECT_THAT(canvas.rows(), ElementsAre("設定x"));
}

TEST(Canvas, HalfOfAWideCharacterThatIsDrawnOverBecomesABlank) {
  Canvas first(4, 1);
  first.put(0, 0, u"設定", 4);
  first.put(0, 0, u"x", 1);
  EXPECT_THAT(first.rows(), ElementsAre("x 定"));
  Canvas second(4, 1);
  second.put(0, 0, u"設定", 4);
  second.put(1, 0, u"字", 2);
  EXPECT_THAT(second.rows(), ElementsAre(" 字"));
}

TEST(Canvas, AnEllipsisReplacesAWholeWideCharacter) {
  Canvas canvas(4, 1);
  canvas.put(0, 0, u"設定", 4);
  canvas.put(0, 0, u"abc", 1);
  EXPECT_THAT(canvas.rows(), ElementsAre("… 定"));
}

TEST(Canvas, AWideTextThatIsCutKeepsWholeCharacters) {
  Canvas canvas(8, 1);
  canvas.put(0, 0, u"設定字", 5);
  canvas.put(6, 0, u"x", 1);
  EXPECT_THAT(canvas.rows(), ElementsAre("設定… x"));
}

TEST(Canvas, AMarkJoinsTheCharacterAheadOfIt) {
  Canvas canvas(4, 1);
  canvas.put(0, 0, u"e\u0301設\u0301x", 4);
  EXPECT_THAT(canvas.rows(), ElementsAre("e\u0301設\u0301x"));
}

TEST(Canvas, AControlCharacterIsABlank) {
  Canvas canvas(4, 1);
  canvas.put(0, 0, u"a\nb\u0085", 4);
  EXPECT_THAT(canvas.rows(), ElementsAre("a b"));
}

}  // namespace
}  // namespace qx::formdraw
