#pragma once

// The stored form of a date, the same on every engine: the text "YYYY-MM-DD HH:MM:SS" of 19
// characters. Having one form only, the order of texts is the order of times.

#include "qxframework/automation/civil_time.h"

#include <optional>
#include <string>
#include <string_view>

namespace qx::sql {

/// Replaces `text` by the stored form of `time`, whose parts must be those of a real day.
void assignStored(std::string& text, const CivilTime& time);
/// Returns the stored form of a date, or nothing for a number that is no date.
std::optional<std::string> storedOfDate(DATE date);
/// Reads the stored form, also without the time; returns nothing for any other text.
std::optional<DATE> dateOfStored(std::string_view text);

}  // namespace qx::sql
