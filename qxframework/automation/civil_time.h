#pragma once

// Dates as a double and their parts in the Gregorian calendar. The integral part of a date counts
// whole days since 1899-12-30, the fraction is the part of the day. Before that day the fraction
// still counts forward from midnight, so that -1.25 is six in the morning of 1899-12-29.

#include "qxframework/automation/export.h"
#include "qxframework/automation/types.h"

#include <cstdint>
#include <optional>

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
inline constexpr DATE kEndOfDates = 2958466.0;  // 10000-01-01, the first day that is not a date

/// Returns the date of the parts. Returns nothing if there is no such day or time or the year is
/// not in 100..9999.
QX_API std::optional<DATE> dateFromCivil(const CivilTime& time);
/// Returns the parts of the date, to the nearest second; nothing outside the years 100..9999.
QX_API std::optional<CivilTime> civilFromDate(DATE date);
/// Returns the local time of a number of seconds since 1970-01-01 UTC; nothing if its year does not
/// fit into an int.
QX_API std::optional<CivilTime> localTime(std::int64_t unixSeconds);

}  // namespace qx
