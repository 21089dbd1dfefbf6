// Taxes, rates and posting periods read from a company, and money and dates rounded and formatted
// by it, through the libraries that an add-on uses, in each dialect.

#include "qxframework/automation/text.h"
#include "qxframework/foundation/currency.h"
#include "qxframework/foundation/date_time.h"
#include "qxframework/foundation/time_stamp.h"
#include "qxframework/util/qx_util.h"
#include "testing/amounts.h"
#include "testing/dialects.h"
#include "testing/embedded_client.h"
#include "testing/host_rounding.h"
#include "testing/recording_addon.h"
#include "testing/recording_logger.h"
#include "testing/sqlite_file.h"
#include "testing/temp_folder.h"

#include <gmock/gmock.h>

namespace {

using qx::test::Dialect;
using qx::test::textOf;
using testing::ElementsAre;
using testing::IsEmpty;

double day(int year, int month, int dayOfMonth, int hour = 0) {
  return CQXDateTime(year, month, dayOfMonth, hour, 0, 0);
}

class LookUps : public testing::TestWithParam<Dialect> {
 protected:
  LookUps() {
    EXPECT_EQ(addOn.Connect(1), 0);
    sqlite().execute("DELETE FROM OFPR");
    sqlite().execute(
        "INSERT INTO OFPR VALUES (1, '2024-01', 'January', '2024', 1, '2024-01-01 00:00:00', "
        "'2024-01-31 00:00:00'), (2, '2024-03', 'March', '2024', 3, '2024-03-01 00:00:00', "
        "'2024-03-31 00:00:00')");
    log.records.clear();
  }
  ~LookUps() override { qx::test::resetHostRounding(); }
  qx::test::SqliteFile sqlite() const { return qx::test::SqliteFile(file); }
  std::string tax(const char16_t* group, CQXCurrency net) {
    CQXCurrency amount(99);
    const long hr = CQXUtil::CalculateTaxFromNet(-1, record.company, net, CComBSTR(group), amount);
    return std::to_string(hr) + " " + textOf(amount);
  }
  std::string period(double date) {
    CComBSTR category;
    long subNumber = 0;
    long found = 0;
    double first = 0;
    const long hr =
        CQXUtil::GetPostingPeriod(-1, record.company, date, category, subNumber, found, first);
    return std::to_string(hr) + " " + qx::toUtf8(category.View()) + " " +
           std::to_string(subNumber) + " " + std::to_string(found) + " " +
           qx::toUtf8(CQXDateTime(first).GetDateAsBSTR().View());
  }
  std::string rate(const char16_t* currency, double date) {
    CQXCurrency amount(99);
    const long hr = CQXUtil::GetCurrencyRate(-1, record.company, date, CComBSTR(currency), amount);
    return std::to_string(hr) + " " + textOf(amount);
  }

  qx::test::TempFolder folder;
  std::filesystem::path file = folder.path() / "company.db";
  qx::test::RecordingLogger log;
  qx::test::EmbeddedClient desk{file, {GetParam().name, "", 0}};
  qx::test::Record record;
  qx::test::RecordingAddOn addOn{desk.connection(), record};
};

TEST_P(LookUps, TaxUsesTheNewestRateInForce) {
  sqlite().execute(
      "INSERT INTO VTG1 VALUES ('T', '2000-01-01 00:00:00', 16), ('T', '2001-01-01 00:00:00', "
      "16.5), ('T', '9000-01-01 00:00:00', 50)");
  EXPECT_EQ(tax(u"T", CQXCurrency(100)), "0 16.500000");
  EXPECT_EQ(tax(u"T", CQXCurrency(0.1)), "0 0.020000");
  EXPECT_EQ(tax(u"A2", CQXCurrency(100)), "0 19.000000");
  EXPECT_EQ(tax(u"NONE", CQXCurrency(100)), "0 0.000000");
  EXPECT_THAT(log.messages(1), IsEmpty());
}

TEST_P(LookUps, TaxOfAGroupWithASingleQuoteFails) {
  EXPECT_EQ(tax(u"O'Brien", CQXCurrency(100)), std::to_string(E_FAIL) + " 99.000000");
  EXPECT_THAT(log.messages(1),
              ElementsAre(u"Failed to calculate the tax amount from net price.\n"));
  CComBSTR group(u"O'Brien");
  CQXUtil::ConvertStrToSqlFormat(group);
  EXPECT_EQ(tax(group, CQXCurrency(100)), "0 0.000000");
}

TEST_P(LookUps, PeriodIsFoundByATimeOnItsLastDay) {
  EXPECT_EQ(period(day(2024, 1, 31, 18)), "0 2024 1 -1 20240101");
  EXPECT_EQ(period(day(2024, 1, 1)), "0 2024 1 -1 20240101");
  EXPECT_EQ(period(day(2024, 3, 15)), "0 2024 3 -1 20240301");
}

TEST_P(LookUps, PeriodIncludesTheDayAfterItsLast) {
  EXPECT_EQ(period(day(2024, 2, 1)), "0 2024 1 -1 20240101");
  EXPECT_EQ(period(day(2024, 2, 2)), "0  0 -1 18991230");
  EXPECT_EQ(period(day(2023, 12, 31)), "0  0 -1 18991230");
  EXPECT_EQ(period(0.0), "0  0 -1 18991230");
}

TEST_P(LookUps, CurrencyRateIsReadForTheGivenDay) {
  sqlite().execute("INSERT INTO HVRATE VALUES ('2019-06-05 00:00:00', 'USD', 1.0845)");
  EXPECT_EQ(rate(u"USD", day(2019, 6, 5, 18)), "0 1.084500");
  EXPECT_EQ(rate(u"EUR", day(2019, 6, 5)), "0 1.000000");
  EXPECT_EQ(rate(u"USD", day(2019, 6, 6)), std::to_string(E_FAIL) + " 0.000000");
  EXPECT_THAT(log.messages(1), ElementsAre(u"Failed to get currency rate.\n"));
}

TEST_P(LookUps, NewCompanyHasRatesForToday) {
  const CQXDateTime today(dv_Today);
  EXPECT_EQ(rate(u"USD", today), "0 0.920000");
  EXPECT_EQ(rate(u"GBP", today), "0 1.170000");
  EXPECT_EQ(rate(u"HUF", today), "0 0.002500");
}

TEST_P(LookUps, MoneyIsRoundedByTheCompany) {
  CQXCurrency amount(10.5);
  amount.Round(record.company, CComBSTR(u"HU"), CComBSTR(u"HUF"), rc_Default, 0);
  EXPECT_EQ(textOf(amount), "10.500000");
  sqlite().execute("UPDATE HVCOMP SET Country = 'HU'");
  amount.Round(record.company, CComBSTR(u"HU"), CComBSTR(u"HUF"), rc_Default, 0);
  EXPECT_EQ(textOf(amount), "11.000000");
  amount = 1.005;
  amount.Round(record.company, CComBSTR(u"DE"), CComBSTR(u"EUR"), rc_Default, 1);
  EXPECT_EQ(textOf(amount), "1.010000");
}

TEST_P(LookUps, MoneyIsRoundedByTheServiceOfTheLogin) {
  sqlite().execute("UPDATE HVCOMP SET Country = 'HU'");
  CQXCurrency::m_ptrCompService = record.company->GetCompanyService();
  CQXCurrency::m_ptrDecimalData =
      CComQIPtr<IDecimalData>(CQXCurrency::m_ptrCompService->GetDataInterface(qx::kDecimalData));
  CQXCurrency::m_bstrCurr = u"HUF";
  CQXCurrency::m_RoundViaRX = true;
  CQXCurrency amount(-10.5);
  amount.Round(2);
  EXPECT_EQ(textOf(amount), "-11.000000");
  ASSERT_TRUE(CQXCurrency::m_ptrRoundedData);
  EXPECT_EQ(CQXCurrency::m_ptrRoundedData->GetValue(), -11.0);
}

TEST_P(LookUps, MoneyAndDatesAreFormattedByTheSettingsOfTheCompany) {
  const CQXCurrency amount(1234.565);
  EXPECT_EQ(amount.StringFromMoney(record.company, mpt_Sum).View(), u"1,234.57");
  EXPECT_EQ(amount.StringFromMoney(record.company, mpt_Rate).View(), u"1,234.565000");
  sqlite().execute("UPDATE HVCOMP SET Country = 'HU'");
  CQXCurrency::m_bstrLoc = u"HU";
  CQXCurrency::m_bstrCurr = u"HUF";
  EXPECT_EQ(amount.StringFromMoney(record.company, mpt_Sum).View(), u"1,235.00");
  EXPECT_EQ(CQXDateTime(day(2024, 2, 29)).StringFromDate(record.company).View(), u"29/02/2024");
  EXPECT_EQ(CQXDateTime(1e9).StringFromDate(record.company).View(), u"1899-12-30");
}

TEST_P(LookUps, TimeStampHasTheUserOfTheClient) {
  CQXTimeStamp stamp;
  stamp.setCurrentStamp(record.application);
  EXPECT_EQ(stamp.getUser().View(), u"manager");
  EXPECT_FALSE(stamp.IsNull());
}

INSTANTIATE_TEST_SUITE_P(Dialect, LookUps, qx::test::allDialects(), qx::test::nameOf<Dialect>);

}  // namespace
