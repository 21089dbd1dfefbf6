#include "qxframework/foundation/numbers.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <string_view>

namespace {

TEST(LeadingNumber, ReadsUpToTheFirstOtherCharacter) {
  EXPECT_EQ(qx::leadingNumber(u" \t-42abc"), -42);
  EXPECT_EQ(qx::leadingNumber(u"+7"), 7);
  EXPECT_EQ(qx::leadingNumber(u"abc"), 0);
  EXPECT_EQ(qx::leadingNumber(u""), 0);
  EXPECT_EQ(qx::leadingNumber(u"-"), 0);
}

TEST(LeadingNumber, SkipsAsciiWhiteSpaceOnly) {
  EXPECT_EQ(qx::leadingNumber(u" \t\n\v\f\r8"), 8);
  EXPECT_EQ(qx::leadingNumber(u"\u00A08"), 0);
  EXPECT_EQ(qx::leadingNumber(u"\u30008"), 0);
  EXPECT_EQ(qx::leadingNumber(std::u16string_view(u"\0008", 2)), 0);
  EXPECT_EQ(qx::leadingNumber(u"- 8"), 0);
}

TEST(LeadingNumber, ReadsAsciiDigitsOnly) {
  EXPECT_EQ(qx::leadingNumber(u"1\u0662"), 1);  // an Arabic digit two
  EXPECT_EQ(qx::leadingNumber(u"1\uFF12"), 1);  // a full-width digit two
  EXPECT_EQ(qx::leadingNumber(u"1a"), 1);
}

TEST(LeadingNumber, ReadsHexadecimalDigitsWithOrWithoutThePrefix) {
  EXPECT_EQ(qx::leadingNumber(u"000000FF", 16), 255);
  EXPECT_EQ(qx::leadingNumber(u"0x1f", 16), 31);
  EXPECT_EQ(qx::leadingNumber(u"12AZ", 16), 0x12A);
  EXPECT_EQ(qx::leadingNumber(u"0XfFg", 16), 255);
  EXPECT_EQ(qx::leadingNumber(u"-0x10", 16), -16);
  EXPECT_EQ(qx::leadingNumber(u"0x0x5", 16), 0);
  EXPECT_EQ(qx::leadingNumber(u"0xg", 16), 0);
  EXPECT_EQ(qx::leadingNumber(u"0x", 16), 0);
  EXPECT_EQ(qx::leadingNumber(u"0x1f"), 0);
}

TEST(LeadingNumber, StopsAtTheEndsOf32Bits) {
  EXPECT_EQ(qx::leadingNumber(u"2147483648"), 2147483647);
  EXPECT_EQ(qx::leadingNumber(u"-99999999999999999999999"), -2147483648L);
  EXPECT_EQ(qx::leadingNumber(u"FFFFFFFF", 16), 2147483647);
  EXPECT_EQ(qx::leadingNumber(u"2147483647"), 2147483647);
  EXPECT_EQ(qx::leadingNumber(u"-2147483648"), -2147483648L);
  EXPECT_EQ(qx::leadingNumber(u"-2147483649"), -2147483648L);
}

TEST(LeadingNumber, Reads64BitNumbersAndStopsAtTheirEnds) {
  constexpr std::int64_t kLowest = std::numeric_limits<std::int64_t>::min();
  constexpr std::int64_t kHighest = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(qx::leadingNumber64(u" \n-42.5"), -42);
  EXPECT_EQ(qx::leadingNumber64(u""), 0);
  EXPECT_EQ(qx::leadingNumber64(u"0x1F"), 0);
  EXPECT_EQ(qx::leadingNumber64(u"9223372036854775806"), kHighest - 1);
  EXPECT_EQ(qx::leadingNumber64(u"9223372036854775807"), kHighest);
  EXPECT_EQ(qx::leadingNumber64(u"9223372036854775808"), kHighest);
  EXPECT_EQ(qx::leadingNumber64(u"-9223372036854775808"), kLowest);
  EXPECT_EQ(qx::leadingNumber64(u"-9223372036854775809"), kLowest);
  EXPECT_EQ(qx::leadingNumber64(std::u16string(1 << 20, u'9')), kHighest);
  EXPECT_EQ(qx::leadingNumber64(u"-" + std::u16string(1 << 20, u'9')), kLowest);
}

}  // namespace
