// Numbers and days that are none, and those at the edges of money, in keys, conditions and joins.

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
constexpr double kNoNumbers[] = {std::numeric_limits<double>::quiet_NaN(),
                                 std::numeric_limits<double>::infinity(),
                                 -std::numeric_limits<double>::infinity()};

class NoNumbers : public qx::test::UnchangedOrders {
 protected:
  std::string joining(const OLECHAR* column, const CComVariant& constant) const {
    CQXLinkTableCriteria link(u"@ORDERS", u"T1", Persistence::jm_Inner, true);
    link.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"Code", u"Code"));
    link.AddLinkFieldCriteria(CQXLinkFieldCriteria(column, constant, co_Equal));
    Rows rows(company(), u"@ORDERS");
    rows.SetCorrelationName(u"T0");
    rows.AddLinkTableCriteria(link);
    return failureOf([&] { rows.Load({u"Code"}, {}); });
  }
};

TEST_F(NoNumbers, AreRefusedAsKeys) {
  for (const bool keysOnly : {false, true}) {
    Rows rows(company(), u"@ORDERS");
    rows.SetKeysOnly(keysOnly);
    rows.Load({u"U_Total"}, {});
    Record record{{u"kept", u"kept"}};
    for (const double number : kNoNumbers) {
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

TEST_F(NoNumbers, AreRefusedAsNewValues) {
  for (const double number : kNoNumbers) {
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

TEST_F(NoNumbers, AreRefusedInJoins) {
  for (const double number : kNoNumbers) EXPECT_EQ(joining(u"U_Total", number), kNoText);
}

TEST_F(NoNumbers, AreRefusedInConditions) {
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

using NoDays = NoNumbers;

TEST_F(NoDays, AreRefusedInConditions) {
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

TEST_F(NoDays, AreRefusedInJoinsAsTexts) {
  for (const OLECHAR* text : {u"20240230", u"yesterday", u"2024-13-01"})
    EXPECT_THAT(joining(u"U_Day", text), StartsWith("-2000: ")) << qx::toUtf8(text);
}

// The literal of a date that is none is that of the null date.
TEST_F(NoDays, CountAsTheNullDateInKeysAndJoins) {
  for (const double date : {1e9, -1e9, std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_EQ(joining(u"U_Day", CComVariant(date, VT_DATE)), "no failure");
    Rows rows(company(), u"@ORDERS");
    rows.Load({u"U_Day"}, {});
    const auto key = values({{u"U_Day", CComVariant(date, VT_DATE)}});
    Record record;
    EXPECT_FALSE(rows.Find(key, record));
    EXPECT_FALSE(rows.Exists(key));
    EXPECT_EQ(failureOf([&] { rows.RemoveRange(key, {}); }), "no failure");
  }
}

// ---- the edges of money

class MoneyInTheDatabase : public qx::test::CompanyFixture {
 protected:
  /// Writes an amount and reads it back.
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

TEST_F(MoneyInTheDatabase, OfFifteenDigitsComesBackAsItWas) {
  EXPECT_EQ(throughDatabase({0, 0}), "0.000000");
  EXPECT_EQ(throughDatabase({0, 1}), "0.000001");
  EXPECT_EQ(throughDatabase({0, -1}), "-0.000001");
  EXPECT_EQ(throughDatabase({123456789, 123456}), "123456789.123456");
  EXPECT_EQ(throughDatabase({-999999999, -999999}), "-999999999.999999");
  EXPECT_EQ(throughDatabase({9007199254, 740990}), "9007199254.740990") << "2^53 millionths";
}

// The sixteenth digit is rounded away, and beyond 2^53 millionths a double knows every second
// number or less.
TEST_F(MoneyInTheDatabase, OfMoreDigitsComesBackRounded) {
  EXPECT_EQ(throughDatabase({1234567890, 123456}), "1234567890.123460");
  EXPECT_EQ(throughDatabase({999999999999, 990000}), "999999999999.990016");
  EXPECT_EQ(throughDatabase({-999999999999, -999000}), "-999999999999.998976");
  EXPECT_EQ(throughDatabase({9000000000000, 123456}), "9000000000000.118784");
}

// The fifteen digits of both ends are beyond them, and what has no place is the lowest amount.
TEST_F(MoneyInTheDatabase, OfBothEndsOfItsRangeComesBackAsTheLowest) {
  EXPECT_EQ(throughDatabase({9223372036854, 775807}), "-9223372036854.775808");
  EXPECT_EQ(throughDatabase({-9223372036854, -775808}), "-9223372036854.775808");
  EXPECT_EQ(throughDatabase({9223372036854, 770000}), "9223372036854.769664");
}

}  // namespace
