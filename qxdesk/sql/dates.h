#pragma once

// Dates as the company database keeps them: text of the one form "YYYY-MM-DD HH:MM:SS", so that the
// order of texts is the order of times.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qx::sql {

/// Returns the stored form of a date written as YYYYMMDD or YYYY-MM-DD, with an optional time: a
/// blank or T, then HH:MM or HH:MM:SS, whose fraction of a second is cut. Blanks around the date do
/// not count. Returns nothing for another form and for a day that is not in the calendar of the
/// years 1 to 9999.
std::optional<std::string> storedDate(std::string_view text);

/// Returns a date in the form that it has as a text in the dialects with DialectTraits::monthNames:
/// "Jan 31 2024 10:59AM", with day and hour padded by blanks to two characters. Returns nothing for
/// a text that storedDate() refuses.
std::optional<std::string> monthDate(std::string_view text);

/// Returns the date that is `count` times `seconds` after one of the stored form, or before it if
/// `count` is negative. `seconds` must be above 0. Returns nothing outside of the years 1 to 9999.
std::optional<std::string> movedDate(std::string_view stored, std::int64_t count,
                                     std::int64_t seconds);

}  // namespace qx::sql
