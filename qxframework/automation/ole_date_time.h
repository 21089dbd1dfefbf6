#pragma once

// Dates and spans with a status, and their arithmetic. Doubles before 1899-12-30 are not in the
// order of time (see civil_time.h), so arithmetic and comparison go through a linear count of days.

#include "qxframework/automation/civil_time.h"
#include "qxframework/automation/types.h"
#include "qxframework/automation/wide_string.h"

#include <cmath>
#include <cstdint>

namespace qx {

/// Returns the days since 1899-12-30 with the part of the day added, so that the results are in the
/// order of time.
inline double linearDays(DATE date) {
  return date >= 0 ? date : std::ceil(date) - (date - std::ceil(date));
}
/// Returns the date of a linear count of days; the inverse of linearDays.
inline DATE dateFromLinear(double days) {
  return days >= 0 ? days : std::floor(days) - (days - std::floor(days));
}

}  // namespace qx

/// A span of time: a double of days and a status.
class QX_API COleDateTimeSpan {
 public:
  enum DateTimeSpanStatus { valid = 0, invalid = 1, null = 2 };

  COleDateTimeSpan() = default;
  /// A span of `days`; invalid if it is longer than the range of dates.
  COleDateTimeSpan(double days) : m_span(days) { checkRange(); }
  COleDateTimeSpan(long days, int hours, int minutes, int seconds) {
    SetDateTimeSpan(days, hours, minutes, seconds);
  }

  DateTimeSpanStatus GetStatus() const { return m_status; }
  void SetStatus(DateTimeSpanStatus status) { m_status = status; }
  /// Sets the sum of the parts, which need not be in the range of a day; the status becomes valid,
  /// or invalid if the span is longer than the range of dates.
  void SetDateTimeSpan(long days, int hours, int minutes, int seconds);

  /// Return the whole span in one unit, rounded to the nearest second and then cut towards zero.
  double GetTotalDays() const { return static_cast<double>(totalSeconds() / 86400); }
  double GetTotalHours() const { return static_cast<double>(totalSeconds() / 3600); }
  double GetTotalMinutes() const { return static_cast<double>(totalSeconds() / 60); }
  double GetTotalSeconds() const { return static_cast<double>(totalSeconds()); }
  /// Return the parts, which all have the sign of the span.
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

  /// Two spans that are not valid are equal if both are null; neither is less than the other.
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
  /// Takes `date`; the status is invalid outside the years 100..9999.
  COleDateTime(DATE date);
  COleDateTime(int year, int month, int day, int hour, int minute, int second) {
    SetDateTime(year, month, day, hour, minute, second);
  }
  /// Returns the local time of a number of seconds since 1970-01-01 UTC.
  static COleDateTime FromUnixTime(std::int64_t seconds);

  DateTimeStatus GetStatus() const { return m_status; }
  void SetStatus(DateTimeStatus status) { m_status = status; }

  int GetYear() const;
  int GetMonth() const;
  int GetDay() const;
  int GetHour() const;
  int GetMinute() const;
  int GetSecond() const;
  /// Returns 1 for Sunday to 7 for Saturday.
  int GetDayOfWeek() const;
  /// Returns 1 for the first of January.
  int GetDayOfYear() const;
  /// Stores the parts in `time`. Returns false and stores nothing if the date is not valid.
  bool GetAsCivilTime(qx::CivilTime& time) const;

  /// Sets the date and returns the new status as a number. A date that does not exist makes the
  /// status invalid and keeps the double.
  int SetDateTime(int year, int month, int day, int hour, int minute, int second);
  int SetDate(int year, int month, int day) { return SetDateTime(year, month, day, 0, 0, 0); }
  /// Sets a time without a day, that is, on 1899-12-30.
  int SetTime(int hour, int minute, int second) {
    return SetDateTime(1899, 12, 30, hour, minute, second);
  }
  /// Reads the forms of dateFromText. Returns false and makes the date invalid and 0 for other
  /// texts.
  bool ParseDateTime(const OLECHAR* text);
  /// Formats by the conversions of strftime, with English names. Returns an empty text for a null
  /// date and "Invalid DateTime" for an invalid one.
  CString Format(const OLECHAR* format) const;

  COleDateTime operator+(const COleDateTimeSpan& span) const;
  COleDateTime operator-(const COleDateTimeSpan& span) const { return *this + -span; }
  COleDateTime& operator+=(const COleDateTimeSpan& span) { return *this = *this + span; }
  COleDateTime& operator-=(const COleDateTimeSpan& span) { return *this = *this - span; }
  COleDateTimeSpan operator-(const COleDateTime& other) const;
  operator DATE() const { return m_dt; }

  /// Two dates that are not valid are equal if both are null; neither precedes the other.
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
