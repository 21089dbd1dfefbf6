#include "testing/cases.h"

#include "testing/scoped_variable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using qx::test::cases;
using qx::test::ScopedVariable;

std::size_t casesWith(const char* factor, std::size_t usual) {
  const ScopedVariable variable("QX_TEST_CASES_FACTOR", factor);
  return cases(usual);
}

TEST(CasesTest, ReturnsTheUsualNumberWithoutTheVariable) {
  EXPECT_EQ(casesWith(nullptr, 20'000), 20'000U);
  EXPECT_EQ(casesWith(nullptr, 1), 1U);
}

TEST(CasesTest, TheFactorRaisesAndLowersTheNumber) {
  EXPECT_EQ(casesWith("50", 20'000), 1'000'000U);
  EXPECT_EQ(casesWith("1.5", 10), 15U);
  EXPECT_EQ(casesWith("0.1", 25), 2U);
}

TEST(CasesTest, AtLeastOneCaseRemains) { EXPECT_EQ(casesWith("0.001", 10), 1U); }

TEST(CasesDeathTest, AFactorThatIsNotAPositiveNumberAborts) {
  for (const char* factor : {"", " 2", "2 ", "ten", "2x", "+2", "0", "-1", "nan", "inf", "1e300"})
    EXPECT_DEATH(casesWith(factor, 10),
                 testing::HasSubstr("QX_TEST_CASES_FACTOR=\"" + std::string(factor) + "\" makes"))
        << factor;
}

TEST(CasesDeathTest, ATestWithoutCasesAborts) {
  EXPECT_DEATH(casesWith(nullptr, 0), "no number of cases out of 0");
}

}  // namespace
