// Operations of money that call the host: rounding and display forms.

#include "qxframework/foundation/currency.h"
#include "testing/amounts.h"
#include "testing/fake_money.h"
#include "testing/host_rounding.h"
#include "testing/raised_by.h"

#include <gmock/gmock.h>

namespace {

using qx::test::raisedBy;
using qx::test::textOf;
using testing::ElementsAre;
using testing::IsEmpty;

class CurrencyAtTheHost : public ::testing::Test {
 protected:
  CurrencyAtTheHost() {
    company->service = service.p;
    company->helper = helper.p;
    service->rounded = 7.25;
    helper->rows = {{CComVariant(u"EUR 7,25")}};
  }
  ~CurrencyAtTheHost() override { qx::test::resetHostRounding(); }
  void logIn() {
    CQXCurrency::m_RoundViaRX = true;
    CQXCurrency::m_bstrCurr = u"EUR";
    CQXCurrency::m_ptrCompService = service.p;
    CQXCurrency::m_ptrDecimalData =
        CComPtr<IDecimalData>(qx::makeObject<qx::test::FakeDecimalData>(calls).p);
  }

  qx::test::HostCalls calls;
  CComPtr<qx::test::ScriptedCompany> company = qx::test::makeScriptedCompany(calls);
  CComPtr<qx::test::FakeCompanyService> service =
      qx::makeObject<qx::test::FakeCompanyService>(calls);
  CComPtr<qx::test::FakeDataHelper> helper = qx::makeObject<qx::test::FakeDataHelper>(*company);
  CQXCurrency amount{1.125};
};

TEST_F(CurrencyAtTheHost, RoundUsesTheHostAfterLoginAndIgnoresItsArgument) {
  logIn();
  for (const int digits : {0, 2, 5}) {
    calls.calls.clear();
    amount = 1.125;
    amount.Round(digits);
    EXPECT_EQ(textOf(amount), "7.250000");
    EXPECT_THAT(calls.calls, ElementsAre("Data.PutValue(1.125)", "Data.PutContext(7)",
                                         "Data.PutCurrency(EUR)", "Service.RoundDecimal()"));
  }
  ASSERT_TRUE(CQXCurrency::m_ptrRoundedData);
  EXPECT_EQ(CQXCurrency::m_ptrRoundedData->GetValue(), 7.25);
}

TEST_F(CurrencyAtTheHost, RoundsWithoutTheHostUnlessAllStaticsAreSet) {
  const auto expectRoundedHere = [this](const char* without) {
    CQXCurrency rounded = amount;
    rounded.Round(2);
    EXPECT_EQ(textOf(rounded), "1.130000") << without;
  };
  logIn();
  CQXCurrency::m_RoundViaRX = false;
  expectRoundedHere("m_RoundViaRX");
  CQXCurrency::m_RoundViaRX = true;
  CQXCurrency::m_ptrDecimalData.Release();
  expectRoundedHere("m_ptrDecimalData");
  logIn();
  CQXCurrency::m_ptrCompService.Release();
  expectRoundedHere("m_ptrCompService");
  EXPECT_THAT(calls.calls, IsEmpty());
}

TEST_F(CurrencyAtTheHost, RoundByADDNeverCallsTheHost) {
  logIn();
  amount.RoundByADD(5);
  EXPECT_EQ(textOf(amount), "1.130000");
  EXPECT_THAT(calls.calls, IsEmpty());
}

TEST_F(CurrencyAtTheHost, FailedRoundingKeepsTheAmountAndTheLastResult) {
  logIn();
  CQXCurrency(1).Round(2);
  const CComPtr<IRoundedData> last = CQXCurrency::m_ptrRoundedData;
  ASSERT_TRUE(last);
  for (const char* operation :
       {"Data.PutValue", "Data.PutContext", "Data.PutCurrency", "Service.RoundDecimal"}) {
    calls.failures = {{operation, E_ACCESSDENIED}};
    EXPECT_EQ(raisedBy([&] { amount.Round(2); }), E_ACCESSDENIED) << operation;
    EXPECT_EQ(textOf(amount), "1.125000");
    EXPECT_EQ(CQXCurrency::m_ptrRoundedData.p, last.p) << operation;
  }
}

TEST_F(CurrencyAtTheHost, UnreadableResultKeepsTheAmountButIsStored) {
  logIn();
  CQXCurrency(1).Round(2);
  const CComPtr<IRoundedData> last = CQXCurrency::m_ptrRoundedData;
  calls.failures = {{"Rounded.GetValue", E_ACCESSDENIED}};
  EXPECT_EQ(raisedBy([&] { amount.Round(2); }), E_ACCESSDENIED);
  EXPECT_EQ(textOf(amount), "1.125000");
  EXPECT_TRUE(CQXCurrency::m_ptrRoundedData);
  EXPECT_NE(CQXCurrency::m_ptrRoundedData.p, last.p);
}

TEST_F(CurrencyAtTheHost, RoundForACompanyCallsTheHostIfAlwaysIsSet) {
  amount.Round(company, CComBSTR(u"DE"), CComBSTR(u"USD"), static_cast<RoundingContextEnum>(3), 1);
  EXPECT_EQ(textOf(amount), "7.250000");
  EXPECT_THAT(calls.calls,
              ElementsAre("Service.GetDataInterface(11)", "Data.PutValue(1.125)",
                          "Data.PutContext(3)", "Data.PutCurrency(USD)", "Service.RoundDecimal()"));
  EXPECT_FALSE(CQXCurrency::m_ptrRoundedData);
}

TEST_F(CurrencyAtTheHost, RoundForACompanyInHungaryCallsTheHost) {
  amount.Round(company, CComBSTR(u"HU"), CComBSTR(u"HUF"), rc_Default, 0);
  EXPECT_EQ(textOf(amount), "7.250000");
}

TEST_F(CurrencyAtTheHost, RoundForACompanyElsewhereDoesNothing) {
  for (const char16_t* location : {u"DE", u"hu", u"HUN", u""}) {
    amount.Round(company, CComBSTR(location), CComBSTR(u"HUF"), rc_Default, 0);
    EXPECT_EQ(textOf(amount), "1.125000");
  }
  EXPECT_THAT(calls.calls, IsEmpty());
}

TEST_F(CurrencyAtTheHost, FailedRoundingForACompanyKeepsTheAmount) {
  for (const char* operation : {"Company.GetCompanyService", "Service.GetDataInterface",
                                "Data.PutValue", "Service.RoundDecimal", "Rounded.GetValue"}) {
    calls.failures = {{operation, E_ACCESSDENIED}};
    EXPECT_EQ(
        raisedBy([&] { amount.Round(company, CComBSTR(u"HU"), CComBSTR(u"HUF"), rc_Default, 0); }),
        E_ACCESSDENIED)
        << operation;
    EXPECT_EQ(textOf(amount), "1.125000");
  }
  EXPECT_EQ(
      raisedBy([&] { amount.Round(nullptr, CComBSTR(u"HU"), CComBSTR(u"HUF"), rc_Default, 0); }),
      E_POINTER);
}

TEST_F(CurrencyAtTheHost, DisplayFormComesFromTheHost) {
  EXPECT_EQ(amount.StringFromMoney(company, mpt_Rate).View(), u"EUR 7,25");
  EXPECT_EQ(amount.StringFromMoney(company, mpt_Sum).View(), u"EUR 7,25");
  EXPECT_THAT(calls.calls, ElementsAre("Helper.FormatMoneyToString(1.125, 2)",
                                       "Helper.FormatMoneyToString(1.125, 0)"));
}

TEST_F(CurrencyAtTheHost, SumIsRoundedBeforeDisplayIfCountryAndCurrencyAreSet) {
  CQXCurrency::m_bstrLoc = u"DE";
  EXPECT_EQ(amount.StringFromMoney(company, mpt_Sum).View(), u"EUR 7,25");
  EXPECT_THAT(calls.calls, ElementsAre("Helper.FormatMoneyToString(1.125, 0)"));
  calls.calls.clear();
  CQXCurrency::m_bstrCurr = u"EUR";
  EXPECT_EQ(amount.StringFromMoney(company, mpt_Sum).View(), u"EUR 7,25");
  EXPECT_THAT(calls.calls,
              ElementsAre("Service.GetDataInterface(11)", "Data.PutValue(1.125)",
                          "Data.PutContext(7)", "Data.PutCurrency(EUR)", "Service.RoundDecimal()",
                          "Helper.FormatMoneyToString(7.25, 0)"));
  calls.calls.clear();
  amount.StringFromMoney(company, mpt_Price);
  EXPECT_THAT(calls.calls, ElementsAre("Helper.FormatMoneyToString(1.125, 1)"));
  EXPECT_EQ(textOf(amount), "1.125000");
}

TEST_F(CurrencyAtTheHost, NumericDisplayResultIsConvertedToText) {
  helper->rows = {{CComVariant(725L)}};
  EXPECT_EQ(amount.StringFromMoney(company, mpt_Rate).View(), u"725");
}

TEST_F(CurrencyAtTheHost, FailedDisplayThrowsTheCodeOfTheHost) {
  calls.failures = {{"Helper.FormatMoneyToString", E_ACCESSDENIED}};
  EXPECT_EQ(raisedBy([&] { amount.StringFromMoney(company, mpt_Rate); }), E_ACCESSDENIED);
  calls.failures.clear();
  company->helper.Release();
  EXPECT_EQ(raisedBy([&] { amount.StringFromMoney(company, mpt_Rate); }), E_POINTER);
}

}  // namespace
