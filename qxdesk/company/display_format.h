#pragma once

// The display forms of dates and amounts by the settings of the company.

#include "qxdesk/dictionary/company_settings.h"
#include "qxframework/automation/types.h"

#include <optional>
#include <string>
#include <string_view>

namespace qx::desk {

/// Empty for the date 0.0, which is the null date. Nothing for a number that is no date.
std::optional<std::u16string> dateText(DATE date, const CompanySettings& settings);

/// Reads what dateText writes, also with another separator ("." "/" "-" or a blank), with a year of
/// two or four digits, or all digits together. Years of two digits are 1930 to 2029. Blank text is
/// the date 0.0. Nothing when it is no such form or no day.
std::optional<DATE> dateOfText(std::u16string_view text, const CompanySettings& settings);

/// For messages: "DD/MM/YYYY" and its like.
std::u16string dateFormText(const CompanySettings& settings);

/// With the company's separators and decimal places. Sums and prices have the local currency beside
/// them where the company shows it. Nothing for a value that is no number.
std::optional<std::u16string> amountText(double amount, HvMoneyPrecisionTypes precision,
                                         const CompanySettings& settings);

/// Decimal places that an amount of the currency is rounded to. Forints have no coins: in Hungary
/// sums in HUF are rounded to whole ones.
int roundingPlaces(long context, std::u16string_view currency, const CompanySettings& settings);

}  // namespace qx::desk
