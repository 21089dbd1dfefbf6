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

/// Reads a date, a time, or a date and a time in either order; blanks may surround each part.
///
/// A date has three parts or two, separated by "/", "-", blanks or a comma: 1/31/2024, 2024-01-31,
/// 31 Jan 2024, January 31, 2024. The first of these orders that gives a date counts: month, day,
/// year; day, month, year; year, month, day; year, day, month if the year has more than two digits.
/// A date of two parts is, in this order, month and day or day and month of `thisYear` (today's
/// year if none is given), or the first day of month and year or year and month. A year of one or
/// two digits lies in the 2000s below 30, else in the 1900s.
///
/// A time is 15:04, 15:04:05, 3:04 PM or 3 PM; "A" and "P" suffice, and an hour above 12 is the
/// same with either. A fraction of a second is ignored. "." separates the parts of a time too; a
/// text of three parts, such as 1.2.2024, is a date if it is no time or if there is another time.
/// "T" may join an ISO date and a time. A time without a date lies on 1899-12-30.
///
/// Returns nothing for any other text.
QX_API std::optional<DATE> dateFromText(std::u16string_view text,
                                        std::optional<int> thisYear = std::nullopt);

}  // namespace qx
