#include "qxframework/foundation/date_time.h"

#include "qxframework/automation/text.h"
#include "qxframework/os/clock.h"
#include "testing/fake_money.h"
#include "testing/time_zone.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <string>
#include <type_traits>

namespace {

using testing::ElementsAre;

std::string date(const CQXDateTime& value) { return qx::toUtf8(value.GetDateAsBSTR().View()); }

std::string all(const CQXDateTime& value) {
  return std::to_string(value.GetYear()) + "-" + std::to_string(value.GetMonth()) + "-" +
         std::to_string(value.GetDay()) + " " + std::to_string(value.GetHour()) + ":" +
         std::to_string(value.GetMinute()) + ":" + std::to_string(value.GetSecond());
}

CQXDateTime fromText(const char16_t* text) { return CQXDateTime(CComBSTR(text)); }

CQXDateTime day(int year, int month, int dayOfMonth) {
  return CQXDateTime(year, month, dayOfMonth, 0, 0, 0);
}

CQXDateTime invalidDate() { return day(2023, 2, 29); }

TEST(DateTime, StartsAsNullOrAsToday) {
  const qx::test::ScopedTimeZone zone("UTC-2");
  // 2024-02-29 23:30:00 UTC is the next day there.
  qx::ManualClock clock(std::chrono::system_clock::from_time_t(1709249400));
  const qx::ScopedClock inUse(clock);
  EXPECT_TRUE(CQXDateTime().IsNull());
  EXPECT_TRUE(CQXDateTime(dv_Null).IsNull());
  EXPECT_TRUE(CQXDateTime(static_cast<etQXDATEVALUE>(2)).IsNull());
  EXPECT_EQ(all(CQXDateTime(dv_Today)), "2024-3-1 0:0:0");
  CQXDateTime later(2030, 1, 1, 10, 20, 30);
  later.SetCurrentDate();
  EXPECT_EQ(all(later), "2024-3-1 0:0:0");
  EXPECT_TRUE(later.IsValid());
}

TEST(DateTime, DoubleOfExactlyZeroIsNull) {
  EXPECT_TRUE(CQXDateTime(0.0).IsNull());
  EXPECT_TRUE(CQXDateTime(-0.0).IsNull());
  EXPECT_EQ(date(CQXDateTime(0.0)), "18991230");
  EXPECT_TRUE(CQXDateTime(1.0).IsValid());
  EXPECT_EQ(date(CQXDateTime(1.0)), "18991231");
  EXPECT_EQ(all(CQXDateTime(0.25)), "1899-12-30 6:0:0");
}

TEST(DateTime, AssignedAndConstructedDoublesAgree) {
  CQXDateTime value(2024, 1, 31, 0, 0, 0);
  value = 0.0;
  EXPECT_TRUE(value.IsNull());
  value = 45351.5;
  EXPECT_EQ(all(value), "2024-2-29 12:0:0");
  value = 1e9;
  EXPECT_FALSE(value.IsValid() || value.IsNull());
}

TEST(DateTime, StartValuesCannotBeAssigned) {
  // They would be taken for a number of days.
  EXPECT_FALSE((std::is_assignable_v<CQXDateTime&, etQXDATEVALUE>));
  EXPECT_TRUE((std::is_assignable_v<CQXDateTime&, double>));
  EXPECT_TRUE((std::is_constructible_v<CQXDateTime, etQXDATEVALUE>));
}

TEST(DateTime, DoubleOutsideTheCalendarIsInvalid) {
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double number :
       {1e9, -1e9, infinity, -infinity, std::numeric_limits<double>::quiet_NaN(), -657435.0}) {
    const CQXDateTime value(number);
    EXPECT_FALSE(value.IsValid()) << number;
    EXPECT_FALSE(value.IsNull()) << number;
    EXPECT_EQ(date(value), "18991230") << number;
  }
}

TEST(DateTime, FirstAndLastDoublesOfTheCalendarAreValid) {
  EXPECT_TRUE(CQXDateTime(std::nextafter(-657435.0, 0)).IsValid());
  EXPECT_TRUE(CQXDateTime(2958465.9999).IsValid());
  EXPECT_FALSE(CQXDateTime(2958466.0).IsValid());
}

TEST(DateTime, ConstructionFromAPlainDateLosesItsStatusButAssignmentDoesNot) {
  COleDateTime plain(2024, 1, 31, 0, 0, 0);
  plain.SetStatus(COleDateTime::invalid);
  EXPECT_EQ(date(CQXDateTime(plain)), "20240131");
  CQXDateTime assigned;
  assigned = plain;
  EXPECT_TRUE(assigned.IsNull());

  const COleDateTime nullAndADay = CQXDateTime() + COleDateTimeSpan(1.0);
  EXPECT_TRUE(CQXDateTime(nullAndADay).IsValid());
  assigned = nullAndADay;
  EXPECT_TRUE(assigned.IsNull());
}

TEST(DateTime, AnImpossibleDateIsInvalid) {
  EXPECT_TRUE(CQXDateTime(2024, 2, 29, 23, 59, 59).IsValid());
  EXPECT_EQ(invalidDate().GetStatus(), COleDateTime::invalid);
  EXPECT_FALSE(CQXDateTime(2024, 1, 1, 24, 0, 0).IsValid());
  EXPECT_FALSE(day(2024, 13, 1).IsValid());
  EXPECT_FALSE(day(2024, 0, 1).IsValid());
  EXPECT_FALSE(day(10000, 1, 1).IsValid());
  EXPECT_FALSE(day(99, 1, 1).IsValid());
  EXPECT_FALSE(day(2100, 2, 29).IsValid());
}

TEST(DateTime, AssigningAnOleDateCopiesPartsAndStatus) {
  CQXDateTime value;
  value = COleDateTime(2024, 2, 29, 13, 45, 59);
  EXPECT_EQ(all(value), "2024-2-29 13:45:59");
  value = COleDateTime(2023, 2, 29, 0, 0, 0);
  EXPECT_TRUE(value.IsNull());
  EXPECT_EQ(value.m_dt, COleDateTime(2024, 2, 29, 13, 45, 59).m_dt);  // what the failed set left
  COleDateTime broken(2024, 2, 29, 0, 0, 0);
  broken.m_dt = 1e9;
  value = broken;
  EXPECT_TRUE(value.IsNull());
}

TEST(DateTime, AssigningAnInvalidDateMakesItNull) {
  CQXDateTime value = day(2024, 1, 31);
  value = invalidDate();
  EXPECT_TRUE(value.IsNull());
  const CQXDateTime copy(invalidDate());
  EXPECT_EQ(copy.GetStatus(), COleDateTime::invalid);
  value = day(2024, 2, 1);
  EXPECT_EQ(all(value), "2024-2-1 0:0:0");
  EXPECT_TRUE(value.IsValid());
  value = CQXDateTime();
  EXPECT_TRUE(value.IsNull());
}

TEST(DateTime, ClearMakesItNull) {
  CQXDateTime value = day(2024, 1, 31);
  value.Clear();
  EXPECT_TRUE(value.IsNull());
  EXPECT_FALSE(value.IsValid());
  EXPECT_EQ(date(value), "18991230");
}

TEST(DateTime, WritesItsTextForms) {
  const CQXDateTime value(2024, 1, 5, 9, 7, 59);
  EXPECT_EQ(value.GetDateAsBSTR().View(), u"20240105");
  EXPECT_EQ(value.GetDateAsBSTR_ISO8601().View(), u"2024-01-05");
  EXPECT_EQ(value.GetDateASBSTR_ISO_WithTime().View(), u"2024-01-05 00:00:00");
  EXPECT_EQ(value.GetTimeAsBSTR().View(), u"0907");
  EXPECT_EQ(day(987, 6, 5).GetDateAsBSTR().View(), u"09870605");
}

TEST(DateTime, InvalidAndNullDatesWriteTheEmptyDate) {
  for (const CQXDateTime& value : {CQXDateTime(), CQXDateTime(invalidDate()), CQXDateTime(1e9)}) {
    EXPECT_EQ(value.GetDateAsBSTR().View(), u"18991230");
    EXPECT_EQ(value.GetDateAsBSTR_ISO8601().View(), u"1899-12-30");
    EXPECT_EQ(value.GetDateASBSTR_ISO_WithTime().View(), u"1899-12-30 00:00:00");
    EXPECT_EQ(value.GetTimeAsBSTR().View(), u"0000");
  }
}

TEST(DateTime, SetDateReadsThreeForms) {
  for (const char16_t* text : {u"20240229", u"2024-02-29", u"29.02.2024", u"2024-02x29"}) {
    CQXDateTime value(2000, 1, 1, 10, 20, 30);
    value.SetDate(CComBSTR(text));
    EXPECT_EQ(all(value), "2024-2-29 0:0:0") << qx::toUtf8(text);
    EXPECT_EQ(all(fromText(text)), "2024-2-29 0:0:0");
  }
}

TEST(DateTime, SetDateIsValidForAnyText) {
  for (const char16_t* text :
       {u"", u"abc", u"20230229", u"2024/02/29", u"99999999", u"abcdefgh", u"2024-13-01",
        u"00.00.0000", u"2024-02-29 10:00:00", u"-1-1-1-1", u"\xD800\xD800\xD800\xD800\xD800"}) {
    CQXDateTime value(2000, 1, 1, 10, 20, 30);
    value.SetDate(CComBSTR(text));
    EXPECT_TRUE(value.IsValid()) << qx::toUtf8(text);
    EXPECT_EQ(all(value), "2000-1-1 10:20:30") << qx::toUtf8(text);  // what the failed set left
  }
  EXPECT_TRUE(fromText(u"abc").IsValid());
  EXPECT_EQ(date(fromText(u"abc")), "18991230");
  EXPECT_TRUE(CQXDateTime(CComBSTR()).IsValid());
  EXPECT_TRUE(CQXDateTime(CComBSTR(std::u16string(1 << 20, u'2'))).IsValid());
}

TEST(DateTime, SetDateKeepsAnInvalidDoubleButIsValid) {
  CQXDateTime value(1e9);
  value.SetDate(CComBSTR(u"abc"));
  EXPECT_TRUE(value.IsValid());
  EXPECT_EQ(all(value), "-1--1--1 -1:-1:-1");
}

TEST(DateTime, SetTimeKeepsTheDate) {
  CQXDateTime value(2024, 2, 29, 1, 2, 3);
  value.SetTime(930);
  EXPECT_EQ(all(value), "2024-2-29 9:30:0");
  value.SetTime(5);
  EXPECT_EQ(all(value), "2024-2-29 0:5:0");
  value.SetTime(2359);
  EXPECT_EQ(all(value), "2024-2-29 23:59:0");
}

TEST(DateTime, SetTimeOfAnImpossibleTimeIsInvalid) {
  for (const long hhmm : {2400L, 960L, -1L, -100L, 429496729600L, std::numeric_limits<long>::max(),
                          std::numeric_limits<long>::min()}) {
    CQXDateTime value = day(2024, 2, 29);
    value.SetTime(hhmm);
    EXPECT_EQ(value.GetStatus(), COleDateTime::invalid) << hhmm;
  }
  CQXDateTime none;
  none.SetTime(930);
  EXPECT_EQ(none.GetStatus(), COleDateTime::invalid);
}

TEST(DateTime, AddMonthsDoesNotClampTheDay) {
  CQXDateTime value = day(2024, 1, 31);
  value.AddMonths(1);
  EXPECT_EQ(value.GetStatus(), COleDateTime::invalid);
  value = day(2024, 1, 31);
  value.AddMonths(2);
  EXPECT_EQ(all(value), "2024-3-31 0:0:0");
}

TEST(DateTime, AddMonthsPassesANewYearOnlyForward) {
  CQXDateTime value(2023, 12, 15, 13, 30, 0);
  value.AddMonths(1);
  EXPECT_EQ(all(value), "2024-1-15 0:0:0");  // the time is dropped
  value.AddMonths(26);
  EXPECT_EQ(all(value), "2026-3-15 0:0:0");
  value.AddMonths(-2);
  EXPECT_EQ(all(value), "2026-1-15 0:0:0");
  value.AddMonths(-24);
  EXPECT_EQ(all(value), "2024-1-15 0:0:0");
  value.AddMonths(-1);
  EXPECT_EQ(value.GetStatus(), COleDateTime::invalid);
}

TEST(DateTime, AddMonthsOutsideTheCalendarIsInvalid) {
  for (const int months : {std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
    CQXDateTime value = day(2024, 1, 31);
    value.AddMonths(months);
    EXPECT_EQ(value.GetStatus(), COleDateTime::invalid);
  }
}

TEST(DateTime, AddDaysKeepsTheTime) {
  CQXDateTime value(2024, 2, 28, 13, 30, 0);
  value.AddDays(2);
  EXPECT_EQ(all(value), "2024-3-1 13:30:0");
  value.AddDays(-366);
  EXPECT_EQ(all(value), "2023-3-1 13:30:0");
  CQXDateTime old(1899, 12, 31, 6, 0, 0);
  old.AddDays(-3);
  EXPECT_EQ(all(old), "1899-12-28 6:0:0");
}

TEST(DateTime, AddDaysOutsideTheCalendarIsInvalidAndKeepsNull) {
  for (const long days : {4000000L, -4000000L, std::numeric_limits<long>::max()}) {
    CQXDateTime value = day(2024, 2, 28);
    value.AddDays(days);
    EXPECT_EQ(value.GetStatus(), COleDateTime::invalid) << days;
  }
  CQXDateTime none;
  none.AddDays(1);
  EXPECT_TRUE(none.IsNull());
}

TEST(DateTime, SetDayDropsTheTime) {
  CQXDateTime value(2024, 2, 1, 13, 30, 0);
  value.SetDay(29);
  EXPECT_EQ(all(value), "2024-2-29 0:0:0");
  value.SetDay(30);
  EXPECT_EQ(value.GetStatus(), COleDateTime::invalid);
}

TEST(DateTime, SpansInMonthsIgnoreDays) {
  EXPECT_EQ(day(2024, 3, 1).GetDateSpanInMonths(day(2024, 2, 29)), 1);
  EXPECT_EQ(day(2024, 1, 31).GetDateSpanInMonths(day(2024, 1, 1)), 0);
  EXPECT_EQ(day(2022, 11, 1).GetDateSpanInMonths(day(2024, 2, 1)), -15);
}

TEST(DateTime, SpansInDaysAreWholeDays) {
  EXPECT_EQ(day(2024, 3, 1).GetDateSpanInDays(day(2024, 2, 28)), 2);
  EXPECT_EQ(CQXDateTime(2024, 3, 1, 12, 0, 0).GetDateSpanInDays(CQXDateTime(2024, 2, 28, 13, 0, 0)),
            1);
  EXPECT_EQ(day(2024, 2, 28).GetDateSpanInDays(CQXDateTime(2024, 3, 1, 12, 0, 0)), -2);
}

class DateTimeAtTheHost : public ::testing::Test {
 protected:
  DateTimeAtTheHost() { company->helper = helper.p; }

  qx::test::HostCalls calls;
  CComPtr<qx::test::ScriptedCompany> company = qx::test::makeScriptedCompany(calls);
  CComPtr<qx::test::FakeDataHelper> helper = qx::makeObject<qx::test::FakeDataHelper>(*company);
};

TEST_F(DateTimeAtTheHost, DisplayFormComesFromTheHost) {
  helper->rows = {{CComVariant(u"29.02.24")}};
  EXPECT_EQ(CQXDateTime(45351.5).StringFromDate(company).View(), u"29.02.24");
  EXPECT_THAT(calls.calls, ElementsAre("Helper.FormatDateToString(45351.5)"));
}

TEST_F(DateTimeAtTheHost, DisplayFormIsIsoIfTheHostFails) {
  const CQXDateTime value = day(2024, 2, 29);
  EXPECT_EQ(value.StringFromDate(company).View(), u"2024-02-29");  // the answer has no row
  calls.failures = {{"Helper.FormatDateToString", E_FAIL}};
  EXPECT_EQ(value.StringFromDate(company).View(), u"2024-02-29");
  company->helper.Release();
  EXPECT_EQ(value.StringFromDate(company).View(), u"2024-02-29");
  EXPECT_EQ(value.StringFromDate(nullptr).View(), u"2024-02-29");
  EXPECT_EQ(CQXDateTime().StringFromDate(nullptr).View(), u"1899-12-30");
}

}  // namespace
