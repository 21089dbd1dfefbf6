#include "qxdesk/sql/dates.h"

#include <gtest/gtest.h>

#include <limits>

namespace qx::sql {
namespace {

TEST(StoredDate, AcceptsTheFormsOfAllDialects) {
  EXPECT_EQ(storedDate("20240131"), "2024-01-31 00:00:00");
  EXPECT_EQ(storedDate("2024-01-31"), "2024-01-31 00:00:00");
  EXPECT_EQ(storedDate("2024-01-31 08:30"), "2024-01-31 08:30:00");
  EXPECT_EQ(storedDate("2024-01-31T08:30:15.250"), "2024-01-31 08:30:15");
  EXPECT_EQ(storedDate(" 18991230 "), "1899-12-30 00:00:00");
}

TEST(StoredDate, RefusesDaysOutsideTheCalendar) {
  EXPECT_EQ(storedDate("20240229"), "2024-02-29 00:00:00");
  EXPECT_EQ(storedDate("20000229"), "2000-02-29 00:00:00");
  EXPECT_FALSE(storedDate("20230229"));
  EXPECT_FALSE(storedDate("19000229"));
  EXPECT_FALSE(storedDate("20240231"));
  EXPECT_FALSE(storedDate("20241301"));
  EXPECT_FALSE(storedDate("20240001"));
  EXPECT_FALSE(storedDate("20240100"));
  EXPECT_FALSE(storedDate("00000101"));
}

TEST(StoredDate, RefusesOtherForms) {
  for (const char* text :
       {"", "x", "2024", "2024-0131", "202401-31", "2024-01-31x", "2024-01-31 8:30",
        "2024-01-31 24:00", "2024-01-31 08:60", "2024-01-31 08:30:60", "2024-01-31 08",
        "2024-01-31 08:30:15x", "2024-01-31\t08:30", "\t20240131", "31.01.2024"}) {
    EXPECT_FALSE(storedDate(text)) << text;
  }
}

constexpr std::int64_t kDay = 86400;

TEST(MovedDate, FollowsTheCalendar) {
  EXPECT_EQ(movedDate("2024-02-28 23:59:59", 1, 1), "2024-02-29 00:00:00");
  EXPECT_EQ(movedDate("2024-02-28 08:30:15", 2, kDay), "2024-03-01 08:30:15");
  EXPECT_EQ(movedDate("1970-01-01 00:00:00", -1, 1), "1969-12-31 23:59:59");
  EXPECT_EQ(movedDate("2024-01-31 12:00:00", 0, kDay), "2024-01-31 12:00:00");
  EXPECT_EQ(movedDate("0001-01-01 00:00:00", 3652058, kDay), "9999-12-31 00:00:00");
  EXPECT_EQ(movedDate("9999-12-31 23:59:59", -315537897599, 1), "0001-01-01 00:00:00");
}

TEST(MovedDate, RefusesToLeaveTheYears1To9999) {
  EXPECT_EQ(movedDate("9999-12-31 23:59:58", 1, 1), "9999-12-31 23:59:59");
  EXPECT_FALSE(movedDate("9999-12-31 23:59:59", 1, 1));
  EXPECT_FALSE(movedDate("9999-12-31 00:00:00", 1, kDay));
  EXPECT_EQ(movedDate("0001-01-01 00:00:01", -1, 1), "0001-01-01 00:00:00");
  EXPECT_FALSE(movedDate("0001-01-01 00:00:00", -1, 1));
  EXPECT_FALSE(movedDate("0001-01-01 23:59:59", -1, kDay));
}

TEST(MovedDate, RefusesHugeCountsWithoutOverflow) {
  for (const std::int64_t count :
       {std::int64_t{1} << 31, std::int64_t{1} << 62, std::numeric_limits<std::int64_t>::max()}) {
    for (const std::int64_t seconds : {std::int64_t{3600}, kDay, 7 * kDay}) {
      EXPECT_FALSE(movedDate("2024-01-31 00:00:00", count, seconds)) << count << " * " << seconds;
      EXPECT_FALSE(movedDate("2024-01-31 00:00:00", -count - 1, seconds))
          << count << " * " << seconds;
    }
  }
}

TEST(MonthDate, HasDayAndHourOfTwoCharacters) {
  EXPECT_EQ(monthDate("2024-01-31 10:59:58"), "Jan 31 2024 10:59AM");
  EXPECT_EQ(monthDate("2024-02-01 08:05:00"), "Feb  1 2024  8:05AM");
  EXPECT_EQ(monthDate("20231210"), "Dec 10 2023 12:00AM");
  EXPECT_EQ(monthDate("2023-09-09 12:30:00"), "Sep  9 2023 12:30PM");
  EXPECT_EQ(monthDate("0001-05-20 20:08:00"), "May 20 0001  8:08PM");
  EXPECT_FALSE(monthDate("20240231"));
}

}  // namespace
}  // namespace qx::sql
