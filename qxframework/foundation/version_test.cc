#include "qxframework/foundation/version.h"

#include <gtest/gtest.h>

#include <array>

namespace {

std::array<long, 5> numbersOf(const OLECHAR* text) {
  const CQXVersion version{CString(text)};
  return {version.GetMajor(), version.GetMinor(), version.GetSP(), version.GetExt(),
          version.GetEF()};
}

using Numbers = std::array<long, 5>;

TEST(Version, ReadsFiveNumbersAndPrintsThemBack) {
  const CQXVersion version{CString(u"9.20.120.01.05")};
  EXPECT_EQ(numbersOf(u"9.20.120.01.05"), (Numbers{9, 20, 120, 1, 5}));
  EXPECT_EQ(version.GetVersionAsBSTR().View(), u"9.20.120.01.05");
  EXPECT_EQ(version.GetVersionWithoutEFAsBSTR().View(), u"9.20.120.01");
}

TEST(Version, MissingNumbersAreZero) {
  EXPECT_EQ(numbersOf(u"9"), (Numbers{9, 0, 0, 0, 0}));
  EXPECT_EQ(numbersOf(u"9.1"), (Numbers{9, 1, 0, 0, 0}));
  EXPECT_EQ(numbersOf(u"9.1.2"), (Numbers{9, 1, 2, 0, 0}));
  EXPECT_EQ(numbersOf(u"9.1.2.3"), (Numbers{9, 1, 2, 3, 0}));
}

TEST(Version, EmptyTextAndLeadingDotReadAsFiveZeros) {
  EXPECT_EQ(numbersOf(u""), Numbers{});
  EXPECT_EQ(numbersOf(u".5"), Numbers{});
}

TEST(Version, AFifthDotEndsTheFifthNumber) {
  EXPECT_EQ(numbersOf(u"1.2.3.4.5.6"), (Numbers{1, 2, 3, 4, 5}));
}

TEST(Version, NumbersReadUpToTheFirstOtherCharacter) {
  EXPECT_EQ(numbersOf(u" 9x.-2. +3y.z4.5 "), (Numbers{9, -2, 3, 0, 5}));
  EXPECT_EQ(numbersOf(u"1..3"), (Numbers{1, 0, 3, 0, 0}));
}

TEST(Version, TheStartValuePrintsBackTheSame) {
  EXPECT_EQ(CQXVersion(CString(u"0.00.00.00.00")).GetVersionAsBSTR().View(), u"0.00.00.00.00");
}

TEST(Version, TheWeightsAreUneven) {
  EXPECT_EQ(
      CQXVersion(CString(u"1.2.3.4.5")).GetInt64Value(),
      5 * 100LL + 4 * 10'000LL + 3 * 10'000'000LL + 2 * 10'000'000'000LL + 10'000'000'000'000LL);
  EXPECT_TRUE(CQXVersion(CString(u"1.1000")) == CQXVersion(CString(u"2.0")));
  EXPECT_TRUE(CQXVersion(CString(u"0.0.1")) == CQXVersion(CString(u"0.0.0.1000")));
}

TEST(Version, SetEfChangesTheValueBy100PerUnit) {
  CQXVersion version{CString(u"9.20")};
  const auto before = version.GetInt64Value();
  version.SetEF(7);
  EXPECT_EQ(version.GetInt64Value(), before + 700);
}

TEST(Version, StatusIsNotComparedAndSurvivesSetVersion) {
  CQXVersion a{CString(u"1.2")};
  CQXVersion b{CString(u"1.2")};
  a.SetStatus(u"Installed");
  EXPECT_TRUE(a == b);
  EXPECT_FALSE(a != b);
  a.SetVersion(u"3");
  EXPECT_EQ(a.GetStatus(), CString(u"Installed"));
}

TEST(Version, TheSixComparisonsAgree) {
  const CQXVersion older{CString(u"9.19.99")};
  const CQXVersion newer{CString(u"9.20")};
  EXPECT_TRUE(older < newer && older <= newer && older != newer);
  EXPECT_FALSE(older > newer || older >= newer || older == newer);
  EXPECT_TRUE(newer > older && newer >= older && newer != older);
  EXPECT_FALSE(newer < older || newer <= older || newer == older);
  const CQXVersion same{CString(u"9.20.0")};
  EXPECT_TRUE(newer == same && newer <= same && newer >= same);
  EXPECT_FALSE(newer != same || newer < same || newer > same);
}

TEST(Version, HugeNumbersStopAt32BitsAndTheValueWraps) {
  const CQXVersion version{CString(u"99999999999")};
  EXPECT_EQ(version.GetMajor(), 2147483647);
  EXPECT_EQ(version.GetInt64Value(),
            static_cast<std::int64_t>(2147483647ULL * 10'000'000'000'000ULL));
}

}  // namespace
