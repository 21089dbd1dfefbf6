#include "qxframework/automation/decimal_number.h"

#include <gtest/gtest.h>

namespace qx {
namespace {

TEST(DecimalNumber, ReadsDigitsWithAnOptionalSign) {
  EXPECT_EQ(decimalNumber(u"0"), 0);
  EXPECT_EQ(decimalNumber(u"+42"), 42);
  EXPECT_EQ(decimalNumber(u"-1"), -1);
  EXPECT_EQ(decimalNumber(u"007"), 7);
}

TEST(DecimalNumber, RefusesTextsThatAreNotJustANumber) {
  for (const char16_t* text : {u"", u"-", u"+", u"--1", u" 1", u"1 ", u"1.0", u"0x1", u"\u0661"}) {
    EXPECT_EQ(decimalNumber(text), std::nullopt);
  }
}

TEST(DecimalNumber, RefusesNumbersBeyond32Bits) {
  EXPECT_EQ(decimalNumber(u"2147483647"), 2147483647L);
  EXPECT_EQ(decimalNumber(u"-2147483648"), -2147483648L);
  EXPECT_EQ(decimalNumber(u"2147483648"), std::nullopt);
  EXPECT_EQ(decimalNumber(u"-2147483649"), std::nullopt);
  EXPECT_EQ(decimalNumber(u"00000000001"), std::nullopt);
}

}  // namespace
}  // namespace qx
