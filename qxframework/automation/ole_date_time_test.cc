#include "qxframework/automation/ole_date_time.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using qx::CivilTime;

TEST(LinearDays, AreInTheOrderOfTime) {
  EXPECT_EQ(qx::linearDays(1.25), 1.25);
  EXPECT_EQ(qx::linearDays(-1.25), -0.75);
  EXPECT_EQ(qx::linearDays(-1.0), -1.0);
  EXPECT_EQ(qx::dateFromLinear(-0.75), -1.25);
  EXPECT_EQ(qx::dateFromLinear(-1.0), -1.0);
  EXPECT_EQ(qx::dateFromLinear(3.5), 3.5);
}

TEST(OleDateTime, TakesADoubleInItsRange) {
  const COleDateTime date(45322.5);
  EXPECT_EQ(date.GetStatus(), COleDateTime::valid);
  EXPECT_EQ(date.GetYear(), 2024);
  EXPECT_EQ(date.GetMonth(), 1);
  EXPECT_EQ(date.GetDay(), 31);
  EXPECT_EQ(date.GetHour(), 12);
  EXPECT_EQ(date.GetMinute(), 0);
  EXPECT_EQ(date.GetSecond(), 0);
  EXPECT_EQ(COleDateTime(3e6).GetStatus(), COleDateTime::invalid);
}

TEST(OleDateTime, PartsOfADateThatIsNotValidAreMinusOne) {
  COleDateTime date(45322.5);
  date.SetStatus(COleDateTime::null);
  EXPECT_EQ(date.GetYear(), -1);
  EXPECT_EQ(date.GetMonth(), -1);
  EXPECT_EQ(date.GetDay(), -1);
  EXPECT_EQ(date.GetHour(), -1);
  EXPECT_EQ(date.GetMinute(), -1);
  EXPECT_EQ(date.GetSecond(), -1);
  EXPECT_EQ(date.GetDayOfWeek(), -1);
  EXPECT_EQ(date.GetDayOfYear(), -1);
}

TEST(OleDateTime, AnImpossibleDateIsInvalidAndKeepsTheDouble) {
  EXPECT_EQ(COleDateTime(2023, 2, 29, 0, 0, 0).GetStatus(), COleDateTime::invalid);
  COleDateTime date(7.0);
  EXPECT_EQ(date.SetDateTime(0, 0, 0, 0, 0, 0), 1);
  EXPECT_EQ(date.GetStatus(), COleDateTime::invalid);
  EXPECT_EQ(date.m_dt, 7.0);
  EXPECT_EQ(date.SetDate(2024, 2, 29), 0);
  EXPECT_EQ(date.GetStatus(), COleDateTime::valid);
}

TEST(OleDateTime, KnowsTheDayOfTheWeekAndOfTheYear) {
  EXPECT_EQ(COleDateTime(2024, 1, 31, 0, 0, 0).GetDayOfWeek(), 4) << "a Wednesday";
  EXPECT_EQ(COleDateTime(1899, 12, 30, 0, 0, 0).GetDayOfWeek(), 7) << "a Saturday";
  EXPECT_EQ(COleDateTime(2024, 12, 31, 0, 0, 0).GetDayOfYear(), 366);
  EXPECT_EQ(COleDateTime(2023, 1, 1, 0, 0, 0).GetDayOfYear(), 1);
}

TEST(OleDateTime, SpansMoveItAcrossTheStartOfTheCount) {
  const COleDateTime before(1899, 12, 29, 18, 0, 0);
  const COleDateTime after = before + COleDateTimeSpan(1, 12, 0, 0);
  EXPECT_EQ(after, COleDateTime(1899, 12, 31, 6, 0, 0));
  EXPECT_EQ(after - COleDateTimeSpan(1, 12, 0, 0), before);
  EXPECT_EQ((after - before).GetTotalHours(), 36.0);
}

TEST(OleDateTime, LeavingTheRangeMakesItInvalid) {
  COleDateTime date(9999, 12, 31, 0, 0, 0);
  date += COleDateTimeSpan(1, 0, 0, 0);
  EXPECT_EQ(date.GetStatus(), COleDateTime::invalid);
}

TEST(OleDateTime, ANullOperandTakesPrecedenceOverAnInvalidOne) {
  COleDateTime null;
  null.SetStatus(COleDateTime::null);
  COleDateTimeSpan invalid;
  invalid.SetStatus(COleDateTimeSpan::invalid);
  EXPECT_EQ((null + COleDateTimeSpan(1.0)).GetStatus(), COleDateTime::null);
  EXPECT_EQ((null + invalid).GetStatus(), COleDateTime::null);
  EXPECT_EQ((COleDateTime(1.0) + invalid).GetStatus(), COleDateTime::invalid);
  EXPECT_EQ((COleDateTime(1.0) - null).GetStatus(), COleDateTimeSpan::null);
}

TEST(OleDateTime, ComparesInTheOrderOfTime) {
  const COleDateTime morning(1899, 12, 29, 6, 0, 0);
  const COleDateTime evening(1899, 12, 29, 18, 0, 0);
  EXPECT_GT(morning.m_dt, evening.m_dt) << "the doubles are the other way round";
  EXPECT_TRUE(morning < evening);
  EXPECT_TRUE(evening > morning);
  EXPECT_TRUE(morning <= morning);
  EXPECT_TRUE(morning != evening);
}

TEST(OleDateTime, DatesThatAreNotValidAreInNoOrder) {
  COleDateTime null;
  null.SetStatus(COleDateTime::null);
  COleDateTime invalid;
  invalid.SetStatus(COleDateTime::invalid);
  EXPECT_TRUE(null == null);
  EXPECT_FALSE(invalid == invalid);
  EXPECT_FALSE(null == COleDateTime(0.0));
  EXPECT_FALSE(null < COleDateTime(1.0));
  EXPECT_FALSE(invalid < COleDateTime(1.0));
  EXPECT_FALSE(COleDateTime(1.0) < null);
}

TEST(OleDateTime, ParsesTheUsualForms) {
  COleDateTime date;
  EXPECT_TRUE(date.ParseDateTime(u"2024-01-31 03:04:05"));
  EXPECT_EQ(date, COleDateTime(2024, 1, 31, 3, 4, 5));
  EXPECT_FALSE(date.ParseDateTime(u"no date"));
  EXPECT_EQ(date.GetStatus(), COleDateTime::invalid);
  EXPECT_FALSE(date.ParseDateTime(nullptr));
}

TEST(OleDateTime, FormatsByTheUsualConversions) {
  const COleDateTime date(2024, 1, 5, 15, 4, 9);
  EXPECT_EQ(date.Format(u"%Y-%m-%d %H:%M:%S"), u"2024-01-05 15:04:09");
  EXPECT_EQ(date.Format(u"%a %b %j %I %p %y %%"), u"Fri Jan 005 03 PM 24 %");
  EXPECT_EQ(date.Format(u"K\u00F6ln %A %B"), u"K\u00F6ln Friday January");
  EXPECT_EQ(date.Format(u""), u"");
  EXPECT_EQ(date.Format(nullptr), u"");
}

TEST(OleDateTime, FormatsNullAsNothingAndInvalidAsAMessage) {
  COleDateTime date;
  date.SetStatus(COleDateTime::null);
  EXPECT_EQ(date.Format(u"%Y"), u"");
  date.SetStatus(COleDateTime::invalid);
  EXPECT_EQ(date.Format(u"%Y"), u"Invalid DateTime");
}

TEST(OleDateTime, TakesTheLocalTimeOfUnixSeconds) {
  const std::int64_t noon = 1706702400;  // 2024-01-31 12:00:00 UTC
  const auto parts = qx::localTime(noon);
  ASSERT_TRUE(parts);
  const COleDateTime date = COleDateTime::FromUnixTime(noon);
  CivilTime read;
  ASSERT_TRUE(date.GetAsCivilTime(read));
  EXPECT_EQ(read, *parts);
  EXPECT_EQ((COleDateTime::FromUnixTime(noon + 3600) - date).GetTotalSeconds(), 3600.0);
  EXPECT_EQ(COleDateTime::FromUnixTime(std::numeric_limits<std::int64_t>::max()).GetStatus(),
            COleDateTime::invalid);
}

TEST(OleDateTimeSpan, PartsHaveTheSignOfTheWhole) {
  const COleDateTimeSpan span(1, 2, 3, 4);
  EXPECT_EQ(span.GetDays(), 1);
  EXPECT_EQ(span.GetHours(), 2);
  EXPECT_EQ(span.GetMinutes(), 3);
  EXPECT_EQ(span.GetSeconds(), 4);
  EXPECT_EQ((-span).GetDays(), -1);
  EXPECT_EQ((-span).GetSeconds(), -4);
  EXPECT_EQ(span.GetTotalSeconds(), 93784.0);
  EXPECT_EQ(span.GetTotalMinutes(), 1563.0);
  EXPECT_EQ(span.GetTotalHours(), 26.0);
  EXPECT_EQ(span.GetTotalDays(), 1.0);
}

TEST(OleDateTimeSpan, FiveMinutesAreFiveMinutes) {
  const COleDateTimeSpan span(0, 0, 5, 0);
  EXPECT_EQ(span.GetTotalSeconds(), 300.0);
  EXPECT_EQ(span.GetMinutes(), 5);
  EXPECT_EQ(span.GetDays(), 0);
}

TEST(OleDateTimeSpan, WholeDaysAreCountedDespiteRounding) {
  const COleDateTime a(2024, 3, 31, 10, 20, 30);
  const COleDateTime b(2024, 3, 1, 10, 20, 30);
  EXPECT_EQ((a - b).GetDays(), 30);
  EXPECT_EQ((b - a).GetDays(), -30);
  EXPECT_EQ((COleDateTime(2024, 3, 31, 10, 20, 29) - b).GetDays(), 29);
}

TEST(OleDateTimeSpan, AddsSubtractsAndCompares) {
  COleDateTimeSpan span(1.5);
  span += COleDateTimeSpan(0.5);
  EXPECT_EQ(span, COleDateTimeSpan(2.0));
  span -= COleDateTimeSpan(3.0);
  EXPECT_TRUE(span < COleDateTimeSpan(0.0));
  EXPECT_TRUE(span <= span);
  EXPECT_TRUE(span >= span);
}

TEST(OleDateTimeSpan, ATooLongSpanIsInvalid) {
  EXPECT_EQ(COleDateTimeSpan(4e6).GetStatus(), COleDateTimeSpan::invalid);
  EXPECT_EQ(COleDateTimeSpan(std::numeric_limits<double>::quiet_NaN()).GetStatus(),
            COleDateTimeSpan::invalid);
  EXPECT_EQ(COleDateTimeSpan(std::numeric_limits<long>::max(), 0, 0, 0).GetDays(), 0);
}

}  // namespace
