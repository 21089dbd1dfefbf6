#pragma once

// How the company shows and rounds its numbers and dates: the row of the table HVCOMP.

#include "qxframework/host/enums.h"

#include <array>
#include <string>

namespace qx::desk {

class Database;

/// The order of a date's parts; the separator stands apart. The numbers are those in HVCOMP.
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

/// Raises DatabaseError.
CompanySettings readSettings(Database& database);

/// What an amount of that precision is rounded to; values outside the enumeration count as sums.
inline int decimalsOf(const CompanySettings& settings, long precision) {
  const bool known = precision >= mpt_Sum && precision <= mpt_Measure;
  return settings.decimals[known ? static_cast<std::size_t>(precision) : 0];
}

}  // namespace qx::desk
