#pragma once

// Dates as text, in the forms of English (United States).

#include "qxframework/automation/export.h"
#include "qxframework/automation/types.h"

#include <optional>
#include <string>
#include <string_view>

namespace qx {

/// Returns a text such as "1/31/2024 3:04:05 PM". The time is left out at midnight, and the date is
/// left out on 1899-12-30, whose midnight is "12:00:00 AM". Returns nothing outside the years
/// 100..9999.
QX_API std::optional<std::u16string> textFromDate(DATE date);

/// Reads a date, a time, or both in either order; blanks may surround them. Dates: 1/31/2024 with
/// "/", "-" or "." as separator (the day comes first if the first number exceeds 12), 2024-01-31,
/// 31 Jan 2024, January 31, 2024. A year below 30 lies in the 2000s, one from 30 to 99 in the
/// 1900s. Times: 15:04, 15:04:05, 3:04 PM, 3 PM; a fraction of a second is ignored. "T" may join an
/// ISO date and a time. A time without a date lies on 1899-12-30. Returns nothing for any other
/// text.
QX_API std::optional<DATE> dateFromText(std::u16string_view text);

}  // namespace qx
