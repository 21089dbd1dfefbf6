#include "qxdesk/sql/numbers.h"

#include "qxdesk/sql/test_sqlite.h"

#include <gtest/gtest.h>

#include <array>
#include <charconv>
#include <limits>
#include <random>

namespace qx::sql {
namespace {

TEST(IsWholeNumber, HoldsForDigitsOnly) {
  for (const char* number : {"0", "007", "123456789012345678901234567890"}) {
    EXPECT_TRUE(isWholeNumber(number)) << number;
  }
  for (const char* number : {"1.", ".5", "1.0", "1e2", "1E+2", "-1", " 1"}) {
    EXPECT_FALSE(isWholeNumber(number)) << number;
  }
}

TEST(NearestDouble, ReadsEveryFormOfNumber) {
  EXPECT_EQ(nearestDouble("0"), 0.0);
  EXPECT_EQ(nearestDouble("007"), 7.0);
  EXPECT_EQ(nearestDouble("12.50"), 12.5);
  EXPECT_EQ(nearestDouble(".5"), 0.5);
  EXPECT_EQ(nearestDouble("5."), 5.0);
  EXPECT_EQ(nearestDouble("1.5E+3"), 1500.0);
  EXPECT_EQ(nearestDouble("1500e-3"), 1.5);
  EXPECT_EQ(nearestDouble("0.1"), 0.1);
  EXPECT_EQ(nearestDouble("0.3000000000000000444089209850062616169452667236328125"), 0.1 + 0.2);
}

TEST(NearestDouble, IsZeroBelowTheSmallestAndNothingAboveTheLargest) {
  EXPECT_EQ(nearestDouble("1.7976931348623157e308"), std::numeric_limits<double>::max());
  EXPECT_FALSE(nearestDouble("1.79769313486232E+308"));
  EXPECT_FALSE(nearestDouble("1e400"));
  EXPECT_FALSE(nearestDouble("1e99999999999999999999"));
  EXPECT_FALSE(nearestDouble(std::string(400, '9')));
  EXPECT_EQ(nearestDouble("4.94065645841247E-324"), std::numeric_limits<double>::denorm_min());
  EXPECT_EQ(nearestDouble("1e-400"), 0.0);
  EXPECT_EQ(nearestDouble("1e-99999999999999999999"), 0.0);
  EXPECT_EQ(nearestDouble("0e99999999999999999999"), 0.0);
  EXPECT_EQ(nearestDouble("0." + std::string(400, '0') + "1"), 0.0);
  EXPECT_EQ(nearestDouble(std::string(400, '0') + "1"), 1.0);
}

TEST(ReadsExactly, HoldsForEverydayNumbers) {
  for (const char* number :
       {"0", "0.000", "1", "12.5", "0.1", "12.345678", "999999999.999999", "1e22",
        "123456789012345678", "9223372036854775807", "9223372036854775808"}) {
    EXPECT_TRUE(readsExactly(number)) << number;
  }
}

TEST(ReadsExactly, ExcludesNumbersThatMayBeRoundedWrongly) {
  for (const char* number : {"1e300", "1.5E-300", "1234567890.123456789", "9223372036854775809",
                             "0.30000000000000004441", "1e400"}) {
    EXPECT_FALSE(readsExactly(number)) << number;
  }
}

// Draws numbers of up to 15 digits, as many as a double holds for certain, with exponents from -25
// to 24.
TEST(ReadsExactly, AgreesWithSqlite) {
  test::SqliteConnection database;
  std::mt19937 random(20240131);
  int exact = 0;
  for (int i = 0; i < 3000; ++i) {
    const std::uint64_t digits = (std::uint64_t{random()} << 32 | random()) % 1'000'000'000'000'000;
    const std::string number =
        std::to_string(digits) + "e" + std::to_string(static_cast<int>(random() % 50) - 25);
    std::array<char, 32> shortest{};
    std::to_chars(shortest.data(), shortest.data() + shortest.size(),
                  nearestDouble(number).value());
    const std::string same =
        database.runNative("SELECT " + number + " = qx_number('" + shortest.data() + "')");
    if (!readsExactly(number)) continue;
    ++exact;
    EXPECT_EQ(same, "1") << number;
  }
  EXPECT_GT(exact, 2900);
}

TEST(PlainText, HasNoExponentAndFifteenDigits) {
  EXPECT_EQ(plainText(0), "0");
  EXPECT_EQ(plainText(-0.0), "0");
  EXPECT_EQ(plainText(12.5), "12.5");
  EXPECT_EQ(plainText(-100), "-100");
  EXPECT_EQ(plainText(0.000125), "0.000125");
  EXPECT_EQ(plainText(0.1 + 0.2), "0.3");
  EXPECT_EQ(plainText(10.0 / 3), "3.33333333333333");
  EXPECT_EQ(plainText(123456789012345680.0), "123456789012346000");
  EXPECT_EQ(plainText(0.9999999999999999), "1");
  EXPECT_EQ(plainText(1e300), "1" + std::string(300, '0'));
  EXPECT_EQ(plainText(-2.5e-300), "-0." + std::string(299, '0') + "25");
}

}  // namespace
}  // namespace qx::sql
