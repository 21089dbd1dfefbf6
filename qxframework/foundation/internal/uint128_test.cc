#include "qxframework/foundation/internal/uint128.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>
#include <string>

namespace qx {
namespace {

constexpr std::uint64_t kAllBits = std::numeric_limits<std::uint64_t>::max();

// The limbs as the number is written, the most significant one first.
std::string limbsOf(const CUInt128& number) {
  std::string text;
  char limb[16];
  for (std::size_t i = 4; i-- > 0;) {
    std::snprintf(limb, sizeof limb, "%08X", number.limb(i));
    text += (text.empty() ? "" : " ") + std::string(limb);
  }
  return text;
}

CUInt128 shifted(CUInt128 number, int bits) { return number <<= bits; }

TEST(UInt128, LimbZeroIsTheLeastSignificant) {
  const CUInt128 number(std::uint64_t{0x1122334455667788});
  EXPECT_EQ(number.limb(0), 0x55667788U);
  EXPECT_EQ(number.limb(1), 0x11223344U);
  EXPECT_EQ(number.limb(2), 0U);
  EXPECT_EQ(number.limb(3), 0U);
  EXPECT_TRUE(number.isExact());
}

TEST(UInt128, SignIsExtendedIntoTheUpperHalf) {
  EXPECT_EQ(limbsOf(CUInt128(-2)), "FFFFFFFF FFFFFFFF FFFFFFFF FFFFFFFE");
  EXPECT_EQ(limbsOf(CUInt128(std::numeric_limits<int>::min())),
            "FFFFFFFF FFFFFFFF FFFFFFFF 80000000");
  EXPECT_EQ(limbsOf(CUInt128(7)), "00000000 00000000 00000000 00000007");
}

TEST(UInt128, AdditionCarriesThroughAllLimbs) {
  CUInt128 number(kAllBits);
  number += CUInt128(1);
  EXPECT_EQ(limbsOf(number), "00000000 00000001 00000000 00000000");
  EXPECT_TRUE(number.isExact());
}

TEST(UInt128, AdditionOverflowClearsTheFlagForGood) {
  CUInt128 number(-1);
  number += CUInt128(1);
  EXPECT_EQ(limbsOf(number), "00000000 00000000 00000000 00000000");
  EXPECT_FALSE(number.isExact());
  number += CUInt128(5);
  EXPECT_EQ(number.lower(), 5U);
  EXPECT_FALSE(number.isExact());
  CUInt128 other(1);
  other += number;
  EXPECT_FALSE(other.isExact());
}

TEST(UInt128, MultiplicationFillsAll128Bits) {
  CUInt128 number(kAllBits);
  number *= kAllBits;
  EXPECT_EQ(limbsOf(number), "FFFFFFFF FFFFFFFE 00000000 00000001");
  EXPECT_TRUE(number.isExact());
  EXPECT_EQ(number.upper(), kAllBits - 1);
  EXPECT_EQ(number.lower(), 1U);
}

TEST(UInt128, MultiplicationOverflowClearsTheFlag) {
  CUInt128 edge = shifted(CUInt128(1), 64);
  edge *= kAllBits;
  EXPECT_EQ(limbsOf(edge), "FFFFFFFF FFFFFFFF 00000000 00000000");
  EXPECT_TRUE(edge.isExact());
  CUInt128 beyond = shifted(CUInt128(1), 64);
  beyond += CUInt128(2);
  beyond *= kAllBits;  // the carry comes up from the lower half
  EXPECT_FALSE(beyond.isExact());
  CUInt128 far = shifted(CUInt128(1), 127);
  far *= 2;
  EXPECT_FALSE(far.isExact());
  EXPECT_EQ(far, CUInt128(0));
}

TEST(UInt128, ShiftCrossesLimbsAndDropsTheUpperBits) {
  EXPECT_EQ(limbsOf(shifted(CUInt128(std::uint64_t{0x80000001}), 0)),
            "00000000 00000000 00000000 80000001");
  EXPECT_EQ(limbsOf(shifted(CUInt128(std::uint64_t{0x80000001}), 33)),
            "00000000 00000001 00000002 00000000");
  EXPECT_EQ(limbsOf(shifted(CUInt128(3), 127)), "80000000 00000000 00000000 00000000");
  EXPECT_TRUE(shifted(CUInt128(3), 127).isExact());
}

TEST(UInt128, ComparesAsUnsigned) {
  EXPECT_LT(CUInt128(1), CUInt128(-1));
  EXPECT_LT(CUInt128(kAllBits), shifted(CUInt128(1), 64));
  EXPECT_GT(shifted(CUInt128(1), 96), CUInt128(kAllBits));
  EXPECT_EQ(CUInt128(5), CUInt128(std::uint64_t{5}));
  CUInt128 wrapped(-1);
  wrapped += CUInt128(6);
  EXPECT_EQ(wrapped, CUInt128(5));  // the flag does not count
}

TEST(UInt128, DividesWithAndWithoutARemainder) {
  CUInt128 number(kAllBits);
  number *= kAllBits;
  std::uint64_t rest = 0;
  EXPECT_EQ(number.dividedBy(kAllBits, &rest), CUInt128(kAllBits));
  EXPECT_EQ(rest, 0U);
  number += CUInt128(9);
  EXPECT_EQ(number.dividedBy(kAllBits, &rest), CUInt128(kAllBits));
  EXPECT_EQ(rest, 9U);
  EXPECT_EQ(limbsOf(CUInt128(-1).dividedBy(1'000'000, &rest)),
            "000010C6 F7A0B5ED 8D36B4C7 F3493858");
  EXPECT_EQ(rest, 211'455U);
  EXPECT_EQ(CUInt128(std::uint64_t{100}).dividedBy(7), CUInt128(14));
}

TEST(UInt128, DivisionsOfEverySizeInvertMultiplication) {
  // 2^64 × a + b for upper halves below, at and above the divisor, whose size decides how it goes.
  constexpr std::uint64_t kNumbers[] = {1,         2,         3,         999'999,      1'000'000,
                                        1'048'575, 1'048'576, 1'048'577, kAllBits / 3, kAllBits - 1,
                                        kAllBits};
  for (const std::uint64_t divisor : kNumbers) {
    for (const std::uint64_t quotient : kNumbers) {
      for (const std::uint64_t rest : {std::uint64_t{0}, divisor / 2, divisor - 1}) {
        CUInt128 number(quotient);
        number *= divisor;
        number += CUInt128(rest);
        std::uint64_t left = 99;
        EXPECT_EQ(number.dividedBy(divisor, &left), CUInt128(quotient)) << divisor << quotient;
        EXPECT_EQ(left, rest);
      }
    }
  }
}

TEST(UInt128, DivisionByOneKeepsTheNumber) {
  std::uint64_t rest = 99;
  EXPECT_EQ(CUInt128(-1).dividedBy(1, &rest), CUInt128(-1));
  EXPECT_EQ(rest, 0U);
  rest = 99;
  EXPECT_EQ(CUInt128(17).dividedBy(1, &rest), CUInt128(17));
  EXPECT_EQ(rest, 0U);
}

template <class Pointer>
std::string thrownAs(const CUInt128& dividend) {
  try {
    dividend.dividedBy(0);
  } catch (Pointer text) {
    return text;
  } catch (...) {
    return "something else";
  }
  return "nothing";
}

TEST(UInt128, DivisionByZeroThrowsATextForEitherCharacterPointer) {
  for (const CUInt128& number : {CUInt128(0), CUInt128(17), CUInt128(-1)}) {
    EXPECT_EQ(thrownAs<char*>(number), "divide 0");
    EXPECT_EQ(thrownAs<const char*>(number), "divide 0");
  }
}

}  // namespace
}  // namespace qx
