// Values at the limits of their kind: they are read back as they were written, or the write is
// refused. any_values_test.cc does the same with random values.

#include "qxframework/automation/ole_date_time.h"
#include "qxframework/automation/text.h"
#include "qxframework/foundation/currency.h"
#include "tests/media/company_fixture.h"

#include <gmock/gmock.h>

#include <limits>

namespace {

using qx::test::dateValue;
using qx::test::failureOf;
using qx::test::Record;
using qx::test::Rows;
using testing::HasSubstr;
using testing::MatchesRegex;

class RoundTrip : public qx::test::CompanyFixture {
 protected:
  /// Adds a row with a value in one column. Returns the value as it is read back, or the failure.
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

std::u16string_view textOf(const Record& record, const OLECHAR* name) {
  return qx::viewOfBstr(record.row[name].bstrVal);
}

TEST_F(RoundTrip, LongTextIsReadBackWhole) {
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

TEST_F(RoundTrip, DeleteCharacterIsReadBackAsAQuote) {
  EXPECT_EQ(throughDatabase(u"U_Who",
                            u"a\x7F"
                            u"b'c"),
            "a'b'c");
}

TEST_F(RoundTrip, InvalidTextsAreRefusedAndNothingIsWritten) {
  for (const std::u16string_view text :
       {std::u16string_view(u"high\xD83D"), std::u16string_view(u"\xDE00low"),
        std::u16string_view(u"\xDE00\xD83D"), std::u16string_view(u"a\0b", 3)}) {
    EXPECT_THAT(throughDatabase(u"U_Who", CComVariant(text)),
                MatchesRegex("-2000: the statement holds (half of a surrogate pair|a zero "
                             "character) \\(line 1, column [0-9]+\\)"));
    EXPECT_EQ(count(), 0U);
  }
}

TEST_F(RoundTrip, TooLongTextsAreRefusedAndNothingIsWritten) {
  const std::u16string text(51, u'x');
  EXPECT_THAT(throughDatabase(u"U_Who", text.c_str()), HasSubstr("-2000: "));
  EXPECT_EQ(count(), 0U);
  EXPECT_EQ(throughDatabase(u"U_Who", text.substr(1).c_str()), std::string(50, 'x'));
}

TEST_F(RoundTrip, InvalidNumbersAreRefusedAndNothingIsWritten) {
  for (const double number :
       {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
        -std::numeric_limits<double>::infinity()}) {
    EXPECT_EQ(throughDatabase(u"U_Total", number), "A value of type 5 has no text form");
    EXPECT_EQ(count(), 0U);
  }
}

TEST_F(RoundTrip, NullAndEmptyVariantsAreRefused) {
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

TEST_F(RoundTrip, NumbersOfAnySizeAreReadBackToFifteenDigits) {
  EXPECT_EQ(throughDatabase(u"U_Total", 0.123456789012345), "0.123456789012345");
  EXPECT_EQ(throughDatabase(u"U_Total", 0.12345678901234567), "0.123456789012346");
  EXPECT_EQ(throughDatabase(u"U_Total", 0.1 + 0.2), "0.3");
  EXPECT_EQ(throughDatabase(u"U_Total", 1e300), "1e+300");
  EXPECT_EQ(throughDatabase(u"U_Total", -1.5e-300), "-1.5e-300");
  EXPECT_EQ(throughDatabase(u"U_Total", 123456789012345.678), "123456789012346");
  EXPECT_EQ(throughDatabase(u"U_Total", std::numeric_limits<double>::denorm_min()), "5e-324");
}

// Rounded to 15 digits, the largest double is out of range.
TEST_F(RoundTrip, LargestNumberIsRefusedAndNothingIsWritten) {
  EXPECT_THAT(throughDatabase(u"U_Total", std::numeric_limits<double>::max()),
              HasSubstr("-2000: the number is out of range: 1.79769313486232E+308 (line 1, "));
  EXPECT_EQ(count(), 0U);
}

TEST_F(RoundTrip, DatesAtTheLimitsAreReadBackWithoutTheirTime) {
  EXPECT_EQ(throughDatabase(u"U_Day", dateValue(9999, 12, 31)), "9999-12-31 00:00:00");
  EXPECT_EQ(throughDatabase(u"U_Day", dateValue(100, 1, 1)), "0100-01-01 00:00:00");
  EXPECT_EQ(throughDatabase(u"U_Day", dateValue(2024, 2, 29)), "2024-02-29 00:00:00");
  EXPECT_EQ(throughDatabase(u"U_Day", dateValue(2024, 2, 29, 23, 59, 59)), "2024-02-29 00:00:00");
}

TEST_F(RoundTrip, NullDateAndInvalidDatesAreReadBackAsTheNullDate) {
  for (const double date : {0.0, 1e9, -1e9, std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_EQ(throughDatabase(u"U_Day", CComVariant(date, VT_DATE)), "1899-12-30 00:00:00");
  }
}

TEST_F(RoundTrip, TextsThatAreNoDateAreRefusedAndNothingIsWritten) {
  for (const OLECHAR* text : {u"20240230", u"2024-02-30", u"yesterday"}) {
    EXPECT_THAT(throughDatabase(u"U_Day", text), HasSubstr("-2000: ")) << qx::toUtf8(text);
    EXPECT_EQ(count(), 0U);
  }
}

}  // namespace
