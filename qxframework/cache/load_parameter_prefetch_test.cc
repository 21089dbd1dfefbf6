// The key of given values, and what a load parameter reads ahead.

#include "qxframework/cache/load_parameter.h"
#include "qxframework/cache/testing/load_parameter_access.h"
#include "qxframework/os/clock.h"
#include "qxframework/query/testing/query_parts.h"

#include <gmock/gmock.h>

#include <limits>
#include <memory>

namespace Persistence {
namespace {

using namespace qx::test;
using qx::LoadParameterAccess;

using Names = std::vector<CComBSTR>;
using Prefetching = TyLoadParameter_WithPrefetchKeys;

class KeyOfValues : public testing::Test {
 protected:
  KeyOfValues() {
    const Names keys{u"U_No", u"U_Line"};
    param.SetKeyFields(&keys);
  }
  TyLoadParameter param;
};

TEST_F(KeyOfValues, ReturnsTheValuesThemselvesIfTheyBeginWithTheKeyInItsOrder) {
  TyFieldValues exact{{u"U_No", u"A"}, {u"U_Line", 2}};
  EXPECT_EQ(param.GetKeyFromNameValueMap(exact).get(), &exact);
  TyFieldValues longer{{u"U_No", u"A"}, {u"U_Line", 2}, {u"U_Who", u"Ann"}};
  EXPECT_EQ(param.GetKeyFromNameValueMap(longer).get(), &longer);
}

TEST_F(KeyOfValues, DoesNotOwnTheValuesThemselves) {
  TyFieldValues exact{{u"U_No", u"A"}, {u"U_Line", 2}};
  param.GetKeyFromNameValueMap(exact);
  EXPECT_EQ(exact.GetCount(), 2);
}

TEST_F(KeyOfValues, BuildsTheKeyInItsOrderFromOtherValues) {
  TyFieldValues turned{{u"U_Line", 2}, {u"U_Who", u"Ann"}, {u"U_No", u"A"}};
  const qx_ptr<TyFieldValues> key = param.GetKeyFromNameValueMap(turned);
  ASSERT_NE(key.get(), &turned);
  ASSERT_EQ(key->GetCount(), 2);
  EXPECT_EQ(utf8(key->GetKeyAt(0)), "U_No");
  EXPECT_EQ(utf8(key->GetValueAt(0)), "A");
  EXPECT_EQ(utf8(key->GetKeyAt(1)), "U_Line");
  EXPECT_EQ(key->GetValueAt(1).lVal, 2);
}

TEST_F(KeyOfValues, BuildsTheKeyIfOnlyItsFirstFieldIsOutOfPlace) {
  TyFieldValues shifted{{u"U_Who", u"Ann"}, {u"U_Line", 2}, {u"U_No", u"A"}};
  const qx_ptr<TyFieldValues> key = param.GetKeyFromNameValueMap(shifted);
  ASSERT_EQ(key->GetCount(), 2);
  EXPECT_EQ(utf8(key->GetValueAt(0)), "A");
}

TEST_F(KeyOfValues, ThrowsForAKeyFieldWithoutAValue) {
  TyFieldValues lacking{{u"U_No", u"A"}};
  try {
    param.GetKeyFromNameValueMap(lacking);
    FAIL() << "no failure";
  } catch (const char* failure) {
    EXPECT_STREQ(failure, "Can't find the key in CMyMap");
  }
}

TEST_F(KeyOfValues, IsTheValuesThemselvesWithoutKeyFields) {
  TyFieldValues any{{u"U_No", u"A"}};
  EXPECT_EQ(TyLoadParameter().GetKeyFromNameValueMap(any).get(), &any);
}

TEST(LoadParameterPrefetch, PrefetchFieldsAreACopyInTheSameOrder) {
  Prefetching param;
  EXPECT_FALSE(param.HasPrefetchFields());
  TyFieldValues start{{u"U_Who", u"Ann"}, {u"U_No", u"A"}};
  param.SetPrefetchFields(&start);
  start.SetValue(u"U_Who", u"x");
  ASSERT_TRUE(param.HasPrefetchFields());
  ASSERT_EQ(param.GetPrefetchFields()->GetCount(), 2);
  EXPECT_EQ(utf8(param.GetPrefetchFields()->GetKeyAt(0)), "U_Who");
  EXPECT_EQ(utf8(param.GetPrefetchFields()->GetValueAt(0)), "Ann");
  EXPECT_EQ(utf8(param.GetPrefetchFields()->GetKeyAt(1)), "U_No");
  param.SetPrefetchFields(param.GetPrefetchFields().get());
  EXPECT_EQ(param.GetPrefetchFields()->GetCount(), 2);
  param.SetPrefetchFields(nullptr);
  EXPECT_EQ(param.GetPrefetchFields().get(), nullptr);
}

TEST(LoadParameterPrefetch, EmptyPrefetchFieldsAreThereButCountAsNone) {
  Prefetching param;
  const TyFieldValues none;
  param.SetPrefetchFields(&none);
  EXPECT_NE(param.GetPrefetchFields().get(), nullptr);
  EXPECT_FALSE(param.HasPrefetchFields());
}

TEST(LoadParameterPrefetch, ACopyHasPrefetchFieldsOfItsOwn) {
  Prefetching param;
  const TyFieldValues start{{u"Code", u"A"}};
  param.SetPrefetchBehavior(pb_FirstRowsFrom, &start, 7);
  param.SetMaxCacheTimeSpan(COleDateTimeSpan(1, 0, 0, 0));
  LoadParameterAccess::setComparison(param, co_Equal);
  const Prefetching copy(param);
  EXPECT_NE(copy.GetPrefetchFields().get(), param.GetPrefetchFields().get());
  EXPECT_EQ(utf8(copy.GetPrefetchFields()->GetValue(u"Code")), "A");
  EXPECT_EQ(copy.GetPrefetchCount(), 7);
  EXPECT_EQ(copy.GetMaxCacheTimeSpan(), COleDateTimeSpan(1, 0, 0, 0));
  EXPECT_TRUE(copy == param);
}

struct Behavior {
  _TyPrefetchBehavior set;
  long count;
  long stored;
  bool hasFields;
  _TyPrefetchBehavior read;
};

TEST(LoadParameterPrefetch, TheBehaviorIsReadFromTheCountAndTheFields) {
  constexpr long kLongest = std::numeric_limits<long>::max();
  const Behavior cases[] = {
      {pb_NoPrefetch, 7, -1, false, pb_NoPrefetch},
      {pb_FirstRows, 1, 1, false, pb_FirstRows},
      {pb_FirstRows, 100000, 100000, false, pb_FirstRows},
      {pb_FirstRows, 100001, 100001, false, pb_AllRows},
      {pb_FirstRows, 0, 0, false, pb_NoPrefetch},
      {pb_AllRows, 7, 100001, false, pb_AllRows},
      {pb_FirstRowsFrom, 7, 7, true, pb_FirstRowsFrom},
      {pb_FirstRowsFrom, 0, 0, true, pb_NoPrefetch},
      {pb_FirstRowsFrom, -5, -5, true, pb_NoPrefetch},
      {pb_FirstRowsFrom, 1, 1, true, pb_FirstRowsFrom},
      {pb_FirstRowsFrom, 100000, 100000, true, pb_FirstRowsFrom},
      {pb_FirstRowsFrom, 100001, 100001, true, pb_AllRowsFrom},
      {pb_FirstRowsFrom, kLongest, kLongest, true, pb_AllRowsFrom},
      {pb_AllRowsFrom, 7, 100000, true, pb_FirstRowsFrom},
  };
  const TyFieldValues start{{u"Code", u"A"}};
  for (const Behavior& each : cases) {
    SCOPED_TRACE(std::to_string(each.set) + " with " + std::to_string(each.count));
    Prefetching param;
    param.SetPrefetchFields(&start);
    param.SetPrefetchBehavior(each.set, &start, each.count);
    EXPECT_EQ(param.GetPrefetchCount(), each.stored);
    EXPECT_EQ(param.HasPrefetchFields(), each.hasFields);
    EXPECT_EQ(param.GetPrefetchBehavior(), each.read);
  }
}

TEST(LoadParameterPrefetch, ANewOneReadsTheFirstHundredRows) {
  const Prefetching param;
  EXPECT_EQ(param.GetPrefetchBehavior(), pb_FirstRows);
  EXPECT_EQ(param.GetPrefetchCount(), 100);
  EXPECT_EQ(param.GetPrefetchFields().get(), nullptr);
  EXPECT_EQ(param.GetMaxCacheTimeSpan(), COleDateTimeSpan(0, 0, 5, 0));
}

TEST(LoadParameterPrefetch, ABehaviorFromAKeyWithoutFieldsReadsBackAsOneWithoutAKey) {
  Prefetching param;
  param.SetPrefetchBehavior(pb_FirstRowsFrom, nullptr, 7);
  EXPECT_EQ(param.GetPrefetchBehavior(), pb_FirstRows);
  const TyFieldValues none;
  param.SetPrefetchBehavior(pb_FirstRowsFrom, &none, 100001);
  EXPECT_EQ(param.GetPrefetchBehavior(), pb_AllRows);
}

TEST(LoadParameterPrefetch, RefusesAnUnknownBehaviorAndStaysAsItWas) {
  Prefetching param;
  for (const int unknown : {5, -1}) {
    EXPECT_EQ(refusalOf([&] {
                param.SetPrefetchBehavior(static_cast<_TyPrefetchBehavior>(unknown), nullptr, 1);
              }),
              "-1: Should not be reachable code");
  }
  EXPECT_EQ(param.GetPrefetchCount(), 100);
}

}  // namespace
}  // namespace Persistence
