// Invalid queries are refused with a reason and change nothing.

#include "qxframework/automation/text.h"
#include "tests/media/unchanged_orders.h"

#include <gmock/gmock.h>

namespace {

using Persistence::co_Equal;
using Persistence::co_Greater;
using Persistence::co_Like;
using Persistence::co_NotEqual;
using Persistence::HvConditionOperation;
using qx::test::Conditions;
using qx::test::failureOf;
using qx::test::Record;
using qx::test::Rows;
using qx::test::values;
using testing::HasSubstr;
using testing::StartsWith;

using BadQueries = qx::test::UnchangedOrders;

constexpr char kNoMatch[] =
    "The given map of key fields does not match the key field list of this obejct";

TEST_F(BadQueries, KeyWithOtherColumnsIsRefused) {
  Rows orders(company(), u"@ORDERS");
  orders.Load({u"U_No", u"U_Who"}, {});
  Record record;
  const auto tooShort = values({{u"U_No", u"A"}});
  const auto tooLong = values({{u"U_No", u"A"}, {u"U_Who", u"Ann"}, {u"Code", u"0"}});
  const auto misordered = values({{u"U_Who", u"Ann"}, {u"U_No", u"A"}});
  const auto otherCase = values({{u"U_NO", u"A"}, {u"U_Who", u"Ann"}});
  for (const auto& keys : {tooShort, tooLong, misordered, otherCase, values({})}) {
    EXPECT_EQ(failureOf([&] { orders.GetByKey(keys, record); }), kNoMatch);
    EXPECT_EQ(failureOf([&] { orders.Exists(keys); }), kNoMatch);
    EXPECT_EQ(failureOf([&] { orders.Update(keys, Record{{u"U_Count", 9}}); }), kNoMatch);
    EXPECT_EQ(failureOf([&] { orders.Remove(keys); }), kNoMatch);
  }
}

TEST_F(BadQueries, ValuesThatMatchNoRowFindNothing) {
  Rows orders(company(), u"@ORDERS");
  orders.Load({u"U_No"}, {});
  Record record;
  EXPECT_EQ(failureOf([&] {
              orders.Find(values({{u"U_Nowhere", u"A"}}), record);
            }),
            "_com_error " + std::to_string(DISP_E_BADINDEX));
  EXPECT_THAT(login->lastError(), HasSubstr("U_Nowhere"));
  EXPECT_FALSE(orders.Find(values({{u"U_No", 7}}), record));
  EXPECT_EQ(failureOf([&] {
              orders.GetByKey(values({{u"U_No", u"a"}}), record);
            }),
            "No match found");
}

TEST_F(BadQueries, RemoveRangeRefusesOperationsOtherThanEqual) {
  Rows orders(company(), u"@ORDERS");
  for (const HvConditionOperation operation : {co_Like, co_Greater, co_NotEqual}) {
    EXPECT_EQ(
        failureOf([&] {
          orders.RemoveRange(values({{u"U_No", u"A"}, {u"U_Count", 3}}), {co_Equal, operation});
        }),
        "Only EQUAL is allowed as operation in the conditions");
  }
  EXPECT_EQ(failureOf([&] {
              orders.RemoveRange(values({{u"U_No", u"A"}, {u"U_Count", 3}}), {co_Equal});
            }),
            "Operations count is less than the count of key fields");
}

TEST_F(BadQueries, RemoveRangeWithoutColumnsIsRefused) {
  Rows orders(company(), u"@ORDERS");
  EXPECT_THAT(failureOf([&] { orders.RemoveRange({}, {}); }), StartsWith("-2000: "));
}

TEST_F(BadQueries, EmptyListOfConditionsIsRefused) {
  EXPECT_THAT(loading(u"@ORDERS", {u"U_No"}, Conditions().get()), StartsWith("-2000: "));
}

TEST_F(BadQueries, QueryWithoutKeyAndConditionsIsRefused) {
  Rows orders(company(), u"@ORDERS");
  EXPECT_EQ(failureOf([&] { orders.Load({}, {}); }),
            "Collection is not properly initialized, neither conditions nor key fields are set");
  EXPECT_FALSE(orders.IsLoaded());
  Rows twice(company(), u"@ORDERS");
  twice.Load({u"Code"}, {});
  EXPECT_EQ(failureOf([&] { twice.Load({u"Code"}, {}); }),
            "Proxy is already connected to a initialized persistent collection");
}

}  // namespace
