// Taxes, currency rates and posting periods, from the company's tables and the host.

#include "qxframework/automation/format.h"
#include "qxframework/foundation/currency.h"
#include "qxframework/foundation/date_time.h"
#include "qxframework/host/company.h"
#include "qxframework/host/recordset.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/sql/dialects.h"
#include "qxframework/sql/recordset_cell.h"
#include "qxframework/util/qx_util.h"

#include <functional>

namespace {

// The newest rate in force comes first.
const qx::TextByQuoting kSelectTaxRate{
    .brackets =
        u"SELECT Code, Rate, EffecDate FROM VTG1 WHERE (Code = '%s') AND "
        u"(EffecDate<=GetDate()) ORDER BY EffecDate DESC",
    .bare =
        u"SELECT Code, Rate, EffecDate FROM VTG1 WHERE (Code = '%s') AND (EffecDate<= "
        u"TIMESTAMP_ISO(CURRENT DATE)) ORDER BY EffecDate DESC",
    .doubleQuotes =
        u"SELECT \"Code\", \"Rate\", \"EffecDate\" FROM VTG1 WHERE (\"Code\" = '%s') "
        u"AND (\"EffecDate\"<=CURRENT_TIMESTAMP) ORDER BY \"EffecDate\" DESC"};

// The day is written twice. The last day of a period is extended by one, so that a time of day on
// it is still within the period.
const qx::TextByQuoting kSelectPostingPeriod{
    .brackets =
        u"SELECT Category, SubNum, F_RefDate FROM OFPR WHERE "
        u"(F_RefDate<=CONVERT(datetime,'%s',112)) AND "
        u"CONVERT(datetime,'%s',112)<=(DATEADD(day,1,T_RefDate))",
    .bare =
        u"SELECT Category, SubNum,  F_RefDate FROM OFPR WHERE (F_RefDate<=TIMESTAMP_ISO('%s')) "
        u"AND TIMESTAMP_ISO('%s')<=(T_RefDate + 1 DAYS)",
    .doubleQuotes =
        u"SELECT \"Category\", \"SubNum\", \"F_RefDate\" FROM OFPR WHERE "
        u"(\"F_RefDate\"<='%s') AND '%s' <=(ADDDATE(\"T_RefDate\", 1))"};

const qx::Dialect& dialectOf(const CComPtr<ICompany>& company) {
  return qx::dialectOf(company->GetDbServerType());
}

CComPtr<IRecordset> query(CReturnValue<long>& hr, const CComPtr<ICompany>& company,
                          const std::u16string& sql) {
  const CComQIPtr<IRecordset> recordset(company->GetBusinessObject(qx::kRecordset));
  hr.LogDbg0(u"SQL: \"%s\"\n", sql);
  recordset->DoQuery(CComBSTR(sql));
  return recordset;
}

}  // namespace

long CQXUtil::CalculateTaxFromNet(long appId, CComPtr<ICompany> company, CQXCurrency net,
                                  CComBSTR taxGroup, CQXCurrency& tax) {
  CReturnValue<long> hr(u"CQXUtil::CalculateTaxFromNet", 0, appId, false);
  try {
    const std::u16string sql = qx::format(kSelectTaxRate.of(dialectOf(company)), taxGroup.View());
    const CComPtr<IRecordset> rates = query(hr, company, sql);
    rates->MoveFirst();
    const CQXCurrency rate(qx::cellValue(rates, 1, VT_R8).dblVal);
    // In this order: the product keeps the decimals that a division first would cut.
    tax = net * rate / CQXCurrency(100);
    tax.Round(2);
  } catch (const _com_error&) {
    hr.LogError(u"Failed to calculate the tax amount from net price.\n");
    hr = E_FAIL;
  }
  return hr;
}

long CQXUtil::GetCurrencyRate(long appId, CComPtr<ICompany> company, double date,
                              const CComBSTR& currency, CQXCurrency& rate) {
  CReturnValue<long> hr(u"CQXUtil::GetCurrencyRate", 0, appId, false);
  try {
    rate = 0;
    const CComQIPtr<IDataHelper> helper(company->GetBusinessObject(qx::kDataHelper));
    const CComPtr<IRecordset> row = helper->GetCurrencyRate(currency, date);
    rate = qx::cellValue(row, 0, VT_R8).dblVal;
  } catch (const _com_error&) {
    hr.LogError(u"Failed to get currency rate.\n");
    hr = E_FAIL;
  }
  return hr;
}

long CQXUtil::GetPostingPeriod(long appId, CComPtr<ICompany> company, double date,
                               CComBSTR& category, long& subNumber, long& found,
                               double& firstDate) {
  CReturnValue<long> hr(u"CQXUtil::GetPostingPeriod", 0, appId, false);
  try {
    category = u"";
    subNumber = 0;
    found = 0;
    firstDate = 0.0;
    const qx::Dialect& dialect = dialectOf(company);
    const CComBSTR day = std::invoke(dialect.dateText, CQXDateTime(date));
    const CComPtr<IRecordset> period =
        query(hr, company, qx::format(kSelectPostingPeriod.of(dialect), day, day));
    category = CComBSTR(qx::cellText(period, 0));
    // Cut to 16 bits by contract.
    subNumber = static_cast<short>(qx::cellValue(period, 1, VT_I4).lVal);
    found = VARIANT_TRUE;  // also without a row: it says that the query succeeded
    firstDate = qx::cellValue(period, 2, VT_DATE).date;
  } catch (const _com_error&) {
    hr.LogError(u"Failed to get posting period.\n");
    hr = E_FAIL;
  }
  return hr;
}
