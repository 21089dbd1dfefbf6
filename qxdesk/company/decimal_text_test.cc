#include "qxdesk/company/decimal_text.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>

namespace qx::desk {
namespace {

std::string text(double value, int places) {
  const auto decimal = roundedDecimal(value, places);
  if (!decimal) return "none";
  return (decimal->negative ? "-" : "") + decimal->whole + "." + decimal->fraction;
}

TEST(DecimalText, RoundsTheShortestDecimalForm) {
  EXPECT_EQ(text(1.005, 2), "1.01");
  EXPECT_EQ(text(1.004999, 2), "1.00");
  EXPECT_EQ(text(0.5, 0), "1.");
  EXPECT_EQ(text(-0.5, 0), "-1.");
  EXPECT_EQ(text(-0.4, 0), "0.");
  EXPECT_EQ(text(9.999, 2), "10.00");
  EXPECT_EQ(text(99.95, 1), "100.0");
  EXPECT_EQ(text(0.0004, 3), "0.000");
  EXPECT_EQ(text(0.0005, 3), "0.001");
  EXPECT_EQ(text(1e21, 2), "1000000000000000000000.00");
  EXPECT_EQ(text(1.5e-7, 7), "0.0000002");
  EXPECT_EQ(text(0.0, 2), "0.00");
  EXPECT_EQ(text(-0.0, 2), "0.00");
  EXPECT_EQ(text(std::numeric_limits<double>::quiet_NaN(), 2), "none");
  EXPECT_EQ(text(-std::numeric_limits<double>::infinity(), 2), "none");
}

TEST(DecimalText, ANumberWithFewerPlacesStaysItself) {
  std::mt19937 random(5);
  for (int i = 0; i < 5000; ++i) {
    const double value = static_cast<double>(static_cast<int>(random() % 2000001) - 1000000) / 100;
    const auto decimal = roundedDecimal(value, 2);
    ASSERT_TRUE(decimal);
    EXPECT_EQ(doubleOf(*decimal), value);
  }
}

}  // namespace
}  // namespace qx::desk
