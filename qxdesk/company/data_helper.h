#pragma once

#include "qxdesk/company/company_session.h"
#include "qxdesk/company/object_base.h"
#include "qxframework/host/company.h"

namespace qx::desk {

/// The object 305.
class DataHelper final : public HostObject<IDataHelper> {
 public:
  explicit DataHelper(SessionPtr session) : session_(std::move(session)) {}

  HRESULT raw_FormatDateToString(DATE date, IRecordset** out) override;
  HRESULT raw_FormatStringToDate(BSTR text, IRecordset** out) override;
  HRESULT raw_FormatMoneyToString(double amount, HvMoneyPrecisionTypes precision,
                                  IRecordset** out) override;
  HRESULT raw_GetCurrencyRate(BSTR currency, DATE date, IRecordset** out) override;

 private:
  /// `make` gives the one row of the answer.
  template <class Make>
  HRESULT answer(IRecordset** out, Make&& make);

  SessionPtr session_;
};

}  // namespace qx::desk
