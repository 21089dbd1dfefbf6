#include "qxframework/automation/text_place.h"

#include <gtest/gtest.h>

#include <string>

namespace qx {
namespace {

// Returns the places of all offsets, one after the other, as "LINE:COLUMN" with blanks between.
template <class Unit>
std::string places(std::basic_string_view<Unit> text) {
  PlaceCounter<Unit> counter(text);
  std::string out;
  for (std::size_t offset = 0; offset <= text.size(); ++offset) {
    const TextPlace place = counter.at(offset);
    out +=
        (offset == 0 ? "" : " ") + std::to_string(place.line) + ":" + std::to_string(place.column);
  }
  return out;
}

TEST(PlaceCounter, CountsLinesAndColumnsFromOne) {
  EXPECT_EQ(places(std::string_view("ab\n\nc")), "1:1 1:2 1:3 2:1 3:1 3:2");
  EXPECT_EQ(places(std::u16string_view(u"ab\n\nc")), "1:1 1:2 1:3 2:1 3:1 3:2");
}

TEST(PlaceCounter, ACarriageReturnTakesAColumn) {
  EXPECT_EQ(places(std::string_view("a\r\nb")), "1:1 1:2 1:3 2:1 2:2");
}

TEST(PlaceCounter, ColumnsCountCodePointsAndNotUnits) {
  // The bytes of a code point have the place that follows its first one.
  EXPECT_EQ(places(std::string_view("\xC3\xA4\xF0\x9F\x98\x80-")),
            "1:1 1:2 1:2 1:3 1:3 1:3 1:3 1:4");
  EXPECT_EQ(places(std::u16string_view(u"\u00E4\U0001F600-")), "1:1 1:2 1:3 1:3 1:4");
  // The units before and after the second halves of pairs are characters of their own.
  EXPECT_EQ(places(std::u16string_view(u"\U00010000\U0010FFFF\uE000\uD7FF")),
            "1:1 1:2 1:2 1:3 1:3 1:4 1:5");
}

TEST(PlaceCounter, AStepMayPassSeveralLines) {
  const std::string_view text = "first\nsecond\n\xC3\xA4 third";
  PlaceCounter<char> counter(text);
  EXPECT_EQ(counter.at(3), (TextPlace{1, 4}));
  EXPECT_EQ(counter.at(16), (TextPlace{3, 3}));
  EXPECT_EQ(counter.at(18), (TextPlace{3, 5}));
}

TEST(PlaceCounter, ReturnsTheLatestPlaceForAnOffsetThatIsPassed) {
  PlaceCounter<char> counter("a\nbcd");
  counter.at(4);
  EXPECT_EQ(counter.at(4), (TextPlace{2, 3}));
  EXPECT_EQ(counter.at(0), (TextPlace{2, 3}));
  EXPECT_EQ(counter.at(5), (TextPlace{2, 4}));
}

TEST(PlaceCounter, ReturnsThePlaceAtTheEndForAnOffsetBeyondIt) {
  PlaceCounter<char16_t> counter(u"a\nbc");
  EXPECT_EQ(counter.at(1000), (TextPlace{2, 3}));
  EXPECT_EQ(counter.at(2000), (TextPlace{2, 3}));
  EXPECT_EQ(PlaceCounter<char>("").at(1), TextPlace{});
}

}  // namespace
}  // namespace qx
