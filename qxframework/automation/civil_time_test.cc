#include "qxframework/automation/civil_time.h"

#include "testing/scoped_variable.h"

#include <gtest/gtest.h>
#include <time.h>

#include <cstdint>
#include <limits>
#include <optional>

namespace {

using qx::CivilTime;

/// Sets the time zone of this process while it lives.
class ZoneInUse {
 public:
  explicit ZoneInUse(const char* zone) {
    variable_.emplace("TZ", zone);
    tzset();
  }
  ~ZoneInUse() {
    variable_.reset();
    tzset();
  }
  ZoneInUse(const ZoneInUse&) = delete;
  ZoneInUse& operator=(const ZoneInUse&) = delete;

 private:
  std::optional<qx::test::ScopedVariable> variable_;
};

TEST(CivilTime, TheCountStartsOnTheThirtiethOfDecember1899) {
  EXPECT_EQ(qx::dateFromCivil({1899, 12, 30, 0, 0, 0}), 0.0);
  EXPECT_EQ(qx::dateFromCivil({1899, 12, 31, 0, 0, 0}), 1.0);
  EXPECT_EQ(qx::dateFromCivil({1900, 1, 1, 12, 0, 0}), 2.5);
  EXPECT_EQ(qx::dateFromCivil({2024, 1, 31, 0, 0, 0}), 45322.0);
  EXPECT_EQ(qx::dateFromCivil({1970, 1, 1, 0, 0, 0}), 25569.0);
}

TEST(CivilTime, BeforeTheStartTheFractionCountsForwardFromMidnight) {
  EXPECT_EQ(qx::dateFromCivil({1899, 12, 29, 6, 0, 0}), -1.25);
  EXPECT_EQ(qx::civilFromDate(-1.25), (CivilTime{1899, 12, 29, 6, 0, 0}));
  EXPECT_EQ(qx::civilFromDate(-0.25), (CivilTime{1899, 12, 30, 6, 0, 0}));
  EXPECT_EQ(qx::civilFromDate(-1.99999999), (CivilTime{1899, 12, 30, 0, 0, 0}));
}

TEST(CivilTime, TheRangeEndsAtTheYears100And9999) {
  EXPECT_EQ(qx::dateFromCivil({100, 1, 1, 0, 0, 0}), -657434.0);
  EXPECT_EQ(qx::dateFromCivil({99, 12, 31, 0, 0, 0}), std::nullopt);
  EXPECT_EQ(qx::dateFromCivil({9999, 12, 31, 0, 0, 0}), 2958465.0);
  EXPECT_EQ(qx::dateFromCivil({10000, 1, 1, 0, 0, 0}), std::nullopt);
  EXPECT_EQ(qx::civilFromDate(-657434.75), (CivilTime{100, 1, 1, 18, 0, 0}));
  EXPECT_EQ(qx::civilFromDate(-657435.0), std::nullopt);
  EXPECT_EQ(qx::civilFromDate(2958465.9999), (CivilTime{9999, 12, 31, 23, 59, 51}));
  EXPECT_EQ(qx::civilFromDate(2958465.9999999999), std::nullopt) << "rounds into the year 10000";
  EXPECT_EQ(qx::civilFromDate(std::numeric_limits<double>::quiet_NaN()), std::nullopt);
  EXPECT_EQ(qx::civilFromDate(std::numeric_limits<double>::infinity()), std::nullopt);
}

TEST(CivilTime, ImpossiblePartsAreNoDate) {
  EXPECT_EQ(qx::dateFromCivil({2023, 2, 29, 0, 0, 0}), std::nullopt);
  EXPECT_EQ(qx::dateFromCivil({1900, 2, 29, 0, 0, 0}), std::nullopt);
  EXPECT_TRUE(qx::dateFromCivil({2000, 2, 29, 0, 0, 0}));
  EXPECT_EQ(qx::dateFromCivil({2024, 0, 1, 0, 0, 0}), std::nullopt);
  EXPECT_EQ(qx::dateFromCivil({2024, 13, 1, 0, 0, 0}), std::nullopt);
  EXPECT_EQ(qx::dateFromCivil({2024, 257, 1, 0, 0, 0}), std::nullopt) << "257 is 1 in 8 bits";
  EXPECT_EQ(qx::dateFromCivil({2024, 1, 257, 0, 0, 0}), std::nullopt);
  EXPECT_EQ(qx::dateFromCivil({2024, 1, 0, 0, 0, 0}), std::nullopt);
  EXPECT_EQ(qx::dateFromCivil({2024, 1, 1, 24, 0, 0}), std::nullopt);
  EXPECT_EQ(qx::dateFromCivil({2024, 1, 1, 0, 60, 0}), std::nullopt);
  EXPECT_EQ(qx::dateFromCivil({2024, 1, 1, 0, 0, -1}), std::nullopt);
}

TEST(CivilTime, EveryDateReadsBack) {
  // Every 97th day, each at another time of day.
  int step = 0;
  for (int day = -657434; day <= 2958465; day += 97, ++step) {
    const int seconds = static_cast<int>(step * 7919LL % 86400);
    const double part = seconds / 86400.0;
    const DATE date = day < 0 ? day - part : day + part;
    const auto time = qx::civilFromDate(date);
    ASSERT_TRUE(time) << date;
    EXPECT_EQ(time->hour * 3600 + time->minute * 60 + time->second, seconds) << date;
    EXPECT_EQ(qx::dateFromCivil(*time), date);
  }
}

TEST(LocalTime, FollowsTheTimeZone) {
  constexpr std::int64_t kNoon = 1706702400;  // 2024-01-31 12:00:00 UTC
  {
    const ZoneInUse zone("UTC0");
    EXPECT_EQ(qx::localTime(kNoon), (CivilTime{2024, 1, 31, 12, 0, 0}));
  }
  const ZoneInUse zone("AAA-13:30");  // east of Greenwich, so ahead of UTC
  EXPECT_EQ(qx::localTime(kNoon), (CivilTime{2024, 2, 1, 1, 30, 0}));
}

TEST(LocalTime, ReturnsNothingForAYearBeyondInt) {
  EXPECT_EQ(qx::localTime(std::numeric_limits<std::int64_t>::max()), std::nullopt);
}

}  // namespace
