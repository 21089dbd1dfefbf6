#include "qxframework/foundation/numbers.h"

#include <gtest/gtest.h>

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
}

}  // namespace
