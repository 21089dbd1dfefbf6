// A value that is written is the value that is read back, whatever it is.

#include "qxframework/automation/ole_date_time.h"
#include "qxframework/automation/text.h"
#include "qxframework/foundation/currency.h"
#include "tests/persistence/company_fixture.h"
#include "tests/persistence/hostile_values.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace {

using Persistence::co_Equal;
using qx::test::asReadBack;
using qx::test::Conditions;
using qx::test::dateValue;
using qx::test::failureOf;
using qx::test::HostileValues;
using qx::test::Record;
using qx::test::Rows;
using qx::test::values;
using testing::HasSubstr;
using testing::MatchesRegex;

class RoundTrip : public qx::test::CompanyFixture {
 protected:
  /// Adds a row of one column and gives the column as it reads back.
  std::string throughDatabase(const OLECHAR* column, const CComVariant& value) {
    Rows orders(company(), u"@ORDERS");
    const std::string failure = failureOf([&] { orders.Add(Record{{column, value}}); });
    if (failure != "no failure") return failure;
    orders.SetFields({column});
    orders.Load({u"Code"}, {});
    Record record;
    orders.Last(record);
    return record.text();
  }
  std::size_t count() const {
    return login
        ->rows(qx::toUtf16(byDialect("SELECT Code FROM [@ORDERS]", "SELECT Code FROM @ORDERS",
                                     "SELECT \"Code\" FROM \"@ORDERS\"")))
        .size();
  }
};

struct Written {
  std::u16string no, who, note;
  double total, day;
  int count;
};

Written draw(HostileValues& source) {
  Written row;
  row.no = source.text(20);
  row.who = source.text(50);
  row.note = source.text(300);
  row.total = source.amount();
  row.day = source.date();
  row.count = source.wholeNumber();
  return row;
}

Record asRecord(const Written& row) {
  return Record{{u"U_No", CComVariant(std::u16string_view(row.no))},
                {u"U_Who", CComVariant(std::u16string_view(row.who))},
                {u"U_Note", CComVariant(std::u16string_view(row.note))},
                {u"U_Total", row.total},
                {u"U_Day", CComVariant(row.day, VT_DATE)},
                {u"U_Count", row.count}};
}

/// The literals of dates have no time of day, in any dialect.
double dayAsWritten(double date) { return std::trunc(date); }

std::u16string_view textOf(const Record& record, const OLECHAR* name) {
  return qx::viewOfBstr(record.row[name].bstrVal);
}

void expectSame(const Record& record, const Written& row) {
  EXPECT_EQ(textOf(record, u"U_No"), asReadBack(row.no));
  EXPECT_EQ(textOf(record, u"U_Who"), asReadBack(row.who));
  EXPECT_EQ(textOf(record, u"U_Note"), asReadBack(row.note));
  EXPECT_EQ(record.row[u"U_Total"].dblVal, asReadBack(row.total));
  EXPECT_EQ(record.row[u"U_Count"].lVal, row.count);
  EXPECT_EQ(qx::test::cellText(record.row[u"U_Day"]),
            qx::test::cellText(CComVariant(dayAsWritten(row.day), VT_DATE)));
}

// Six values in a row: with all dialects on all databases more than 100,000.
constexpr int kRows = 2100;
constexpr std::uint32_t kSeed = 20240131;

TEST_F(RoundTrip, AnyValueIsReadBackAsItWasWritten) {
  HostileValues source(kSeed);
  std::vector<Written> written;
  company()->StartTransaction();
  Rows orders(company(), u"@ORDERS");
  for (int i = 0; i < kRows; ++i) {
    written.push_back(draw(source));
    ASSERT_EQ(failureOf([&] { orders.Add(asRecord(written.back())); }), "no failure") << i;
  }
  company()->EndTransaction(VARIANT_TRUE);
  orders.Load({u"Code"}, {});
  ASSERT_EQ(orders.GetRecordCount(), kRows);
  Record record;
  long at = orders.First(record);
  for (const Written& row : written) {
    ASSERT_EQ(at, 0);
    expectSame(record, row);
    ASSERT_FALSE(HasFailure()) << record.named() << "\nseed " << kSeed;
    at = orders.Next(record);
  }
}

TEST_F(RoundTrip, AnyValueFindsItsRow) {
  constexpr int kSample = 60;
  HostileValues source(kSeed + 1);
  company()->StartTransaction();
  Rows orders(company(), u"@ORDERS");
  std::vector<Written> written;
  for (int i = 0; i < kSample; ++i) {
    written.push_back(draw(source));
    orders.Add(asRecord(written.back()));
  }
  company()->EndTransaction(VARIANT_TRUE);
  orders.SetKeysOnly(true);
  orders.Load({u"U_No", u"U_Who", u"U_Total", u"U_Day", u"U_Count"}, {});
  Record record;
  int found = 0;
  for (long at = orders.First(record); at == 0; at = orders.Next(record)) ++found;
  EXPECT_EQ(found, kSample) << "each row was read by its own values";
  for (const Written& row : written) {
    const std::u16string who = asReadBack(row.who);
    Rows same(company(), u"@ORDERS");
    same.Load({u"Code"},
              Conditions()
                  .add(u"U_Who", co_Equal, who.c_str())
                  .add(u"U_Count", co_Equal, qx::toUtf16(std::to_string(row.count)).c_str(), u"")
                  .get());
    EXPECT_EQ(same.GetRecordCount(), 1) << qx::toUtf8(who);
  }
}

TEST_F(RoundTrip, ALongTextComesBackWhole) {
  std::u16string text;
  while (text.size() < 1'000'000) text += u"it's 漢字 😀 \\ 100 % \"x\" [y]\r\n";
  Rows orders(company(), u"@ORDERS");
  orders.Add(Record{{u"U_Note", CComVariant(std::u16string_view(text))}});
  orders.SetFields({u"U_Note"});
  orders.Load({u"Code"}, {});
  Record record;
  ASSERT_EQ(orders.Last(record), 0);
  EXPECT_TRUE(textOf(record, u"U_Note") == text);
}

TEST_F(RoundTrip, TheDeleteCharacterBecomesAQuote) {
  EXPECT_EQ(throughDatabase(u"U_Who",
                            u"a\x7F"
                            u"b'c"),
            "a'b'c");
}

TEST_F(RoundTrip, TextsThatAreNoneAreRefusedAndNothingIsWritten) {
  for (const std::u16string_view text :
       {std::u16string_view(u"high\xD83D"), std::u16string_view(u"\xDE00low"),
        std::u16string_view(u"\xDE00\xD83D"), std::u16string_view(u"a\0b", 3)}) {
    EXPECT_THAT(throughDatabase(u"U_Who", CComVariant(text)),
                MatchesRegex("-2000: the statement holds (half of a surrogate pair|a zero "
                             "character) \\(line 1, column [0-9]+\\)"));
    EXPECT_EQ(count(), 0U);
  }
}

TEST_F(RoundTrip, TextsThatAreTooLongAreRefusedAndNothingIsWritten) {
  const std::u16string text(51, u'x');
  EXPECT_THAT(throughDatabase(u"U_Who", text.c_str()), HasSubstr("-2000: "));
  EXPECT_EQ(count(), 0U);
  EXPECT_EQ(throughDatabase(u"U_Who", text.substr(1).c_str()), std::string(50, 'x'));
}

TEST_F(RoundTrip, WhatIsNoNumberIsRefusedAndNothingIsWritten) {
  for (const double number :
       {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
        -std::numeric_limits<double>::infinity()}) {
    EXPECT_EQ(throughDatabase(u"U_Total", number), "A value of type 5 has no text form");
    EXPECT_EQ(count(), 0U);
  }
}

TEST_F(RoundTrip, NullAndNothingHaveNoText) {
  CComVariant null;
  null.vt = VT_NULL;
  EXPECT_EQ(throughDatabase(u"U_Total", null), "A value of type 1 has no text form");
  EXPECT_THAT(throughDatabase(u"U_Total", CComVariant()), HasSubstr("-2000: "));
  EXPECT_EQ(count(), 0U);
}

TEST_F(RoundTrip, OtherKindsOfNumbersAreWrittenAsNumbers) {
  EXPECT_EQ(throughDatabase(u"U_Count", CComVariant(short{-7})), "-7");
  EXPECT_EQ(throughDatabase(u"U_Total", CComVariant(42)), "42");
  EXPECT_EQ(throughDatabase(u"U_Total", CQXCurrency(12, 345678).ToDouble()), "12.345678");
  EXPECT_EQ(throughDatabase(u"U_Total", -0.0), "0");
  EXPECT_EQ(throughDatabase(u"U_Total", 0.000001), "1e-06");
}

TEST_F(RoundTrip, NumbersComeBackToFifteenDigitsWhateverTheirSize) {
  EXPECT_EQ(throughDatabase(u"U_Total", 0.123456789012345), "0.123456789012345");
  EXPECT_EQ(throughDatabase(u"U_Total", 0.12345678901234567), "0.123456789012346");
  EXPECT_EQ(throughDatabase(u"U_Total", 0.1 + 0.2), "0.3");
  EXPECT_EQ(throughDatabase(u"U_Total", 1e300), "1e+300");
  EXPECT_EQ(throughDatabase(u"U_Total", -1.5e-300), "-1.5e-300");
  EXPECT_EQ(throughDatabase(u"U_Total", 123456789012345.678), "123456789012346");
  EXPECT_EQ(throughDatabase(u"U_Total", std::numeric_limits<double>::denorm_min()), "5e-324");
}

// Its fifteen digits are above it.
TEST_F(RoundTrip, TheLargestNumberIsRefusedAndNothingIsWritten) {
  EXPECT_THAT(throughDatabase(u"U_Total", std::numeric_limits<double>::max()),
              HasSubstr("-2000: the number is out of range: 1.79769313486232E+308 (line 1, "));
  EXPECT_EQ(count(), 0U);
}

TEST_F(RoundTrip, DatesAtTheEndsComeBack) {
  EXPECT_EQ(throughDatabase(u"U_Day", dateValue(9999, 12, 31)), "9999-12-31 00:00:00");
  EXPECT_EQ(throughDatabase(u"U_Day", dateValue(100, 1, 1)), "0100-01-01 00:00:00");
  EXPECT_EQ(throughDatabase(u"U_Day", dateValue(2024, 2, 29)), "2024-02-29 00:00:00");
  EXPECT_EQ(throughDatabase(u"U_Day", dateValue(2024, 2, 29, 23, 59, 59)), "2024-02-29 00:00:00");
}

TEST_F(RoundTrip, TheNullDateAndDatesThatAreNoneComeBackAsTheNullDate) {
  for (const double date : {0.0, 1e9, -1e9, std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_EQ(throughDatabase(u"U_Day", CComVariant(date, VT_DATE)), "1899-12-30 00:00:00");
  }
}

TEST_F(RoundTrip, DaysThatDoNotExistAreRefusedAndNothingIsWritten) {
  for (const OLECHAR* text : {u"20240230", u"2024-02-30", u"yesterday"}) {
    EXPECT_THAT(throughDatabase(u"U_Day", text), HasSubstr("-2000: ")) << qx::toUtf8(text);
    EXPECT_EQ(count(), 0U);
  }
}

}  // namespace
