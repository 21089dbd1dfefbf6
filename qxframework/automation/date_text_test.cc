#include "qxframework/automation/date_text.h"

#include "qxframework/automation/civil_time.h"
#include "testing/cases.h"

#include <gtest/gtest.h>

#include <ctime>
#include <random>

namespace {

std::optional<DATE> moment(int year, int month, int day, int hour = 0, int minute = 0,
                           int second = 0) {
  return qx::dateFromCivil({year, month, day, hour, minute, second});
}

TEST(DateText, ReadsMonthDayYear) {
  EXPECT_EQ(qx::dateFromText(u"1/31/2024"), moment(2024, 1, 31));
  EXPECT_EQ(qx::dateFromText(u" 01-31-2024 "), moment(2024, 1, 31));
  EXPECT_EQ(qx::dateFromText(u"1.2.2024"), moment(2024, 1, 2));
}

TEST(DateText, BlanksTabsAndNoBreakSpacesMaySurroundIt) {
  EXPECT_EQ(qx::dateFromText(u"\t\u00A01/31/2024\u00A0\t6:00\u00A0"), moment(2024, 1, 31, 6));
  EXPECT_EQ(qx::dateFromText(u"1/31/2024\n"), std::nullopt);
}

TEST(DateText, ReadsTheDayFirstIfTheFirstNumberIsNoMonth) {
  EXPECT_EQ(qx::dateFromText(u"31/1/2024"), moment(2024, 1, 31));
}

TEST(DateText, ReadsTheYearFirstIfItHasFourDigits) {
  EXPECT_EQ(qx::dateFromText(u"2024-01-31"), moment(2024, 1, 31));
  EXPECT_EQ(qx::dateFromText(u"2024/1/31"), moment(2024, 1, 31));
}

TEST(DateText, ReadsAnIsoDateWithItsTime) {
  EXPECT_EQ(qx::dateFromText(u"2024-01-31 03:04:05"), moment(2024, 1, 31, 3, 4, 5));
  EXPECT_EQ(qx::dateFromText(u"2024-01-31T23:59:59"), moment(2024, 1, 31, 23, 59, 59));
  EXPECT_EQ(qx::dateFromText(u"2024-01-31 03:04:05.678"), moment(2024, 1, 31, 3, 4, 5));
}

TEST(DateText, ReadsMorningAndEvening) {
  EXPECT_EQ(qx::dateFromText(u"1/31/2024 3:04:05 PM"), moment(2024, 1, 31, 15, 4, 5));
  EXPECT_EQ(qx::dateFromText(u"1/31/2024 12:00 am"), moment(2024, 1, 31));
  EXPECT_EQ(qx::dateFromText(u"12:30PM 1/31/2024"), moment(2024, 1, 31, 12, 30));
  EXPECT_EQ(qx::dateFromText(u"3 PM"), moment(1899, 12, 30, 15));
}

TEST(DateText, ReadsATimeAlone) {
  EXPECT_EQ(qx::dateFromText(u"06:00"), 0.25);
  EXPECT_EQ(qx::dateFromText(u"23:59:59"), moment(1899, 12, 30, 23, 59, 59));
}

TEST(DateText, ReadsMonthNames) {
  EXPECT_EQ(qx::dateFromText(u"31 Jan 2024"), moment(2024, 1, 31));
  EXPECT_EQ(qx::dateFromText(u"31-jan-2024 6:00"), moment(2024, 1, 31, 6));
  EXPECT_EQ(qx::dateFromText(u"September 1, 2024"), moment(2024, 9, 1));
  EXPECT_EQ(qx::dateFromText(u"may 1 2024"), moment(2024, 5, 1));
}

TEST(DateText, ShortYearsFallBetween1930And2029) {
  EXPECT_EQ(qx::dateFromText(u"1/31/29"), moment(2029, 1, 31));
  EXPECT_EQ(qx::dateFromText(u"1/31/30"), moment(1930, 1, 31));
}

TEST(DateText, ADateWithoutAYearLiesInThisOne) {
  EXPECT_EQ(qx::dateFromText(u"1/14", 2026), moment(2026, 1, 14));
  EXPECT_EQ(qx::dateFromText(u"14/1", 2026), moment(2026, 1, 14));
  EXPECT_EQ(qx::dateFromText(u"1 14", 2026), moment(2026, 1, 14));
  EXPECT_EQ(qx::dateFromText(u"Jan 2", 2026), moment(2026, 1, 2));
  EXPECT_EQ(qx::dateFromText(u"2 January", 1999), moment(1999, 1, 2));
  EXPECT_EQ(qx::dateFromText(u"2-feb 6:00", 1999), moment(1999, 2, 2, 6));
  EXPECT_EQ(qx::dateFromText(u"2/29", 2024), moment(2024, 2, 29));
}

TEST(DateText, ADateWithoutADayIsTheFirstOfTheMonth) {
  EXPECT_EQ(qx::dateFromText(u"Jan 2024", 2026), moment(2024, 1, 1));
  EXPECT_EQ(qx::dateFromText(u"2024 January", 2026), moment(2024, 1, 1));
  EXPECT_EQ(qx::dateFromText(u"3/1970", 2026), moment(1970, 3, 1));
  EXPECT_EQ(qx::dateFromText(u"1970-3", 2026), moment(1970, 3, 1));
  // A number that is no day of the month is a year.
  EXPECT_EQ(qx::dateFromText(u"2 30", 2026), moment(1930, 2, 1));
  EXPECT_EQ(qx::dateFromText(u"30 2", 2026), moment(1930, 2, 1));
  EXPECT_EQ(qx::dateFromText(u"2/29", 2026), moment(2029, 2, 1));
  EXPECT_EQ(qx::dateFromText(u"Jan 32", 2026), moment(1932, 1, 1));
}

TEST(DateText, TheYearOfTodayIsTheDefault) {
  const auto date = qx::dateFromText(u"7/15");
  ASSERT_TRUE(date);
  const auto parts = qx::civilFromDate(*date);
  const auto before = qx::localTime(std::time(nullptr) - 86400);
  ASSERT_TRUE(parts && before);
  EXPECT_GE(parts->year, before->year);
  EXPECT_LE(parts->year, before->year + 1);
  EXPECT_EQ(parts->month, 7);
  EXPECT_EQ(parts->day, 15);
}

TEST(DateText, BlanksAndCommasSeparateTheParts) {
  EXPECT_EQ(qx::dateFromText(u"1 2 1970"), moment(1970, 1, 2));
  EXPECT_EQ(qx::dateFromText(u"2 January, 1970"), moment(1970, 1, 2));
  EXPECT_EQ(qx::dateFromText(u"January 2,1970"), moment(1970, 1, 2));
  EXPECT_EQ(qx::dateFromText(u"1 / 2 - 1970"), moment(1970, 1, 2));
  EXPECT_EQ(qx::dateFromText(u"1/2/1970, 3:04 PM"), moment(1970, 1, 2, 15, 4));
  EXPECT_EQ(qx::dateFromText(u"3:04 PM, 1/2/1970"), moment(1970, 1, 2, 15, 4));
}

TEST(DateText, TheFirstOrderThatGivesADateCounts) {
  EXPECT_EQ(qx::dateFromText(u"10/11/12"), moment(2012, 10, 11));
  EXPECT_EQ(qx::dateFromText(u"13/11/12"), moment(2012, 11, 13));
  EXPECT_EQ(qx::dateFromText(u"99/11/12"), moment(1999, 11, 12));
  EXPECT_EQ(qx::dateFromText(u"1970-13-1"), moment(1970, 1, 13));
  EXPECT_EQ(qx::dateFromText(u"1970 Jan 13"), moment(1970, 1, 13));
  EXPECT_EQ(qx::dateFromText(u"1970 13 Jan"), moment(1970, 1, 13));
  EXPECT_EQ(qx::dateFromText(u"31/12/29"), moment(2029, 12, 31));
}

TEST(DateText, OneLetterIsEnoughForMorningAndEvening) {
  EXPECT_EQ(qx::dateFromText(u"12:59 p"), moment(1899, 12, 30, 12, 59));
  EXPECT_EQ(qx::dateFromText(u"12:59 A"), moment(1899, 12, 30, 0, 59));
  EXPECT_EQ(qx::dateFromText(u"1p"), moment(1899, 12, 30, 13));
  EXPECT_EQ(qx::dateFromText(u"11:59:58 pm"), moment(1899, 12, 30, 23, 59, 58));
}

TEST(DateText, AnHourAbove12IsTheSameInTheMorningAndTheEvening) {
  EXPECT_EQ(qx::dateFromText(u"13:00 PM"), moment(1899, 12, 30, 13));
  EXPECT_EQ(qx::dateFromText(u"13:00 AM"), moment(1899, 12, 30, 13));
  EXPECT_EQ(qx::dateFromText(u"0:30 AM"), moment(1899, 12, 30, 0, 30));
  EXPECT_EQ(qx::dateFromText(u"0:30 PM"), moment(1899, 12, 30, 12, 30));
}

TEST(DateText, APointJoinsTheNumbersOfATime) {
  EXPECT_EQ(qx::dateFromText(u"1.5.2"), moment(1899, 12, 30, 1, 5, 2));
  EXPECT_EQ(qx::dateFromText(u"0.40"), moment(1899, 12, 30, 0, 40));
  EXPECT_EQ(qx::dateFromText(u"2.5 pm"), moment(1899, 12, 30, 14, 5));
  EXPECT_EQ(qx::dateFromText(u"1:05.2"), moment(1899, 12, 30, 1, 5, 2));
  EXPECT_EQ(qx::dateFromText(u"1/2/1970 1.5.2"), moment(1970, 1, 2, 1, 5, 2));
  EXPECT_EQ(qx::dateFromText(u"1.5.2 Jan 2, 1970"), moment(1970, 1, 2, 1, 5, 2));
}

TEST(DateText, APointJoinsADateThatIsNoTimeOrHasOne) {
  EXPECT_EQ(qx::dateFromText(u"24.12.98"), moment(1998, 12, 24));
  EXPECT_EQ(qx::dateFromText(u"31.Jan.2024"), moment(2024, 1, 31));
  EXPECT_EQ(qx::dateFromText(u"1.5.2 6:00"), moment(2002, 1, 5, 6));
  EXPECT_EQ(qx::dateFromText(u"6 am 1.5.2"), moment(2002, 1, 5, 6));
  EXPECT_EQ(qx::dateFromText(u"23.59.59"), moment(1899, 12, 30, 23, 59, 59));
  EXPECT_EQ(qx::dateFromText(u"24.11.59"), moment(1959, 11, 24));
}

TEST(DateText, RefusesOtherTexts) {
  for (const char16_t* bad : {u"",
                              u"  ",
                              u"abc",
                              u"5",
                              u"5.",
                              u".5",
                              u"1/31/2024x",
                              u"2/30/2024",
                              u"2/30/10",
                              u"13/13/2024",
                              u"32 49",
                              u"0 49",
                              u"24:00",
                              u"24:00 PM",
                              u"12:60",
                              u"1:2:60",
                              u"30.5",
                              u"1.2 6:00",
                              u"2.Jan",
                              u"1.60",
                              u"1/31/2024 1/31/2024",
                              u"1:00 2:00",
                              u"1.00 2.00",
                              u"1 PM 2 PM",
                              u"1:",
                              u"1:00:",
                              u"31 Foo 2024",
                              u"Jan",
                              u"Jan Feb",
                              u"Jan Feb 2024",
                              u"Jan 2 3 4",
                              u"1 2 3 4",
                              u"12345-01-01",
                              u"1/31/20245",
                              u"12345:00",
                              u"2024-01-31T",
                              u"2024-01-31Tx",
                              u"T3:00",
                              u"2024T3:00",
                              u"1:00:00.",
                              u"1:2:3:4",
                              u"1.2.3.4",
                              u"012:00",
                              u"3 PMx",
                              u"PM",
                              u"PM 3:00",
                              u"3 AM PM",
                              u"Jan PM",
                              u"1/2/",
                              u"/1/2",
                              u"1//2",
                              u"1,,2",
                              u",1/2",
                              u"1/2,",
                              u"1 + 2",
                              u"Jan 2 3:00 1970",
                              u"1/2 3:00 1970",
                              u"1/3:00",
                              u"1/2/1970-3:00",
                              u"3 PM/1/2",
                              u"001/2"})
    EXPECT_EQ(qx::dateFromText(bad, 2026), std::nullopt) << testing::PrintToString(bad);
  EXPECT_EQ(qx::dateFromText(std::u16string_view(u"1/31/2024\0", 10)), std::nullopt);
}

TEST(DateText, AYearBelow100HasNoDates) {
  EXPECT_EQ(qx::dateFromText(u"1/1/099"), std::nullopt);
  EXPECT_EQ(qx::dateFromText(u"1/1/100"), moment(100, 1, 1));
}

TEST(DateText, WrittenDatesReadBack) {
  for (const DATE date : {0.0, 0.25, 45322.0, 45322.75, -1.25, -657434.0, 2958465.5}) {
    const auto text = qx::textFromDate(date);
    ASSERT_TRUE(text) << date;
    EXPECT_EQ(qx::dateFromText(*text), date) << testing::PrintToString(*text);
  }
}

// Draws seconds of the whole range, since every one of them has a text of its own.
TEST(DateText, EveryWrittenSecondReadsBack) {
  std::mt19937_64 random(20261122);
  std::uniform_int_distribution<std::int64_t> seconds(0, (2958466LL + 657434) * 86400 - 1);
  for (std::size_t i = qx::test::cases(20000); i > 0; --i) {
    const std::int64_t second = seconds(random);
    const auto time = static_cast<double>(second % 86400) / 86400;
    const auto day = static_cast<double>(second / 86400 - 657434);
    const auto date = qx::civilFromDate(day < 0 ? day - time : day + time);
    ASSERT_TRUE(date);
    const auto expected = qx::dateFromCivil(*date);
    const auto text = qx::textFromDate(*expected);
    ASSERT_TRUE(text);
    ASSERT_EQ(qx::dateFromText(*text), expected) << testing::PrintToString(*text);
  }
}

TEST(DateText, ReturnsNoTextOutsideTheRangeOfDates) {
  EXPECT_EQ(qx::textFromDate(-657436.0), std::nullopt);
  EXPECT_EQ(qx::textFromDate(2958466.0), std::nullopt);
}

}  // namespace
