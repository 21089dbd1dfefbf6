#pragma once

// Dates as text, in the forms of English, United States.

#include "qxframework/automation/export.h"
#include "qxframework/automation/types.h"

#include <optional>
#include <string>
#include <string_view>

namespace qx {

/// "1/31/2024 3:04:05 PM", without the time at midnight and without the date on the first day,
/// 1899-12-30; that day's midnight is "12:00:00 AM". Nothing for what is no date.
QX_API std::optional<std::u16string> textFromDate(DATE date);

/// Reads a date, a time, or both in either order, between blanks. Dates: 1/31/2024 with "/", "-"
/// or "." between (day first where the month cannot be), 2024-01-31, 31 Jan 2024, January 31,
/// 2024; years below 30 are of the 2000s, those up to 99 of the 1900s. Times: 15:04, 15:04:05,
/// 3:04 PM, 3 PM; a fraction of a second is read over. "T" may join an ISO date and a time.
QX_API std::optional<DATE> dateFromText(std::u16string_view text);

}  // namespace qx
