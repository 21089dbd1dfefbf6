#pragma once

// The company's service object, which rounds amounts.

#include "qxdesk/company/company_session.h"
#include "qxdesk/session/host_object_base.h"
#include "qxframework/host/company.h"

namespace qx::desk {

/// Rounds amounts by the settings of the company.
class CompanyService final : public HostObjectBase<ICompanyService> {
 public:
  explicit CompanyService(SessionPtr session) : session_(std::move(session)) {}

  HRESULT raw_GetDataInterface(long type, IDispatch** out) override;
  HRESULT raw_RoundDecimal(IDecimalData* data, IRoundedData** out) override;

 private:
  SessionPtr session_;
};

}  // namespace qx::desk
