// A locale with a decimal comma: statements keep the decimal point, except for the keys of current
// rows, which the framework writes in the user's locale.

#include "tests/media/company_fixture.h"

#include <gmock/gmock.h>

namespace {

using Persistence::co_Greater;
using qx::test::Conditions;
using qx::test::dateValue;
using qx::test::failureOf;
using qx::test::Record;
using qx::test::Rows;
using qx::test::values;
using testing::ElementsAre;
using testing::StartsWith;

class DecimalComma : public qx::test::CompanyFixture {
 protected:
  DecimalComma() {
    addOrder(u"A", u"Ann", dateValue(2024, 1, 31), 12.5, 3);
    addOrder(u"B", u"Ben", dateValue(2024, 2, 1), -7, 2);
  }
};

TEST_F(DecimalComma, IsUsedByTextConversion) {
  CComVariant text(12.5);
  ASSERT_GE(text.ChangeType(VT_BSTR), 0);
  EXPECT_EQ(qx::test::cellText(text), "12,5");
}

TEST_F(DecimalComma, IsNotUsedInValuesAndConditions) {
  Rows orders(company(), u"@ORDERS");
  orders.SetFields({u"U_No", u"U_Total"});
  orders.Load({u"U_No"}, Conditions().add(u"U_Total", co_Greater, u"12.25", u"VT_R8").get());
  EXPECT_THAT(orders.all(), ElementsAre("A|12.5"));
  orders.Update(values({{u"U_No", u"A"}}), Record{{u"U_Total", 12.75}});
  orders.RemoveRange(values({{u"U_Total", -7.0}}), {});
  Rows rest(company(), u"@ORDERS");
  rest.SetFields({u"U_No", u"U_Total"});
  rest.Load({u"U_No"}, {});
  EXPECT_THAT(rest.all(), ElementsAre("A|12.75"));
}

TEST_F(DecimalComma, MakesKeysWithDecimalsUnusable) {
  Rows orders(company(), u"@ORDERS");
  orders.SetKeysOnly(true);
  orders.Load({u"U_Total"}, {});
  Record record;
  EXPECT_EQ(orders.First(record), 0);
  EXPECT_EQ(record.of(u"U_No"), "B") << "a whole number has no comma";
  EXPECT_THAT(failureOf([&] { orders.Next(record); }), StartsWith("-2000: "));
  EXPECT_FALSE(orders.Find(values({{u"U_Total", 12.5}}), record));
  EXPECT_EQ(failureOf([&] {
              orders.Update(values({{u"U_Total", 12.5}}), Record{{u"U_Who", u"x"}});
            }),
            "Record not found in record set");
}

}  // namespace
