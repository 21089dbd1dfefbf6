#pragma once

// The forms in which the company shows and rounds numbers and dates: the row of the table HVCOMP.

#include "qxframework/host/enums.h"

#include <array>
#include <string>

namespace qx::desk {

class Database;

/// The order of a date's parts, without the separator. The numbers are those in HVCOMP and frozen.
enum class DateForm : long {
  DayMonthYear2 = 0,
  DayMonthYear = 1,
  MonthDayYear2 = 2,
  MonthDayYear = 3,
  YearMonthDay = 4
};

enum class CurrencyPlace { None, Left, Right };

struct CompanySettings {
  std::u16string name;
  std::u16string country;
  std::u16string localCurrency;
  /// Decimal places by HvMoneyPrecisionTypes.
  std::array<int, 6> decimals{2, 2, 6, 2, 2, 2};
  std::u16string decimalSeparator = u".";
  std::u16string thousandsSeparator = u",";
  DateForm dateForm = DateForm::DayMonthYear;
  std::u16string dateSeparator = u"/";
  CurrencyPlace currencyPlace = CurrencyPlace::None;
};

/// Reads the settings; without a row they are the defaults above. Throws DatabaseError.
CompanySettings readSettings(Database& database);

/// Returns the decimal places of amounts of that precision, one of HvMoneyPrecisionTypes; any other
/// number counts as mpt_Sum.
inline int decimalsOf(const CompanySettings& settings, long precision) {
  const bool known = precision >= mpt_Sum && precision <= mpt_Measure;
  return settings.decimals[known ? static_cast<std::size_t>(precision) : 0];
}

}  // namespace qx::desk
