#include "qxframework/query/variant_order.h"

#include <gtest/gtest.h>

#include <limits>

namespace qx {
namespace {

CComVariant ofKind(VARTYPE kind, std::uint64_t bits) {
  CComVariant value;
  value.vt = kind;
  value.ullVal = bits;
  return value;
}

TEST(VariantOrder, TwoNullsAreEqual) {
  const CComVariant null = ofKind(VT_NULL, 0);
  EXPECT_TRUE(sameValue(null, null));
  EXPECT_FALSE(valueBelow(null, null));
}

TEST(VariantOrder, ANullIsUnrelatedToOtherValues) {
  const CComVariant null = ofKind(VT_NULL, 0);
  for (const CComVariant& other : {CComVariant(), CComVariant(0), CComVariant(u"")}) {
    EXPECT_FALSE(sameValue(null, other));
    EXPECT_FALSE(valueBelow(null, other));
    EXPECT_FALSE(valueBelow(other, null));
  }
}

TEST(VariantOrder, ValuesOfDifferentTypesAreNeverEqual) {
  EXPECT_FALSE(sameValue(CComVariant(1), CComVariant(1.0)));
  EXPECT_FALSE(sameValue(CComVariant(1), CComVariant(short{1})));
  EXPECT_FALSE(sameValue(CComVariant(u"1"), CComVariant(1)));
  EXPECT_FALSE(sameValue(CComVariant(), CComVariant(u"")));
}

TEST(VariantOrder, ValuesOfDifferentTypesHaveAnOrder) {
  EXPECT_TRUE(valueBelow(CComVariant(1), CComVariant(1.5)));
  EXPECT_FALSE(valueBelow(CComVariant(1.5), CComVariant(1)));
}

TEST(VariantOrder, SmallAndUnsignedIntegersCompareAsNumbers) {
  for (VARTYPE kind : {VT_UI2, VT_UI4, VT_UI8}) {
    EXPECT_TRUE(sameValue(ofKind(kind, 0xFFFF), ofKind(kind, 0xFFFF)));
    EXPECT_FALSE(sameValue(ofKind(kind, 1), ofKind(kind, 2)));
    EXPECT_TRUE(valueBelow(ofKind(kind, 1), ofKind(kind, 0xFFFF)));
    EXPECT_FALSE(valueBelow(ofKind(kind, 0xFFFF), ofKind(kind, 1)));
    EXPECT_FALSE(valueBelow(ofKind(kind, 1), ofKind(kind, 1)));
  }
  EXPECT_TRUE(valueBelow(ofKind(VT_I1, 0xFF), ofKind(VT_I1, 1)));
  EXPECT_TRUE(valueBelow(ofKind(VT_UI8, 1), ofKind(VT_UI8, ~std::uint64_t{0})));
}

TEST(VariantOrder, OnlyTheBytesOfTheTypeCount) {
  EXPECT_TRUE(sameValue(ofKind(VT_I1, 0x1105), ofKind(VT_I1, 0x2205)));
  EXPECT_TRUE(sameValue(ofKind(VT_UI2, 0x110005), ofKind(VT_UI2, 0x220005)));
}

TEST(VariantOrder, NumbersDatesAndTextsHaveTheirUsualOrder) {
  EXPECT_TRUE(sameValue(CComVariant(7), CComVariant(7)));
  EXPECT_TRUE(valueBelow(CComVariant(-1), CComVariant(0)));
  EXPECT_TRUE(valueBelow(CComVariant(1.25), CComVariant(1.5)));
  EXPECT_TRUE(valueBelow(CComVariant(45000.0, VT_DATE), CComVariant(45001.0, VT_DATE)));
  EXPECT_TRUE(sameValue(CComVariant(u"a"), CComVariant(u"a")));
  EXPECT_FALSE(sameValue(CComVariant(u"a"), CComVariant(u"A")));
  EXPECT_TRUE(valueBelow(CComVariant(u"a"), CComVariant(u"B")));
  EXPECT_FALSE(valueBelow(CComVariant(u"B"), CComVariant(u"a")));
}

TEST(VariantOrder, ASearchLearnsTheOrderFromOneComparison) {
  EXPECT_LT(valueOrder(CComVariant(u"a"), CComVariant(u"B")), 0);
  EXPECT_GT(valueOrder(CComVariant(u"B"), CComVariant(u"a")), 0);
  EXPECT_EQ(valueOrder(CComVariant(u"a"), CComVariant(u"a")), 0);
  EXPECT_LT(valueOrder(CComVariant(9), CComVariant(u"10")), 0);
  EXPECT_GT(valueOrder(CComVariant(u"10"), CComVariant(9)), 0);
  EXPECT_GT(valueOrder(CComVariant(2.5), CComVariant(2)), 0);
  EXPECT_GT(valueOrder(ofKind(VT_UI4, 0xFFFF), ofKind(VT_UI4, 1)), 0);
  EXPECT_EQ(valueOrder(ofKind(VT_NULL, 0), ofKind(VT_NULL, 1)), 0);
  EXPECT_EQ(valueOrder(ofKind(VT_UNKNOWN, 0), CComVariant(1)), 0);
  const CComVariant noText = ofKind(VT_BSTR, 0);
  EXPECT_EQ(valueOrder(noText, CComVariant(u"")), 0);
  EXPECT_LT(valueOrder(noText, CComVariant(u"a")), 0);
}

TEST(VariantOrder, IncomparableValuesAreNeitherEqualNorBelow) {
  const CComVariant object = ofKind(VT_UNKNOWN, 0);
  EXPECT_FALSE(sameValue(object, object));
  EXPECT_FALSE(valueBelow(object, object));
}

}  // namespace
}  // namespace qx
