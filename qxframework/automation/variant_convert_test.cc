#include "qxframework/automation/variant_convert.h"

#include "qxframework/automation/com_object.h"
#include "qxframework/automation/variant.h"
#include "testing/cases.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <random>
#include <utility>

namespace {

constexpr LCID kEnglish = 1033;
constexpr LCID kGerman = 1031;

template <class T>
CComVariant with(VARTYPE type, T VARIANT::*member, T value) {
  CComVariant out;
  out.vt = type;
  out.*member = value;
  return out;
}

CComVariant money(std::int64_t units) { return with(VT_CY, &VARIANT::cyVal, CY{units}); }
CComVariant date(double days) { return CComVariant(days, VT_DATE); }
CComVariant real32(float value) { return with(VT_R4, &VARIANT::fltVal, value); }
CComVariant int64(std::int64_t value) { return with(VT_I8, &VARIANT::llVal, value); }
CComVariant unsigned64(std::uint64_t value) { return with(VT_UI8, &VARIANT::ullVal, value); }

/// Returns the result code of a conversion.
HRESULT code(const CComVariant& from, VARTYPE type, LCID locale = kEnglish, WORD flags = 0) {
  CComVariant to;
  return VariantChangeTypeEx(&to, &from, locale, flags, type);
}

/// Returns the converted value; VT_ERROR with the result code if the conversion fails.
CComVariant converted(const CComVariant& from, VARTYPE type, LCID locale = kEnglish,
                      WORD flags = 0) {
  CComVariant to;
  const HRESULT result = VariantChangeTypeEx(&to, &from, locale, flags, type);
  if (result < 0) return with(VT_ERROR, &VARIANT::scode, static_cast<std::int32_t>(result));
  EXPECT_EQ(to.vt, type);
  return to;
}

std::u16string text(const CComVariant& from, LCID locale = kEnglish, WORD flags = 0) {
  const CComVariant to = converted(from, VT_BSTR, locale, flags);
  return to.vt == VT_BSTR ? std::u16string(qx::viewOfBstr(to.bstrVal)) : u"<no text>";
}

double real(const CComVariant& from, LCID locale = kEnglish) {
  const CComVariant to = converted(from, VT_R8, locale);
  return to.vt == VT_R8 ? to.dblVal : std::numeric_limits<double>::quiet_NaN();
}

std::optional<std::int32_t> integer(const CComVariant& from, LCID locale = kEnglish) {
  const CComVariant to = converted(from, VT_I4, locale);
  return to.vt == VT_I4 ? std::optional(to.lVal) : std::nullopt;
}

TEST(VariantToText, IntegersAreDecimal) {
  EXPECT_EQ(text(0), u"0");
  EXPECT_EQ(text(-42), u"-42");
  EXPECT_EQ(text(short{-7}), u"-7");
  EXPECT_EQ(text(int64(std::numeric_limits<std::int64_t>::min())), u"-9223372036854775808");
  EXPECT_EQ(text(unsigned64(std::numeric_limits<std::uint64_t>::max())), u"18446744073709551615");
  EXPECT_EQ(text(with(VT_UI1, &VARIANT::bVal, std::uint8_t{200})), u"200");
}

TEST(VariantToText, RealsHaveFifteenDigitsAtMost) {
  EXPECT_EQ(text(1.0), u"1");
  EXPECT_EQ(text(0.1), u"0.1");
  EXPECT_EQ(text(-1234.5), u"-1234.5");
  EXPECT_EQ(text(0.1 + 0.2), u"0.3");
  EXPECT_EQ(text(1.0 / 3), u"0.333333333333333");
  EXPECT_EQ(text(123456789012345.0), u"123456789012345");
  EXPECT_EQ(text(1e20), u"1E+20");
  EXPECT_EQ(text(1e-10), u"1E-10");
  EXPECT_EQ(text(-0.0), u"0");
}

TEST(VariantToText, ShortRealsHaveSevenDigitsAtMost) {
  EXPECT_EQ(text(real32(0.1F)), u"0.1");
  EXPECT_EQ(text(real32(1.0F / 3)), u"0.3333333");
}

TEST(VariantToText, DecimalsFollowTheLocale) {
  EXPECT_EQ(text(1.5, kEnglish), u"1.5");
  EXPECT_EQ(text(1.5, kGerman), u"1,5");
  EXPECT_EQ(text(money(15000), kGerman), u"1,5");
}

TEST(VariantToText, TheNoOverrideFlagChangesNothing) { EXPECT_EQ(text(1.5, kEnglish, 4), u"1.5"); }

TEST(VariantToText, InfinityAndNanAreAnOverflow) {
  EXPECT_EQ(code(std::numeric_limits<double>::infinity(), VT_BSTR), DISP_E_OVERFLOW);
  EXPECT_EQ(code(std::numeric_limits<double>::quiet_NaN(), VT_BSTR), DISP_E_OVERFLOW);
}

TEST(VariantToText, MoneyLosesItsLastZeros) {
  EXPECT_EQ(text(money(0)), u"0");
  EXPECT_EQ(text(money(10000)), u"1");
  EXPECT_EQ(text(money(12300)), u"1.23");
  EXPECT_EQ(text(money(-1)), u"-0.0001");
  EXPECT_EQ(text(money(std::numeric_limits<std::int64_t>::min())), u"-922337203685477.5808");
}

TEST(VariantToText, BooleansAreNumbersUnlessWordsAreAskedFor) {
  EXPECT_EQ(text(true), u"-1");
  EXPECT_EQ(text(false), u"0");
  EXPECT_EQ(text(true, kEnglish, 2), u"True");
  EXPECT_EQ(text(false, kGerman, 2), u"False");
}

TEST(VariantToText, DatesLeaveTheTimeOutAtMidnight) {
  EXPECT_EQ(text(date(45322.0)), u"1/31/2024");
  EXPECT_EQ(text(date(45322.0 + 54245.0 / 86400)), u"1/31/2024 3:04:05 PM");
  EXPECT_EQ(text(date(0.5)), u"12:00:00 PM");
  EXPECT_EQ(text(date(0.0)), u"12:00:00 AM");
}

TEST(VariantToText, EmptyIsTheEmptyTextAndNullIsAMismatch) {
  EXPECT_EQ(text(CComVariant()), u"");
  CComVariant null;
  null.vt = VT_NULL;
  EXPECT_EQ(code(null, VT_BSTR), DISP_E_TYPEMISMATCH);
}

TEST(TextToNumber, ReadsSignsGroupsAndExponents) {
  EXPECT_EQ(real(u"1.5"), 1.5);
  EXPECT_EQ(real(u"  -1,234.5 "), -1234.5);
  EXPECT_EQ(real(u"+5"), 5);
  EXPECT_EQ(real(u"5-"), -5);
  EXPECT_EQ(real(u"(5)"), -5);
  EXPECT_EQ(real(u"1e3"), 1000);
  EXPECT_EQ(real(u"1.25E-2"), 0.0125);
  EXPECT_EQ(real(u"1e3 -"), -1000);
  EXPECT_EQ(real(u".5"), 0.5);
  EXPECT_EQ(real(u"5."), 5);
}

TEST(TextToNumber, BlanksTabsAndNoBreakSpacesMaySurroundIt) {
  EXPECT_EQ(real(u"\t\u00A0-\u00A05\u00A0\t"), -5);
  EXPECT_EQ(code(u"5\n", VT_R8), DISP_E_TYPEMISMATCH);
}

TEST(TextToNumber, FollowsTheLocale) {
  EXPECT_EQ(real(u"1.234,5", kGerman), 1234.5);
  EXPECT_EQ(real(u"1,5", kGerman), 1.5);
  EXPECT_EQ(real(u"1 234,5", 1036), 1234.5) << "French, grouped by a plain blank";
}

TEST(TextToNumber, ReadsTheSignOfTheCurrencyOnEitherSide) {
  for (const LCID locale : {kEnglish, LCID{1024}}) {
    EXPECT_EQ(real(u"$1,234.5", locale), 1234.5);
    EXPECT_EQ(real(u"-$11", locale), -11);
    EXPECT_EQ(real(u"$-11", locale), -11);
    EXPECT_EQ(real(u" $ 11 ", locale), 11);
    EXPECT_EQ(real(u"($11)", locale), -11);
    EXPECT_EQ(real(u"$(11)", locale), -11);
    EXPECT_EQ(real(u"11 $", locale), 11);
    EXPECT_EQ(real(u"(11) $ ", locale), -11);
    EXPECT_EQ(converted(u"$0.1", VT_CY, locale).cyVal.int64, 1000);
  }
  EXPECT_EQ(real(u"1.234,50 \u20AC", kGerman), 1234.5);
  EXPECT_EQ(real(u"CHF 5", 2055), 5);
}

TEST(TextToNumber, AGroupSeparatorMayEndTheDigits) {
  EXPECT_EQ(real(u"1,"), 1);
  EXPECT_EQ(code(u"1,,", VT_R8), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(integer(u"1,2,"), 12);
  EXPECT_EQ(real(u"1,.5"), 1.5);
}

TEST(TextToNumber, ReadsHexadecimalAndOctalDigitsAsBits) {
  EXPECT_EQ(integer(u"&HF800"), 63488);
  EXPECT_EQ(converted(u"&HF800", VT_I2).iVal, -2048);
  EXPECT_EQ(converted(u"&hf800", VT_UI2).uiVal, 63488);
  EXPECT_EQ(integer(u"&HFFFFFFFF"), -1);
  EXPECT_EQ(integer(u" &O17 "), 15);
  EXPECT_EQ(converted(u"&o377", VT_I1).cVal, -1);
  EXPECT_EQ(converted(u"&HFFFFFFFF", VT_I8).llVal, 4294967295);
  EXPECT_EQ(converted(u"&HFFFFFFFFFFFFFFFF", VT_I8).llVal, -1);
  EXPECT_EQ(converted(u"&HFFFFFFFFFFFFFFFF", VT_UI8).ullVal,
            std::numeric_limits<std::uint64_t>::max());
}

TEST(TextToNumber, BitsAreASignedNumberForOtherKinds) {
  EXPECT_EQ(real(u"&HF800"), 63488);
  EXPECT_EQ(real(u"&HFFFFFFFFFFFFFFFF"), -1);
  EXPECT_EQ(converted(u"&H10", VT_CY).cyVal.int64, 160000);
  EXPECT_EQ(converted(u"&H00", VT_BOOL).boolVal, VARIANT_FALSE);
  EXPECT_EQ(converted(u"&H01", VT_BOOL).boolVal, VARIANT_TRUE);
}

TEST(TextToNumber, BitsThatDoNotFitAreAnOverflow) {
  EXPECT_EQ(code(u"&HF800", VT_UI1), DISP_E_OVERFLOW);
  EXPECT_EQ(code(u"&HF800", VT_I1), DISP_E_OVERFLOW);
  EXPECT_EQ(code(u"&H100000000", VT_I4), DISP_E_OVERFLOW);
  EXPECT_EQ(code(u"&H10000000000000000", VT_I8), DISP_E_OVERFLOW);
  EXPECT_EQ(code(u"&H10000000000000000", VT_R8), DISP_E_OVERFLOW);
  EXPECT_EQ(code(u"&O2000000000000000000000", VT_UI8), DISP_E_OVERFLOW);
  EXPECT_EQ(converted(u"&O1777777777777777777777", VT_I8).llVal, -1);
  EXPECT_EQ(integer(u"&H0000000000000000000001"), 1);
}

TEST(TextToNumber, OtherTextsAreAMismatch) {
  for (const OLECHAR* bad :
       {u"",     u" ",     u"abc",   u"1x",    u"--1",  u"-",    u".",       u"1e",      u"1e+",
        u"1e5x", u"1e5.5", u"1e5,0", u"1.2.3", u"+-1",  u"1 2",  u"()",      u"-(5)",    u"(-5)",
        u"(5",   u"5)",    u"(5))",  u"((5)",  u"5-(",  u"-5-",  u"1,5x",    u"\u0661",  u",",
        u",1",   u"1,,2",  u"1.2,3", u"$",     u"$$5",  u"$5$",  u"\u20AC5", u"&",       u"&H",
        u"&HG",  u"&O8",   u"&X1",   u"-&H1",  u"&H-1", u"& H1", u"&H1,0",   u"&H\u0131"})
    EXPECT_EQ(code(bad, VT_R8), DISP_E_TYPEMISMATCH) << testing::PrintToString(bad);
}

TEST(TextToNumber, TooLargeIsAnOverflow) {
  EXPECT_EQ(code(u"1e999", VT_R8), DISP_E_OVERFLOW);
  EXPECT_EQ(code(u"2147483648", VT_I4), DISP_E_OVERFLOW);
  EXPECT_EQ(integer(u"-2147483648"), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(code(std::u16string_view(std::u16string(5000, u'9')), VT_R8), DISP_E_OVERFLOW);
  EXPECT_EQ(real(u"1e-999"), 0);
}

TEST(TextToNumber, LongIntegersStayExact) {
  EXPECT_EQ(converted(u"9223372036854775807", VT_I8).llVal,
            std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(converted(u"18446744073709551615", VT_UI8).ullVal,
            std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(code(u"18446744073709551616", VT_UI8), DISP_E_OVERFLOW);
  EXPECT_EQ(converted(u"922337203685477.5807", VT_CY).cyVal.int64,
            std::numeric_limits<std::int64_t>::max());
}

TEST(NumberToInteger, RoundsHalvesToTheEvenOne) {
  EXPECT_EQ(integer(0.5), 0);
  EXPECT_EQ(integer(1.5), 2);
  EXPECT_EQ(integer(2.5), 2);
  EXPECT_EQ(integer(-1.5), -2);
  EXPECT_EQ(integer(-2.5), -2);
  EXPECT_EQ(integer(2.4999), 2);
  EXPECT_EQ(integer(u"2.5"), 2);
  EXPECT_EQ(integer(u"3.5"), 4);
  EXPECT_EQ(integer(money(25000)), 2);
  EXPECT_EQ(integer(money(-35000)), -4);
}

TEST(NumberToInteger, ANumberOutsideTheRangeIsAnOverflow) {
  EXPECT_EQ(integer(2147483647.4), std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(code(2147483647.5, VT_I4), DISP_E_OVERFLOW);
  EXPECT_EQ(code(40000, VT_I2), DISP_E_OVERFLOW);
  EXPECT_EQ(code(-1, VT_UI8), DISP_E_OVERFLOW);
  EXPECT_EQ(code(u"-1", VT_UI4), DISP_E_OVERFLOW);
  EXPECT_EQ(code(256, VT_UI1), DISP_E_OVERFLOW);
  EXPECT_EQ(code(128, VT_I1), DISP_E_OVERFLOW);
  EXPECT_EQ(code(1e300, VT_I8), DISP_E_OVERFLOW);
  EXPECT_EQ(code(std::numeric_limits<double>::quiet_NaN(), VT_I4), DISP_E_OVERFLOW);
  EXPECT_EQ(converted(-0.4, VT_UI4).ulVal, 0U);
  EXPECT_EQ(converted(-9223372036854775808.0, VT_I8).llVal,
            std::numeric_limits<std::int64_t>::min());
}

TEST(NumberToInteger, AChangeOfSignKeepsTheBits) {
  EXPECT_EQ(converted(-1, VT_UI4).ulVal, 0xFFFFFFFFU);
  EXPECT_EQ(converted(-1, VT_UINT).uintVal, 0xFFFFFFFFU);
  EXPECT_EQ(converted(short{-2}, VT_UI2).uiVal, 0xFFFE);
  EXPECT_EQ(converted(with(VT_I1, &VARIANT::cVal, std::int8_t{-1}), VT_UI1).bVal, 255);
  EXPECT_EQ(converted(int64(-1), VT_UI8).ullVal, std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(converted(with(VT_UI1, &VARIANT::bVal, std::uint8_t{200}), VT_I1).cVal, -56);
  EXPECT_EQ(converted(with(VT_UI2, &VARIANT::uiVal, std::uint16_t{0xFFFF}), VT_I2).iVal, -1);
  EXPECT_EQ(converted(with(VT_UI4, &VARIANT::ulVal, 0x80000000U), VT_I4).lVal,
            std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(converted(with(VT_UINT, &VARIANT::uintVal, 0xFFFFFFFFU), VT_INT).intVal, -1);
  EXPECT_EQ(converted(unsigned64(1ULL << 63), VT_I8).llVal,
            std::numeric_limits<std::int64_t>::min());
}

TEST(NumberToInteger, AChangeOfSignReadsItsOwnBytesOnly) {
  CComVariant from = int64(0x1122334455667788);
  from.vt = VT_I4;
  EXPECT_EQ(converted(from, VT_UI4).llVal, 0x55667788);
}

TEST(NumberToReal, AShortRealRefusesNumbersOutsideItsRange) {
  EXPECT_EQ(converted(1.5, VT_R4).fltVal, 1.5F);
  EXPECT_EQ(code(1e300, VT_R4), DISP_E_OVERFLOW);
  EXPECT_EQ(code(std::numeric_limits<double>::infinity(), VT_R4), DISP_E_OVERFLOW);
}

TEST(NumberToMoney, KeepsFourDecimalsAndRoundsToTheEvenOne) {
  EXPECT_EQ(converted(1.5, VT_CY).cyVal.int64, 15000);
  EXPECT_EQ(converted(-3, VT_CY).cyVal.int64, -30000);
  EXPECT_EQ(converted(0.03125, VT_CY).cyVal.int64, 312);
  EXPECT_EQ(converted(0.09375, VT_CY).cyVal.int64, 938);
  EXPECT_EQ(code(1e15, VT_CY), DISP_E_OVERFLOW);
  EXPECT_EQ(code(int64(std::numeric_limits<std::int64_t>::max()), VT_CY), DISP_E_OVERFLOW);
}

TEST(ToBoolean, ReadsWordsAndNumbers) {
  EXPECT_EQ(converted(u"True", VT_BOOL).boolVal, VARIANT_TRUE);
  EXPECT_EQ(converted(u"FALSE", VT_BOOL).boolVal, VARIANT_FALSE);
  EXPECT_EQ(converted(u"#TRUE#", VT_BOOL).boolVal, VARIANT_TRUE);
  EXPECT_EQ(converted(u"2", VT_BOOL).boolVal, VARIANT_TRUE);
  EXPECT_EQ(converted(u"0", VT_BOOL).boolVal, VARIANT_FALSE);
  EXPECT_EQ(converted(0.25, VT_BOOL).boolVal, VARIANT_TRUE);
  EXPECT_EQ(converted(CComVariant(), VT_BOOL).boolVal, VARIANT_FALSE);
  EXPECT_EQ(code(u"yes", VT_BOOL), DISP_E_TYPEMISMATCH);
}

TEST(ToBoolean, ANullTextIsNoWord) {
  EXPECT_EQ(code(with(VT_BSTR, &VARIANT::bstrVal, BSTR{}), VT_BOOL), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(code(u"", VT_BOOL), DISP_E_TYPEMISMATCH);
}

TEST(FromBoolean, TrueIsMinusOneOrAllBits) {
  EXPECT_EQ(integer(true), -1);
  EXPECT_EQ(real(true), -1.0);
  EXPECT_EQ(converted(true, VT_UI1).bVal, 255);
  EXPECT_EQ(converted(true, VT_UI4).ulVal, 0xFFFFFFFFU);
  EXPECT_EQ(converted(false, VT_UI1).bVal, 0);
}

TEST(ToDate, ReadsTextInTheUsualForms) {
  EXPECT_EQ(converted(u"1/31/2024", VT_DATE).date, 45322.0);
  EXPECT_EQ(converted(u"2024-01-31 03:04:05", VT_DATE).date, 45322.0 + 11045.0 / 86400);
  EXPECT_EQ(converted(u"2 January, 1970", VT_DATE, 1024).date, 25570.0);
  EXPECT_EQ(text(converted(u"1/14", VT_DATE)).substr(0, 7), u"1/14/20") << "of this year";
  EXPECT_EQ(code(u"2/30/2024", VT_DATE), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(code(u"abc", VT_DATE), DISP_E_TYPEMISMATCH);
}

TEST(ToDate, TakesNumbersInTheRangeOfDates) {
  EXPECT_EQ(converted(45322, VT_DATE).date, 45322.0);
  EXPECT_EQ(converted(-657434, VT_DATE).date, -657434.0);
  EXPECT_EQ(code(-657435, VT_DATE), DISP_E_OVERFLOW);
  EXPECT_EQ(converted(2958465, VT_DATE).date, 2958465.0);
  EXPECT_EQ(code(2958466, VT_DATE), DISP_E_OVERFLOW);
  EXPECT_EQ(real(date(45322.25)), 45322.25);
}

TEST(ChangeType, EmptyBecomesZeroOfEveryKind) {
  for (const VARTYPE type : {VT_I1, VT_I2, VT_I4, VT_I8, VT_UI1, VT_UI2, VT_UI4, VT_UI8, VT_INT,
                             VT_UINT, VT_R4, VT_R8, VT_CY, VT_DATE, VT_BOOL})
    EXPECT_EQ(converted(CComVariant(), type).llVal, 0) << type;
}

TEST(ChangeType, NullBecomesNoValueOfAnotherKind) {
  CComVariant null;
  null.vt = VT_NULL;
  EXPECT_EQ(code(null, VT_NULL), S_OK);
  EXPECT_EQ(code(null, VT_I4), DISP_E_TYPEMISMATCH);
}

TEST(ChangeType, EverythingBecomesEmptyAndNull) {
  CComVariant null;
  null.vt = VT_NULL;
  const CComVariant error = with(VT_ERROR, &VARIANT::scode, 5);
  const CComVariant object(static_cast<IDispatch*>(nullptr));
  for (const CComVariant& from : {CComVariant(), null, CComVariant(1), CComVariant(1.5),
                                  CComVariant(true), CComVariant(u"x"), error, object}) {
    EXPECT_EQ(converted(from, VT_EMPTY).vt, VT_EMPTY) << from.vt;
    EXPECT_EQ(converted(from, VT_NULL).vt, VT_NULL) << from.vt;
  }
  CComVariant inPlace(u"x");
  EXPECT_EQ(inPlace.ChangeType(VT_EMPTY), S_OK);
  EXPECT_EQ(inPlace.vt, VT_EMPTY);
}

TEST(ChangeType, AnUnknownKindIsABadOne) {
  for (const int kind : {12, 14, 24, 99, 0x2000 | VT_I4, VT_BYREF | VT_EMPTY, VT_BYREF | VT_NULL}) {
    CComVariant from(7);
    EXPECT_EQ(code(from, static_cast<VARTYPE>(kind)), DISP_E_BADVARTYPE) << kind;
    from.vt = static_cast<VARTYPE>(kind);
    EXPECT_EQ(code(from, VT_I4), DISP_E_BADVARTYPE) << kind;
    EXPECT_EQ(code(from, VT_EMPTY), DISP_E_BADVARTYPE) << kind;
  }
  EXPECT_EQ(code(7, VT_BYREF | VT_I4), DISP_E_BADVARTYPE) << "a reference has no room to refer to";
}

TEST(ChangeType, AnErrorBecomesNoValueOfAnotherKind) {
  const CComVariant error = with(VT_ERROR, &VARIANT::scode, 5);
  EXPECT_EQ(converted(error, VT_ERROR).scode, 5);
  EXPECT_EQ(code(error, VT_I4), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(code(error, VT_BSTR), DISP_E_TYPEMISMATCH);
}

TEST(ChangeType, MayWorkInPlace) {
  CComVariant value(u"42");
  EXPECT_EQ(VariantChangeTypeEx(&value, &value, kEnglish, 0, VT_I4), S_OK);
  EXPECT_EQ(value.lVal, 42);
  EXPECT_EQ(value.ChangeType(VT_BSTR), S_OK);
  EXPECT_EQ(qx::viewOfBstr(value.bstrVal), u"42");
  EXPECT_EQ(value.ChangeType(VT_BSTR), S_OK);
  EXPECT_EQ(qx::viewOfBstr(value.bstrVal), u"42");
}

TEST(ChangeType, AFailureKeepsTheTarget) {
  CComVariant target(u"kept");
  const CComVariant source(u"abc");
  EXPECT_EQ(VariantChangeTypeEx(&target, &source, kEnglish, 0, VT_I4), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(qx::viewOfBstr(target.bstrVal), u"kept");
}

TEST(ChangeType, ReadsThroughReferences) {
  CComBSTR referred(u"12");
  VARIANT reference;
  reference.vt = VT_BYREF | VT_BSTR;
  reference.pbstrVal = &referred.m_str;
  EXPECT_EQ(integer(reference), 12);
  EXPECT_EQ(text(reference), u"12");
  reference.pbstrVal = nullptr;
  EXPECT_EQ(code(reference, VT_BSTR), DISP_E_TYPEMISMATCH);
}

TEST(ChangeType, NullPointersAreRefused) {
  CComVariant value;
  EXPECT_EQ(VariantChangeTypeEx(nullptr, &value, kEnglish, 0, VT_I4), E_POINTER);
  EXPECT_EQ(VariantChangeTypeEx(&value, nullptr, kEnglish, 0, VT_I4), E_POINTER);
}

/// An object with the value 7.
class Valued final : public qx::ComObject<qx::NoDispatch<IDispatch>> {
 public:
  HRESULT Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS*, VARIANT* result, EXCEPINFO*,
                 UINT*) override {
    if (id != 0 || flags != DISPATCH_PROPERTYGET) return DISP_E_MEMBERNOTFOUND;
    return CComVariant(7).Detach(result);
  }
};

TEST(ChangeType, AnObjectBecomesItsOwnValue) {
  const CComPtr<Valued> object = qx::makeObject<Valued>();
  const CComVariant value(static_cast<IDispatch*>(object.p));
  EXPECT_EQ(integer(value), 7);
  EXPECT_EQ(text(value), u"7");
  EXPECT_EQ(code(value, VT_I4, kEnglish, 1), DISP_E_TYPEMISMATCH) << "not to be asked";
}

/// An object without a value.
class Plain final : public qx::ComObject<IUnknown> {};

TEST(ChangeType, ObjectsBecomeAnInterfaceThatTheyHave) {
  const CComPtr<Valued> valued = qx::makeObject<Valued>();
  const CComPtr<Plain> plain = qx::makeObject<Plain>();
  const CComVariant dispatch(static_cast<IDispatch*>(valued.p));
  const CComVariant unknown(static_cast<IUnknown*>(plain.p));
  EXPECT_EQ(converted(dispatch, VT_UNKNOWN).punkVal, static_cast<IUnknown*>(valued.p));
  EXPECT_EQ(code(unknown, VT_DISPATCH), E_NOINTERFACE);
  EXPECT_EQ(code(unknown, VT_I4), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(code(1, VT_DISPATCH), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(code(CComVariant(static_cast<IDispatch*>(nullptr)), VT_I4), DISP_E_TYPEMISMATCH);
}

// Properties of values that are drawn at random.

std::u16string bitsText(std::uint64_t bits, std::uint64_t base) {
  std::u16string digits;
  do {
    digits.insert(digits.begin(), u"0123456789abcdef"[bits % base]);
    bits /= base;
  } while (bits != 0);
  return (base == 16 ? u"&H" : u"&o") + digits;
}

TEST(RandomValues, BitsReadBackAsTheyAreWritten) {
  std::mt19937_64 random(1);
  for (std::size_t i = qx::test::cases(5000); i > 0; --i) {
    const std::uint64_t bits = random() >> random() % 64;
    for (const std::uint64_t base : {16U, 8U}) {
      const std::u16string written = bitsText(bits, base);
      const CComVariant from{std::u16string_view(written)};
      ASSERT_EQ(converted(from, VT_UI8).ullVal, bits) << testing::PrintToString(written);
      ASSERT_EQ(converted(from, VT_I8).ullVal, bits) << testing::PrintToString(written);
      ASSERT_EQ(code(from, VT_UI2), bits <= 0xFFFF ? S_OK : DISP_E_OVERFLOW) << bits;
      ASSERT_EQ(code(from, VT_I2), bits <= 0xFFFF ? S_OK : DISP_E_OVERFLOW) << bits;
    }
  }
}

TEST(RandomValues, MoneyReadsBackInEveryDressOfALocale) {
  std::mt19937_64 random(2);
  for (std::size_t i = qx::test::cases(5000); i > 0; --i) {
    const CComVariant amount = money(static_cast<std::int64_t>(random()) >> random() % 64);
    for (const LCID locale : {kEnglish, kGerman}) {
      const std::u16string sign = locale == kGerman ? u"\u20AC" : u"$";
      const std::u16string plain = text(amount, locale);
      for (const std::u16string& dressed :
           {plain, sign + plain, plain + u" " + sign, u" " + plain + u"\t"}) {
        const CComVariant read = converted(std::u16string_view(dressed), VT_CY, locale);
        ASSERT_EQ(read.cyVal.int64, amount.cyVal.int64) << testing::PrintToString(dressed);
      }
    }
  }
}

TEST(RandomValues, AChangeOfSignAndBackKeepsTheValue) {
  std::mt19937_64 random(3);
  constexpr std::pair<VARTYPE, VARTYPE> kPairs[] = {
      {VT_I1, VT_UI1}, {VT_I2, VT_UI2}, {VT_I4, VT_UI4}, {VT_INT, VT_UINT}, {VT_I8, VT_UI8}};
  for (std::size_t i = qx::test::cases(1000); i > 0; --i)
    for (const auto& [withSign, withoutSign] : kPairs) {
      CComVariant filled = converted(0, withSign);
      filled.ullVal = random();
      const CComVariant once = converted(filled, withoutSign);
      const CComVariant back = converted(once, withSign);
      ASSERT_EQ(VarCmp(&back, &filled, kEnglish, 0), VARCMP_EQ) << withSign;
    }
}

}  // namespace
