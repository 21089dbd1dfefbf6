#include "qxdesk/dictionary/company_settings.h"

#include "qxdesk/engines/database.h"
#include "qxframework/automation/text.h"

#include <algorithm>

namespace qx::desk {

namespace {

// In the order of the SELECT below.
enum Column : int {
  kName,
  kCountry,
  kCurrency,
  kFirstDecimals,
  kDecimalSeparator = 9,
  kThousandsSeparator,
  kDateForm,
  kDateSeparator,
  kCurrencyPlace
};

constexpr std::int64_t kMaxDecimals = 6;

// Users may write anything into HVCOMP, so each value is brought into its range.
DateForm dateFormOf(std::int64_t number) {
  const bool known = number >= static_cast<long>(DateForm::DayMonthYear2) &&
                     number <= static_cast<long>(DateForm::YearMonthDay);
  return known ? static_cast<DateForm>(number) : DateForm::DayMonthYear;
}

CurrencyPlace currencyPlaceOf(std::string_view text) {
  if (text == "L") return CurrencyPlace::Left;
  return text == "R" ? CurrencyPlace::Right : CurrencyPlace::None;
}

}  // namespace

CompanySettings readSettings(Database& database) {
  const auto row = database.prepare(
      "SELECT [CompanyName], [Country], [Currency], [SumPlaces], [PricePlaces], [RatePlaces], "
      "[QuantityPlaces], [PercentPlaces], [MeasurePlaces], [DecimalSign], [GroupSign], "
      "[DateFormat], [DateSign], [CurrencySide] FROM [HVCOMP]");
  CompanySettings settings;
  if (!row->step()) return settings;  // a deleted row leaves a company with the defaults
  const auto text = [&](int column) { return toUtf16(row->text(column)); };
  settings.name = text(kName);
  settings.country = text(kCountry);
  settings.localCurrency = text(kCurrency);
  for (int i = 0; i < static_cast<int>(settings.decimals.size()); ++i) {
    settings.decimals[static_cast<std::size_t>(i)] = static_cast<int>(
        std::clamp<std::int64_t>(row->integer(kFirstDecimals + i), 0, kMaxDecimals));
  }
  settings.decimalSeparator = text(kDecimalSeparator);
  settings.thousandsSeparator = text(kThousandsSeparator);
  settings.dateForm = dateFormOf(row->integer(kDateForm));
  settings.dateSeparator = text(kDateSeparator);
  settings.currencyPlace = currencyPlaceOf(row->text(kCurrencyPlace));
  return settings;
}

}  // namespace qx::desk
