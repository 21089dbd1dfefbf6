#include "qxdesk/sql/stored_date.h"

#include <gtest/gtest.h>

#include <random>

namespace qx::sql {
namespace {

TEST(StoredDate, ReadsItsOwnFormsOnly) {
  EXPECT_EQ(dateOfStored("2024-01-31"), dateFromCivil({2024, 1, 31}));
  EXPECT_EQ(dateOfStored("2024-01-31 23:59:58"), dateFromCivil({2024, 1, 31, 23, 59, 58}));
  for (const char* text :
       {"", "2024-01-3", "2024/01/31", "2024-01-31T10:00:00", "2024-13-01", "2024-01-31 24:00:00",
        "-024-01-31", "2024-01-31 10:00:0x", "2024- 1-31"}) {
    EXPECT_FALSE(dateOfStored(text)) << text;
  }
}

TEST(StoredDate, WritesEveryPartInFullWidth) {
  EXPECT_EQ(storedOfDate(*dateFromCivil({904, 2, 3, 4, 5, 6})), "0904-02-03 04:05:06");
  EXPECT_EQ(storedOfDate(0.0), "1899-12-30 00:00:00");
  EXPECT_EQ(storedOfDate(kEndOfDates), std::nullopt);
}

TEST(StoredDate, ReplacesTheTextThatItIsGiven) {
  std::string text = "something longer than the stored form";
  assignStored(text, {2024, 1, 31, 12, 30, 15});
  EXPECT_EQ(text, "2024-01-31 12:30:15");
}

TEST(StoredDate, ReadsWhatItWrites) {
  std::mt19937 random(11);
  for (int i = 0; i < 2000; ++i) {
    const CivilTime time{
        static_cast<int>(100 + random() % 9900), static_cast<int>(1 + random() % 12),
        static_cast<int>(1 + random() % 28),     static_cast<int>(random() % 24),
        static_cast<int>(random() % 60),         static_cast<int>(random() % 60)};
    const auto stored = storedOfDate(*dateFromCivil(time));
    ASSERT_TRUE(stored);
    ASSERT_EQ(dateOfStored(*stored), dateFromCivil(time)) << *stored;
  }
}

}  // namespace
}  // namespace qx::sql
