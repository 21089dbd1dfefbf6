#pragma once

// The display forms of dates and amounts by the settings of the company.

#include "qxdesk/dictionary/company_settings.h"
#include "qxframework/automation/types.h"

#include <optional>
#include <string>
#include <string_view>

namespace qx::desk {

/// Returns the display form of a date, empty for 0.0, which is the null date. Returns nothing for a
/// number that is no date.
std::optional<std::u16string> dateText(DATE date, const CompanySettings& settings);

/// Reads the display form of a date, also with another separator ("." "/" "-" or a blank), with a
/// year of two or four digits, or without separators. Years of two digits are 1930 to 2029. Blank
/// text is the date 0.0. Returns nothing for another form and for a day that does not exist.
std::optional<DATE> dateOfText(std::u16string_view text, const CompanySettings& settings);

/// Returns the form of a date for messages, such as "DD/MM/YYYY".
std::u16string dateFormText(const CompanySettings& settings);

/// Returns the display form of an amount, with the company's separators and decimal places. Sums
/// and prices include the local currency if the company shows it. Returns nothing for an infinite
/// value or NaN.
std::optional<std::u16string> amountText(double amount, HvMoneyPrecisionTypes precision,
                                         const CompanySettings& settings);

/// Returns the decimal places to which an amount of the currency is rounded. `context` is one of
/// HvMoneyPrecisionTypes; any other number counts as a sum. Forints have no coins: in Hungary sums
/// in HUF are rounded to whole numbers.
int roundingPlaces(long context, std::u16string_view currency, const CompanySettings& settings);

}  // namespace qx::desk
