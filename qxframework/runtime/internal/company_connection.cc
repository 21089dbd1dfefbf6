#include "qxframework/runtime/internal/company_connection.h"

#include "qxframework/automation/class_object.h"
#include "qxframework/foundation/qx_bstr.h"
#include "qxframework/host/application.h"
#include "qxframework/host/company.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/logging/result_names.h"
#include "qxframework/runtime/internal/framework_texts.h"
#include "qxframework/runtime/internal/version_report.h"

namespace qx {
namespace {

using Scope = CReturnValue<long>;

// The client answers the cookie with a login context. The application is taken from the company
// object first, so that Connect does not try the way through the client again.
void shakeHands(Scope& hr, const CompanyLogin& login, ICompany& company) {
  company.PutUiApplication(nullptr);
  const CComBSTR cookie = company.GetContextCookie();
  company.PutLoginContext(login.client->GetCompanyInfo()->GetConnectionContext(cookie));
  company.PutConnectionString(login.identifier);
  hr = company.Connect();
  if (hr != S_OK) raiseError(hr);
}

void connect(Scope& hr, const CompanyLogin& login, CComPtr<ICompany>& company) {
  raiseIfFailed(createInstance(CLSID_HalvexCompany, CLSCTX_SERVER, &company));
  company->PutLanguage(login.client->GetLanguage());
  if (login.throughClient) {
    company->PutUiApplication(login.application);
    hr = company->Connect();
  }
  if (hr != S_OK) shakeHands(hr, login, *company);
}

// The company's own words come first; without any, the framework names the code in its own.
CComBSTR reasonOf(const CompanyLogin& login, ICompany* company, long code) {
  long lastCode = 0;
  CComBSTR text;
  if (company != nullptr) company->raw_GetLastError(&lastCode, &text);
  if (!text.IsEmpty()) return text;
  HvLanguages language = ln_English;
  login.client->raw_GetLanguage(&language);
  CQXBSTR noResponse(language);
  noResponse.Format(frameworkText(kTextNoResponse, language),
                    Scope::xstrerror(static_cast<unsigned long>(code)));
  return noResponse;
}

void reportFailure(Scope& hr, const CompanyLogin& login, ICompany* company, long code) {
  hr = code;
  const CComBSTR text = reasonOf(login, company, code);
  hr.LogError(u"Error connecting to the company db: %s\n", text);
  showInClient(login.client, text, u"OK", u"");
  hr = QX_E_CONNECTION;
}

}  // namespace

long connectCompany(const CompanyLogin& login, CComPtr<ICompany>& company) {
  Scope hr(u"CQXEventSink::DbConnect", 0, login.appId);
  reportVersions(hr, login.appId);
  hr = E_FAIL;
  try {
    connect(hr, login, company);
  } catch (const _com_error& error) {
    reportFailure(hr, login, company, error.Error());
  } catch (...) {
    hr.LogError(u"No response from RX-API (RX-API may not be installed)");
  }
  return hr;
}

long disconnectCompany(long appId, CComPtr<ICompany>& company) {
  Scope hr(u"CQXEventSink::DbDisconnect", 0, appId);
  try {
    hr = company->Disconnect();
  } catch (...) {
    // The connection is given up either way, so a host that is gone is no failure.
  }
  company.Release();
  return hr;
}

}  // namespace qx
