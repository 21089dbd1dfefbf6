#include "qxframework/automation/date_text.h"

#include "qxframework/automation/civil_time.h"

#include <gtest/gtest.h>

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

TEST(DateText, RefusesOtherTexts) {
  for (const char16_t* bad : {u"",
                              u"  ",
                              u"abc",
                              u"5",
                              u"1/31",
                              u"1/31/2024x",
                              u"2/30/2024",
                              u"13/13/2024",
                              u"24:00",
                              u"12:60",
                              u"1:2:60",
                              u"13:00 PM",
                              u"0 AM",
                              u"1/31/2024 1/31/2024",
                              u"1:00 2:00",
                              u"1:",
                              u"31 Foo 2024",
                              u"Jan 2024",
                              u"1/31-2024",
                              u"12345-01-01",
                              u"2024-01-31T",
                              u"1:00:00.",
                              u"1/31/20245",
                              u"T3:00",
                              u"3 PMx"})
    EXPECT_EQ(qx::dateFromText(bad), std::nullopt) << testing::PrintToString(bad);
  EXPECT_EQ(qx::dateFromText(std::u16string_view(u"1/31/2024\0", 10)), std::nullopt);
}

TEST(DateText, WrittenDatesReadBack) {
  for (const DATE date : {0.0, 0.25, 45322.0, 45322.75, -1.25, -657434.0, 2958465.5}) {
    const auto text = qx::textFromDate(date);
    ASSERT_TRUE(text) << date;
    EXPECT_EQ(qx::dateFromText(*text), date) << testing::PrintToString(*text);
  }
}

TEST(DateText, ReturnsNoTextOutsideTheRangeOfDates) {
  EXPECT_EQ(qx::textFromDate(-657436.0), std::nullopt);
  EXPECT_EQ(qx::textFromDate(2958466.0), std::nullopt);
}

}  // namespace
