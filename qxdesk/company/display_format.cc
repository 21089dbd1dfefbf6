#include "qxdesk/company/display_format.h"

#include "qxdesk/company/decimal_text.h"
#include "qxframework/automation/ascii.h"
#include "qxframework/automation/format.h"
#include "qxframework/automation/ole_date_time.h"
#include "qxframework/automation/text.h"

#include <array>
#include <vector>

namespace qx::desk {

namespace {

constexpr std::size_t kGroup = 3;

// Returns the parts of a date, y, m and d, in the order in which the company writes them.
std::u16string_view order(DateForm form) {
  switch (form) {
    case DateForm::MonthDayYear:
    case DateForm::MonthDayYear2:
      return u"mdy";
    case DateForm::YearMonthDay:
      return u"ymd";
    default:
      return u"dmy";
  }
}

bool hasShortYear(DateForm form) {
  return form == DateForm::DayMonthYear2 || form == DateForm::MonthDayYear2;
}

std::u16string part(char16_t which, const CivilTime& time, bool shortYear) {
  if (which == u'd') return format(u"%02d", time.day);
  if (which == u'm') return format(u"%02d", time.month);
  return shortYear ? format(u"%02d", time.year % 100) : format(u"%04d", time.year);
}

bool isSeparator(char16_t unit) {
  return unit == u'.' || unit == u'/' || unit == u'-' || unit == u' ';
}

using Parts = std::vector<std::u16string>;

std::optional<Parts> separatedParts(std::u16string_view text) {
  Parts parts(1);
  for (const char16_t unit : text) {
    if (isDigit(unit)) {
      parts.back() += unit;
    } else if (isSeparator(unit) && !parts.back().empty()) {  // no separator twice
      parts.emplace_back();
    } else {
      return std::nullopt;
    }
  }
  return parts;
}

// Cuts a date without separators: two digits for the day and the month each, the rest for the year.
std::optional<Parts> cutDigits(const std::u16string& digits, std::u16string_view order) {
  if (digits.size() != 6 && digits.size() != 8) return std::nullopt;
  Parts parts;
  std::size_t at = 0;
  for (const char16_t which : order) {
    const std::size_t length = which == u'y' ? digits.size() - 4 : 2;
    parts.push_back(digits.substr(at, length));
    at += length;
  }
  return parts;
}

int numberOf(const std::u16string& digits) {
  int value = 0;
  for (const char16_t unit : digits) value = value * 10 + (unit - u'0');
  return value;
}

// Returns nothing for a part of the wrong length.
std::optional<int> partNumber(char16_t which, const std::u16string& digits) {
  constexpr int kFirstYearOf1900 = 30;  // 30 to 99 are 1930 to 1999, 00 to 29 are 2000 to 2029
  if (which != u'y') {
    if (digits.empty() || digits.size() > 2) return std::nullopt;
    return numberOf(digits);
  }
  if (digits.size() == 4) return numberOf(digits);
  if (digits.size() != 2) return std::nullopt;
  const int year = numberOf(digits);
  return year + (year < kFirstYearOf1900 ? 2000 : 1900);
}

std::u16string grouped(const std::string& whole, const std::u16string& separator) {
  std::u16string result;
  for (std::size_t i = 0; i < whole.size(); ++i) {
    if (i > 0 && (whole.size() - i) % kGroup == 0) result += separator;
    result += static_cast<char16_t>(whole[i]);
  }
  return result;
}

std::u16string withCurrency(const std::u16string& number, HvMoneyPrecisionTypes precision,
                            const CompanySettings& settings) {
  // Only sums and prices are money; rates, quantities and percentages have no currency.
  const bool money = precision == mpt_Sum || precision == mpt_Price;
  if (!money || settings.localCurrency.empty()) return number;
  switch (settings.currencyPlace) {
    case CurrencyPlace::Left:
      return settings.localCurrency + u" " + number;
    case CurrencyPlace::Right:
      return number + u" " + settings.localCurrency;
    default:
      return number;
  }
}

}  // namespace

std::optional<std::u16string> dateText(DATE date, const CompanySettings& settings) {
  if (date == 0.0) return std::u16string();
  const std::optional<CivilTime> time = civilFromDate(date);
  if (!time) return std::nullopt;
  std::u16string result;
  for (const char16_t which : order(settings.dateForm)) {
    if (!result.empty()) result += settings.dateSeparator;
    result += part(which, *time, hasShortYear(settings.dateForm));
  }
  return result;
}

std::optional<DATE> dateOfText(std::u16string_view text, const CompanySettings& settings) {
  text = trimmed(text);
  if (text.empty()) return 0.0;
  const std::u16string_view parts = order(settings.dateForm);
  std::optional<Parts> given = separatedParts(text);
  if (given && given->size() == 1) given = cutDigits(given->front(), parts);
  if (!given || given->size() != parts.size()) return std::nullopt;
  CivilTime time;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const std::optional<int> number = partNumber(parts[i], (*given)[i]);
    if (!number) return std::nullopt;
    (parts[i] == u'd' ? time.day : parts[i] == u'm' ? time.month : time.year) = *number;
  }
  // Refuses a day that the month does not have.
  return dateFromCivil(time);
}

std::u16string dateFormText(const CompanySettings& settings) {
  std::u16string result;
  for (const char16_t which : order(settings.dateForm)) {
    if (!result.empty()) result += settings.dateSeparator;
    const bool shortYear = hasShortYear(settings.dateForm);
    result += which == u'd' ? u"DD" : which == u'm' ? u"MM" : shortYear ? u"YY" : u"YYYY";
  }
  return result;
}

std::optional<std::u16string> amountText(double amount, HvMoneyPrecisionTypes precision,
                                         const CompanySettings& settings) {
  const std::optional<DecimalText> decimal =
      roundedDecimal(amount, decimalsOf(settings, precision));
  if (!decimal) return std::nullopt;
  std::u16string number = decimal->negative ? u"-" : u"";
  number += grouped(decimal->whole, settings.thousandsSeparator);
  if (!decimal->fraction.empty()) number += settings.decimalSeparator + toUtf16(decimal->fraction);
  return withCurrency(number, precision, settings);
}

int roundingPlaces(long context, std::u16string_view currency, const CompanySettings& settings) {
  // Numbers beyond the enumeration count as sums; 7, "no context", is one of them.
  const bool sum = context < mpt_Price || context > mpt_Measure;
  if (sum && settings.country == u"HU" && currency == u"HUF") return 0;
  return decimalsOf(settings, context);
}

}  // namespace qx::desk
