// Taxes, currency rates and posting periods.

#include "qxframework/foundation/currency.h"
#include "qxframework/foundation/date_time.h"
#include "qxframework/util/qx_util.h"
#include "testing/amounts.h"
#include "testing/fake_money.h"
#include "testing/host_rounding.h"
#include "testing/recording_logger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace qx::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Statement {
  long serverType;
  const char16_t* sql;
};

constexpr char16_t kTaxRate[] =
    u"SELECT Code, Rate, EffecDate FROM VTG1 WHERE (Code = 'A2') AND (EffecDate<=GetDate()) ORDER "
    u"BY EffecDate DESC";
constexpr Statement kTaxRates[] = {
    {1, kTaxRate},
    {3, kTaxRate},
    {0, kTaxRate},
    {4, kTaxRate},
    {2,
     u"SELECT Code, Rate, EffecDate FROM VTG1 WHERE (Code = 'A2') AND (EffecDate<= "
     u"TIMESTAMP_ISO(CURRENT DATE)) ORDER BY EffecDate DESC"},
    {9,
     u"SELECT \"Code\", \"Rate\", \"EffecDate\" FROM VTG1 WHERE (\"Code\" = 'A2') AND "
     u"(\"EffecDate\"<=CURRENT_TIMESTAMP) ORDER BY \"EffecDate\" DESC"},
};

constexpr char16_t kPeriod[] =
    u"SELECT Category, SubNum, F_RefDate FROM OFPR WHERE "
    u"(F_RefDate<=CONVERT(datetime,'20240131',112)) AND "
    u"CONVERT(datetime,'20240131',112)<=(DATEADD(day,1,T_RefDate))";
constexpr Statement kPeriods[] = {
    {1, kPeriod},
    {3, kPeriod},
    {0, kPeriod},
    {4, kPeriod},
    {2,
     u"SELECT Category, SubNum,  F_RefDate FROM OFPR WHERE "
     u"(F_RefDate<=TIMESTAMP_ISO('2024-01-31')) AND TIMESTAMP_ISO('2024-01-31')<=(T_RefDate + 1 "
     u"DAYS)"},
    {9,
     u"SELECT \"Category\", \"SubNum\", \"F_RefDate\" FROM OFPR WHERE (\"F_RefDate\"<='2024-01-31 "
     u"00:00:00') AND '2024-01-31 00:00:00' <=(ADDDATE(\"T_RefDate\", 1))"},
};

class QxUtilBusiness : public ::testing::Test {
 protected:
  HostCalls calls;
  CComPtr<ScriptedCompany> company = makeScriptedCompany(calls);
  RecordingLogger logger;
};

class QxUtilTax : public QxUtilBusiness {
 protected:
  long calculate(CQXCurrency net) {
    return CQXUtil::CalculateTaxFromNet(7, company, net, CComBSTR(u"A2"), tax);
  }
  void rate(const CComVariant& value) {
    company->answer(kTaxRate, {{CComVariant(u"A2"), value, CComVariant(39083.0, VT_DATE)},
                               {CComVariant(u"A2"), CComVariant(16.0), CComVariant()}});
  }
  CQXCurrency tax{99};
};

TEST_F(QxUtilTax, IsTheNetTimesTheNewestRateInPercent) {
  rate(CComVariant(16.5));
  EXPECT_EQ(calculate(CQXCurrency(100)), 0);
  EXPECT_EQ(textOf(tax), "16.500000");
  EXPECT_EQ(calculate(CQXCurrency(-100)), 0);
  EXPECT_EQ(textOf(tax), "-16.500000");
}

TEST_F(QxUtilTax, IsRoundedToTwoDecimals) {
  rate(CComVariant(19.0));
  calculate(CQXCurrency(0.5));
  EXPECT_EQ(textOf(tax), "0.100000");  // 0.095
  calculate(CQXCurrency(12.34));
  EXPECT_EQ(textOf(tax), "2.340000");  // 2.3446
}

TEST_F(QxUtilTax, HasAStatementForEachDialectAndLogsIt) {
  for (const Statement& each : kTaxRates) {
    company->serverType = each.serverType;
    calls.calls.clear();
    logger.records.clear();
    EXPECT_EQ(calculate(CQXCurrency(100)), 0);
    EXPECT_THAT(company->statements(), ElementsAre(qx::toUtf8(each.sql)));
    EXPECT_THAT(logger.messagesOf(u"CQXUtil::CalculateTaxFromNet"),
                ElementsAre(u"SQL: \"" + std::u16string(each.sql) + u"\"\n"));
    EXPECT_TRUE(logger.has(4, u"SQL: \"" + std::u16string(each.sql) + u"\"\n"));
    EXPECT_EQ(logger.records.front().appId, 7);
    EXPECT_EQ(logger.records.front().message, u"Entering function\n");
    EXPECT_EQ(logger.records.back().message, u"Leaving function [S_OK]\n");
  }
}

TEST_F(QxUtilTax, OfAGroupWithoutARateIsZero) {
  EXPECT_EQ(calculate(CQXCurrency(100)), 0);
  EXPECT_EQ(textOf(tax), "0.000000");
  CComVariant null;
  null.vt = VT_NULL;
  for (const CComVariant& none : {CComVariant(), null}) {
    tax = 99;
    rate(none);
    EXPECT_EQ(calculate(CQXCurrency(100)), 0);
    EXPECT_EQ(textOf(tax), "0.000000");
  }
}

TEST_F(QxUtilTax, FailureOfTheHostReturnsEFailAndKeepsTheTax) {
  rate(CComVariant(16.5));
  for (const char* operation :
       {"Company.GetDbServerType", "Company.GetBusinessObject 300", "SQL", "Recordset.MoveFirst"}) {
    calls.failures = {{operation, E_ACCESSDENIED}};
    logger.records.clear();
    EXPECT_EQ(calculate(CQXCurrency(100)), E_FAIL) << operation;
    EXPECT_EQ(textOf(tax), "99.000000");
    EXPECT_THAT(logger.messages(1),
                ElementsAre(u"Failed to calculate the tax amount from net price.\n"));
    EXPECT_EQ(logger.records.back().message, u"Leaving function [E_FAIL]\n");
  }
  EXPECT_EQ(CQXUtil::CalculateTaxFromNet(-1, nullptr, CQXCurrency(1), CComBSTR(u"A2"), tax),
            E_FAIL);
}

TEST_F(QxUtilTax, OverflowOrATextReturnsEFail) {
  rate(CComVariant(5000000.0));
  EXPECT_EQ(calculate(CQXCurrency(9000000000000, 0L)), E_FAIL);
  rate(CComVariant(u"much"));
  EXPECT_EQ(calculate(CQXCurrency(100)), E_FAIL);
  EXPECT_EQ(textOf(tax), "99.000000");
}

// Makes the host round amounts, by their static data, as long as the fixture exists.
class QxUtilTaxRoundedByTheHost : public QxUtilTax {
 protected:
  QxUtilTaxRoundedByTheHost() {
    service->rounded = 16.5;
    CQXCurrency::m_RoundViaRX = true;
    CQXCurrency::m_ptrCompService = service.p;
    CQXCurrency::m_ptrDecimalData = CComPtr<IDecimalData>(qx::makeObject<FakeDecimalData>(calls).p);
    rate(CComVariant(16.5));
  }
  ~QxUtilTaxRoundedByTheHost() override { qx::test::resetHostRounding(); }

  CComPtr<FakeCompanyService> service = qx::makeObject<FakeCompanyService>(calls);
};

TEST_F(QxUtilTaxRoundedByTheHost, IsTheHostsResult) {
  EXPECT_EQ(calculate(CQXCurrency(100, 10000)), 0);
  EXPECT_EQ(textOf(tax), "16.500000");
}

TEST_F(QxUtilTaxRoundedByTheHost, FailureOfTheHostReturnsEFailAndTheUnroundedTax) {
  for (const char* operation : {"Data.PutValue", "Service.RoundDecimal", "Rounded.GetValue"}) {
    tax = 99;
    calls.failures = {{operation, E_ACCESSDENIED}};
    logger.records.clear();
    EXPECT_EQ(calculate(CQXCurrency(100, 10000)), E_FAIL) << operation;
    EXPECT_EQ(textOf(tax), "16.501650");
    EXPECT_THAT(logger.messages(1),
                ElementsAre(u"Failed to calculate the tax amount from net price.\n"));
  }
}

class QxUtilRate : public QxUtilBusiness {
 protected:
  QxUtilRate() {
    company->helper = helper.p;
    helper->rows = {{CComVariant(1.0845)}};
  }
  long get() { return CQXUtil::GetCurrencyRate(7, company, 45322.0, CComBSTR(u"USD"), rate); }

  CComPtr<FakeDataHelper> helper = qx::makeObject<FakeDataHelper>(*company);
  CQXCurrency rate{99};
};

TEST_F(QxUtilRate, IsTheHelpersRate) {
  EXPECT_EQ(get(), 0);
  EXPECT_EQ(textOf(rate), "1.084500");
  EXPECT_THAT(calls.calls, ElementsAre("Helper.GetCurrencyRate(USD, 45322)"));
  EXPECT_THAT(logger.messagesOf(u"CQXUtil::GetCurrencyRate"), IsEmpty());
  EXPECT_EQ(logger.records.back(),
            (LogRecord{7, u"", 6, u"CQXUtil::GetCurrencyRate", u"Leaving function [S_OK]\n"}));
}

TEST_F(QxUtilRate, FailureOfTheHostReturnsEFailAndZero) {
  for (const char* operation : {"Company.GetBusinessObject 305", "Helper.GetCurrencyRate"}) {
    calls.failures = {{operation, E_ACCESSDENIED}};
    logger.records.clear();
    rate = 99;
    EXPECT_EQ(get(), E_FAIL) << operation;
    EXPECT_EQ(textOf(rate), "0.000000");
    EXPECT_THAT(logger.messages(1), ElementsAre(u"Failed to get currency rate.\n"));
  }
  EXPECT_EQ(CQXUtil::GetCurrencyRate(-1, nullptr, 0, CComBSTR(), rate), E_FAIL);
}

TEST_F(QxUtilRate, WithoutARowOrARateInItIsZero) {
  CComVariant null;
  null.vt = VT_NULL;
  helper->rows = {{null}};
  EXPECT_EQ(get(), 0);
  EXPECT_EQ(textOf(rate), "0.000000");
  rate = 99;
  helper->rows.clear();
  EXPECT_EQ(get(), 0);
  EXPECT_EQ(textOf(rate), "0.000000");
}

class QxUtilPeriod : public QxUtilBusiness {
 protected:
  long get(double date = 45322.75) {
    return CQXUtil::GetPostingPeriod(7, company, date, category, subNumber, found, firstDate);
  }
  void answer(const CComVariant& subNum, const CComVariant& first) {
    company->answer(kPeriod, {{CComVariant(u"2024"), subNum, first},
                              {CComVariant(u"2025"), CComVariant(9L), CComVariant()}});
  }
  std::string all() const {
    return qx::toUtf8(category.View()) + "|" + std::to_string(subNumber) + "|" +
           std::to_string(found) + "|" + shown(firstDate);
  }

  CComBSTR category{u"before"};
  long subNumber = 5;
  long found = 5;
  double firstDate = 5;
};

TEST_F(QxUtilPeriod, IsTheFirstRowOfTheStatement) {
  answer(CComVariant(1L), CComVariant(45292.0, VT_DATE));
  EXPECT_EQ(get(), 0);
  EXPECT_EQ(all(), "2024|1|-1|45292");
}

TEST_F(QxUtilPeriod, HasAStatementForEachDialectAndLogsIt) {
  for (const Statement& each : kPeriods) {
    company->serverType = each.serverType;
    calls.calls.clear();
    logger.records.clear();
    EXPECT_EQ(get(), 0);
    EXPECT_THAT(company->statements(), ElementsAre(qx::toUtf8(each.sql)));
    EXPECT_THAT(logger.messagesOf(u"CQXUtil::GetPostingPeriod"),
                ElementsAre(u"SQL: \"" + std::u16string(each.sql) + u"\"\n"));
    EXPECT_TRUE(logger.has(4, u"SQL: \"" + std::u16string(each.sql) + u"\"\n"));
  }
}

TEST_F(QxUtilPeriod, MissingPeriodHasAnEmptyCategoryAndFoundIsSet) {
  EXPECT_EQ(get(), 0);
  EXPECT_EQ(all(), "|0|-1|0");
}

TEST_F(QxUtilPeriod, NullsReadAsEmptyValues) {
  CComVariant null;
  null.vt = VT_NULL;
  const CComVariant category2024(u"2024"), first(45292.0, VT_DATE);
  const auto periodOf = [&](const std::vector<CComVariant>& row) {
    company->answer(kPeriod, {row});
    const std::string result = std::to_string(get());
    return result + " " + all();
  };
  EXPECT_EQ(periodOf({null, CComVariant(1L), first}), "0 |1|-1|45292");
  EXPECT_EQ(periodOf({category2024, null, first}), "0 2024|0|-1|45292");
  EXPECT_EQ(periodOf({category2024, CComVariant(1L), null}), "0 2024|1|-1|0");
  EXPECT_EQ(periodOf({null, null, null}), "0 |0|-1|0");
}

TEST_F(QxUtilPeriod, AnInvalidDateCountsAsTheEmptyDate) {
  for (const double date : {0.0, 1e9}) {
    calls.calls.clear();
    EXPECT_EQ(get(date), 0);
    EXPECT_THAT(company->statements(),
                ElementsAre("SELECT Category, SubNum, F_RefDate FROM OFPR WHERE "
                            "(F_RefDate<=CONVERT(datetime,'18991230',112)) AND "
                            "CONVERT(datetime,'18991230',112)<=(DATEADD(day,1,T_RefDate))"));
  }
}

TEST_F(QxUtilPeriod, TheNumberIsCutTo16Bits) {
  answer(CComVariant(65537L), CComVariant(45292.0, VT_DATE));
  get();
  EXPECT_EQ(subNumber, 1);
  answer(CComVariant(32768L), CComVariant(45292.0, VT_DATE));
  get();
  EXPECT_EQ(subNumber, -32768);
}

TEST_F(QxUtilPeriod, FailureOfTheHostReturnsEFailAndNothingFound) {
  for (const char* operation :
       {"Company.GetDbServerType", "Company.GetBusinessObject 300", "SQL"}) {
    calls.failures = {{operation, E_ACCESSDENIED}};
    logger.records.clear();
    EXPECT_EQ(get(), E_FAIL) << operation;
    EXPECT_EQ(all(), "|0|0|0");
    EXPECT_THAT(logger.messages(1), ElementsAre(u"Failed to get posting period.\n"));
    EXPECT_EQ(logger.records.back().message, u"Leaving function [E_FAIL]\n");
  }
}

TEST_F(QxUtilPeriod, ALaterFailureKeepsTheValuesReadBefore) {
  answer(CComVariant(u"first"), CComVariant(45292.0, VT_DATE));
  EXPECT_EQ(get(), E_FAIL);
  EXPECT_EQ(all(), "2024|0|0|0");
  answer(CComVariant(3L), CComVariant(u"no date"));
  EXPECT_EQ(get(), E_FAIL);
  EXPECT_EQ(all(), "2024|3|-1|0");
}

}  // namespace
