#pragma once

// Dates as a double: whole days since 1899-12-30 in front of the point, the part of the day behind
// it. Before that day the fraction still counts forward from midnight, so that -1.25 is six in the
// morning of 1899-12-29: the numbers are not in order there, and arithmetic goes through a linear
// count of days.

#include "qxframework/automation/types.h"
#include "qxframework/automation/wide_string.h"

#include <cmath>
#include <cstdint>
#include <optional>
#include <string_view>

namespace qx {

/// The parts of a date in the Gregorian calendar.
struct CivilTime {
  int year = 0;
  int month = 0;
  int day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
  friend bool operator==(const CivilTime&, const CivilTime&) = default;
};

inline constexpr DATE kFirstDate = -657434.0;   // 0100-01-01
inline constexpr DATE kEndOfDates = 2958466.0;  // 10000-01-01, which is none any more

/// The date of the parts; nothing when there is no such day or time, or the year is not 100..9999.
QX_API std::optional<DATE> dateFromCivil(const CivilTime& time);
/// The parts of the date, to the nearest second; nothing outside the years 100..9999.
QX_API std::optional<CivilTime> civilFromDate(DATE date);
/// Days and part of a day in proper order, and back.
inline double linearDays(DATE date) {
  return date >= 0 ? date : std::ceil(date) - (date - std::ceil(date));
}
inline DATE dateFromLinear(double days) {
  return days >= 0 ? days : std::floor(days) - (days - std::floor(days));
}
/// The local time of the seconds since 1970-01-01 UTC.
QX_API std::optional<CivilTime> localTime(std::int64_t unixSeconds);

}  // namespace qx

/// A stretch of time: a double of days and a status.
class QX_API COleDateTimeSpan {
 public:
  enum DateTimeSpanStatus { valid = 0, invalid = 1, null = 2 };

  COleDateTimeSpan() = default;
  COleDateTimeSpan(double days) : m_span(days) { checkRange(); }
  COleDateTimeSpan(long days, int hours, int minutes, int seconds) {
    SetDateTimeSpan(days, hours, minutes, seconds);
  }

  DateTimeSpanStatus GetStatus() const { return m_status; }
  void SetStatus(DateTimeSpanStatus status) { m_status = status; }
  void SetDateTimeSpan(long days, int hours, int minutes, int seconds);

  /// The whole in one unit, to the nearest second and then cut towards zero.
  double GetTotalDays() const { return static_cast<double>(totalSeconds() / 86400); }
  double GetTotalHours() const { return static_cast<double>(totalSeconds() / 3600); }
  double GetTotalMinutes() const { return static_cast<double>(totalSeconds() / 60); }
  double GetTotalSeconds() const { return static_cast<double>(totalSeconds()); }
  /// The parts; all have the sign of the span.
  long GetDays() const { return static_cast<long>(totalSeconds() / 86400); }
  long GetHours() const { return static_cast<long>(totalSeconds() / 3600 % 24); }
  long GetMinutes() const { return static_cast<long>(totalSeconds() / 60 % 60); }
  long GetSeconds() const { return static_cast<long>(totalSeconds() % 60); }

  COleDateTimeSpan operator+(const COleDateTimeSpan& other) const;
  COleDateTimeSpan operator-(const COleDateTimeSpan& other) const { return *this + -other; }
  COleDateTimeSpan operator-() const;
  COleDateTimeSpan& operator+=(const COleDateTimeSpan& other) { return *this = *this + other; }
  COleDateTimeSpan& operator-=(const COleDateTimeSpan& other) { return *this = *this - other; }
  operator double() const { return m_span; }

  /// Spans that are not valid are equal when both are null, and are never in order.
  friend QX_API bool operator==(const COleDateTimeSpan& a, const COleDateTimeSpan& b);
  friend QX_API bool operator<(const COleDateTimeSpan& a, const COleDateTimeSpan& b);
  friend bool operator!=(const COleDateTimeSpan& a, const COleDateTimeSpan& b) { return !(a == b); }
  friend bool operator>(const COleDateTimeSpan& a, const COleDateTimeSpan& b) { return b < a; }
  friend bool operator<=(const COleDateTimeSpan& a, const COleDateTimeSpan& b) {
    return a < b || a == b;
  }
  friend bool operator>=(const COleDateTimeSpan& a, const COleDateTimeSpan& b) { return b <= a; }

  double m_span = 0;
  DateTimeSpanStatus m_status = valid;

 private:
  void checkRange();
  std::int64_t totalSeconds() const;
};

/// A date with a status. A part of a date that is not valid reads -1.
class QX_API COleDateTime {
 public:
  enum DateTimeStatus { error = -1, valid = 0, invalid = 1, null = 2 };

  COleDateTime() = default;
  COleDateTime(DATE date);
  COleDateTime(int year, int month, int day, int hour, int minute, int second) {
    SetDateTime(year, month, day, hour, minute, second);
  }
  /// The local time of the seconds since 1970-01-01 UTC.
  static COleDateTime FromUnixTime(std::int64_t seconds);

  DateTimeStatus GetStatus() const { return m_status; }
  void SetStatus(DateTimeStatus status) { m_status = status; }

  int GetYear() const;
  int GetMonth() const;
  int GetDay() const;
  int GetHour() const;
  int GetMinute() const;
  int GetSecond() const;
  /// 1 is Sunday.
  int GetDayOfWeek() const;
  /// 1 is the first of January.
  int GetDayOfYear() const;
  bool GetAsCivilTime(qx::CivilTime& time) const;

  /// The new status, as a number. A date that does not exist makes the status invalid and leaves
  /// the double as it was.
  int SetDateTime(int year, int month, int day, int hour, int minute, int second);
  int SetDate(int year, int month, int day) { return SetDateTime(year, month, day, 0, 0, 0); }
  /// A time without a day: on 1899-12-30.
  int SetTime(int hour, int minute, int second) {
    return SetDateTime(1899, 12, 30, hour, minute, second);
  }
  /// Reads the date forms of the conversion from text; false and invalid if it does not read.
  bool ParseDateTime(const OLECHAR* text);
  /// By the conversions of strftime, with English names. Empty for a null date, "Invalid DateTime"
  /// for an invalid one.
  CString Format(const OLECHAR* format) const;

  COleDateTime operator+(const COleDateTimeSpan& span) const;
  COleDateTime operator-(const COleDateTimeSpan& span) const { return *this + -span; }
  COleDateTime& operator+=(const COleDateTimeSpan& span) { return *this = *this + span; }
  COleDateTime& operator-=(const COleDateTimeSpan& span) { return *this = *this - span; }
  COleDateTimeSpan operator-(const COleDateTime& other) const;
  operator DATE() const { return m_dt; }

  /// Dates that are not valid are equal when both are null, and are never in order.
  friend QX_API bool operator==(const COleDateTime& a, const COleDateTime& b);
  friend QX_API bool operator<(const COleDateTime& a, const COleDateTime& b);
  friend bool operator!=(const COleDateTime& a, const COleDateTime& b) { return !(a == b); }
  friend bool operator>(const COleDateTime& a, const COleDateTime& b) { return b < a; }
  friend bool operator<=(const COleDateTime& a, const COleDateTime& b) { return a < b || a == b; }
  friend bool operator>=(const COleDateTime& a, const COleDateTime& b) { return b <= a; }

  DATE m_dt = 0;
  DateTimeStatus m_status = valid;

 private:
  qx::CivilTime partsOrMinusOne() const;
};
