#include "qxdesk/sql/dates.h"

#include <gtest/gtest.h>

namespace qx::sql {
namespace {

TEST(StoredDate, TakesTheFormsOfTheDialects) {
  EXPECT_EQ(storedDate("20240131"), "2024-01-31 00:00:00");
  EXPECT_EQ(storedDate("2024-01-31"), "2024-01-31 00:00:00");
  EXPECT_EQ(storedDate("2024-01-31 08:30"), "2024-01-31 08:30:00");
  EXPECT_EQ(storedDate("2024-01-31T08:30:15.250"), "2024-01-31 08:30:15");
  EXPECT_EQ(storedDate(" 18991230 "), "1899-12-30 00:00:00");
}

TEST(StoredDate, KnowsTheCalendar) {
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

TEST(StoredDate, RefusesWhatIsNoDate) {
  for (const char* text :
       {"", "x", "2024", "2024-0131", "202401-31", "2024-01-31x", "2024-01-31 8:30",
        "2024-01-31 24:00", "2024-01-31 08:60", "2024-01-31 08", "31.01.2024"}) {
    EXPECT_FALSE(storedDate(text)) << text;
  }
}

}  // namespace
}  // namespace qx::sql
