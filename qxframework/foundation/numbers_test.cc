#include "qxframework/foundation/numbers.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace {

TEST(LeadingNumber, ReadsUpToTheFirstOtherCharacter) {
  EXPECT_EQ(qx::leadingNumber(u" \t-42abc"), -42);
  EXPECT_EQ(qx::leadingNumber(u"+7"), 7);
  EXPECT_EQ(qx::leadingNumber(u"abc"), 0);
  EXPECT_EQ(qx::leadingNumber(u""), 0);
  EXPECT_EQ(qx::leadingNumber(u"-"), 0);
}

TEST(LeadingNumber, ReadsHexadecimalDigitsWithOrWithoutThePrefix) {
  EXPECT_EQ(qx::leadingNumber(u"000000FF", 16), 255);
  EXPECT_EQ(qx::leadingNumber(u"0x1f", 16), 31);
  EXPECT_EQ(qx::leadingNumber(u"12AZ", 16), 0x12A);
  EXPECT_EQ(qx::leadingNumber(u"0xg", 16), 0);
}

TEST(LeadingNumber, SaturatesAtTheEndsOf32Bits) {
  EXPECT_EQ(qx::leadingNumber(u"2147483648"), 2147483647);
  EXPECT_EQ(qx::leadingNumber(u"-99999999999999999999999"), -2147483648L);
  EXPECT_EQ(qx::leadingNumber(u"FFFFFFFF", 16), 2147483647);
  EXPECT_EQ(qx::leadingNumber(u"2147483647"), 2147483647);
  EXPECT_EQ(qx::leadingNumber(u"-2147483648"), -2147483648L);
  EXPECT_EQ(qx::leadingNumber(u"-2147483649"), -2147483648L);
}

TEST(LeadingNumber, Of64BitsReadsAndSaturatesAlike) {
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
