// Dates as the company database keeps them: text of the one form "YYYY-MM-DD HH:MM:SS", so that
// the order of texts is the order of times.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qx::sql {

// The stored form of a date written as YYYYMMDD, YYYY-MM-DD, or one of them with a blank or T and
// a time HH:MM or HH:MM:SS (a fraction of seconds is cut). Blanks around it do not count. Nothing
// when it is no such form or no day of the calendar (years 1 to 9999).
std::optional<std::string> storedDate(std::string_view text);

// The date so many times `seconds`, which is above 0, after one of the stored form; before it where
// `count` is negative. Nothing when that lies outside of the years 1 to 9999.
std::optional<std::string> movedDate(std::string_view stored, std::int64_t count,
                                     std::int64_t seconds);

}  // namespace qx::sql
