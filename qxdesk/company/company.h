#pragma once

// The company object. It finds out which company to open, connects, keeps the transaction and the
// last error, and makes the objects that work on the connection.

#include "qxdesk/company/company_session.h"
#include "qxdesk/session/host_object_base.h"
#include "qxframework/host/company.h"
#include "qxframework/host/company_sharing.h"

#include <optional>
#include <string>

namespace qx::desk {

class Company final : public HostObjectBase<ICompany, ICompanySharing> {
 public:
  Company(CompanyEnvironment environment, OpenDatabase open);
  ~Company() override;

  HRESULT GetTypeInfoCount(UINT* count) override;
  HRESULT GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;

  HRESULT raw_Connect(long* out) override;
  HRESULT raw_Disconnect() override;
  HRESULT raw_PutLanguage(HvLanguages language) override;
  HRESULT raw_GetLastError(long* code, BSTR* text) override;
  HRESULT raw_GetBusinessObject(long type, IDispatch** out) override;
  HRESULT raw_GetCompanyService(ICompanyService** out) override;
  HRESULT raw_GetContextCookie(BSTR* out) override;
  HRESULT raw_PutLoginContext(BSTR context) override;
  HRESULT raw_PutConnectionString(BSTR connection) override;
  HRESULT raw_PutUiApplication(IDispatch* application) override;
  HRESULT raw_GetDbServerType(long* out) override;
  HRESULT raw_GetConnected(VARIANT_BOOL* out) override;
  HRESULT raw_GetInTransaction(VARIANT_BOOL* out) override;
  HRESULT raw_StartTransaction() override;
  HRESULT raw_EndTransaction(HvEndTransaction end) override;
  HRESULT raw_GetCompanyDB(BSTR* out) override;

  HRESULT raw_GetLastFault(long* out) override;
  HRESULT raw_LockTables(long milliseconds, VARIANT_BOOL* locked, BSTR* holder) override;
  HRESULT raw_UnlockTables() override;
  HRESULT raw_ContinueCodes(BSTR table, long next, VARIANT_BOOL* out) override;

 private:
  std::u16string newCookie();
  LoginTarget targetOfClient();
  LoginTarget chooseTarget();
  CComPtr<IDispatch> makeBusinessObject(long type);

  SessionPtr session_;
  CComPtr<IDispatch> application_;
  std::u16string cookie_;  // empty unless one waits for its answer
  std::optional<LoginTarget> target_;
  std::u16string connectionString_;  // names the add-on; every one is accepted
};

/// Returns a company object with the machine's clock, randomness and databases.
CComPtr<ICompany> makeCompany();

}  // namespace qx::desk
