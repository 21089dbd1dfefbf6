// Values at the limits of what a company keeps: the same limits in a file and on a server, and the
// same messages beyond them.

#include "qxdesk/company/test_support.h"
#include "qxframework/automation/text.h"

#include <cstdlib>

namespace qx::desk {
namespace {

class ValueRangeTest : public CompanyTest {
 protected:
  ValueRangeTest() {
    EXPECT_EQ(addTable(company, u"T"), 0);
    EXPECT_EQ(addField(company, {u"T", u"Amount", kFloatField, 80}), 0);
    EXPECT_EQ(addField(company, {u"T", u"Day", kDateField}), 0);
    EXPECT_EQ(addField(company, {u"T", u"Count", kNumericField}), 0);
    query(company, u"INSERT INTO [@T] (Code, Name, U_Day) VALUES ('1', 'n', '99991231')");
  }
  /// Returns the message of a statement that must be refused.
  std::u16string refusalOf(const std::u16string& sql) const {
    const auto rows = businessObject<IRecordset>(company, kRecordset);
    EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(sql)); }), kSqlFailure) << toUtf8(sql);
    return lastError(company).text;
  }
};

TEST_P(ValueRangeTest, ADateBeyondTheYear9999IsReportedAndTheRowStays) {
  EXPECT_EQ(refusalOf(u"UPDATE [@T] SET U_Day = DATEADD(day, 1, U_Day)"),
            words(u"A value is not a date (9999-12-31 00:00:00 moved by 1 x 86400 seconds is not "
                  u"within the years 1 to 9999).",
                  u"A value is not a date (timestamp out of range)."));
  EXPECT_EQ(rowsOf(company, u"SELECT U_Day FROM [@T]"), u"9999-12-31 00:00:00");
}

TEST_P(ValueRangeTest, AHugeCountOfDaysIsReported) {
  EXPECT_EQ(refusalOf(u"SELECT U_Day - 4611686018427387904 FROM [@T]"),
            words(u"A value is not a date (9999-12-31 00:00:00 moved by -4611686018427387904 x "
                  u"86400 seconds is not within the years 1 to 9999).",
                  u"A value is not a date (interval out of range)."));
}

// The number reads back as the statement spells it.
TEST_P(ValueRangeTest, ADecimalOfAnySizeAndPrecisionIsKept) {
  for (const std::string number :
       {"0.1234567", "0.0000001", "123456789012345.123", "999999999999999999999",
        "1.23456789012345E+300", "-9.87654321098765E-300", "1.7976931348623157E+308",
        "2.2250738585072014E-308", "4.94065645841247E-324", "0.30000000000000004",
        "9007199254740993", "5e-324", "-1234567.12345678", "8.41E+21", "9.5367431640625e-7"}) {
    SCOPED_TRACE(number);
    query(company, u"UPDATE [@T] SET U_Amount = " + toUtf16(number));
    const auto rows = query(company, u"SELECT U_Amount FROM [@T]");
    EXPECT_EQ(rows->GetFields()->Item(CComVariant(0L))->GetValue().dblVal,
              std::strtod(number.c_str(), nullptr));
    EXPECT_EQ(rowsOf(company, u"SELECT Code FROM [@T] WHERE U_Amount = " + toUtf16(number)), u"1");
    query(company, u"UPDATE [@T] SET U_Amount = N'" + toUtf16(number) + u"'");
    EXPECT_EQ(rowsOf(company, u"SELECT Code FROM [@T] WHERE U_Amount = " + toUtf16(number)), u"1");
  }
}

TEST_P(ValueRangeTest, ANumberBeyondTheLargestDoubleIsRefusedWithItsPosition) {
  EXPECT_EQ(refusalOf(u"UPDATE [@T] SET U_Amount = 1e309"),
            u"the number is out of range: 1e309 (line 1, column 28)");
  EXPECT_EQ(refusalOf(u"UPDATE [@T] SET U_Amount = -1.79769313486232E+308"),
            u"the number is out of range: 1.79769313486232E+308 (line 1, column 29)");
  EXPECT_EQ(refusalOf(u"SELECT Code FROM [@T] WHERE U_Amount < N'1e400'"),
            u"the number is out of range: 1e400 (line 1, column 40)");
}

TEST_P(ValueRangeTest, ATextOfADecimalHasFifteenDigitsAtMost) {
  query(company, u"UPDATE [@T] SET U_Amount = 10.0");
  EXPECT_EQ(rowsOf(company,
                   u"SELECT CAST(U_Amount / 3 AS nvarchar), LTRIM(U_Amount / 7), "
                   u"CAST(U_Amount * 123456789012345678 AS nvarchar), "
                   u"CAST(U_Amount / 3000000 AS nvarchar(8)) FROM [@T]"),
            u"3.33333333333333|1.42857142857143|1234567890123460000|0.000003");
  query(company, u"UPDATE [@T] SET U_Amount = 123456789.123456789");
  EXPECT_EQ(rowsOf(company, u"SELECT CAST(U_Amount AS nvarchar) FROM [@T]"), u"123456789.123457");
  query(company, u"UPDATE [@T] SET U_Amount = -2.5E-70");
  EXPECT_EQ(rowsOf(company, u"SELECT CAST(U_Amount AS nvarchar(100)) FROM [@T]"),
            u"-0." + std::u16string(69, u'0') + u"25");
}

TEST_P(ValueRangeTest, AWholeNumberOfMoreThan64BitsIsReported) {
  query(company, u"UPDATE [@T] SET U_Count = 2000000000");
  const std::u16string expected = words(
      u"A number is out of range (out of range: a whole number of more than 64 "
      u"bits).",
      u"A number is out of range (bigint out of range).");
  EXPECT_EQ(refusalOf(u"SELECT U_Count * U_Count * 4 FROM [@T]"), expected);
  EXPECT_EQ(refusalOf(u"UPDATE [@T] SET U_Count = U_Count * U_Count * 4"), expected);
  EXPECT_EQ(refusalOf(u"UPDATE [@T] SET U_Count = 1e19"), expected);
  EXPECT_EQ(
      rowsOf(company, u"SELECT U_Count, U_Count * 4, SUM(U_Count) FROM [@T] GROUP BY U_Count"),
      u"2000000000|8000000000|2000000000");
}

TEST_P(ValueRangeTest, ANumberThatBecomesInfiniteIsReported) {
  query(company, u"UPDATE [@T] SET U_Amount = 1e300");
  const auto refusalFor = [&](const std::u16string& sign) {
    const std::u16string digits = sign + u"1" + std::u16string(39 - sign.size(), u'0');
    return u"A number is out of range (" +
           words(u"not a finite number", u"not a number of this machine: " + digits + u"\u2026") +
           u").";
  };
  EXPECT_EQ(refusalOf(u"SELECT U_Amount * U_Amount FROM [@T]"), refusalFor(u""));
  EXPECT_EQ(refusalOf(u"SELECT -U_Amount * U_Amount AS x FROM [@T]"), refusalFor(u"-"));
  EXPECT_EQ(refusalOf(u"SELECT 1e300 * 1e300"), refusalFor(u""));
}

// The type does not depend on the part that a row comes from, nor on the order of the parts.
TEST_P(ValueRangeTest, AColumnOfAUnionHasTheCommonTypeOfItsParts) {
  query(company, u"UPDATE [@T] SET U_Amount = 1.5, U_Count = 7");
  for (const char16_t* sql :
       {u"SELECT U_Count FROM [@T] UNION SELECT U_Amount FROM [@T] ORDER BY 1",
        u"SELECT U_Amount FROM [@T] UNION ALL SELECT U_Count FROM [@T] ORDER BY 1",
        u"SELECT x FROM (SELECT U_Count AS x FROM [@T] UNION SELECT U_Amount FROM [@T]) S "
        u"ORDER BY 1"}) {
    const auto rows = query(company, sql);
    for (const double expected : {1.5, 7.0}) {
      const CComVariant value = rows->GetFields()->Item(CComVariant(0L))->GetValue();
      EXPECT_EQ(value.vt, VT_R8) << toUtf8(sql);
      EXPECT_EQ(value.dblVal, expected);
      rows->MoveNext();
    }
    EXPECT_EQ(rows->GetEoF(), VARIANT_TRUE);
  }
}

QX_TEST_ON_ALL_ENGINES(ValueRangeTest);

}  // namespace
}  // namespace qx::desk
