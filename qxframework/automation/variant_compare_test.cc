#include "qxframework/automation/variant_compare.h"

#include "qxframework/automation/variant.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr LCID kEnglish = 1033;

CComVariant ofKind(VARTYPE type) {
  CComVariant value;
  value.vt = type;
  return value;
}

CComVariant int64(std::int64_t number) {
  CComVariant value = ofKind(VT_I8);
  value.llVal = number;
  return value;
}

CComVariant unsigned64(std::uint64_t number) {
  CComVariant value = ofKind(VT_UI8);
  value.ullVal = number;
  return value;
}

CComVariant money(std::int64_t units) {
  CComVariant value = ofKind(VT_CY);
  value.cyVal.int64 = units;
  return value;
}

HRESULT compare(const CComVariant& left, const CComVariant& right) {
  return VarCmp(&left, &right, kEnglish, 0);
}

HRESULT compareTexts(const OLECHAR* left, const OLECHAR* right, ULONG flags = 0) {
  return VarBstrCmp(left, right, kEnglish, flags);
}

TEST(VarBstrCmp, NullEqualsEmpty) {
  EXPECT_EQ(compareTexts(nullptr, u""), VARCMP_EQ);
  EXPECT_EQ(compareTexts(u"", nullptr), VARCMP_EQ);
  EXPECT_EQ(compareTexts(nullptr, nullptr), VARCMP_EQ);
  EXPECT_EQ(compareTexts(nullptr, u"a"), VARCMP_LT);
}

TEST(VarBstrCmp, LettersOrderBeforeCaseDoes) {
  EXPECT_EQ(compareTexts(u"a", u"A"), VARCMP_LT);
  EXPECT_EQ(compareTexts(u"A", u"b"), VARCMP_LT);
  EXPECT_EQ(compareTexts(u"Ab", u"aa"), VARCMP_GT);
}

TEST(VarBstrCmp, IgnoresCaseOnlyWithTheFlag) {
  EXPECT_EQ(compareTexts(u"Code", u"CODE"), VARCMP_LT);
  EXPECT_EQ(compareTexts(u"Code", u"CODE", 1), VARCMP_EQ);
  EXPECT_EQ(compareTexts(u"Code", u"C\u00F6de", 1), VARCMP_LT) << "accents count";
}

TEST(VarBstrCmp, PunctuationAndBlanksCount) {
  EXPECT_NE(compareTexts(u"co-op", u"coop"), VARCMP_EQ);
  EXPECT_NE(compareTexts(u"a b", u"ab"), VARCMP_EQ);
  EXPECT_NE(compareTexts(u"a", u"a "), VARCMP_EQ);
  EXPECT_EQ(compareTexts(u"_a", u"a"), VARCMP_LT);
}

TEST(VarBstrCmp, ComposedAndDecomposedLettersAreEqual) {
  EXPECT_EQ(compareTexts(u"\u00E4", u"a\u0308"), VARCMP_EQ);
}

TEST(VarBstrCmp, FollowsTheOrderOfTheLocale) {
  EXPECT_EQ(VarBstrCmp(u"\u00E4", u"z", 1033, 0), VARCMP_LT);
  EXPECT_EQ(VarBstrCmp(u"\u00E4", u"z", 1053, 0), VARCMP_GT) << "in Swedish after z";
}

TEST(VarBstrCmp, UnpairedSurrogatesCompare) {
  const char16_t lead[] = {char16_t{0xD800}, 0};
  const char16_t trail[] = {char16_t{0xDC00}, 0};
  EXPECT_EQ(compareTexts(lead, lead), VARCMP_EQ);
  const HRESULT forward = compareTexts(lead, trail);
  const HRESULT backward = compareTexts(trail, lead);
  EXPECT_NE(forward, VARCMP_EQ);
  EXPECT_EQ(forward + backward, VARCMP_LT + VARCMP_GT);
}

TEST(VarBstrCmp, ZerosInABstrCount) {
  const CComBSTR left(std::u16string_view(u"a\0b", 3));
  const CComBSTR right(std::u16string_view(u"a\0c", 3));
  const CComBSTR shorter(u"a");
  EXPECT_EQ(VarBstrCmp(left, right, kEnglish, 0), VARCMP_LT);
  EXPECT_EQ(VarBstrCmp(left.m_str, right.m_str, kEnglish, 0), VARCMP_LT);
  EXPECT_EQ(VarBstrCmp(left, left, kEnglish, 0), VARCMP_EQ);
  EXPECT_EQ(VarBstrCmp(shorter, CComBSTR(), kEnglish, 0), VARCMP_GT);
  for (const auto& [a, b] : {std::pair(left, right), std::pair(right, left),
                             std::pair(left, shorter), std::pair(shorter, left)})
    EXPECT_EQ(VarBstrCmp(a, b, kEnglish, 0), compare(a, b));
}

TEST(VarBstrCmp, ATextThatIsNoBstrEndsAtItsTerminator) {
  EXPECT_EQ(compareTexts(u"a\0b", u"a\0c"), VARCMP_EQ);
}

TEST(VarCmp, ReturnsNullIfEitherSideIsNull) {
  EXPECT_EQ(compare(ofKind(VT_NULL), 1), VARCMP_NULL);
  EXPECT_EQ(compare(u"a", ofKind(VT_NULL)), VARCMP_NULL);
  EXPECT_EQ(compare(ofKind(VT_NULL), ofKind(VT_NULL)), VARCMP_NULL);
}

TEST(VarCmp, EmptyCountsAsZeroOrAsTheEmptyText) {
  EXPECT_EQ(compare(CComVariant(), CComVariant()), VARCMP_EQ);
  EXPECT_EQ(compare(CComVariant(), 0), VARCMP_EQ);
  EXPECT_EQ(compare(CComVariant(), 1), VARCMP_LT);
  EXPECT_EQ(compare(CComVariant(), -1), VARCMP_GT);
  EXPECT_EQ(compare(CComVariant(), u""), VARCMP_EQ);
  EXPECT_EQ(compare(u"a", CComVariant()), VARCMP_GT);
}

TEST(VarCmp, NumbersCompareByValueAcrossKinds) {
  EXPECT_EQ(compare(1, 1.0), VARCMP_EQ);
  EXPECT_EQ(compare(short{1}, 2), VARCMP_LT);
  EXPECT_EQ(compare(1.5, 1), VARCMP_GT);
  EXPECT_EQ(compare(money(15000), 1.5), VARCMP_EQ);
  EXPECT_EQ(compare(money(1000), 0.1), VARCMP_EQ);
  EXPECT_EQ(compare(money(15000), 1), VARCMP_GT);
  EXPECT_EQ(compare(2, money(15000)), VARCMP_GT);
  EXPECT_EQ(compare(money(-15000), -1), VARCMP_LT);
  EXPECT_EQ(compare(money(20000), 2), VARCMP_EQ);
  EXPECT_EQ(compare(CComVariant(2.0, VT_DATE), 2), VARCMP_EQ);
  EXPECT_EQ(compare(true, -1), VARCMP_EQ);
  EXPECT_EQ(compare(true, false), VARCMP_LT);
}

CComVariant real32(float number) {
  CComVariant value = ofKind(VT_R4);
  value.fltVal = number;
  return value;
}

TEST(VarCmp, AShortRealComparesAtItsPrecision) {
  EXPECT_EQ(compare(real32(0.1F), 0.1), VARCMP_EQ);
  EXPECT_EQ(compare(0.1, real32(0.1F)), VARCMP_EQ);
  EXPECT_EQ(compare(real32(0.1F), CComVariant(0.1, VT_DATE)), VARCMP_EQ);
  EXPECT_EQ(compare(CComVariant(0.1, VT_DATE), real32(0.1F)), VARCMP_EQ);
  EXPECT_EQ(compare(real32(0.1F), 0.1000001), VARCMP_LT);
  EXPECT_EQ(compare(0.1000001, real32(0.1F)), VARCMP_GT);
  EXPECT_EQ(compare(real32(16777216.0F), 16777217), VARCMP_LT) << "integers stay exact";
  EXPECT_EQ(compare(real32(0.5F), money(5000)), VARCMP_EQ);
}

TEST(VarCmp, ARealBeyondTheShortOnesIsInfiniteBesideThem) {
  const float infinity = std::numeric_limits<float>::infinity();
  const float most = std::numeric_limits<float>::max();
  EXPECT_EQ(compare(real32(most), 1e300), VARCMP_LT);
  EXPECT_EQ(compare(real32(-most), -1e300), VARCMP_GT);
  EXPECT_EQ(compare(real32(infinity), 1e300), VARCMP_EQ);
  EXPECT_EQ(compare(real32(-infinity), -1e300), VARCMP_EQ);
  EXPECT_EQ(compare(real32(most), static_cast<double>(most)), VARCMP_EQ);
  EXPECT_EQ(compare(real32(0), std::numeric_limits<double>::quiet_NaN()), VARCMP_GT);
}

TEST(VarCmp, LargeIntegersCompareExactly) {
  constexpr std::int64_t kHigh = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(compare(int64(kHigh), int64(kHigh - 1)), VARCMP_GT);
  EXPECT_EQ(compare(int64(-1), unsigned64(std::numeric_limits<std::uint64_t>::max())), VARCMP_LT);
  EXPECT_EQ(compare(unsigned64(1ULL << 63), int64(kHigh)), VARCMP_GT);
  EXPECT_EQ(compare(int64(std::numeric_limits<std::int64_t>::min()), int64(kHigh)), VARCMP_LT);
  EXPECT_EQ(compare(int64((1LL << 53) + 1), CComVariant(9007199254740992.0)), VARCMP_GT);
}

TEST(VarCmp, NanPrecedesAllNumbersAndEqualsItself) {
  const double none = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(compare(none, none), VARCMP_EQ);
  EXPECT_EQ(compare(none, -1e300), VARCMP_LT);
  EXPECT_EQ(compare(0, none), VARCMP_GT);
}

TEST(VarCmp, TextsCompareByTheLocale) {
  EXPECT_EQ(compare(u"a", u"A"), VARCMP_LT);
  EXPECT_EQ(compare(u"b", u"A"), VARCMP_GT);
  const CComVariant left(u"a");
  const CComVariant right(u"A");
  EXPECT_EQ(VarCmp(&left, &right, kEnglish, 1), VARCMP_EQ);
}

TEST(VarCmp, ZerosInATextCount) {
  const CComVariant left(std::u16string_view(u"a\0b", 3));
  const CComVariant right(std::u16string_view(u"a\0c", 3));
  EXPECT_EQ(compare(left, right), VARCMP_LT);
}

TEST(VarCmp, NumbersPrecedeTexts) {
  EXPECT_EQ(compare(9, u"1"), VARCMP_LT);
  EXPECT_EQ(compare(u"1", 9.5), VARCMP_GT);
}

TEST(VarCmp, ErrorsCompareOnlyWithErrors) {
  CComVariant first = ofKind(VT_ERROR);
  CComVariant second = ofKind(VT_ERROR);
  first.scode = -5;
  second.scode = 5;
  EXPECT_EQ(compare(first, second), VARCMP_LT);
  EXPECT_EQ(compare(first, first), VARCMP_EQ);
  EXPECT_EQ(compare(first, 1), DISP_E_TYPEMISMATCH);
}

TEST(VarCmp, ObjectsDoNotCompare) {
  const CComVariant object(static_cast<IDispatch*>(nullptr));
  EXPECT_EQ(compare(object, 1), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(compare(object, object), DISP_E_TYPEMISMATCH);
}

TEST(VarCmp, AnUnknownKindIsABadOne) {
  for (const int kind : {12, 14, 24, 99, 0x2000 | VT_I4, VT_BYREF | VT_EMPTY}) {
    const CComVariant unknown = ofKind(static_cast<VARTYPE>(kind));
    EXPECT_EQ(compare(unknown, 1), DISP_E_BADVARTYPE) << kind;
    EXPECT_EQ(compare(1, unknown), DISP_E_BADVARTYPE) << kind;
    EXPECT_EQ(compare(ofKind(VT_NULL), unknown), DISP_E_BADVARTYPE) << kind;
  }
}

TEST(VarCmp, ReadsThroughReferences) {
  std::int32_t number = 7;
  VARIANT reference;
  reference.vt = VT_BYREF | VT_I4;
  reference.plVal = &number;
  EXPECT_EQ(compare(reference, 7), VARCMP_EQ);
  reference.plVal = nullptr;
  EXPECT_EQ(compare(reference, 7), DISP_E_TYPEMISMATCH);
}

TEST(VarCmp, NullPointersAreRefused) {
  const CComVariant value(1);
  EXPECT_EQ(VarCmp(nullptr, &value, kEnglish, 0), E_POINTER);
  EXPECT_EQ(VarCmp(&value, nullptr, kEnglish, 0), E_POINTER);
}

}  // namespace
