// The run of the add-on: its start, the application events, and its stop.

#include "qxframework/cache/db_record_cache.h"
#include "qxframework/foundation/languages.h"
#include "qxframework/foundation/qx_bstr.h"
#include "qxframework/host/application.h"
#include "qxframework/host/events.h"
#include "qxframework/os/message_loop.h"
#include "qxframework/runtime/addon.h"
#include "qxframework/runtime/event_sink.h"
#include "qxframework/runtime/internal/company_connection.h"
#include "qxframework/runtime/internal/framework_texts.h"
#include "qxframework/runtime/internal/guarded_call.h"
#include "qxframework/runtime/qx_idispatch.h"

#include <utility>

void CQXEventSink::InitXMLMap() {
  m_vecXMLMap.emplace_back(u"QX_MNU_LOGGING", qx::kTextLogSettings, u"");
  m_vecXMLMap.emplace_back(u"QX_MNU_QUIT", qx::kTextQuit, u"");
  m_vecXMLMap.emplace_back();
}

long CQXEventSink::AdviseEvents(IDispatch* application, CComBSTR& identifier) {
  Scope hr(u"CQXEventSink::AdviseEvents", 0, m_lAppId);
  if (application == nullptr) {
    hr = E_INVALIDARG;
  } else {
    m_ptrEventSource = application;
    m_ptrApp = CComQIPtr<IApplication>(application);
    m_lAppId = m_ptrApp->GetAppId();
    m_bstrConnection = identifier;
  }
  hr.LogInfo(u"Entering critical section....");
  if (hr >= 0) {
    hr = DbConnect();
  } else {
    hr.LogError(u"Event source is null.");
  }
  if (hr != S_OK) {
    hr.LogError(u"Failed to connect to the database.");
    return hr;
  }
  hr = m_FrameworkUtil.CheckDatabase(m_ptrApp, m_ptrCompany);
  if (hr >= 0) RebuildMenu(hr);
  ConnectEvents(hr);
  if (hr >= 0) hr = LoadApplication();
  hr.LogInfo(u"Leaving critical section....");
  return hr;
}

// If the menu cannot be built, the add-on still runs: its forms do not need the menu.
void CQXEventSink::RebuildMenu(Scope& hr) {
  if (m_FrameworkUtil.CreateMenuTree(m_ptrApp, &m_vecXMLMap) < 0) {
    hr.LogError(u"Failed to create add-on menu tree!");
  }
}

// Overwrites the result of the database check on purpose: an add-on whose tables are not up to date
// gets its events, so that the client can stop it.
void CQXEventSink::ConnectEvents(Scope& hr) {
  if (m_ptrEventSource == nullptr) return;
  CComPtr<IConnectionPointContainer> container;
  hr = m_ptrEventSource.QueryInterface(&container);
  if (hr >= 0) hr = container->FindConnectionPoint(DIID_IApplicationEvents, &m_ptrConnectionPoint);
  if (hr >= 0) hr = m_ptrConnectionPoint->Advise(this, &m_dwCookie);
  if (hr < 0) {
    hr.LogError(u"DispEventAdvise failed [%s] \n",
                Scope::xstrerror(static_cast<unsigned long>(hr)));
  }
}

long CQXEventSink::LoadApplication() {
  Scope hr(u"CQXEventSink::LoadApplication", 0, m_lAppId);
  const auto load = [&](CQXIDispatch& addOn) {
    return addOn.OnApplicationLoad(m_ptrEventSource, m_ptrCompany);
  };
  if (!qx::askHandler(hr, m_pDispatch, u"Exception not handled by Add-On\n", load)) hr = E_FAIL;
  if (hr < 0) {
    hr.LogWarning(u"OnApplicationLoad failed.\n");
    ShowSetUpFailed();
    RemoveMenuIfLast();
    UnadviseEvents();
  } else {
    hr.LogInfo(u"Add-on started.\n");
    if (m_ptrApp->GetStartupDone() == VARIANT_FALSE) m_ptrApp->PutStartupDone(VARIANT_TRUE);
  }
  // 1 from OnApplicationLoad is a reservation of the add-on, not a failure of the start.
  if (hr == S_FALSE) hr = S_OK;
  return hr;
}

void CQXEventSink::ShowSetUpFailed() {
  OLECHAR file[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, file, MAX_PATH);
  HvLanguages language = ln_English;
  m_ptrApp->raw_GetLanguage(&language);
  CQXBSTR text(language);
  text.Format(qx::frameworkText(qx::kTextSetUpFailed, language), file);
  qx::showInClient(m_ptrApp, text, qx::frameworkText(qx::kTextOk, language), u"");
}

void CQXEventSink::RemoveMenuIfLast() {
  constexpr long kOthers = 2;
  if (CQXAddOn::GetAttachCount(m_lAppId) < kOthers) {
    m_FrameworkUtil.RemoveMenuTree(m_ptrApp, &m_vecXMLMap);
  }
}

long CQXEventSink::UnloadApplication() {
  Scope hr(u"CQXEventSink::UnloadApplication", 0, m_lAppId);
  qx::askHandler(hr, m_pDispatch, u"Add-on's OnApplicationUnload handler threw an exception",
                 [](CQXIDispatch& addOn) { return addOn.OnApplicationUnload(); });
  // Frozen as an error, so it shows at every log level.
  hr.LogError(u"Add-on stopped.");
  RemoveMenuIfLast();
  UnadviseEvents();
  return hr;
}

void CQXEventSink::UnadviseEvents() {
  if (std::exchange(m_bShutdown, true)) return;
  CReturnValue<void> scope(u"CQXEventSink::UnadviseEvents", m_lAppId);
  // Their objects stay: the operation of a form may be what stops the add-on, and it still runs.
  m_forms.leaveOpen();
  if (m_ptrEventSource != nullptr && m_ptrConnectionPoint != nullptr &&
      m_ptrConnectionPoint->Unadvise(m_dwCookie) != S_OK) {
    scope.LogError(u"Unadvise failed for Halvex application %d", m_lAppId);
  }
  // They hold the company and may have statements that were not sent.
  Persistence::CDBRecordCache::ReleaseAllCaches();
  m_ptrCompany.Release();
  if (m_hWnd != nullptr) PostMessageW(std::exchange(m_hWnd, nullptr), WM_DESTROY, 0, 0);
}

long CQXEventSink::OnAppEvent(long type) {
  if (m_bShutdown) return S_OK;
  Scope hr(u"CQXEventSink::OnAppEvent", 0, m_lAppId);
  const bool companyChanged = type == qx::kCompanyChanged && ChangeCompany(hr);
  if (hr >= 0) PassToAddOn(hr, type);
  if (companyChanged) {
    hr.LogInfo(u"Company changed.\n");
    RebuildMenu(hr);
  } else if (type == qx::kLanguageChanged && m_ptrApp != nullptr) {
    hr.LogInfo(u"Language changed to '%s'\n", qx::languageName(m_ptrApp->GetLanguage()));
    RebuildMenu(hr);
  }
  return hr;
}

long CQXEventSink::DbConnect() {
  return qx::connectCompany({.appId = m_lAppId,
                             .client = m_ptrApp,
                             .application = m_ptrEventSource,
                             .throughClient = m_bConnectionViaUI,
                             .identifier = m_bstrConnection},
                            m_ptrCompany);
}

long CQXEventSink::DbDisconnect() { return qx::disconnectCompany(m_lAppId, m_ptrCompany); }

// Returns true if the company is connected, even if the check of the tables has failed.
bool CQXEventSink::ChangeCompany(Scope& hr) {
  hr.LogDbg0(u"Changing DB connection due to event aet_CompanyChanged.");
  if (m_ptrCompany != nullptr) DbDisconnect();
  hr = DbConnect();
  if (hr != S_OK) {
    hr.LogError(u"Failed to connect to the database.");
    return false;
  }
  hr = m_FrameworkUtil.CheckDatabase(m_ptrApp, m_ptrCompany);
  return true;
}

void CQXEventSink::PassToAddOn(Scope& hr, long type) {
  // Frozen: the change of the language logs the text of the change of the company.
  static constexpr OLECHAR kThrew[] = u"Add-on's OnChangeCompany handler threw an exception";
  switch (type) {
    case qx::kShutDown:
    case qx::kServerTermination:
      hr = UnloadApplication();
      break;
    case qx::kCompanyChanged:
      qx::askHandler(hr, m_pDispatch, kThrew,
                     [&](CQXIDispatch& addOn) { return addOn.OnChangeCompany(m_ptrCompany); });
      break;
    case qx::kLanguageChanged:
      qx::askHandler(hr, m_pDispatch, kThrew,
                     [](CQXIDispatch& addOn) { return addOn.OnChangeLanguage(); });
      break;
    default:
      hr.LogError(u"Unknown application event type: %d.\n", type);
      hr = E_FAIL;
  }
  if (hr < 0) hr.LogError(u"Failed to dispatch application event.\n");
}
