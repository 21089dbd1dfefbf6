#include "qxframework/foundation/currency.h"

#include "qxframework/automation/variant.h"
#include "testing/amounts.h"
#include "testing/raised_by.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <csignal>
#include <limits>
#include <string>
#include <type_traits>

namespace {

using qx::test::DefaultDecimal;
using qx::test::fromMillionths;
using qx::test::millionthsOf;
using qx::test::raisedBy;
using qx::test::textOf;

constexpr std::int64_t kHighest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kLowest = std::numeric_limits<std::int64_t>::min();

CQXCurrency read(const char16_t* from) {
  CQXCurrency amount;
  amount.FromString(CString(from));
  return amount;
}

std::string rounded(double amount, int digits, int defaultDecimal) {
  const DefaultDecimal places(defaultDecimal);
  CQXCurrency value(amount);
  value.Round(digits);
  return textOf(value);
}

TEST(Currency, HasTheSizeOfOne64BitNumber) {
  EXPECT_EQ(sizeof(CQXCurrency), 8U);
  EXPECT_TRUE(std::is_trivially_copyable_v<CQXCurrency>);
  EXPECT_FALSE(std::is_polymorphic_v<CQXCurrency>);
}

TEST(Currency, StaticMembersStartUnset) {
  EXPECT_EQ(CQXCurrency::m_DefaultDecimal, 2);
  EXPECT_FALSE(CQXCurrency::m_RoundViaRX);
  EXPECT_TRUE(CQXCurrency::m_bstrLoc.IsEmpty());
  EXPECT_TRUE(CQXCurrency::m_bstrCurr.IsEmpty());
  EXPECT_FALSE(CQXCurrency::m_ptrCompany);
  EXPECT_FALSE(CQXCurrency::m_ptrCompService);
  EXPECT_FALSE(CQXCurrency::m_ptrDecimalData);
  EXPECT_FALSE(CQXCurrency::m_ptrRoundedData);
}

TEST(Currency, PartsAreAddedWithIndependentSigns) {
  EXPECT_EQ(textOf(CQXCurrency()), "0.000000");
  EXPECT_EQ(textOf(CQXCurrency(12, 340000)), "12.340000");
  EXPECT_EQ(textOf(CQXCurrency(-1, 500000)), "-0.500000");
  EXPECT_EQ(textOf(CQXCurrency(-1, -500000)), "-1.500000");
  EXPECT_EQ(textOf(CQXCurrency(1, 2500000)), "3.500000");
  EXPECT_EQ(millionthsOf(CQXCurrency(9223372036854, 775808)), kLowest);  // wraps
  EXPECT_EQ(textOf(CQXCurrency(CComBSTR(u"7.25"))), "7.250000");
  EXPECT_EQ(textOf(CQXCurrency(0.1)), "0.100000");
}

TEST(Currency, AssignedIntegersWrapAt32BitsButConstructedOnesDoNot) {
  EXPECT_EQ(textOf(CQXCurrency(3000)), "3000.000000");
  EXPECT_EQ(textOf(CQXCurrency(std::numeric_limits<int>::min())), "-2147483648.000000");
  CQXCurrency amount;
  amount = 3000;
  EXPECT_EQ(textOf(amount), "-1294.967296");
  amount = 2147;
  EXPECT_EQ(textOf(amount), "2147.000000");
  amount = 2148;
  EXPECT_EQ(textOf(amount), "-2146.967296");
  amount = -1;
  EXPECT_EQ(textOf(amount), "-1.000000");
  amount = std::numeric_limits<int>::min();
  EXPECT_EQ(textOf(amount), "0.000000");
}

TEST(Currency, AssignsAmountsAndDoubles) {
  CQXCurrency amount;
  EXPECT_EQ(&(amount = 1.5), &amount);
  EXPECT_EQ(textOf(amount), "1.500000");
  amount = CQXCurrency(2, 1);
  EXPECT_EQ(textOf(amount), "2.000001");
}

TEST(Currency, AddsAndSubtracts) {
  CQXCurrency amount(10);
  EXPECT_EQ(textOf(amount + CQXCurrency(0, 1)), "10.000001");
  EXPECT_EQ(textOf(amount - CQXCurrency(12)), "-2.000000");
  amount += CQXCurrency(0.5);
  EXPECT_EQ(textOf(amount), "10.500000");
  amount -= CQXCurrency(0.25);
  EXPECT_EQ(textOf(amount), "10.250000");
  EXPECT_EQ(textOf(-amount), "-10.250000");
}

TEST(Currency, SumThrowsIfItsDoubleReachesTheUpperLimit) {
  EXPECT_EQ(raisedBy([] { fromMillionths(kHighest) + fromMillionths(0); }),
            -1);  // the sum itself fits
  EXPECT_EQ(raisedBy([] { fromMillionths(kHighest - 511) + fromMillionths(0); }), -1);
  EXPECT_EQ(millionthsOf(fromMillionths(kHighest - 512) + fromMillionths(0)), kHighest - 512);
  EXPECT_EQ(raisedBy([] { fromMillionths(kHighest - 1000) + fromMillionths(512); }), -1);
  EXPECT_EQ(raisedBy([] { fromMillionths(kHighest) + fromMillionths(kHighest); }), -1);
}

TEST(Currency, SumAndDifferenceThrowAtTheLowerLimit) {
  EXPECT_EQ(raisedBy([] { fromMillionths(kLowest) + fromMillionths(0); }), -1);
  EXPECT_EQ(raisedBy([] { fromMillionths(kLowest) + fromMillionths(1); }), -1);
  EXPECT_EQ(raisedBy([] { fromMillionths(kLowest) - fromMillionths(1); }), -1);
  EXPECT_EQ(raisedBy([] { fromMillionths(0) - fromMillionths(kLowest); }), -1);
  EXPECT_EQ(millionthsOf(fromMillionths(kLowest) + fromMillionths(1024)), kLowest + 1024);
}

TEST(Currency, NegatingTheLowestAmountKeepsIt) {
  EXPECT_EQ(millionthsOf(-fromMillionths(kLowest)), kLowest);
  EXPECT_EQ(millionthsOf(-fromMillionths(kHighest)), -kHighest);
}

TEST(Currency, MultiplicationTruncatesWhereDivisionRounds) {
  EXPECT_EQ(textOf(fromMillionths(1) * CQXCurrency(0.5)), "0.000000");
  EXPECT_EQ(textOf(fromMillionths(-1) * CQXCurrency(0.9)), "0.000000");
  EXPECT_EQ(textOf(CQXCurrency(-1.5) * CQXCurrency(1.5)), "-2.250000");
  EXPECT_EQ(textOf(CQXCurrency(-1.5) * CQXCurrency(-2)), "3.000000");
  EXPECT_EQ(textOf(fromMillionths(1) / CQXCurrency(2)), "0.000001");
  EXPECT_EQ(textOf(fromMillionths(-1) / CQXCurrency(2)), "-0.000001");
}

TEST(Currency, DivisionRoundsHalfUpInMagnitudeAtTheSixthDecimal) {
  EXPECT_EQ(textOf(CQXCurrency(1) / CQXCurrency(3)), "0.333333");
  EXPECT_EQ(textOf(CQXCurrency(2) / CQXCurrency(3)), "0.666667");
  EXPECT_EQ(textOf(CQXCurrency(-2) / CQXCurrency(3)), "-0.666667");
  EXPECT_EQ(textOf(CQXCurrency(2) / CQXCurrency(-3)), "-0.666667");
  EXPECT_EQ(textOf(fromMillionths(999999999) / CQXCurrency(1000)),
            "1.000000");  // carries into the whole
  CQXCurrency amount(7);
  amount /= CQXCurrency(2);
  EXPECT_EQ(textOf(amount), "3.500000");
}

TEST(Currency, MultipliesByALongExactly) {
  CQXCurrency amount(1.25);
  EXPECT_EQ(textOf(amount * 4L), "5.000000");
  EXPECT_EQ(textOf(amount * -4L), "-5.000000");
  amount *= 2L;
  EXPECT_EQ(textOf(amount), "2.500000");
  amount *= CQXCurrency(2);
  EXPECT_EQ(textOf(amount), "5.000000");
  EXPECT_EQ(millionthsOf(fromMillionths(1) * kLowest), kLowest);
  EXPECT_EQ(raisedBy([] { fromMillionths(kHighest) * 3L; }), -1);
}

TEST(Currency, ProductsAndQuotientsWrapAbove63BitsAndThrowAbove64) {
  EXPECT_EQ(millionthsOf(fromMillionths(kHighest) * 2L), -2);
  EXPECT_EQ(millionthsOf(fromMillionths(kLowest) * CQXCurrency(1)), kLowest);
  EXPECT_EQ(millionthsOf(fromMillionths(kLowest) * CQXCurrency(-1)), kLowest);
  EXPECT_EQ(millionthsOf(fromMillionths(kHighest) * CQXCurrency(2)), -2);
  EXPECT_EQ(raisedBy([] { fromMillionths(kHighest) * CQXCurrency(3); }), -1);
  EXPECT_EQ(raisedBy([] { fromMillionths(kLowest) * fromMillionths(kLowest); }), -1);
  EXPECT_EQ(millionthsOf(fromMillionths(kHighest) / CQXCurrency(0.5)), -2);
  EXPECT_EQ(raisedBy([] { fromMillionths(kHighest) / CQXCurrency(0.25); }), -1);
  EXPECT_EQ(raisedBy([] { fromMillionths(kLowest) / fromMillionths(1); }), -1);
  EXPECT_EQ(millionthsOf(fromMillionths(kLowest) / fromMillionths(kLowest)), 1'000'000);
}

TEST(Currency, OverflowKeepsTheAmount) {
  CQXCurrency amount = fromMillionths(kHighest);
  EXPECT_EQ(raisedBy([&] { amount += CQXCurrency(1); }), -1);
  EXPECT_EQ(raisedBy([&] { amount -= CQXCurrency(-1); }), -1);
  EXPECT_EQ(raisedBy([&] { amount *= CQXCurrency(3); }), -1);
  EXPECT_EQ(raisedBy([&] { amount *= 3L; }), -1);
  EXPECT_EQ(raisedBy([&] { amount /= CQXCurrency(0.1); }), -1);
  EXPECT_EQ(millionthsOf(amount), kHighest);
}

TEST(CurrencyDeathTest, DivisionByZeroSendsSigfpe) {
  const auto divide = [](std::int64_t dividend) {
    std::signal(SIGFPE, SIG_DFL);  // a sanitizer has a handler of its own
    return fromMillionths(dividend) / CQXCurrency(0);
  };
  EXPECT_EXIT(divide(1'000'000), testing::KilledBySignal(SIGFPE), "");
  EXPECT_EXIT(divide(0), testing::KilledBySignal(SIGFPE), "");
}

// Other processors have no such fault; the signal is sent by the program there.
#if defined(__x86_64__) || defined(__i386__)
TEST(CurrencyDeathTest, DivisionByZeroEndsTheProcessWhereSigfpeIsIgnored) {
  const auto divide = [] {
    std::signal(SIGFPE, SIG_IGN);
    return CQXCurrency(1) / CQXCurrency(0);
  };
  EXPECT_EXIT(divide(), testing::KilledBySignal(SIGFPE), "");
}

TEST(CurrencyDeathTest, DivisionByZeroEndsTheProcessWhereSigfpeIsBlocked) {
  const auto divide = [] {
    std::signal(SIGFPE, SIG_DFL);
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGFPE);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    return CQXCurrency(1) / CQXCurrency(0);
  };
  EXPECT_EXIT(divide(), testing::KilledBySignal(SIGFPE), "");
}

/// Ends the process with 0 if the fault is a division in this program and not in the C library.
void reportFault(int, siginfo_t* info, void*) {
  Dl_info fault{};
  Dl_info program{};
  const bool found = dladdr(info->si_addr, &fault) != 0 &&
                     dladdr(reinterpret_cast<const void*>(&reportFault), &program) != 0;
  _exit(found && info->si_code == FPE_INTDIV && fault.dli_fbase == program.dli_fbase ? 0 : 1);
}

TEST(CurrencyDeathTest, ACrashHandlerSeesTheDivisionByZeroWhereItIs) {
  const auto divide = [] {
    struct sigaction action {};
    action.sa_sigaction = &reportFault;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGFPE, &action, nullptr);
    return CQXCurrency(1) / CQXCurrency(0);
  };
  EXPECT_EXIT(divide(), testing::ExitedWithCode(0), "");
}
#endif

TEST(Currency, ComparesByValue) {
  const CQXCurrency small(-1);
  const CQXCurrency large(1);
  EXPECT_TRUE(small < large && small <= large && large > small && large >= small);
  EXPECT_TRUE(small != large && !(small == large) && small == CQXCurrency(-1.0));
  EXPECT_TRUE(small <= small && small >= small && !(small < small) && !(small > small));
}

TEST(Currency, IntegerAndFractionHaveTheSignOfTheAmount) {
  const CQXCurrency amount(-1.5);
  EXPECT_EQ(amount.GetInteger(), -1);
  EXPECT_EQ(amount.GetFraction(), -500000);
  EXPECT_EQ(CQXCurrency(-0.25).GetInteger(), 0);
  EXPECT_EQ(CQXCurrency(-0.25).GetFraction(), -250000);
  EXPECT_EQ(fromMillionths(kLowest).GetInteger(), -9223372036854);
  EXPECT_EQ(fromMillionths(kLowest).GetFraction(), -775808);
  EXPECT_TRUE(CQXCurrency().IsZero());
  EXPECT_FALSE(fromMillionths(-1).IsZero());
}

TEST(Currency, RoundsHalfAwayFromZero) {
  EXPECT_EQ(rounded(1.005, 2, 2), "1.010000");
  EXPECT_EQ(rounded(-1.005, 2, 2), "-1.010000");
  EXPECT_EQ(rounded(1.004999, 2, 2), "1.000000");
  EXPECT_EQ(rounded(0.5, 0, 2), "1.000000");
  EXPECT_EQ(rounded(-0.5, 0, 2), "-1.000000");
  EXPECT_EQ(rounded(0.499999, 0, 2), "0.000000");
}

TEST(Currency, RoundKnowsOnlyZeroAndTheDefaultPlaces) {
  EXPECT_EQ(rounded(1.23456, 5, 2), "1.230000");
  EXPECT_EQ(rounded(1.23456, -1, 2), "1.230000");
  EXPECT_EQ(rounded(1.23456, 0, 2), "1.000000");
  EXPECT_EQ(rounded(1.23456, 1, 4), "1.234600");
  EXPECT_EQ(rounded(1.23456, 1, 0), "1.000000");
}

TEST(Currency, SixOrMoreDefaultPlacesKeepTheAmount) {
  EXPECT_EQ(rounded(1.234567, 2, 6), "1.234567");
  EXPECT_EQ(rounded(1.234567, 2, std::numeric_limits<int>::max()), "1.234567");
  EXPECT_EQ(rounded(1.234565, 2, 5), "1.234570");
}

TEST(Currency, NegativeDefaultPlacesCutBeforeThePoint) {
  EXPECT_EQ(rounded(1299.5, 2, -2), "1300.000000");  // the half that is added stays 0.5
  EXPECT_EQ(rounded(1299.25, 2, -2), "1200.000000");
  EXPECT_EQ(rounded(-1250.0, 2, -1), "-1250.000000");
  EXPECT_EQ(rounded(9e12, 2, -12), "9000000000000.000000");
  EXPECT_EQ(rounded(9e12, 2, -13), "0.000000");
  EXPECT_EQ(rounded(9e12, 2, std::numeric_limits<int>::min()), "0.000000");
}

TEST(Currency, RoundByADDIgnoresItsArgument) {
  for (const int digits : {0, 1, 5, 100}) {
    CQXCurrency amount(1.005);
    amount.RoundByADD(digits);
    EXPECT_EQ(textOf(amount), "1.010000");
  }
}

TEST(Currency, RoundingOverAnEndOfTheRangeWraps) {
  CQXCurrency amount = fromMillionths(kHighest);
  amount.Round(2);
  EXPECT_EQ(millionthsOf(amount), -9223372036854770000);
  amount = fromMillionths(kLowest);
  amount.Round(2);
  EXPECT_EQ(millionthsOf(amount), 9223372036854770000);
}

TEST(Currency, FromDoubleDropsLessThanAMillionth) {
  EXPECT_EQ(textOf(CQXCurrency(0.0000004)), "0.000000");
  EXPECT_EQ(textOf(CQXCurrency(0.0000006)), "0.000000");
  EXPECT_EQ(textOf(CQXCurrency(0.000001)), "0.000001");
  EXPECT_EQ(textOf(CQXCurrency(-0.000001)), "-0.000001");
  EXPECT_EQ(textOf(CQXCurrency(-0.0)), "0.000000");
}

TEST(Currency, FromDoubleRoundsHalfAwayFromZero) {
  EXPECT_EQ(textOf(CQXCurrency(0.0000015)), "0.000002");
  EXPECT_EQ(textOf(CQXCurrency(-0.0000015)), "-0.000002");
  EXPECT_EQ(textOf(CQXCurrency(1e12)), "1000000000000.000000");
}

TEST(Currency, DoubleOutsideTheRangeBecomesTheLowestAmount) {
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double amount :
       {infinity, -infinity, std::numeric_limits<double>::quiet_NaN(),
        -std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::max(),
        9223372036854.775808, 1e13, -1e13})
    EXPECT_EQ(millionthsOf(CQXCurrency(amount)), kLowest) << amount;
  EXPECT_EQ(millionthsOf(CQXCurrency(9223372036854.77)), 9223372036854769664);
}

TEST(Currency, ConvertsToDouble) {
  EXPECT_EQ(CQXCurrency(-1.25).ToDouble(), -1.25);
  EXPECT_EQ(fromMillionths(1).ToDouble(), 0.000001);
  EXPECT_EQ(fromMillionths(kLowest).ToDouble(), -9223372036854.775808);
}

TEST(Currency, FromStringReadsBothSidesOfThePoint) {
  EXPECT_EQ(textOf(read(u"1.23")), "1.230000");
  EXPECT_EQ(textOf(read(u"1.2345678")), "1.234567");
  EXPECT_EQ(textOf(read(u"-1.5")), "-1.500000");
  EXPECT_EQ(textOf(read(u".5")), "0.500000");
  EXPECT_EQ(textOf(read(u"5.")), "5.000000");
  EXPECT_EQ(textOf(read(u"42")), "42.000000");
  EXPECT_EQ(textOf(read(u"1.000001")), "1.000001");
}

TEST(Currency, FromStringLosesTheSignBeforeAZero) {
  EXPECT_EQ(textOf(read(u"-0.5")), "0.500000");
  EXPECT_EQ(textOf(read(u"-.5")), "0.500000");
  EXPECT_EQ(textOf(read(u"-0")), "0.000000");
}

TEST(Currency, FromStringReadsUpToTheFirstOtherCharacter) {
  EXPECT_EQ(textOf(read(u"")), "0.000000");
  EXPECT_EQ(textOf(read(u"abc")), "0.000000");
  EXPECT_EQ(textOf(read(u" \t12abc.5")), "12.500000");
  EXPECT_EQ(textOf(read(u"+3.5x")), "3.050000");  // two characters follow the point
  EXPECT_EQ(textOf(read(u"1.-5")), "0.950000");
  EXPECT_EQ(textOf(read(u"1.2.3")), "1.002000");
  EXPECT_EQ(textOf(read(u"1,5")), "1.000000");
  EXPECT_EQ(textOf(read(u".")), "0.000000");
  EXPECT_EQ(textOf(CQXCurrency(CComBSTR())), "0.000000");
  EXPECT_EQ(textOf(CQXCurrency(CComBSTR(std::u16string_view(u"1\0002", 3)))), "1.000000");
  EXPECT_EQ(textOf(CQXCurrency(CComBSTR(std::u16string_view(u"1\0.5", 4)))), "1.000000");
}

TEST(Currency, FromStringLimitsLongSidesTo64Bits) {
  EXPECT_EQ(textOf(read(u"0.9223372036854775807")), "0.922337");
  EXPECT_EQ(textOf(read(u"0.99999999999999999999")),
            "0.092233");  // the end of 19 digits, cut at 20
  EXPECT_EQ(textOf(read((u"0." + std::u16string(1 << 20, u'9')).c_str())), "0.000000");
  EXPECT_EQ(textOf(read((u"0." + std::u16string(1 << 20, u'0') + u"1").c_str())), "0.000000");
}

TEST(Currency, FromStringOverflowKeepsTheWholePartAsMillionths) {
  CQXCurrency amount(7);
  EXPECT_EQ(raisedBy([&] { amount.FromString(CString(u"18446744073710")); }), -1);
  EXPECT_EQ(millionthsOf(amount), 18446744073710);
  EXPECT_EQ(raisedBy([&] { amount.FromString(CString(std::u16string(1 << 20, u'9'))); }), -1);
  EXPECT_EQ(millionthsOf(amount), kHighest);
  EXPECT_EQ(raisedBy([&] { amount.FromBSTR(CComBSTR(u"-99999999999999999999")); }), -1);
  EXPECT_EQ(millionthsOf(amount), kLowest);
  EXPECT_EQ(raisedBy([] { CQXCurrency(CComBSTR(u"18446744073710")); }), -1);
}

TEST(Currency, FromStringBetween63And64BitsWraps) {
  EXPECT_EQ(millionthsOf(read(u"9223372036854.775807")), kHighest);
  EXPECT_EQ(millionthsOf(read(u"9223372036854.775808")), kLowest);
  EXPECT_EQ(millionthsOf(read(u"-9223372036854.775808")), kLowest);
  EXPECT_EQ(millionthsOf(read(u"9223372036855")), -9223372036854551616);
}

TEST(Currency, WritesSixDecimals) {
  EXPECT_EQ(textOf(CQXCurrency(-0.5)), "-0.500000");
  EXPECT_EQ(textOf(CQXCurrency(-1.5)), "-1.500000");
  EXPECT_EQ(textOf(CQXCurrency(-2)), "-2.000000");
  EXPECT_EQ(textOf(fromMillionths(1)), "0.000001");
  EXPECT_EQ(textOf(fromMillionths(kHighest)), "9223372036854.775807");
  EXPECT_EQ(textOf(fromMillionths(kLowest)), "-9223372036854.775808");
  EXPECT_EQ(CQXCurrency(1.5).ToBSTR().View(), u"1.500000");
}

TEST(Currency, GCDIsInMillionths) {
  EXPECT_EQ(textOf(CQXCurrency(0.5).GCD(CQXCurrency(0.75))), "0.250000");
  EXPECT_EQ(textOf(CQXCurrency(-0.5).GCD(CQXCurrency(0.75))), "0.250000");
  EXPECT_EQ(textOf(fromMillionths(7).GCD(fromMillionths(13))), "0.000001");
  EXPECT_EQ(textOf(CQXCurrency(0).GCD(CQXCurrency(17))), "1.000000");
  EXPECT_EQ(textOf(CQXCurrency(17).GCD(CQXCurrency(0))), "1.000000");
  EXPECT_EQ(millionthsOf(fromMillionths(kLowest).GCD(fromMillionths(1024))), 1024);
  EXPECT_EQ(millionthsOf(fromMillionths(kLowest).GCD(fromMillionths(kLowest))), kLowest);
}

TEST(Currency, WiderIntegersMakeWholeAmounts) {
  EXPECT_EQ(textOf(CQXCurrency(3L)), "3.000000");
  EXPECT_EQ(textOf(CQXCurrency(3u)), "3.000000");
  EXPECT_EQ(textOf(CQXCurrency(std::int64_t{-9223372036854})), "-9223372036854.000000");
  EXPECT_EQ(textOf(CQXCurrency(9223372036854ull)), "9223372036854.000000");
}

TEST(Currency, WiderIntegersBeyondTheRangeThrow) {
  EXPECT_EQ(raisedBy([] { CQXCurrency(9223372036855L); }), -1);
  EXPECT_EQ(raisedBy([] { CQXCurrency(-9223372036855L); }), -1);
  EXPECT_EQ(raisedBy([] { CQXCurrency{kLowest}; }), -1);
  EXPECT_EQ(raisedBy([] { CQXCurrency(~std::uint64_t{0}); }), -1);
  CQXCurrency amount(7);
  EXPECT_EQ(raisedBy([&] { amount = kHighest; }), -1);
  EXPECT_EQ(textOf(amount), "7.000000");
}

TEST(Currency, AssignmentOfALongDoesNotMultiplyIn32Bits) {
  CQXCurrency amount;
  amount = 3L;
  EXPECT_EQ(textOf(amount), "3.000000");
  amount = 3000L;
  EXPECT_EQ(textOf(amount), "3000.000000");
  amount = 3000u;
  EXPECT_EQ(textOf(amount), "3000.000000");
  amount = 3000;
  EXPECT_EQ(textOf(amount), "-1294.967296");
}

template <class Factor>
concept Multiplies = requires(Factor factor, CQXCurrency amount) {
  factor* amount;
};

TEST(Currency, WholeFactorMayBeOnTheLeft) {
  const CQXCurrency amount(1.5);
  EXPECT_EQ(textOf(2 * amount), "3.000000");
  EXPECT_EQ(textOf(-2L * amount), "-3.000000");
  EXPECT_EQ(textOf(2u * amount), "3.000000");
  EXPECT_EQ(raisedBy([&] { ~std::uint64_t{0} * amount; }), -1);
  EXPECT_FALSE(Multiplies<double>) << "its decimals would be lost";
}

TEST(Currency, BecomesAVariantWithDecimals) {
  const CComVariant value = CQXCurrency(12.5);
  EXPECT_EQ(value.vt, VT_R8);
  EXPECT_EQ(value.dblVal, 12.5);
}

}  // namespace
