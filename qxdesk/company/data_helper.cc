#include "qxdesk/company/data_helper.h"

#include "qxdesk/company/display_format.h"
#include "qxdesk/company/recordset.h"
#include "qxdesk/sql/stored_date.h"
#include "qxframework/automation/ole_date_time.h"
#include "qxframework/automation/text.h"

#include <cmath>

namespace qx::desk {

namespace {

// Answers are rows with one column, so that add-ons read them like the result of a query.
RowStore oneRow(sql::ColumnType type) { return RowStore({{u"Result", type}}); }

RowStore textRow(const std::u16string& text) {
  RowStore row = oneRow(sql::ColumnType::Text);
  row.appendText(toUtf8(text));
  return row;
}

RowStore dateRow(DATE date) {
  RowStore row = oneRow(sql::ColumnType::Date);
  const std::optional<std::string> stored = sql::storedOfDate(date);
  // The null date is null in rows, too, and reads as 0.0 again.
  if (date == 0.0 || !stored) {
    row.appendNull();
  } else {
    row.appendText(*stored);
  }
  return row;
}

RowStore numberRow(double number) {
  RowStore row = oneRow(sql::ColumnType::Decimal);
  row.appendReal(number);
  return row;
}

[[noreturn]] void noDate(const std::u16string& text, const CompanySettings& settings) {
  throw CompanyError(kInvalidValue, Text::NotADate, {text, dateFormText(settings)});
}

[[noreturn]] void noDate(DATE date, const CompanySettings& settings) {
  noDate(toUtf16(std::to_string(date)), settings);
}

// The company's form of the null date is empty, so for messages that day is shown as it is stored.
std::u16string shownDay(DATE day, const std::string& stored, const CompanySettings& settings) {
  constexpr std::size_t kLengthOfDay = 10;
  if (day == 0.0) return toUtf16(stored.substr(0, kLengthOfDay));
  return dateText(day, settings).value_or(u"");
}

double rateOf(CompanySession& session, std::u16string_view currency, DATE date) {
  const CompanySettings settings = session.settings();
  if (currency == settings.localCurrency) return 1.0;
  // The fraction of a date counts forward from midnight even before day 0, so trunc is right there
  // where floor would lead to the day before.
  const DATE day = std::trunc(date);
  const std::optional<std::string> stored = sql::storedOfDate(day);
  if (!stored) noDate(date, settings);
  const auto row = session.database().prepare(
      "SELECT [Rate] FROM [HVRATE] WHERE [Currency] = ? AND [RateDate] = ?");
  row->bind(1, std::string_view(toUtf8(currency)));
  row->bindDate(2, *stored);
  if (!row->step()) {
    throw CompanyError(kNotFound, Text::NoRate,
                       {std::u16string(currency), shownDay(day, *stored, settings)});
  }
  return row->real(0);
}

}  // namespace

template <class Make>
HRESULT DataHelper::answer(IRecordset** out, Make&& make) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  return companyCall(*session_, [&] {
    *out = makeObject<Recordset>(session_, make(session_->settings())).Detach();
  });
}

HRESULT DataHelper::raw_FormatDateToString(DATE date, IRecordset** out) {
  return answer(out, [&](const CompanySettings& settings) {
    const std::optional<std::u16string> text = dateText(date, settings);
    if (!text) noDate(date, settings);
    return textRow(*text);
  });
}

HRESULT DataHelper::raw_FormatStringToDate(BSTR text, IRecordset** out) {
  return answer(out, [&](const CompanySettings& settings) {
    const std::u16string given(viewOfBstr(text));
    const std::optional<DATE> date = dateOfText(given, settings);
    if (!date) noDate(given, settings);
    return dateRow(*date);
  });
}

HRESULT DataHelper::raw_FormatMoneyToString(double amount, HvMoneyPrecisionTypes precision,
                                            IRecordset** out) {
  return answer(out, [&](const CompanySettings& settings) {
    const std::optional<std::u16string> text = amountText(amount, precision, settings);
    if (!text) throw CompanyError(kInvalidValue, Text::NotAnAmount);
    return textRow(*text);
  });
}

HRESULT DataHelper::raw_GetCurrencyRate(BSTR currency, DATE date, IRecordset** out) {
  return answer(out, [&](const CompanySettings&) {
    return numberRow(rateOf(*session_, viewOfBstr(currency), date));
  });
}

}  // namespace qx::desk
