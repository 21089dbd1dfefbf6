#include "qxdesk/company/data_helper.h"

#include "qxdesk/company/test_support.h"
#include "qxframework/automation/ole_date_time.h"

#include <cmath>
#include <limits>

namespace qx::desk {
namespace {

class DataHelperTest : public CompanyTest {
 protected:
  DataHelperTest() : helper(businessObject<IDataHelper>(company, kDataHelper)) {}
  void set(const std::u16string& settings) { query(company, u"UPDATE HVCOMP SET " + settings); }
  static CComVariant first(const CComPtr<IRecordset>& rows) {
    EXPECT_EQ(rows->GetRecordCount(), 1);
    return rows->GetFields()->Item(0)->GetValue();
  }
  std::u16string dateText(DATE date) { return cellText(first(helper->FormatDateToString(date))); }
  std::u16string amount(double value, HvMoneyPrecisionTypes precision = mpt_Sum) {
    return cellText(first(helper->FormatMoneyToString(value, precision)));
  }
  std::u16string dateOf(const std::u16string& text) {
    const CComVariant value = first(helper->FormatStringToDate(CComBSTR(text)));
    EXPECT_EQ(value.vt, VT_DATE);
    return cellText(value);
  }
  double round(double value, const std::u16string& currency = u"EUR", long context = rc_Default) {
    const auto service = company->GetCompanyService();
    const CComQIPtr<IDecimalData> data(service->GetDataInterface(kDecimalData));
    data->PutValue(value);
    data->PutContext(static_cast<RoundingContextEnum>(context));
    data->PutCurrency(CComBSTR(currency));
    return service->RoundDecimal(data)->GetValue();
  }

  CComPtr<IDataHelper> helper;
  const DATE day = *dateFromCivil({2024, 1, 31, 15, 45, 0});
  const DATE lastYear = *dateFromCivil({2023, 1, 31, 15, 45, 0});  // without sample rates
};

TEST_P(DataHelperTest, DatesAreShownInTheFormOfTheCompany) {
  EXPECT_EQ(first(helper->FormatDateToString(day)).vt, VT_BSTR);
  EXPECT_EQ(dateText(day), u"31/01/2024");
  set(u"DateFormat = 0, DateSign = '.'");
  EXPECT_EQ(dateText(day), u"31.01.24");
  set(u"DateFormat = 2, DateSign = '-'");
  EXPECT_EQ(dateText(day), u"01-31-24");
  set(u"DateFormat = 3");
  EXPECT_EQ(dateText(day), u"01-31-2024");
  set(u"DateFormat = 4");
  EXPECT_EQ(dateText(day), u"2024-01-31");
}

TEST_P(DataHelperTest, TheNullDateIsEmptyText) { EXPECT_EQ(dateText(0.0), u""); }

TEST_P(DataHelperTest, ANumberThatIsNotADateIsRefused) {
  EXPECT_EQ(raisedBy([&] { helper->FormatDateToString(1e9); }), kInvalidValue);
  EXPECT_EQ(raisedBy([&] { helper->FormatDateToString(std::nan("")); }), kInvalidValue);
}

TEST_P(DataHelperTest, DatesAreReadInTheFormOfTheCompany) {
  for (const char16_t* text :
       {u"31/01/2024", u"31.1.24", u" 31-01-2024 ", u"31012024", u"310124"}) {
    EXPECT_EQ(dateOf(text), u"2024-01-31 00:00:00");
  }
  EXPECT_EQ(dateOf(u"01/02/29"), u"2029-02-01 00:00:00");
  EXPECT_EQ(dateOf(u"01/02/30"), u"1930-02-01 00:00:00");
  set(u"DateFormat = 3");
  EXPECT_EQ(dateOf(u"01/31/2024"), u"2024-01-31 00:00:00");
  set(u"DateFormat = 4");
  EXPECT_EQ(dateOf(u"20240131"), u"2024-01-31 00:00:00");
}

TEST_P(DataHelperTest, EmptyTextIsTheNullDate) {
  EXPECT_EQ(first(helper->FormatStringToDate(CComBSTR(u" "))).date, 0.0);
}

TEST_P(DataHelperTest, TextThatIsNotADateIsRefused) {
  for (const char16_t* text :
       {u"abc", u"31/02/2024", u"1/2", u"1/2/3/4", u"1//2024", u"01/02/123", u"1234567", u"/"}) {
    EXPECT_EQ(raisedBy([&] { helper->FormatStringToDate(CComBSTR(text)); }), kInvalidValue);
  }
  EXPECT_EQ(lastError(company).text, u"'/' is not a date in the company's date format DD/MM/YYYY.");
}

TEST_P(DataHelperTest, AmountsAreShownInTheFormOfTheCompany) {
  EXPECT_EQ(amount(1234567.891), u"1,234,567.89");
  EXPECT_EQ(amount(-1234.5), u"-1,234.50");
  EXPECT_EQ(amount(0), u"0.00");
  EXPECT_EQ(amount(-0.001), u"0.00");
  EXPECT_EQ(amount(999.995), u"1,000.00");
  EXPECT_EQ(amount(1.005), u"1.01");
  EXPECT_EQ(amount(2.5, mpt_Rate), u"2.500000");
  set(u"DecimalSign = ',', GroupSign = '.', SumPlaces = 0, QuantityPlaces = 3");
  EXPECT_EQ(amount(1234567.5), u"1.234.568");
  EXPECT_EQ(amount(1234.5, mpt_Quantity), u"1.234,500");
}

TEST_P(DataHelperTest, TheCurrencyIsOnTheSideThatTheCompanySets) {
  set(u"CurrencySide = 'L'");
  EXPECT_EQ(amount(1), u"EUR 1.00");
  EXPECT_EQ(amount(1, mpt_Percent), u"1.00");
  set(u"CurrencySide = 'R'");
  EXPECT_EQ(amount(1, mpt_Price), u"1.00 EUR");
}

TEST_P(DataHelperTest, AnAmountThatIsNotANumberIsRefused) {
  EXPECT_EQ(raisedBy([&] { helper->FormatMoneyToString(std::nan(""), mpt_Sum); }), kInvalidValue);
  EXPECT_EQ(raisedBy([&] {
              helper->FormatMoneyToString(std::numeric_limits<double>::infinity(), mpt_Sum);
            }),
            kInvalidValue);
}

TEST_P(DataHelperTest, ARateIsTheOneOfItsDay) {
  query(company,
        u"INSERT INTO HVRATE (RateDate, Currency, Rate) VALUES ('20230131', 'USD', 1.0845)");
  const CComVariant rate = first(helper->GetCurrencyRate(CComBSTR(u"USD"), lastYear));
  EXPECT_EQ(rate.vt, VT_R8);
  EXPECT_EQ(rate.dblVal, 1.0845);
  EXPECT_EQ(first(helper->GetCurrencyRate(CComBSTR(u"EUR"), day)).dblVal, 1.0);
}

TEST_P(DataHelperTest, ARateBeforeDayZeroBelongsToTheDayOfItsTime) {
  query(company, u"INSERT INTO HVRATE (RateDate, Currency, Rate) VALUES ('18991229', 'USD', 1.25)");
  query(company, u"INSERT INTO HVRATE (RateDate, Currency, Rate) VALUES ('18991228', 'USD', 1.5)");
  const auto rateOn = [&](DATE date) {
    return first(helper->GetCurrencyRate(CComBSTR(u"USD"), date)).dblVal;
  };
  EXPECT_EQ(rateOn(*dateFromCivil({1899, 12, 29, 18, 0, 0})), 1.25);
  EXPECT_EQ(rateOn(-1.0), 1.25);
  EXPECT_EQ(rateOn(-2.75), 1.5);
}

TEST_P(DataHelperTest, AMissingRateIsReported) {
  EXPECT_EQ(raisedBy([&] { helper->GetCurrencyRate(CComBSTR(u"USD"), lastYear); }), kNotFound);
  EXPECT_EQ(lastError(company).text, u"There is no rate for the currency 'USD' on 31/01/2023.");
}

TEST_P(DataHelperTest, AMissingRateOfTheNullDateIsReportedWithItsDay) {
  for (const DATE date : {0.0, 0.25, -0.25}) {
    EXPECT_EQ(raisedBy([&] { helper->GetCurrencyRate(CComBSTR(u"USD"), date); }), kNotFound);
    EXPECT_EQ(lastError(company).text, u"There is no rate for the currency 'USD' on 1899-12-30.");
  }
}

TEST_P(DataHelperTest, ARateOnANumberThatIsNotADateIsRefusedWithTheDateForm) {
  EXPECT_EQ(raisedBy([&] { helper->GetCurrencyRate(CComBSTR(u"USD"), 1e9); }), kInvalidValue);
  EXPECT_EQ(lastError(company).text,
            u"'1000000000.000000' is not a date in the company's date format DD/MM/YYYY.");
}

TEST_P(DataHelperTest, RoundsHalfAwayFromZero) {
  EXPECT_EQ(round(1.005), 1.01);
  EXPECT_EQ(round(-1.005), -1.01);
  EXPECT_EQ(round(2.675), 2.68);
  EXPECT_EQ(round(0.994999999), 0.99);
  EXPECT_EQ(round(1e15 + 0.5), 1e15 + 0.5);
  EXPECT_EQ(round(1e300), 1e300);
  EXPECT_EQ(round(5e-324), 0.0);
}

TEST_P(DataHelperTest, RoundsToTheDecimalsOfTheContext) {
  EXPECT_EQ(round(1.2345678, u"EUR", mpt_Rate), 1.234568);
  EXPECT_EQ(round(1.2345678, u"EUR", 99), 1.23);
  set(u"SumPlaces = 0");
  EXPECT_EQ(round(2.5), 3.0);
}

TEST_P(DataHelperTest, ForintsAreRoundedToWholeNumbersInHungary) {
  EXPECT_EQ(round(10.5, u"HUF"), 10.5);
  set(u"Country = 'HU'");
  EXPECT_EQ(round(10.5, u"HUF"), 11.0);
  EXPECT_EQ(round(10.555, u"EUR"), 10.56);
}

TEST_P(DataHelperTest, AnUnknownDataInterfaceIsRefused) {
  const auto service = company->GetCompanyService();
  EXPECT_EQ(raisedBy([&] { service->GetDataInterface(12); }), kNotFound);
}

TEST_P(DataHelperTest, DataObjectsFromElsewhereAreRefused) {
  const auto service = company->GetCompanyService();
  CComPtr<IRoundedData> rounded;
  EXPECT_EQ(service->raw_RoundDecimal(nullptr, &rounded), E_INVALIDARG);
  EXPECT_EQ(raisedBy([&] { round(std::nan("")); }), kInvalidValue);
}

QX_TEST_ON_ALL_ENGINES(DataHelperTest);

}  // namespace
}  // namespace qx::desk
