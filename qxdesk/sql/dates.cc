#include "qxdesk/sql/dates.h"

#include "qxdesk/sql/stored_date.h"
#include "qxframework/automation/ascii.h"
#include "qxframework/automation/civil_time.h"

#include <array>
#include <chrono>
#include <cstdio>

namespace qx::sql {
namespace {

// Reads fixed-width numbers and separators from the front of a text.
class Reader {
 public:
  explicit Reader(std::string_view text) : rest_(text) {}

  bool empty() const { return rest_.empty(); }

  bool accept(char c) {
    if (rest_.empty() || rest_.front() != c) return false;
    rest_.remove_prefix(1);
    return true;
  }

  // Returns a number of exactly `width` digits; clears ok() if there are fewer.
  int digits(std::size_t width) {
    int value = 0;
    for (std::size_t i = 0; i < width; ++i) {
      if (rest_.empty() || !isDigit(rest_.front())) {
        ok_ = false;
        return 0;
      }
      value = value * 10 + (rest_.front() - '0');
      rest_.remove_prefix(1);
    }
    return value;
  }

  void skipDigits() {
    while (!rest_.empty() && isDigit(rest_.front())) rest_.remove_prefix(1);
  }

  bool ok() const { return ok_; }

 private:
  std::string_view rest_;
  bool ok_ = true;
};

int daysOfMonth(int year, int month) {
  constexpr std::array<int, 13> kDays = {0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return month == 2 && leap ? 29 : kDays.at(static_cast<std::size_t>(month));
}

bool isRealTime(const CivilTime& time) {
  return time.year >= 1 && time.month >= 1 && time.month <= 12 && time.day >= 1 &&
         time.day <= daysOfMonth(time.year, time.month) && time.hour < 24 && time.minute < 60 &&
         time.second < 60;
}

// Reads the time that may follow the day. Returns false if anything else follows.
bool readTime(Reader& reader, CivilTime& moment) {
  if (reader.empty()) return true;
  if (!reader.accept(' ') && !reader.accept('T')) return false;
  moment.hour = reader.digits(2);
  if (!reader.accept(':')) return false;
  moment.minute = reader.digits(2);
  if (reader.accept(':')) {
    moment.second = reader.digits(2);
    if (reader.accept('.')) reader.skipDigits();
  }
  return reader.ok() && reader.empty();
}

std::optional<CivilTime> readCivilTime(std::string_view text) {
  Reader reader(trimmed(text));
  CivilTime moment{};
  moment.year = reader.digits(4);
  // Two dashes or none: 2024-0131 is no form of any dialect.
  const bool dashes = reader.accept('-');
  moment.month = reader.digits(2);
  if (dashes && !reader.accept('-')) return std::nullopt;
  moment.day = reader.digits(2);
  if (!reader.ok() || !readTime(reader, moment) || !isRealTime(moment)) return std::nullopt;
  return moment;
}

std::string storedForm(const CivilTime& time) {
  std::string text;
  assignStored(text, time);
  return text;
}

constexpr std::int64_t kDay = 24 * 60 * 60;

constexpr std::int64_t firstSecondOf(int year, int month, int day) {
  const std::chrono::sys_days date{std::chrono::year(year) /
                                   std::chrono::month(static_cast<unsigned>(month)) /
                                   std::chrono::day(static_cast<unsigned>(day))};
  return std::int64_t{date.time_since_epoch().count()} * kDay;
}

constexpr std::int64_t kFirst = firstSecondOf(1, 1, 1);
constexpr std::int64_t kLast = firstSecondOf(10000, 1, 1) - 1;

std::int64_t secondsOf(const CivilTime& moment) {
  return firstSecondOf(moment.year, moment.month, moment.day) + moment.hour * 3600 +
         moment.minute * 60 + moment.second;
}

CivilTime momentOf(std::int64_t seconds) {
  const std::chrono::sys_seconds time{std::chrono::seconds(seconds)};
  // Rounded down and not towards 0, for the times before 1970.
  const auto days = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(days);
  const auto ofDay = static_cast<int>((time - days).count());
  return {static_cast<int>(date.year()),
          static_cast<int>(static_cast<unsigned>(date.month())),
          static_cast<int>(static_cast<unsigned>(date.day())),
          ofDay / 3600,
          ofDay / 60 % 60,
          ofDay % 60};
}

}  // namespace

std::optional<std::string> storedDate(std::string_view text) {
  const std::optional<CivilTime> moment = readCivilTime(text);
  return moment ? std::optional(storedForm(*moment)) : std::nullopt;
}

std::optional<std::string> monthDate(std::string_view text) {
  constexpr std::array<const char*, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const std::optional<CivilTime> moment = readCivilTime(text);
  if (!moment) return std::nullopt;
  const int hour = moment->hour % 12 == 0 ? 12 : moment->hour % 12;
  std::array<char, 64> form{};
  std::snprintf(form.data(), form.size(), "%s %2d %04d %2d:%02d%s",
                kMonths.at(static_cast<std::size_t>(moment->month - 1)), moment->day, moment->year,
                hour, moment->minute, moment->hour < 12 ? "AM" : "PM");
  return form.data();
}

std::optional<std::string> movedDate(std::string_view stored, std::int64_t count,
                                     std::int64_t seconds) {
  const std::optional<CivilTime> moment = readCivilTime(stored);
  if (!moment) return std::nullopt;
  const std::int64_t from = secondsOf(*moment);
  // Divided instead of multiplied: the product of an add-on's number could overflow.
  if (count > (kLast - from) / seconds || count < -((from - kFirst) / seconds)) {
    return std::nullopt;
  }
  return storedForm(momentOf(from + count * seconds));
}

}  // namespace qx::sql
