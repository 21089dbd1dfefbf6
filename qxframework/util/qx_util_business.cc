// What the company's tables and the host know about taxes, currency rates and posting periods.

#include "qxframework/automation/format.h"
#include "qxframework/sql/engine_sql.h"
#include "qxframework/foundation/currency.h"
#include "qxframework/foundation/date_time.h"
#include "qxframework/host/company.h"
#include "qxframework/host/recordset.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/util/qx_util.h"

namespace {

CComPtr<IRecordset> query(CReturnValue<long>& hr, const CComPtr<ICompany>& company,
                          const std::u16string& sql) {
  const CComQIPtr<IRecordset> recordset(company->GetBusinessObject(qx::kRecordset));
  hr.LogDbg0(u"SQL: \"%s\"\n", sql);
  recordset->DoQuery(CComBSTR(sql));
  return recordset;
}

CComBSTR dayOn(long engine, const CQXDateTime& date) {
  if (engine == qx::kKordb) return date.GetDateASBSTR_ISO_WithTime();
  return engine == qx::kDb2 ? date.GetDateAsBSTR_ISO8601() : date.GetDateAsBSTR();
}

}  // namespace

long CQXUtil::CalculateTaxFromNet(long appId, CComPtr<ICompany> company, CQXCurrency net,
                                  CComBSTR taxGroup, CQXCurrency& tax) {
  CReturnValue<long> hr(u"CQXUtil::CalculateTaxFromNet", 0, appId, false);
  try {
    const std::u16string sql =
        qx::format(qx::dbdef::kSelectTaxRate.of(company->GetDbServerType()), taxGroup.View());
    const CComPtr<IRecordset> rates = query(hr, company, sql);
    rates->MoveFirst();
    const CQXCurrency rate(qx::dbdef::fieldValue(rates, 1, VT_R8).dblVal);
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
    rate = qx::dbdef::fieldValue(row, 0, VT_R8).dblVal;
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
    const long engine = company->GetDbServerType();
    const CComBSTR day = dayOn(engine, CQXDateTime(date));
    const CComPtr<IRecordset> period =
        query(hr, company, qx::format(qx::dbdef::kSelectPostingPeriod.of(engine), day, day));
    category = CComBSTR(qx::dbdef::fieldText(period, 0));
    subNumber = static_cast<short>(qx::dbdef::fieldValue(period, 1, VT_I4).lVal);
    found = VARIANT_TRUE;
    firstDate = qx::dbdef::fieldValue(period, 2, VT_DATE).date;
  } catch (const _com_error&) {
    hr.LogError(u"Failed to get posting period.\n");
    hr = E_FAIL;
  }
  return hr;
}
