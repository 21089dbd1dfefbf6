#include "qxframework/automation/civil_time.h"

#include <time.h>

#include <chrono>
#include <cmath>
#include <ctime>

namespace qx {
namespace {

constexpr int kSecondsOfDay = 86400;

// 1899-12-30, counted in days from 1970-01-01 as std::chrono does.
constexpr int kFirstDay = -25569;

bool isTimeOfDay(const CivilTime& time) {
  return time.hour >= 0 && time.hour < 24 && time.minute >= 0 && time.minute < 60 &&
         time.second >= 0 && time.second < 60;
}

}  // namespace

std::optional<DATE> dateFromCivil(const CivilTime& time) {
  if (time.year < 100 || time.year > 9999 || time.month < 1 || time.day < 1) return std::nullopt;
  const std::chrono::year_month_day day(std::chrono::year(time.year),
                                        std::chrono::month(static_cast<unsigned>(time.month)),
                                        std::chrono::day(static_cast<unsigned>(time.day)));
  // ok() does not suffice: std::chrono keeps months and days in 8 bits, so 257 has become 1.
  if (time.month > 12 || time.day > 31 || !day.ok() || !isTimeOfDay(time)) return std::nullopt;
  const auto days =
      static_cast<int>(std::chrono::sys_days(day).time_since_epoch().count()) - kFirstDay;
  const int seconds = (time.hour * 60 + time.minute) * 60 + time.second;
  const double part = static_cast<double>(seconds) / kSecondsOfDay;
  return days < 0 ? days - part : days + part;
}

std::optional<CivilTime> civilFromDate(DATE date) {
  // The first day reaches down to -657434.999, because fractions count away from zero there. The
  // comparison is negated so that NaN is refused too.
  if (!(date > kFirstDate - 1.0 && date < kEndOfDates)) return std::nullopt;
  auto days = static_cast<int>(date);
  auto seconds = static_cast<int>(std::lround(std::fabs(date - days) * kSecondsOfDay));
  // The last half second of a day rounds to the next midnight, which may be the end of all dates.
  if (seconds == kSecondsOfDay) {
    ++days;
    seconds = 0;
  }
  if (days >= static_cast<int>(kEndOfDates)) return std::nullopt;
  const std::chrono::year_month_day day{std::chrono::sys_days(std::chrono::days(days + kFirstDay))};
  return CivilTime{static_cast<int>(day.year()),
                   static_cast<int>(static_cast<unsigned>(day.month())),
                   static_cast<int>(static_cast<unsigned>(day.day())),
                   seconds / 3600,
                   seconds / 60 % 60,
                   seconds % 60};
}

std::optional<CivilTime> localTime(std::int64_t unixSeconds) {
  const auto moment = static_cast<std::time_t>(unixSeconds);
  std::tm parts{};
  if (localtime_r(&moment, &parts) == nullptr) return std::nullopt;
  // A leap second is written as the second before it, since a civil time ends at 59.
  const int second = parts.tm_sec > 59 ? 59 : parts.tm_sec;
  return CivilTime{parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday,
                   parts.tm_hour,        parts.tm_min,     second};
}

}  // namespace qx
