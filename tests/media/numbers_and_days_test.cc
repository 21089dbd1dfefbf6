// Invalid numbers and dates in keys, new values, conditions and joins, and the limits of amounts of
// money.

#include "qxframework/automation/text.h"
#include "qxframework/foundation/currency.h"
#include "qxframework/query/link_criteria.h"
#include "tests/media/unchanged_orders.h"

#include <gmock/gmock.h>

#include <limits>

namespace {

using Persistence::co_Equal;
using Persistence::co_Greater;
using Persistence::co_Less;
using Persistence::CQXLinkFieldCriteria;
using Persistence::CQXLinkTableCriteria;
using qx::test::Conditions;
using qx::test::dateValue;
using qx::test::failureOf;
using qx::test::OneRow;
using qx::test::Record;
using qx::test::Rows;
using qx::test::values;
using testing::ElementsAre;
using testing::StartsWith;

constexpr char kNoText[] = "A value of type 5 has no text form";
constexpr double kInvalidNumbers[] = {std::numeric_limits<double>::quiet_NaN(),
                                      std::numeric_limits<double>::infinity(),
                                      -std::numeric_limits<double>::infinity()};

class InvalidNumbers : public qx::test::UnchangedOrders {
 protected:
  /// Returns the failure of a join by Code with a constant for one more column.
  std::string failureOfJoin(const OLECHAR* column, const CComVariant& constant) const {
    CQXLinkTableCriteria link(u"@ORDERS", u"T1", Persistence::jm_Inner, true);
    link.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"Code", u"Code"));
    link.AddLinkFieldCriteria(CQXLinkFieldCriteria(column, constant, co_Equal));
    Rows rows(company(), u"@ORDERS");
    rows.SetCorrelationName(u"T0");
    rows.AddLinkTableCriteria(link);
    return failureOf([&] { rows.Load({u"Code"}, {}); });
  }
};

TEST_F(InvalidNumbers, AreRefusedAsKeys) {
  for (const bool keysOnly : {false, true}) {
    Rows rows(company(), u"@ORDERS");
    rows.SetKeysOnly(keysOnly);
    rows.Load({u"U_Total"}, {});
    Record record{{u"kept", u"kept"}};
    for (const double number : kInvalidNumbers) {
      const auto key = values({{u"U_Total", number}});
      EXPECT_EQ(failureOf([&] { rows.Find(key, record); }), kNoText);
      EXPECT_EQ(failureOf([&] { rows.GetByKey(key, record); }), kNoText);
      EXPECT_EQ(failureOf([&] { rows.Exists(key); }), kNoText);
      EXPECT_EQ(failureOf([&] { rows.Update(key, Record{{u"U_Who", u"x"}}); }), kNoText);
      EXPECT_EQ(failureOf([&] { rows.Remove(key); }), kNoText);
      EXPECT_EQ(failureOf([&] { rows.RemoveRange(key, {}); }), kNoText);
    }
    EXPECT_EQ(record.text(), "kept");
  }
}

TEST_F(InvalidNumbers, AreRefusedAsNewValues) {
  for (const double number : kInvalidNumbers) {
    Rows rows(company(), u"@ORDERS");
    rows.Load({u"Code"}, {});
    EXPECT_EQ(failureOf([&] {
                rows.Update(values({{u"Code", u"00000000"}}),
                            Record{{u"U_Who", u"x"}, {u"U_Total", number}});
              }),
              kNoText);
    OneRow row;
    row.Connect(company(), u"@ORDERS", true);
    row.Load(Conditions().add(u"Code", co_Equal, u"00000000").get());
    EXPECT_EQ(failureOf([&] { row.Update(Record{{u"U_Total", number}}); }), kNoText);
  }
}

TEST_F(InvalidNumbers, AreRefusedInJoins) {
  for (const double number : kInvalidNumbers) EXPECT_EQ(failureOfJoin(u"U_Total", number), kNoText);
}

TEST_F(InvalidNumbers, AreRefusedInConditions) {
  for (const OLECHAR* text : {u"nan", u"NaN", u"inf", u"-Infinity", u"1e400", u"-1e400", u"1e",
                              u"12,5", u"", u"'nan'", u"0x10"}) {
    const auto conditions = [&] {
      return Conditions().add(u"U_Total", co_Greater, text, u"VT_R8").get();
    };
    EXPECT_THAT(loading(u"@ORDERS", {u"Code"}, conditions()), StartsWith("-2000: "))
        << qx::toUtf8(text);
    OneRow row;
    row.Connect(company(), u"@ORDERS", true);
    EXPECT_THAT(failureOf([&] { row.Load(conditions()); }), StartsWith("-2000: "))
        << qx::toUtf8(text);
  }
}

using InvalidDates = InvalidNumbers;

TEST_F(InvalidDates, AreRefusedInConditions) {
  for (const OLECHAR* text : {u"20240230", u"2024-02-30", u"2024-02-30 00:00:00", u"20241301",
                              u"yesterday", u"", u"2024'0101", u"0"}) {
    const auto conditions = [&] {
      return Conditions().add(u"U_Day", co_Less, text, u"VT_DATE").get();
    };
    EXPECT_THAT(loading(u"@ORDERS", {u"Code"}, conditions()), StartsWith("-2000: "))
        << qx::toUtf8(text);
    OneRow row;
    row.Connect(company(), u"@ORDERS", true);
    EXPECT_THAT(failureOf([&] { row.Load(conditions()); }), StartsWith("-2000: "))
        << qx::toUtf8(text);
  }
}

TEST_F(InvalidDates, AreRefusedAsTextsInJoins) {
  for (const OLECHAR* text : {u"20240230", u"yesterday", u"2024-13-01"})
    EXPECT_THAT(failureOfJoin(u"U_Day", text), StartsWith("-2000: ")) << qx::toUtf8(text);
}

// An invalid date has the literal of the null date.
TEST_F(InvalidDates, CountAsTheNullDateInKeysAndJoins) {
  for (const double date : {1e9, -1e9, std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_EQ(failureOfJoin(u"U_Day", CComVariant(date, VT_DATE)), "no failure");
    Rows rows(company(), u"@ORDERS");
    rows.Load({u"U_Day"}, {});
    const auto key = values({{u"U_Day", CComVariant(date, VT_DATE)}});
    Record record;
    EXPECT_FALSE(rows.Find(key, record));
    EXPECT_FALSE(rows.Exists(key));
    EXPECT_EQ(failureOf([&] { rows.RemoveRange(key, {}); }), "no failure");
  }
}

// ---- the limits of money

class MoneyInTheDatabase : public qx::test::CompanyFixture {
 protected:
  /// Writes an amount, reads it back and returns its text.
  std::string throughDatabase(const CQXCurrency& amount) {
    Rows rows(company(), u"@ORDERS");
    rows.Add(Record{{u"U_Total", amount.ToDouble()}});
    rows.SetFields({u"U_Total"});
    rows.Load({u"Code"}, {});
    Record record;
    rows.Last(record);
    return qx::toUtf8(CQXCurrency(record.row[u"U_Total"].dblVal).ToString().View());
  }
};

TEST_F(MoneyInTheDatabase, IsReadBackUnchangedWithFifteenDigits) {
  EXPECT_EQ(throughDatabase({0, 0}), "0.000000");
  EXPECT_EQ(throughDatabase({0, 1}), "0.000001");
  EXPECT_EQ(throughDatabase({0, -1}), "-0.000001");
  EXPECT_EQ(throughDatabase({123456789, 123456}), "123456789.123456");
  EXPECT_EQ(throughDatabase({-999999999, -999999}), "-999999999.999999");
  EXPECT_EQ(throughDatabase({9007199254, 740990}), "9007199254.740990") << "2^53 millionths";
}

// A literal has 15 digits, so the 16th is rounded away; beyond 2^53 millionths, a double cannot
// hold every whole number of millionths.
TEST_F(MoneyInTheDatabase, IsReadBackRoundedWithMoreDigits) {
  EXPECT_EQ(throughDatabase({1234567890, 123456}), "1234567890.123460");
  EXPECT_EQ(throughDatabase({999999999999, 990000}), "999999999999.990016");
  EXPECT_EQ(throughDatabase({-999999999999, -999000}), "-999999999999.998976");
  EXPECT_EQ(throughDatabase({9000000000000, 123456}), "9000000000000.118784");
}

// Rounded to 15 digits, both limits are out of range, and an amount out of range becomes the
// lowest.
TEST_F(MoneyInTheDatabase, IsReadBackAsTheLowestAmountAtBothLimits) {
  EXPECT_EQ(throughDatabase({9223372036854, 775807}), "-9223372036854.775808");
  EXPECT_EQ(throughDatabase({-9223372036854, -775808}), "-9223372036854.775808");
  EXPECT_EQ(throughDatabase({9223372036854, 770000}), "9223372036854.769664");
}

}  // namespace
