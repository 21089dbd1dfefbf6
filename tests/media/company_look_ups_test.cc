// Taxes, currency rates and posting periods, read from the tables of a company on every medium.

#include "qxframework/automation/text.h"
#include "qxframework/foundation/currency.h"
#include "qxframework/foundation/date_time.h"
#include "qxframework/util/qx_util.h"
#include "tests/media/company_fixture.h"

#include <gmock/gmock.h>

namespace {

using qx::test::CompanyStore;
using qx::test::dateValue;
using qx::test::Record;

double day(int year, int month, int dayOfMonth, int hour = 0) {
  return CQXDateTime(year, month, dayOfMonth, hour, 0, 0);
}

class CompanyLookUps : public qx::test::CompanyFixture {
 protected:
  /// Removes the posting periods that a new company has.
  CompanyLookUps() { login->query(u"DELETE FROM OFPR"); }

  void addRate(const OLECHAR* group, const CComVariant& from, double rate) {
    add(u"VTG1", Record{{u"Code", group}, {u"EffecDate", from}, {u"Rate", rate}});
  }
  void addPeriod(int number, const CComVariant& from, const CComVariant& to) {
    add(u"OFPR", Record{{u"PeriodNo", number},
                        {u"Category", u"2024"},
                        {u"SubNum", number},
                        {u"F_RefDate", from},
                        {u"T_RefDate", to}});
  }
  /// Sets a column to null in all rows, without the framework, which cannot write null. The names
  /// are in lower case in PostgreSQL; SQLite accepts any case.
  void setNull(const std::string& table, const std::string& column) const {
    const auto lower = [](std::string name) {
      for (char& letter : name) letter = static_cast<char>(std::tolower(letter));
      return '"' + name + '"';
    };
    CompanyStore::run(database, "UPDATE " + lower(table) + " SET " + lower(column) + " = NULL");
  }
  std::string tax(const OLECHAR* group, CQXCurrency net) const {
    CQXCurrency amount(99);
    const long hr = CQXUtil::CalculateTaxFromNet(-1, company(), net, CComBSTR(group), amount);
    return std::to_string(hr) + " " + qx::toUtf8(amount.ToString().View());
  }
  std::string rate(const OLECHAR* currency, double date) const {
    CQXCurrency amount(99);
    const long hr = CQXUtil::GetCurrencyRate(-1, company(), date, CComBSTR(currency), amount);
    return std::to_string(hr) + " " + qx::toUtf8(amount.ToString().View());
  }
  std::string period(double date) const {
    CComBSTR category(u"before");
    long subNumber = 99;
    long found = 99;
    double first = 99;
    const long hr =
        CQXUtil::GetPostingPeriod(-1, company(), date, category, subNumber, found, first);
    return std::to_string(hr) + " '" + qx::toUtf8(category.View()) + "' " +
           std::to_string(subNumber) + " " + std::to_string(found) + " " +
           qx::test::cellText(CComVariant(first, VT_DATE));
  }
};

constexpr char kNoPeriod[] = "0 '' 0 -1 1899-12-30 00:00:00";
constexpr char kJanuary[] = "0 '2024' 1 -1 2024-01-01 00:00:00";
const std::string kFail = std::to_string(E_FAIL);

TEST_F(CompanyLookUps, TaxUsesTheNewestRateInForce) {
  addRate(u"T", dateValue(2000, 1, 1), 16);
  addRate(u"T", dateValue(2001, 1, 1), 16.5);
  addRate(u"T", dateValue(9000, 1, 1), 50);
  EXPECT_EQ(tax(u"T", CQXCurrency(100)), "0 16.500000");
  EXPECT_EQ(tax(u"T", CQXCurrency(0.1)), "0 0.020000");
  EXPECT_EQ(tax(u"T", CQXCurrency(-100)), "0 -16.500000");
  EXPECT_EQ(tax(u"A2", CQXCurrency(100)), "0 19.000000");
}

TEST_F(CompanyLookUps, TaxWithoutARateInForceIsZero) {
  addRate(u"LATER", dateValue(9000, 1, 1), 50);
  EXPECT_EQ(tax(u"LATER", CQXCurrency(100)), "0 0.000000");
  EXPECT_EQ(tax(u"NONE", CQXCurrency(100)), "0 0.000000");
  EXPECT_EQ(tax(u"", CQXCurrency(100)), "0 0.000000");
}

TEST_F(CompanyLookUps, TaxOfANullRateIsZero) {
  addRate(u"T", dateValue(2000, 1, 1), 16);
  setNull("VTG1", "Rate");
  EXPECT_EQ(tax(u"T", CQXCurrency(100)), "0 0.000000");
}

TEST_F(CompanyLookUps, TaxOfAGroupWithASingleQuoteFails) {
  EXPECT_EQ(tax(u"O'Brien", CQXCurrency(100)), kFail + " 99.000000");
  EXPECT_EQ(tax(u"O''Brien", CQXCurrency(100)), "0 0.000000");
}

TEST_F(CompanyLookUps, CurrencyRateIsReadForTheGivenDay) {
  add(u"HVRATE",
      Record{{u"RateDate", dateValue(2019, 6, 5)}, {u"Currency", u"USD"}, {u"Rate", 1.0845}});
  EXPECT_EQ(rate(u"USD", day(2019, 6, 5)), "0 1.084500");
  EXPECT_EQ(rate(u"USD", day(2019, 6, 5, 18)), "0 1.084500");
  EXPECT_EQ(rate(u"EUR", day(2019, 6, 5)), "0 1.000000");
  EXPECT_EQ(rate(u"USD", day(2019, 6, 6)), kFail + " 0.000000");
  EXPECT_EQ(rate(u"XXX", day(2019, 6, 5)), kFail + " 0.000000");
  EXPECT_EQ(rate(u"O'B", day(2019, 6, 5)), kFail + " 0.000000");
}

TEST_F(CompanyLookUps, NullCurrencyRateIsZero) {
  add(u"HVRATE", Record{{u"RateDate", dateValue(2019, 6, 5)}, {u"Currency", u"USD"}});
  EXPECT_EQ(rate(u"USD", day(2019, 6, 5)), "0 0.000000");
}

TEST_F(CompanyLookUps, PeriodIncludesTheDayAfterItsLast) {
  addPeriod(1, dateValue(2024, 1, 1), dateValue(2024, 1, 31));
  addPeriod(3, dateValue(2024, 3, 1), dateValue(2024, 3, 31));
  EXPECT_EQ(period(day(2024, 1, 1)), kJanuary);
  EXPECT_EQ(period(day(2024, 1, 31, 18)), kJanuary);
  EXPECT_EQ(period(day(2024, 2, 1)), kJanuary);
  EXPECT_EQ(period(day(2024, 2, 2)), kNoPeriod);
  EXPECT_EQ(period(day(2023, 12, 31)), kNoPeriod);
  EXPECT_EQ(period(day(2024, 3, 15)), "0 '2024' 3 -1 2024-03-01 00:00:00");
  EXPECT_EQ(period(0.0), kNoPeriod);
}

TEST_F(CompanyLookUps, NoPeriodIsFoundInAnEmptyTable) {
  EXPECT_EQ(period(day(2024, 1, 31)), kNoPeriod);
}

TEST_F(CompanyLookUps, NullCategoryAndSubNumberReadAsEmptyAndZero) {
  addPeriod(1, dateValue(2024, 1, 1), dateValue(2024, 1, 31));
  setNull("OFPR", "Category");
  EXPECT_EQ(period(day(2024, 1, 31)), "0 '' 1 -1 2024-01-01 00:00:00");
  setNull("OFPR", "SubNum");
  EXPECT_EQ(period(day(2024, 1, 31)), "0 '' 0 -1 2024-01-01 00:00:00");
}

TEST_F(CompanyLookUps, PeriodWithoutAnEndOrABeginningIsNotFound) {
  addPeriod(1, dateValue(2024, 1, 1), dateValue(2024, 1, 31));
  setNull("OFPR", "T_RefDate");
  EXPECT_EQ(period(day(2024, 1, 31)), kNoPeriod);
  login->query(u"DELETE FROM OFPR");
  addPeriod(1, dateValue(2024, 1, 1), dateValue(2024, 1, 31));
  setNull("OFPR", "F_RefDate");
  EXPECT_EQ(period(day(2024, 1, 31)), kNoPeriod);
}

}  // namespace
