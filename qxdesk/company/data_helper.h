#pragma once

// The object that formats and reads dates and amounts for add-ons and looks up currency rates.

#include "qxdesk/company/company_session.h"
#include "qxdesk/session/host_object_base.h"
#include "qxframework/host/company.h"

namespace qx::desk {

/// The object 305: display forms of dates and amounts, and currency rates. Each answer is a
/// recordset of one row and one column.
class DataHelper final : public HostObjectBase<IDataHelper> {
 public:
  explicit DataHelper(SessionPtr session) : session_(std::move(session)) {}

  HRESULT raw_FormatDateToString(DATE date, IRecordset** out) override;
  HRESULT raw_FormatStringToDate(BSTR text, IRecordset** out) override;
  HRESULT raw_FormatMoneyToString(double amount, HvMoneyPrecisionTypes precision,
                                  IRecordset** out) override;
  HRESULT raw_GetCurrencyRate(BSTR currency, DATE date, IRecordset** out) override;

 private:
  /// Answers with the row that `make` returns for the company's settings.
  template <class Make>
  HRESULT answer(IRecordset** out, Make&& make);

  SessionPtr session_;
};

}  // namespace qx::desk
