// The connection to the company database: through the client, or, where that is not to be had, by
// the cookie that the client answers.

#include "qxframework/automation/class_object.h"
#include "qxframework/foundation/qx_bstr.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/logging/result_names.h"
#include "qxframework/runtime/event_sink.h"
#include "qxframework/runtime/internal/framework_texts.h"
#include "qxframework/runtime/internal/version_report.h"

long CQXEventSink::DbConnect() {
  Scope hr(u"CQXEventSink::DbConnect", 0, m_lAppId);
  qx::reportVersions(hr, m_lAppId);
  hr = E_FAIL;
  try {
    ConnectCompany(hr);
  } catch (const _com_error& error) {
    ReportConnectionError(hr, error.Error());
  } catch (...) {
    hr.LogError(u"No response from RX-API (RX-API may not be installed)");
  }
  return hr;
}

void CQXEventSink::ConnectCompany(Scope& hr) {
  qx::raiseIfFailed(qx::createInstance(CLSID_HalvexCompany, CLSCTX_SERVER, &m_ptrCompany));
  m_ptrCompany->PutLanguage(m_ptrApp->GetLanguage());
  if (m_bConnectionViaUI) {
    m_ptrCompany->PutUiApplication(m_ptrEventSource);
    hr = m_ptrCompany->Connect();
  }
  if (hr != S_OK) ShakeHands(hr);
}

void CQXEventSink::ShakeHands(Scope& hr) {
  m_ptrCompany->PutUiApplication(nullptr);
  const CComBSTR cookie = m_ptrCompany->GetContextCookie();
  m_ptrCompany->PutLoginContext(m_ptrApp->GetCompanyInfo()->GetConnectionContext(cookie));
  m_ptrCompany->PutConnectionString(m_bstrConnection);
  hr = m_ptrCompany->Connect();
  if (hr != S_OK) qx::raiseError(hr);
}

void CQXEventSink::ReportConnectionError(Scope& hr, long code) {
  hr = code;
  long lastCode = 0;
  CComBSTR text;
  if (m_ptrCompany != nullptr) m_ptrCompany->raw_GetLastError(&lastCode, &text);
  if (text.IsEmpty()) {
    HvLanguages language = ln_English;
    m_ptrApp->raw_GetLanguage(&language);
    CQXBSTR noResponse(language);
    noResponse.Format(qx::frameworkText(qx::kTextNoResponse, language),
                      Scope::xstrerror(static_cast<unsigned long>(code)));
    text = noResponse;
  }
  hr.LogError(u"Error connecting to the company db: %s\n", text);
  qx::showInClient(m_ptrApp, text, u"OK", u"");
  hr = QX_E_CONNECTION;
}

long CQXEventSink::DbDisconnect() {
  Scope hr(u"CQXEventSink::DbDisconnect", 0, m_lAppId);
  try {
    hr = m_ptrCompany->Disconnect();
  } catch (...) {
    // The connection is given up either way.
  }
  m_ptrCompany.Release();
  return hr;
}
